#pragma once

#include <hostkit/export.h>

#include <QtCore/QList>
#include <QtWidgets/QDialog>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace Kiln
{
class EnginePlugin;
} // namespace Kiln

namespace HostKit
{

class EngineLibraries;
class Settings;

/// Asks for a name, a place and what a new project starts with, out of what the engines offer, and
/// has it made: a directory of that name in that place. The place is remembered.
class HOSTKIT_EXPORT NewProjectDialog : public QDialog
{
    Q_OBJECT

public:
    NewProjectDialog(const EngineLibraries &engines, Settings &settings, QWidget *parent);

    /// The directory of the project, once the dialog is accepted: it was empty, or not there.
    QString directory() const;

    /// Makes the project, or tells why it cannot be made and stays.
    void accept() override;

private:
    struct Start {
        Kiln::EnginePlugin *plugin;
        int number;
    };

    void addStarts(const EngineLibraries &engines);
    void choosePlace();
    /// One sentence on what is wrong with what was given; empty for nothing.
    QString fault() const;
    void showState();
    bool make() const;

    Settings &m_settings;
    QList<Start> m_starts;
    QLineEdit *m_name;
    QLineEdit *m_place;
    QListWidget *m_list;
    QLabel *m_state;
    QPushButton *m_ok;
};

} // namespace HostKit

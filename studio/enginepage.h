#pragma once

#include <QWidget>

class QLineEdit;
class QListView;
class QPushButton;

namespace Kiln
{
class EngineInstances;
}

namespace Studio
{

/// The page of the settings dialog that edits the user's list of engine executables.
/// Every change goes into the list at once.
class EnginePage : public QWidget
{
    Q_OBJECT

public:
    explicit EnginePage(Kiln::EngineInstances *engines, QWidget *parent = nullptr);

private:
    void showCurrent();
    void storeCurrent();
    void addEngine();
    void removeEngine();
    void moveEngine(int by);
    void browse();
    int currentRow() const;
    QLineEdit *addField(const char *name, const QString &caption, QPushButton *beside = nullptr);

    Kiln::EngineInstances *m_engines;
    QListView *m_list;
    QLineEdit *m_name = nullptr;
    QLineEdit *m_executable = nullptr;
    QLineEdit *m_arguments = nullptr;
    QLineEdit *m_icon = nullptr;
    QWidget *m_fields;
    QPushButton *m_remove;
    QPushButton *m_up;
    QPushButton *m_down;
    bool m_showing = false;
};

} // namespace Studio

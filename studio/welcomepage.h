#pragma once

#include <QImage>
#include <QVector>
#include <QWidget>

class QLabel;
class QListWidget;

namespace Studio
{

/// What the window shows while no file is open: how to make or open a project, the sample, and the
/// recent ones with a picture of each. One whose directory is gone is said to be, and can be taken
/// off the list, as each can.
class WelcomePage : public QWidget
{
    Q_OBJECT

public:
    struct Recent {
        QString directory;
        QImage picture; ///< may be null
    };

    explicit WelcomePage(QWidget *parent = nullptr);

    void setRecent(const QVector<Recent> &projects);

signals:
    void openRequested();
    void newRequested();
    void sampleRequested();
    void recentRequested(const QString &directory);
    void removeRequested(const QString &directory);

protected:
    /// Looks anew which directories are there.
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QWidget *makeStarts();
    QWidget *makeRecent();
    void showNames();

    QListWidget *m_recent;
    QLabel *m_hint;
};

} // namespace Studio

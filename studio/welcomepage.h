#pragma once

#include <QWidget>

class QListWidget;

namespace Studio
{

/// What the window shows while no file is open: how to open or make a project, and the recent ones.
class WelcomePage : public QWidget
{
    Q_OBJECT

public:
    explicit WelcomePage(QWidget *parent = nullptr);

    void setRecent(const QStringList &directories);

signals:
    void openRequested();
    void newRequested();
    void recentRequested(const QString &directory);

private:
    QListWidget *m_recent;
};

} // namespace Studio

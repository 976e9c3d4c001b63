#pragma once

#include <QDockWidget>

class QPlainTextEdit;

namespace Studio
{

/// What the engine printed while the project ran in it, run after run.
class OutputDock : public QDockWidget
{
    Q_OBJECT

public:
    explicit OutputDock(QWidget *parent = nullptr);

    /// Appends the output of one run under a line that tells the time and the outcome.
    void addRun(const QString &output, bool success);
    QString text() const;

private:
    QPlainTextEdit *m_text;
};

} // namespace Studio

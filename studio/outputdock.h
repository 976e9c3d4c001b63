#pragma once

#include <QDockWidget>
#include <QTextCharFormat>

class QAction;
class QPlainTextEdit;

namespace Studio
{

/// What the engine writes while the project runs in it, run after run; what it writes to its
/// standard error is red and slanted. The view follows the end unless the user has scrolled up.
/// The last 20000 lines are kept, and one of more than 1000 characters is broken.
class OutputDock : public QDockWidget
{
    Q_OBJECT

public:
    /// `commands` are shown beside the text.
    explicit OutputDock(const QList<QAction *> &commands, QWidget *parent = nullptr);

    /// A run begins, of this command line.
    void begin(const QString &commandLine);
    void write(const QString &text, bool isError);
    /// It has ended so.
    void end(const QString &how, bool isBad);
    QString text() const;

private:
    QString inLines(const QString &text) const;
    void addLine(const QString &line, bool isBad);
    void append(const QString &text, const QTextCharFormat &format);
    static QTextCharFormat errorFormat();

    QPlainTextEdit *m_text;
    bool m_lastIsError = false; ///< what was written last
};

} // namespace Studio

#pragma once

#include <QtCore/QString>
#include <QtWidgets/QWidget>

#include <memory>

/// A code editor as the benchmark drives it: text in, keys to its input widget, pixels out.
class CodeBenchView
{
public:
    virtual ~CodeBenchView() = default;

    virtual QWidget *widget() = 0;
    /// What has the keyboard, and what shows the text.
    virtual QWidget *input() = 0;
    virtual QWidget *canvas() = 0;
    virtual void load(const QString &text) = 0;
    virtual void goTo(int line) = 0;
    /// False where the editor has no such operation, or `found` is not in the text.
    virtual bool foldAll() { return false; }
    virtual bool unfoldAll() { return false; }
    virtual bool pageDown();
    /// The number in the text of what is the last line on the screen; -1 in an editor that doesn't
    /// fold.
    virtual int lastLineOnScreen() { return -1; }
    virtual bool find(const QString &text) = 0;
    /// From now on all that stands around a view in a window follows its text.
    virtual void standInAWindow() {}
};

enum CodeViewKind { KilnView, BareView, ScintillaView, KateView };

std::unique_ptr<CodeBenchView> makeView(CodeViewKind kind);

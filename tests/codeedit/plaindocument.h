#pragma once

#include <kilnx/code/codedocument.h>
#include <kilnx/code/codeparser.h>

#include <memory>

/// A document whose text says what the view is to make of it, for tests of the view alone.
///
/// A line that begins with "[" is a section's head, one with "[[", indented or not, the head of an
/// inner section; the lines below are its body, "-" belongs to neither and "~" is of no kind.
/// Round, pointed and curly brackets are brackets, and every second "!" closes the one before. The
/// words "bad", "old" and "hmm" are an error, a deprecation and a warning, and so is "<b>". The
/// tree stays empty.
class PlainDocument : public Kiln::CodeDocument
{
public:
    explicit PlainDocument(const QString &text = QString());
    ~PlainDocument() override;

    QString language() const override { return QString("plain"); }
    void release() override { delete this; }

protected:
    int foldingKind(const QString &line) override;

private:
    class Parser;
    std::unique_ptr<Parser> m_parser;
};

/// A text of `sections` sections with two inner ones of `bodies` lines each.
QString sectionedText(int sections, int bodies);

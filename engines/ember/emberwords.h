#pragma once

#include "export.h"

#include <QObject>
#include <QPointer>
#include <QStringListModel>

#include <memory>
#include <vector>

namespace Kiln
{
class CodeDocument;
class CodeEditor;
} // namespace Kiln

/// The words that a code view offers while Ember code is typed: the entries of the section at the
/// cursor, the words of enumerations, the sections, and the names that the document uses.
///
/// It serves the view that is its parent for as long as that lives. The names that the document
/// uses take a walk through all of it: they are collected when the cursor comes to a line that asks
/// for some, and only if the text has changed since.
class EMBER_EXPORT EmberWords : public QObject
{
    Q_OBJECT

public:
    explicit EmberWords(Kiln::CodeEditor *view);
    ~EmberWords() override;

private:
    QStringListModel *add(const QString &prefix, const QStringList &words);
    void addSections(const QString &mark, const QStringList &words);
    void addEnumerations();
    void collect(int line);
    void collectNamesIfAsked();
    void collectNames(Kiln::CodeDocument *document);

    Kiln::CodeEditor *m_view;
    QStringListModel *m_entries; ///< of the section at the cursor
    QStringListModel *m_states;
    QStringListModel *m_cels;
    QPointer<QObject> m_model; ///< of the document whose names were collected, at this revision
    int m_revision = -1;
    bool m_areNamesDue = false; ///< they have not been collected since the cursor came to its line
};

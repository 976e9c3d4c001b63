#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

class QTextDocument;

namespace Kiln
{
/// What a loaded file had that its text alone does not bring back, so that what nobody edited is
/// written as it was: the byte order mark, and the bytes that the encoding reads in another way
/// than it writes them, or not at all.
///
/// Where the lines of the file can be read one by one, such bytes are kept line by line and survive
/// edits of all other lines, and the change to another encoding. Else the file is kept as a whole
/// until its text or its encoding differs.
///
/// A QTextDocument has no room for three characters, which it takes for line ends. In its text,
/// characters at the end of the last private plane stand for them.
class OriginalBytes
{
public:
    /// Decodes a file, as TextCodecs::stringFromData() does, into text for a QTextDocument.
    QString read(const QByteArray &data, int *codecId);
    /// The bytes of the document in the encoding of `codecId`, with carriage return and line feed
    /// at each line end. `isComplete` tells whether the encoding has all of its characters.
    /// In another encoding than that of the file, bytes that could not be read are the characters
    /// by which RawUtf8 has them, so that UTF-8 takes them all.
    QByteArray write(const QTextDocument &document, int codecId, bool *isComplete) const;
    /// Whether write() finds all characters of one of the document's lines in the encoding.
    bool canEncode(const QString &line, int codecId) const;
    /// The lines of the file whose bytes are kept, in order. Number i of them is the document's
    /// line for which CodeDocumentPrivate::originalLineOf() says i, for as long as its text is the
    /// same.
    QVector<int> keptLines() const;
    /// The line at which a file that is kept as a whole could not be read; -1 for another.
    int unreadLine() const { return m_unreadLine; }

private:
    struct Line {
        int number = 0;
        QString text;
        QByteArray bytes;
    };
    bool keepLines(const QByteArray &body, const QString &text, const QByteArray &encoded);
    bool isByLines(const QStringList &texts,
                   const QList<QByteArray> &bytes,
                   const QByteArray &lineFeed) const;
    QVector<const Line *> assigned(const QTextDocument &document) const;
    QByteArray writeLines(const QTextDocument &document, bool *isComplete) const;
    QString textWithBytes(const QTextDocument &document) const;
    QString withBytes(const Line &line) const;
    int characterAt(const QByteArray &bytes, int position, QString *character) const;
    QByteArray encode(const QString &text, bool *isComplete = nullptr) const;
    QString decode(const QByteArray &data) const;
    QString withoutReplacements(QString text) const;

    /// Of the file that was read; -1 for none.
    int m_codecId = -1;
    QByteArray m_mark;
    QVector<Line> m_lines;
    QByteArray m_whole;
    int m_unreadLine = -1;
};
} // namespace Kiln

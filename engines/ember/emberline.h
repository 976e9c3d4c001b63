#pragma once

#include "emberlanguage.h"

/// What one line of Ember code says, before anyone asks whether it makes sense in its section.
/// Offsets count characters of the line; ends are exclusive.
struct EMBER_EXPORT EmberLine {
    enum Kind {
        Blank,  ///< nothing, or a comment alone
        Header, ///< "@word name" or "@@word name"
        Entry,  ///< "key: value", or "key + key: value" for entries that share a value
        Broken  ///< anything else
    };

    struct Range {
        int begin = 0;
        int end = 0;
    };

    /// Takes the line apart. Any text is fine, also an empty one.
    static EmberLine read(const QString &text);
    /// What a line is at first sight, without taking it apart: an entry may turn out to be broken.
    /// `level` becomes the level of a header, 0 for other lines.
    static Kind kindOf(const QString &text, int *level);

    Kind kind = Blank;
    /// The line without its comment and without blanks around it.
    Range code;
    /// Where the comment starts; the line's length when there is none.
    int comment = 0;
    /// Headers: the number of "@" signs, 1 or 2.
    int level = 0;
    /// Headers: the word after the signs.
    QString word;
    /// Headers: the rest of the line, blanks between its words reduced to one.
    QString name;
    /// Entries: the keys before the colon, and where they stand.
    QStringList keys;
    QVector<Range> keyRanges;
    /// Entries: the text after the colon, trimmed, and where it stands.
    QString value;
    Range valueRange;

private:
    void readHeader(const QString &text);
    void readEntry(const QString &text, int colon);
};

#pragma once

#include "export.h"

#include <kilnx/code/valuecode.h>

#include <QStringList>
#include <QVariant>
#include <QVector>

/// The vocabulary of Ember's text language: which sections there are, which entries they know and
/// how the text of a value is read and written. Nothing here knows a document or a node, so all of
/// it can be tested with plain strings.
namespace EmberLanguage
{

/// The kind of a section. The number is the `subType` of its group node and the state of its text
/// blocks, so it is never 0.
enum Section : unsigned int {
    About = 1, ///< title, author, date: the head of every definition file
    Files,     ///< names the other files of a definition
    Body,      ///< measures of a character
    Ground,    ///< measures of a stage
    Layer,     ///< one plane of a stage's picture
    Match,     ///< rules of a game
    Command,   ///< one sequence of buttons
    State,     ///< what a character or a stage does
    Rule,      ///< "@@on": when a state gives way to another; belongs to the state above
    Step,      ///< "@@step": one moment of a state; belongs to the state above
    Sketch,    ///< a state under work: becomes nodes only where a host enables it
    Note,      ///< free text; never becomes nodes
    Unknown    ///< a header with a word that is none of the above
};

using Type = Kiln::ValueCode::Type;

/// What the library's value types stand for in Ember, where the library leaves that open.
constexpr Type Name = Type::Plain;         ///< a file or the name of a state: the text of the line
constexpr Type Formula = Type::Plain1;     ///< an expression with brackets
constexpr Type Loose = Type::Plain2;       ///< an entry that the section does not know
constexpr Type Quoted = Type::Text;        ///< text in double quotes
constexpr Type Words = Type::TextAlt;      ///< text to the end of the line
constexpr Type Reals = Type::RealVector;   ///< one or more reals
constexpr Type Shares = Type::RealVector1; ///< three reals
constexpr Type Frame = Type::RealVector2;  ///< four reals
constexpr Type Ints = Type::IntVector;     ///< one or more integers
constexpr Type Tint = Type::IntVector1;    ///< three integers: red, green, blue
constexpr Type Box = Type::IntVector2;     ///< four integers: left, top, right, bottom

/// What a section knows about one of its entries.
struct Entry {
    const char *name;
    Type type;
    const char *words = nullptr;   ///< the words of an enumeration, separated by blanks
    double least = 0;              ///< with `most`: the range that is accepted without a warning
    double most = 0;               ///< equal to `least`: any number is fine
    const char *newName = nullptr; ///< set: `name` is an old spelling of this
    unsigned int fileId = 0;       ///< bits of the file that the entry names; entries of "files"
};

/// The outcome of reading a value's text. `value` has the type that the library stores for the
/// entry's type; where `error` is not empty it is the text itself, as a `QString`.
struct Reading {
    QVariant value;
    QString error;
    QString warning;
};

/// The kind of section that `word` opens, `Unknown` for any other.
EMBER_EXPORT Section sectionByWord(const QString &word);
/// The word that opens a section of this kind; empty for `Unknown`.
EMBER_EXPORT QString sectionWord(unsigned int section);
/// True for sections that belong to the state above and are opened by "@@".
EMBER_EXPORT bool isInner(unsigned int section);
/// True for sections whose header has to tell a name.
EMBER_EXPORT bool needsName(unsigned int section);

/// The entry `name` of a section, old spellings too; null if the section does not know it.
EMBER_EXPORT const Entry *entry(unsigned int section, const QString &name);
/// The name of an entry; nodes share it.
EMBER_EXPORT QString entryName(const Entry *entry);
/// All entries of a section in the order of the language page.
EMBER_EXPORT QVector<const Entry *> entries(unsigned int section);
/// The words of an enumeration in the order of their values.
EMBER_EXPORT QStringList words(const Entry *entry);

/// Reads the text of a value. `entry` may be null: then the text is taken as it stands.
EMBER_EXPORT Reading readValue(const Entry *entry, const QString &text);
/// The text that reads back as `value`. Line ends and characters that a line of code cannot hold
/// (";", and the double quote inside quotes) are replaced by their nearest kin.
EMBER_EXPORT QString writeValue(const Entry *entry, const QVariant &value);

/// Where the first bracket without its partner stands in `text`, -1 when all are paired.
EMBER_EXPORT int unpairedBracket(const QString &text);

} // namespace EmberLanguage

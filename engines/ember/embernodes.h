#pragma once

#include "emberlanguage.h"

#include <kilnx/code/groupcode.h>
#include <kilnx/code/valuecode.h>

/// The node of a section's header line.
///
/// Every header has one, because it is the node that tells the lines below it which section they
/// are in. Only a section that the document has enabled is `shown`, that is a child of the root:
/// the others are bare markers without a parent, and their lines make no nodes.
class EMBER_EXPORT EmberGroup : public Kiln::GroupCode
{
public:
    EmberGroup(Kiln::CodeNode *previous, unsigned int section, const QString &name, bool shown);

    /// The name in the header, such as "low guard" in "@state low guard".
    QString name() const override;
    /// The header without its signs, such as "state low guard".
    QString displayName() const override;
    /// Rewrites the header line; nothing for an empty name where the section needs one.
    void setName(const QString &name) override;

    /// The header line without its comment, such as "@state low guard".
    QString headerText() const override;
    /// Adds an entry below the last one of the section. False for an entry that the section doesn't
    /// know, and for a section that is not in a document.
    bool addValue(const QString &name, const QVariant &value) override;

    /// True when the section is part of the tree.
    bool isShown() const;
    /// Takes the name that the header has now, and tells the model. For the parser.
    void update(const QString &name);

private:
    QString m_name;
    bool m_shown;
};

/// The node of an entry. A line with several keys has one node a key: the first is the line's head,
/// the others are its mates, which follow it in the node list, share its value and live as long as
/// it does. All of them answer for the line of the head.
class EMBER_EXPORT EmberValue : public Kiln::ValueCode
{
public:
    /// The head of a line. `entry` may be null: a `Loose` entry that its section doesn't know.
    EmberValue(Kiln::CodeNode *previous,
               const EmberLanguage::Entry *entry,
               const QString &name,
               const QVariant &value);
    ~EmberValue() override;

    /// Adds the node of a further key of the line.
    void addMate(const EmberLanguage::Entry *entry, const QString &name);
    /// Whether the head and its mates stand for just these entries, in this order.
    bool standsFor(const QVector<const EmberLanguage::Entry *> &entries,
                   const QStringList &names) const;
    /// The bits of the file that this entry names; 0 for any other entry.
    unsigned int fileId() const;

    QString name() const override;
    /// Name and value, as in "size: 34, 72".
    QString displayName() const override;
    /// Rewrites the key of this node in its line; nothing for an empty name.
    void setName(const QString &name) override;
    /// Rewrites the value in the line. A string is written as it is, so it may hold any text that
    /// the entry can be read from; any other variant is first converted to the entry's type.
    void setValue(const QVariant &value) override;
    QString valueText() const override;

    /// Those of `NamedCode`, and "Value".
    QStringList propertyNames() override;
    QVariant property(const QString &name) override;
    void setProperty(const QString &name, const QVariant &value) override;

    /// Takes the value that the line has now, for the head and its mates. For the parser.
    void update(const QVariant &value);

    int firstLine() const override;
    int lastLine() const override;
    Kiln::CodeDocument *document() const override;
    void remove(bool all) override;
    void valueChanged(const QVariant &value) override;
    QString enumText(unsigned int value) const override;
    QVariant convertFrom(Kiln::ValueCode::Type type, const QVariant &value) const override;

private:
    EmberValue(EmberValue *head, const EmberLanguage::Entry *entry, const QString &name);
    QStringList names() const;
    void rewrite(const QStringList &names, const QString &value);

    const EmberLanguage::Entry *m_entry;
    QString m_name;
    EmberValue *m_head;            ///< the node itself for a head
    QVector<EmberValue *> m_mates; ///< of a head, in the order of the line
};

#include <enginetest/treedump.h>

#include <kilnx/code/codedocument.h>
#include <kilnx/code/groupcode.h>
#include <kilnx/code/messages.h>
#include <kilnx/code/valuecode.h>

#include <QAbstractItemModel>
#include <QDebug>

namespace
{

QString place(const Kiln::CodeNode *node)
{
    Kiln::ParentCode *parent = node->parent();
    if (!parent)
        return QStringLiteral("alone");
    const QString container = parent->type() == Kiln::CodeNode::Root
                                  ? QStringLiteral("root")
                                  : QString::number(parent->lineNo());
    const int row = parent->childIndex(const_cast<Kiln::CodeNode *>(node));
    return QStringLiteral("in %1 at %2").arg(container).arg(row);
}

QString contents(const Kiln::CodeNode *node)
{
    QString text;
    if (const auto *named = dynamic_cast<const Kiln::NamedCode *>(node))
        text = QStringLiteral(" '%1'").arg(named->displayName());
    if (const auto *group = dynamic_cast<const Kiln::GroupCode *>(node))
        text +=
            QStringLiteral(" subtype %1, %2 values").arg(group->subType()).arg(group->valueCount());
    if (const auto *value = dynamic_cast<const Kiln::ValueCode *>(node)) {
        QString raw;
        QDebug(&raw) << value->rawValue();
        text += QStringLiteral(" type %1 ").arg(value->valueType()) + raw;
    }
    return text;
}

QString levelRows(const QAbstractItemModel &model, const QModelIndex &parent, int level)
{
    QString text;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        text += QString(level * 2, QLatin1Char(' ')) + index.data().toString() + QLatin1Char('\n');
        text += levelRows(model, index, level + 1);
    }
    return text;
}

} // namespace

namespace EngineTest
{
QString TreeDump::nodes(const Kiln::CodeDocument &document)
{
    QString text;
    const Kiln::CodeNode *before = &document;
    for (const Kiln::CodeNode *node = before->next(); node; node = node->next()) {
        text +=
            QStringLiteral("%1 line %2 %3").arg(node->type()).arg(node->lineNo()).arg(place(node));
        text += contents(node);
        if (node->previous() != before)
            text += QStringLiteral(" BROKEN");
        text += QLatin1Char('\n');
        before = node;
    }
    return text;
}

QString TreeDump::messages(const Kiln::CodeDocument &document)
{
    const Kiln::Messages *messages = document.messages();
    QString text = QStringLiteral("errors %1, warnings %2, information %3\n")
                       .arg(messages->count(Kiln::Message::Error))
                       .arg(messages->count(Kiln::Message::Warning))
                       .arg(messages->count(Kiln::Message::Information));
    for (unsigned int i = 0; i < messages->count(Kiln::Message::All); ++i) {
        const Kiln::Message message = messages->at(i, Kiln::Message::All);
        text += QStringLiteral("%1 line %2 column %3 %4\n")
                    .arg(message.type)
                    .arg(message.line)
                    .arg(message.column)
                    .arg(message.text);
    }
    return text;
}

QString TreeDump::rows(const QAbstractItemModel &model)
{
    return levelRows(model, QModelIndex(), 0);
}

QString TreeDump::all(const Kiln::CodeDocument &document)
{
    return nodes(document) + messages(document) + rows(document);
}
} // namespace EngineTest

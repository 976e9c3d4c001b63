#include <kilnx/code/codeblockdata.h>

#include <kilnx/code/codedocument_p.h>
#include <kilnx/code/recordpool_p.h>

#include <typeinfo>

namespace Kiln
{
CodeBlockData::CodeBlockData(const QTextBlock &block, CodeDocumentPrivate *documentPrivate)
    : d(std::make_unique<CodeBlockRecord>())
{
    d->documentPrivate = documentPrivate;
    d->block = block;
}

CodeBlockData::~CodeBlockData()
{
    d->documentPrivate->leaveBlock(this);
}

void *CodeBlockData::operator new(std::size_t)
{
    return RecordPool<CodeBlockData>::take();
}

void CodeBlockData::operator delete(void *data)
{
    RecordPool<CodeBlockData>::give(data);
}

void *CodeBlockRecord::operator new(std::size_t)
{
    return RecordPool<CodeBlockRecord>::take();
}

void CodeBlockRecord::operator delete(void *record)
{
    RecordPool<CodeBlockRecord>::give(record);
}

CodeBlockData *CodeBlockData::blockData(const QTextBlock &block,
                                        CodeDocumentPrivate *documentPrivate)
{
    if (!block.isValid())
        return nullptr;
    CodeBlockData *data = CodeDocumentPrivate::dataOf(block);
    if (!data) {
        data = new CodeBlockData(block, documentPrivate);
        QTextBlock(block).setUserData(data);
    }
    return data;
}

CodeBlockData *CodeBlockData::testBlockData(const QTextBlock &block)
{
    // A dynamic cast is slow where a view asks all lines, and the class has no subclasses.
    QTextBlockUserData *data = block.isValid() ? block.userData() : nullptr;
    return data && typeid(*data) == typeid(CodeBlockData) ? static_cast<CodeBlockData *>(data)
                                                          : nullptr;
}

CodeNode *CodeBlockData::codeNode() const
{
    return d->node;
}

bool CodeBlockData::isParsed() const
{
    return d->parsed;
}

bool CodeBlockData::isFolded() const
{
    return d->folded;
}

void CodeBlockData::setFolded(bool folded)
{
    d->folded = folded;
}

unsigned int CodeBlockData::foldingIndent() const
{
    return d->foldingIndent;
}

const QVector<CodeBlockData::Parenthesis> &CodeBlockData::parenthesis() const
{
    return d->parenthesis;
}

const QVector<CodeBlockData::SyntaxMessage> &CodeBlockData::syntaxMessages() const
{
    return d->syntaxMessages;
}
} // namespace Kiln

#include <kilnx/code/codedocument.h>

#include <kilnx/code/codedocument_p.h>
#include <kilnx/code/rawutf8_p.h>
#include <kilnx/code/textcodecs.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/filewatch_p.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/parentproject.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/progress.h>
#include <kilnx/project/project.h>
#include <kilnx/project/textmatch_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileDevice>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>

namespace Kiln
{
/// The host's progress while a long text is loaded; without a host there is none.
class LoadProgress
{
public:
    explicit LoadProgress(const QString &name)
    {
        Interface *host = Interface::instance();
        if (host)
            m_progress =
                host->progress(QCoreApplication::translate("Kiln::CodeDocument", "Loading '%1'")
                                   .arg(QFileInfo(name).fileName()),
                               true);
    }
    ~LoadProgress()
    {
        if (m_progress)
            m_progress->finish();
    }
    Q_DISABLE_COPY(LoadProgress)

    /// Works on another thread, with `size` bytes to go through in all and their characters behind.
    template<typename Work>
    void during(const Work &work, int size)
    {
        m_total = 2 * (size / unit);
        m_done = 0;
        std::future<void> done = std::async(std::launch::async, work);
        while (done.wait_for(pause) != std::future_status::ready) {
            m_done = qMin(m_done + m_total / stepsOfReading, m_total / 2);
            goesOn(0);
        }
        m_done = m_total / 2;
    }
    /// So many characters are there. False if the user does not want the others.
    bool goesOn(int characters)
    {
        if (m_progress && !m_isCancelled)
            m_progress->setProgress(unsigned(qMin(m_done + characters / unit, m_total)),
                                    unsigned(m_total), &m_isCancelled);
        return !m_isCancelled;
    }

private:
    static constexpr std::chrono::milliseconds pause{50};
    static constexpr int stepsOfReading = 100;
    static constexpr int unit = 1024; // a progress counts in 32 bits

    Progress *m_progress = nullptr;
    int m_total = 0;
    int m_done = 0;
    bool m_isCancelled = false;
};

namespace
{
constexpr unsigned int codecDataId = 0xC0DE;

class CodeDocumentUserData : public QObjectUserData
{
public:
    int codecId = TextCodecs::index("UTF-8");
};

/// Warns of the first lines that something holds for, and at the last of them tells how many more
/// there are.
class LineWarnings
{
public:
    LineWarnings(CodeDocumentPrivate *document, const QString &codec)
        : m_document(document)
        , m_codec(codec)
    {
        m_document->beginUpdate();
    }
    ~LineWarnings()
    {
        if (m_more > 0)
            warn(0, m_last.length() - 1,
                 QCoreApplication::translate("Kiln::CodeDocument",
                                             "%1 lines below this one have such a warning, too.")
                     .arg(m_more));
        m_document->endUpdate();
    }
    Q_DISABLE_COPY(LineWarnings)

    /// `what` has the codec as %1. Without columns it is about the whole line.
    void add(const QTextBlock &line, const char *what, int begin = 0, int end = -1)
    {
        constexpr int mostLines = 100;
        if (m_lines == mostLines) {
            ++m_more;
            return;
        }
        ++m_lines;
        m_last = line;
        warn(begin, end < 0 ? line.length() - 1 : end,
             QCoreApplication::translate("Kiln::CodeDocument", what).arg(m_codec));
    }

private:
    /// A warning that the line has, as of the copy before, stays the only one.
    void warn(int begin, int end, const QString &text)
    {
        using Message = CodeBlockData::SyntaxMessage;
        if (const CodeBlockData *data = CodeDocumentPrivate::dataOf(m_last)) {
            const QVector<Message> &told = data->syntaxMessages();
            if (std::any_of(told.begin(), told.end(),
                            [&text](const Message &message) { return message.text == text; }))
                return;
        }
        m_document->addMessage(m_last, {Message::Warning, begin, end, text});
    }

    CodeDocumentPrivate *const m_document;
    const QString m_codec;
    QTextBlock m_last;
    int m_lines = 0;
    int m_more = 0;
};

/// What could be read of a file must not stand for all of it: the next save would cut it.
bool readWhole(Archive &archive, const QString &name, QByteArray *data)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device)
        return false;
    *data = device->readAll();
    const auto *file = qobject_cast<QFileDevice *>(device);
    const bool isWhole = device->atEnd() && !(file && file->error() != QFileDevice::NoError);
    archive.closeFile(device);
    return isWhole;
}

constexpr int largeFile = 8 << 20; // bytes from which on colours cost too much
constexpr int pieceSize = 1 << 20; // characters that are put in between two looks at the cancel

/// With one separator between the lines, as QTextDocument has it.
QString asStored(QString text)
{
    return text.replace(QLatin1String("\r\n"), QLatin1String("\n"))
        .replace(QLatin1Char('\r'), QLatin1Char('\n'))
        .replace(QLatin1Char('\n'), QChar::ParagraphSeparator);
}

/// What has to come into a text, and in place of what, to make another of it.
struct Difference {
    Difference(const QString &old, const QString &wanted)
    {
        const int shorter = std::min(old.size(), wanted.size());
        start = int(std::mismatch(old.begin(), old.begin() + shorter, wanted.begin()).first -
                    old.begin());
        const int same = int(
            std::mismatch(old.rbegin(), old.rbegin() + (shorter - start), wanted.rbegin()).first -
            old.rbegin());
        end = old.size() - same;
        added = wanted.mid(start, wanted.size() - start - same);
    }
    bool isNone() const { return start == end && added.isEmpty(); }
    QTextCursor place(const CodeDocument &document) const
    {
        QTextCursor cursor = document.cursor();
        cursor.setPosition(start);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        return cursor;
    }

    int start;
    int end;
    QString added;
};

/// Decodes a file. Of a long one that is to show it, the progress is given back, which goes on.
std::unique_ptr<LoadProgress> decode(const QByteArray &data,
                                     const QString &name,
                                     bool showsProgress,
                                     OriginalBytes *original,
                                     int *codecId,
                                     QString *text)
{
    const auto read = [&] { *text = original->read(data, codecId); };
    if (!showsProgress || data.size() <= pieceSize) {
        read();
        return nullptr;
    }
    auto progress = std::make_unique<LoadProgress>(name);
    progress->during(read, data.size());
    return progress;
}

/// replaceText() in pieces, all of them one step of undo, with a whole document whenever the
/// progress handles events. False, with the document as it was or gone, if the user does not want
/// it any more.
bool replaceInPieces(CodeDocument &document, const QString &text, LoadProgress &progress)
{
    const QPointer<QTextDocument> alive(&document);
    const bool wasModified = document.isModified();
    const Difference difference(document.toRawText(), asStored(text));
    const QString &added = difference.added;
    const QTextCursor place = difference.place(document);
    for (int at = 0; at < added.size();) {
        const int line =
            added.indexOf(QChar::ParagraphSeparator, qMin(at + pieceSize, added.size()));
        const int next = line < 0 ? added.size() : line + 1;
        QTextCursor step(&document);
        at == 0 ? step.beginEditBlock() : step.joinPreviousEditBlock();
        document.insertOnCursor(added.mid(at, next - at), place);
        step.endEditBlock();
        document.setModified(false); // half a text is nobody's work
        at = next;
        const bool goesOn = progress.goesOn(at);
        if (!alive)
            return false;
        if (goesOn)
            continue;
        document.undo();
        document.clearUndoRedoStacks(QTextDocument::RedoStack);
        document.setModified(wasModified);
        return false;
    }
    document.replaceText(text); // whatever was typed meanwhile
    return true;
}
} // namespace

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
void CodeDocument::createCodecData()
{
    QTextDocument::setUserData(codecDataId, new CodeDocumentUserData);
}

int &CodeDocument::codecData() const
{
    return static_cast<CodeDocumentUserData *>(QTextDocument::userData(codecDataId))->codecId;
}
QT_WARNING_POP

int CodeDocument::codecId() const
{
    return codecData();
}

void CodeDocument::setCodecId(int id)
{
    codecData() = id > 0 && id < TextCodecs::count() ? id : 0;
}

void CodeDocument::setCodec(const QString &name)
{
    setCodecId(TextCodecs::index(name.toLatin1().constData()));
}

QString CodeDocument::codecName() const
{
    return TextCodecs::name(codecId());
}

QChar CodeDocument::commentCharacter() const
{
    const Project *owner = project();
    ParentProject *parent = owner ? owner->parent() : nullptr;
    const Engine *engine = parent ? parent->engine() : nullptr;
    return engine ? QLatin1Char(engine->commentCharacter()) : QChar();
}

bool CodeDocument::canSave() const
{
    return true;
}

bool CodeDocument::isModified() const
{
    return QTextDocument::isModified();
}

bool CodeDocument::isEmpty() const
{
    return QTextDocument::isEmpty();
}

QAbstractItemModel *CodeDocument::model()
{
    return this;
}

QString CodeDocument::fileName()
{
    return metaInformation(DocumentUrl);
}

void CodeDocument::setFileName(const QString &name)
{
    const QFileInfo file(name);
    setMetaInformation(DocumentTitle, name.isEmpty() ? QString() : file.fileName());
    setMetaInformation(DocumentUrl, name.isEmpty() ? QString() : file.absoluteFilePath());
}

QString CodeDocument::title() const
{
    return metaInformation(DocumentTitle);
}

void CodeDocument::setTitle(const QString &title)
{
    setMetaInformation(DocumentTitle, title);
}

QString CodeDocument::toString() const
{
    return toPlainText();
}

void CodeDocument::setVersion(unsigned short version)
{
    m_version = version;
}

/// Replaces the text as a whole; the model starts anew. Name and title stay. False if the user does
/// not want it any more; the document is empty then, or gone.
bool CodeDocument::loadText(const QString &text, LoadProgress *progress)
{
    const QPointer<QTextDocument> alive(this);
    const QString title = this->title();
    const QString url = fileName();
    d->resetting = true;
    beginResetModel();
    d->beginUpdate();
    bool isWanted = true;
    if (progress)
        isWanted = putPieces(text, *progress);
    else
        setPlainText(text);
    if (!alive)
        return false;
    d->endUpdate();
    endResetModel();
    announceRows();
    setMetaInformation(DocumentTitle, title);
    setMetaInformation(DocumentUrl, url);
    return isWanted;
}

/// Line by line in pieces, so that text and tree are in step whenever the progress handles events.
bool CodeDocument::putPieces(const QString &text, LoadProgress &progress)
{
    const QPointer<QTextDocument> alive(this);
    setUndoRedoEnabled(false);
    QTextCursor end(this);
    int at = 0;
    while (at < text.size() && progress.goesOn(at)) {
        if (!alive)
            return false;
        const int line = text.indexOf(QLatin1Char('\n'), qMin(at + pieceSize, text.size()));
        const int next = line < 0 ? text.size() : line + 1;
        end.movePosition(QTextCursor::End);
        end.insertText(text.mid(at, next - at));
        setModified(false);
        at = next;
    }
    if (!alive)
        return false;
    const bool isWhole = at == text.size();
    if (!isWhole)
        clear();
    setUndoRedoEnabled(true);
    return isWhole;
}

void CodeDocument::fromString(const QString &text)
{
    setFileName(QString());
    d->original = OriginalBytes();
    loadText(text, nullptr);
    setCodec(QStringLiteral("UTF-8"));
    setModified(false);
}

void CodeDocument::reset()
{
    d->resetting = true;
    beginResetModel();
    setFileName(QString());
    d->original = OriginalBytes();
    clear();
    setModified(false);
    emit modificationChanged(false);
    setCodec(QStringLiteral("UTF-8"));
    endResetModel();
    announceRows();
}

bool CodeDocument::fromFile(Archive &archive, const QString &name, bool asCopy)
{
    return load(archive, name, -1, asCopy, true);
}

bool CodeDocument::fromFile(Archive &archive, const QString &name, int codecId, bool asCopy)
{
    return load(archive, name, codecId, asCopy, false);
}

bool CodeDocument::load(Archive &archive, const QString &name, int codecId, bool asCopy, bool watch)
{
    const QPointer<QTextDocument> alive(this);
    const FileStamp stamp = FileStamp::of(name);
    QByteArray data;
    d->wasCancelled = false;
    if (!readWhole(archive, name, &data))
        return false;
    if (data.size() >= largeFile && d->detail == WithColors && isEmpty())
        setDetail(WithNodes);
    OriginalBytes original;
    QString text;
    const std::unique_ptr<LoadProgress> progress =
        decode(data, name, d->showsProgress && isEmpty(), &original, &codecId, &text);
    if (!alive)
        return false;
    d->original = original;
    setCodecId(codecId);
    const bool isWanted =
        (!progress || progress->goesOn(0)) && alive && loadText(text, progress.get());
    if (!alive)
        return false;
    d->wasCancelled = !isWanted;
    if (!isWanted)
        return false;
    bindOriginal();
    warnOfBytes(text);
    if (!asCopy) {
        if (watch)
            FileWatchObject::fromFile(archive, name, asCopy);
        setFileName(name);
        FileWatchObject::loaded(stamp, name, data);
    }
    setModified(asCopy);
    ProjectFile::fromFile(archive, name, asCopy);
    return true;
}

void CodeDocument::setDetail(Detail detail)
{
    if (detail <= d->detail)
        return;
    d->detail = detail;
    d->setDocument(nullptr);
    for (const char *key : {"parseCode", "modelCode", "highlightCode"}) {
        if (detail == TextOnly)
            setOption(QLatin1String(key), false, false, false);
    }
}

CodeDocument::Detail CodeDocument::detail() const
{
    return d->detail;
}

void CodeDocument::setShowsProgress(bool shows)
{
    d->showsProgress = shows;
}

bool CodeDocument::wasLoadCancelled() const
{
    return d->wasCancelled;
}

void CodeDocument::reload()
{
    fromFile(archive(), fileName(), codecId(), false);
}

void CodeDocument::rename(const QString &name)
{
    FileWatchObject::fromFile(archive(), name, false);
    setFileName(name);
    // The tree looks for the name then.
    emit modificationChanged(isModified());
}

bool CodeDocument::reloadAsEdit()
{
    const QPointer<QTextDocument> alive(this);
    const QString name = fileName();
    const FileStamp stamp = FileStamp::of(name);
    QByteArray data;
    d->wasCancelled = false;
    if (!readWhole(archive(), name, &data))
        return false;
    const bool hadBytes = !d->original.keptLines().isEmpty() || d->original.unreadLine() >= 0 ||
                          RawUtf8::indexOfByte(toRawText()) >= 0;
    OriginalBytes original;
    QString text;
    int id = codecId();
    const std::unique_ptr<LoadProgress> progress =
        decode(data, name, d->showsProgress, &original, &id, &text);
    if (!alive)
        return false;
    if (!progress)
        replaceText(text);
    else if (!progress->goesOn(0) || !alive || !replaceInPieces(*this, text, *progress)) {
        if (alive)
            d->wasCancelled = true;
        return false;
    }
    d->original = original;
    for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
        if (CodeBlockData *record = CodeBlockData::testBlockData(block))
            record->d->originalLine = 0;
    }
    bindOriginal();
    if (hadBytes) // lines that stay have their warnings already
        rehighlight();
    warnOfBytes(text);
    FileWatchObject::loaded(stamp, name, data);
    setModified(false);
    return true;
}

bool CodeDocument::toFile(Archive &archive, const QString &name, bool asCopy)
{
    // Nothing of the document changes before the file could be opened and written.
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    if (!device)
        return false;
    const int unicode = TextCodecs::index("UTF-8");
    bool encodes = true;
    bool encodesNow = true;
    QByteArray data = d->original.write(*this, codecId(), &encodes);
    if (!encodes)
        data = d->original.write(*this, unicode, &encodesNow);
    const bool isWritten = writeAll(device, data);
    const QString before = fileName();
    // Closing writes, and the watch is to know that for the document's own.
    if (isWritten)
        FileWatchObject::toFile(archive, name, asCopy);
    if (!archive.closeWritten(device) || !isWritten) {
        if (isWritten && !asCopy && !before.isEmpty()) {
            setFileName(name);
            FileWatchObject::fromFile(archive, before, asCopy);
            setFileName(before);
        }
        return false;
    }
    if (!encodes)
        warnOfEncoding();
    if (!asCopy) {
        if (!encodes)
            setCodecId(unicode);
        // A host may close the document once it is saved.
        const QPointer<QAbstractItemModel> alive(model());
        setModified(false);
        if (!alive)
            return true;
        setFileName(name);
        // The tree looks for the name then, also where nothing was modified.
        if (fileName() != before)
            emit modificationChanged(false);
        if (!alive)
            return true;
    }
    ProjectFile::toFile(archive, name, asCopy);
    return true;
}

int CodeDocumentPrivate::originalLineOf(const QTextBlock &block)
{
    const CodeBlockData *data = dataOf(block);
    return data ? data->d->originalLine - 1 : -1;
}

/// Tells lines that were just loaded which of OriginalBytes::keptLines() they are.
void CodeDocument::bindOriginal()
{
    int number = 0;
    for (const int line : d->original.keptLines())
        CodeBlockData::blockData(findBlockByNumber(line), d)->d->originalLine = ++number;
}

/// Tells of the lines of a file just loaded that are not in its encoding.
void CodeDocument::warnOfBytes(const QString &text)
{
    LineWarnings warnings(d, codecName());
    for (const int number : d->original.keptLines())
        warnings.add(findBlockByNumber(number),
                     QT_TRANSLATE_NOOP("Kiln::CodeDocument",
                                       "This line is not wholly in the encoding %1. Its bytes are "
                                       "kept until it is edited."));
    if (d->original.unreadLine() >= 0)
        warnings.add(
            findBlockByNumber(d->original.unreadLine()),
            QT_TRANSLATE_NOOP("Kiln::CodeDocument",
                              "From here on the file is not wholly in the encoding %1. Its "
                              "bytes are kept until it is edited or gets another encoding; "
                              "what could not be read is lost then."));
    const bool hasBytes =
        codecId() == TextCodecs::index("UTF-8") && RawUtf8::indexOfByte(text) >= 0;
    for (QTextBlock line = hasBytes ? begin() : QTextBlock(); line.isValid(); line = line.next()) {
        const int column = RawUtf8::indexOfByte(line.text());
        if (column >= 0)
            warnings.add(
                line,
                QT_TRANSLATE_NOOP("Kiln::CodeDocument",
                                  "Bytes of this line are not in the encoding %1. They are "
                                  "shown as private characters and are saved as they are."),
                column, column + 2);
    }
}

/// Names the lines for which the file was saved in UTF-8. The lines whose bytes are kept have been
/// told of on loading.
void CodeDocument::warnOfEncoding()
{
    LineWarnings warnings(d, codecName());
    for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
        if (!d->original.canEncode(block.text(), codecId()))
            warnings.add(block,
                         QT_TRANSLATE_NOOP("Kiln::CodeDocument",
                                           "The encoding %1 does not have all characters of this "
                                           "line. The file was saved in UTF-8."));
    }
}

void CodeDocument::replaceText(const QString &text)
{
    const Difference difference(toRawText(), asStored(text));
    if (!difference.isNone())
        insertOnCursor(difference.added, difference.place(*this));
}

QList<ProjectFile::SearchResult> CodeDocument::search(const QRegularExpression &expression)
{
    QList<SearchResult> results;
    if (!expression.isValid())
        return results;
    const QString text = toPlainText();
    QString lineText; // one for all matches of a line, however long it is
    int line = -1;
    QRegularExpressionMatchIterator matches = expression.globalMatch(TextMatch::wellFormed(text));
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        QTextBlock block = findBlock(match.capturedStart());
        if (line != block.blockNumber()) {
            line = block.blockNumber();
            lineText = block.text();
        }
        SearchResult result;
        result.line = unsigned(line);
        result.start = unsigned(match.capturedStart() - block.position());
        result.length = unsigned(match.capturedLength());
        result.text = lineText;
        result.captured = TextMatch::captures(text, match);
        int rest = match.capturedEnd() - (block.position() + block.length());
        for (block = block.next(); rest > 0 && block.isValid(); block = block.next()) {
            result.text += block.text().leftRef(rest);
            rest -= block.length();
        }
        results.append(result);
    }
    return results;
}

void CodeDocument::replace(const QList<SearchResult> &results, const QString &text)
{
    if (results.isEmpty())
        return;
    beginChange();
    const bool isWithin = d->changeDepth > 1;
    QTextBlock below;
    for (int i = results.size() - 1; i >= 0; --i) {
        const SearchResult &result = results.at(i);
        const QTextBlock block = findBlockByNumber(int(result.line));
        const qint64 start = qint64(block.position()) + result.start;
        if (!block.isValid() || start + result.length >= characterCount())
            continue;
        QTextCursor cursor = d->cursor;
        cursor.setPosition(int(start));
        cursor.setPosition(int(start) + int(result.length), QTextCursor::KeepAnchor);
        if (i + 1 == results.size() || results.at(i + 1).line != result.line)
            below = findBlock(cursor.selectionEnd()).next();
        cursor.insertText(TextMatch::filledIn(text, result.captured));
        // Once for a line, however many matches it had.
        if (isWithin && (i == 0 || results.at(i - 1).line != result.line))
            d->parseInBracket(findBlockByNumber(int(result.line)), below);
    }
    endChange();
}
} // namespace Kiln

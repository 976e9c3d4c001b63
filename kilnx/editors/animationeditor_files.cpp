// Animations of files and of other projects in the animation editor's file, and out of it.

#include <kilnx/code/codedocument.h>
#include <kilnx/editors/animationeditor_p.h>
#include <kilnx/editors/eachitem_p.h>
#include <kilnx/editors/importplan_p.h>
#include <kilnx/forms/itemsdialog.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/image/gif.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/paths.h>
#include <kilnx/project/progress.h>
#include <kilnx/project/project.h>

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

#include <algorithm>
#include <climits>
#include <cmath>

namespace Kiln
{

namespace
{

constexpr int endlessTicks = 60;       ///< of a frame that stays, in a picture that has to go on
constexpr int shortestDelay = 2;       ///< in hundredths of a second: players take less for 10
constexpr qint64 mostPixels = 1 << 28; ///< of all frames of a picture
constexpr int longestSide = 0xFFFF;    ///< of a frame

struct Released {
    void operator()(ProjectFile *file) const { file->release(); }
};
using FilePointer = std::unique_ptr<ProjectFile, Released>;

Animations *listOf(ProjectFile *file)
{
    auto *document = dynamic_cast<CodeDocument *>(file);
    return document ? dynamic_cast<Animations *>(document->documentEditor(CodeNode::Animation, 0))
                    : nullptr;
}

const QString identifierName = QStringLiteral("Identifier");

QString codeOf(const AnimationCode *animation)
{
    return animation->code().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

QString nameOf(const Animations &list, int row)
{
    return list.at(unsigned(row))->property(identifierName).toString();
}

/// The index of a clear colour, -1 for none.
int clearIndex(const QVector<QRgb> &table)
{
    const auto clear =
        std::find_if(table.cbegin(), table.cend(), [](QRgb color) { return qAlpha(color) == 0; });
    return clear == table.cend() ? -1 : int(clear - table.cbegin());
}

/// With a clear colour among those of the picture: the file tells no time of one without.
QImage withClearColor(const QImage &picture)
{
    QVector<QRgb> table = picture.colorTable();
    if (picture.format() != QImage::Format_Indexed8 || clearIndex(table) >= 0)
        return picture;
    if (table.size() >= 256)
        return picture.convertToFormat(QImage::Format_ARGB32);
    QImage changed = picture;
    changed.setColorTable(table << qRgba(0, 0, 0, 0));
    return changed;
}

/// A clear pixel in the colours of the other pictures, where the first of them is; null when there
/// is none.
AnimImageFrame clearFrame(const QVector<AnimImageFrame> &frames)
{
    const auto seen = std::find_if(frames.cbegin(), frames.cend(), [](const AnimImageFrame &frame) {
        return !frame.image.isNull();
    });
    if (seen == frames.cend())
        return {};
    const auto indexed =
        std::find_if(frames.cbegin(), frames.cend(), [](const AnimImageFrame &frame) {
            return frame.image.format() == QImage::Format_Indexed8;
        });
    const bool isIndexed = indexed != frames.cend();
    QImage pixel(1, 1, isIndexed ? QImage::Format_Indexed8 : QImage::Format_ARGB32);
    if (isIndexed)
        pixel.setColorTable(indexed->image.colorTable());
    pixel.fill(isIndexed ? uint(clearIndex(pixel.colorTable())) : 0U);
    return {pixel, seen->offset};
}

/// Times are rounded from the start on rather than each for itself, so that a loop keeps its
/// length. What a frame is shown too long, because it has to be, those behind it make up for.
void setDelays(QVector<AnimImageFrame> &frames)
{
    qint64 ticks = 0;
    qint64 told = 0;
    for (AnimImageFrame &frame : frames) {
        ticks += frame.ticks;
        const qint64 delay = qMax<qint64>(shortestDelay, (ticks * 10 + 3) / 6 - told);
        told += delay;
        frame.delay = int(qMin<qint64>(delay, SHRT_MAX));
    }
}

int within(double value)
{
    constexpr double most = 1 << 28;
    return int(qBound(-most, value, most));
}

bool haveOnePalette(const QVector<AnimImageFrame> &frames)
{
    return std::all_of(frames.cbegin(), frames.cend(), [&](const AnimImageFrame &frame) {
        return frame.image.format() == QImage::Format_Indexed8 &&
               frame.image.colorTable() == frames.first().image.colorTable();
    });
}

} // namespace

QString AnimationEditorPrivate::startPath(const char *key) const
{
    const QString own = fileOption(key).toString();
    return own.isEmpty() ? fileOption("project_path").toString() : own;
}

// --- Pictures

/// Whether there is memory for what the scales in the text ask for.
bool AnimationEditorPrivate::picturesFit() const
{
    double pixels = 0;
    for (const int at : startRows) {
        FrameCode *each = animation()->frameAt(unsigned(at));
        Sprite *sprite = spriteOf(each);
        if (!sprite)
            continue;
        const QPointF scale = editor->spriteProperty(each, sprite, Scale).toPointF();
        const double width = sprite->imageInfo().width * scale.x();
        const double height = sprite->imageInfo().height * scale.y();
        pixels += width * height;
        if (width > longestSide || height > longestSide)
            return false;
    }
    return pixels <= double(mostPixels);
}

/// The frame as the viewport shows it: mirrored, scaled and turned, with the axis where it stands.
/// One that is hardly seen has no picture.
AnimImageFrame AnimationEditorPrivate::pictureOf(FrameCode *shown) const
{
    Sprite *sprite = spriteOf(shown);
    AnimImageFrame picture;
    picture.ticks = shown->delay() < 0 ? endlessTicks : shown->delay();
    const auto said = [&](unsigned int id) { return editor->spriteProperty(shown, sprite, id); };
    if (!sprite || (said(Opacity).isValid() && said(Opacity).toFloat() < 0.5F))
        return picture;
    const QPointF scale = said(Scale).toPointF();
    const int mirror = said(Mirror).toInt();
    QImage image = withClearColor(sprite->image());
    const QSize size(int(image.width() * scale.x()), int(image.height() * scale.y()));
    image = image.mirrored(mirror & 1, mirror & 2);
    if (size != image.size())
        image = image.scaled(size);
    const QPoint position = said(Position).toPoint();
    QPoint corner(within(position.x() * scale.x()), within(position.y() * scale.y()));
    const double angle = said(Angle).toDouble();
    if (angle != 0 && std::isfinite(angle)) {
        const QPointF pivot = said(Pivot).toPointF();
        const QPointF about(pivot.x() * scale.x(), pivot.y() * scale.y());
        const QTransform turn = QTransform().rotate(-angle);
        const QPointF moved = QImage::trueMatrix(turn, size.width(), size.height()).map(about);
        image = image.convertToFormat(QImage::Format_ARGB32)
                    .transformed(turn)
                    .convertToFormat(QImage::Format_ARGB32);
        corner += (about - moved).toPoint();
    }
    picture.image = image;
    picture.offset = -corner;
    return picture;
}

/// The frames that are seen, up to one that stays. Those without a picture are clear pixels, so
/// that their time passes. Empty when none has one, and when `step` has ended the work.
QVector<AnimImageFrame> AnimationEditorPrivate::pictures(const std::function<bool()> &step) const
{
    QVector<AnimImageFrame> found;
    const QVector<int> rows = startRows;
    for (const int at : rows) {
        found.append(pictureOf(animation()->frameAt(unsigned(at))));
        if (!step())
            return {};
    }
    const AnimImageFrame clear = clearFrame(found);
    if (clear.image.isNull())
        return {};
    for (AnimImageFrame &picture : found) {
        if (!picture.image.isNull())
            continue;
        picture.image = clear.image;
        picture.offset = clear.offset;
    }
    setDelays(found);
    return found;
}

/// Whether there is a frame with a picture.
bool AnimationEditorPrivate::isAnySeen() const
{
    return std::any_of(startRows.cbegin(), startRows.cend(), [this](int at) {
        return !pictureOf(animation()->frameAt(unsigned(at))).image.isNull();
    });
}

void AnimationEditorPrivate::saveGIF()
{
    if (!animation() || working)
        return;
    const Still still(this);
    const QString title = AnimationEditor::tr("Save as animated GIF");
    const bool fits = picturesFit();
    if (!fits || !isAnySeen()) {
        showWarning(window(), title,
                    fits ? AnimationEditor::tr("You can't save an empty animation as GIF.")
                         : AnimationEditor::tr("The frames are too large for a GIF."));
        return;
    }
    const QString path =
        getSaveFileName(window(), title, startPath("gif_path"),
                        AnimationEditor::tr("Animated GIF (*.gif)"), QStringLiteral(".gif"));
    if (path.isEmpty() || !still.isSo())
        return;
    keepOption("gif_path", QFileInfo(path).absolutePath());
    QByteArray encoded;
    if (!encode(&encoded))
        return;
    QSaveFile file(path);
    if (encoded.isEmpty() || !file.open(QIODevice::WriteOnly) || !writeAll(&file, encoded) ||
        !file.commit())
        showWarning(window(), title,
                    AnimationEditor::tr("The file '%1' could not be written!")
                        .arg(QDir::toNativeSeparators(path)));
}

/// The animation as the bytes of a GIF, none for what no GIF can hold. False when the user has
/// cancelled, or another place is shown.
bool AnimationEditorPrivate::encode(QByteArray *bytes)
{
    const Still still(this);
    const QPointer<AnimationEditorPrivate> self(this);
    const bool loops = !endsBehindLastFrame();
    bool cancelled = false;
    unsigned int done = 0;
    working = true;
    Progress *progress = interface->progress(text(52), true);
    progress->setProgress(0, unsigned(startRows.size()) * (1 + GifStepsOfFrame), &cancelled);
    const auto step = [&] {
        progress->setProgress(++done, 0, &cancelled);
        return !cancelled && still.isSo();
    };
    QBuffer device(bytes);
    if (!cancelled && still.isSo()) {
        const QVector<AnimImageFrame> frames = pictures(step);
        if (!cancelled && still.isSo() &&
            !Kiln::saveGIF(&device, frames, haveOnePalette(frames), loops, step))
            bytes->clear();
    }
    progress->finish();
    if (self)
        working = false;
    return !cancelled && still.isSo();
}

// --- Files of animations

/// The engine's pattern of files of animations, and its first suffix.
QString AnimationEditorPrivate::fileFilter(QString *suffix) const
{
    const Engine *engine = interface->engine();
    const QString pattern =
        engine ? engine->singleFileFilters().value(int(Project::FileID::Animations)) : QString();
    if (suffix)
        *suffix = pattern.section(QLatin1Char(' '), 0, 0).mid(1);
    return QStringLiteral("%1 (%2)").arg(text(46), pattern);
}

QList<int> AnimationEditorPrivate::pickRows(const QString &title, Animations *from, int current)
{
    const QPointer<ItemsDialog> dialog = interface->itemsDialog(window(), title, from, current);
    const bool accepted = dialog->exec() == QDialog::Accepted && dialog;
    const QList<int> rows = accepted ? dialog->selectedRows() : QList<int>();
    delete dialog;
    return rows;
}

void AnimationEditorPrivate::exportTo()
{
    if (!list || working)
        return;
    const Still still(this);
    const QString title = AnimationEditor::tr("Export animations");
    const QList<int> rows = pickRows(title, list, row.isValid() ? row.row() : -1);
    if (rows.isEmpty() || !still.isSo())
        return;
    QString suffix;
    const QString filter = fileFilter(&suffix);
    const QString path = getSaveFileName(window(), title, startPath("anim_path"), filter, suffix);
    if (path.isEmpty() || !still.isSo())
        return;
    keepOption("anim_path", QFileInfo(path).absolutePath());
    QStringList codes;
    if (collect(rows, &codes) && still.isSo() &&
        !writeFile(path, codes.join(QLatin1String("\n\n"))))
        showWarning(window(), title,
                    AnimationEditor::tr("The file '%1' could not be written!")
                        .arg(QDir::toNativeSeparators(path)));
}

/// The texts of animations, with progress. False when the user has cancelled, or the file is gone.
bool AnimationEditorPrivate::collect(const QList<int> &rows, QStringList *codes)
{
    return doWithEach(this, rows.size(), AnimationEditor::tr("Exporting animations..."),
                      [this, &rows, codes](int i) {
                          if (const AnimationCode *each = list->at(unsigned(rows[i])))
                              codes->append(codeOf(each));
                      });
}

/// By a document of the engine, so that encoding and line ends are those of its files.
bool AnimationEditorPrivate::writeFile(const QString &path, const QString &text)
{
    Engine *engine = interface->engine();
    const FilePointer file(engine ? engine->createFile(Project::FileID::Animations, list->project())
                                  : nullptr);
    auto *written = dynamic_cast<CodeDocument *>(file.get());
    if (!written)
        return false;
    written->fromString(text + QLatin1Char('\n'));
    return written->toFile(FileSystemArchive::instance(), path, true);
}

void AnimationEditorPrivate::importFrom()
{
    Engine *engine = interface->engine();
    if (!list || working || !engine)
        return;
    const Still still(this);
    const QString title = AnimationEditor::tr("Import animations");
    const QString path =
        getOpenFileName(window(), title, startPath("anim_path"), fileFilter(nullptr));
    if (path.isEmpty() || !still.isSo())
        return;
    keepOption("anim_path", QFileInfo(path).absolutePath());
    const FilePointer file(engine->createFile(Project::FileID::Animations, list->project()));
    Animations *source = listOf(file.get());
    if (!source || !file->fromFile(FileSystemArchive::instance(), path, true)) {
        showWarning(window(), title,
                    AnimationEditor::tr("The file '%1' could not be read!")
                        .arg(QDir::toNativeSeparators(path)));
        return;
    }
    const QList<int> rows = pickRows(title, source, 0);
    if (rows.isEmpty() || !still.isSo())
        return;
    QVector<Incoming> items;
    for (const int at : rows)
        items.append({codeOf(source->at(unsigned(at))), nameOf(*source, at)});
    takeIn(items, ConflictPolicy::Ask, text(71));
}

void AnimationEditorPrivate::projImport()
{
    Project *project = list ? list->project() : nullptr;
    if (!project || working)
        return;
    const Still still(this);
    const QString warning = AnimationEditor::tr("Warning");
    const QString sameProject =
        AnimationEditor::tr("You can't import from the destination project!");
    if (interface->projectCount() < 2)
        showWarning(window(), warning, sameProject);
    if (!still.isSo())
        return;
    editor->switchToThis();
    AnimImportDlg dialog(interface, project, window());
    if (dialog.exec() != QDialog::Accepted || !still.isSo())
        return;
    const ImportOptions options = dialog.options();
    const QPointer<Animations> source =
        options.project ? listOf(options.project->file(Project::FileID::Animations)) : nullptr;
    if (source && source == list) {
        showWarning(window(), warning, sameProject);
        return;
    }
    QVector<QPersistentModelIndex> picked; // behind a box the source may have other rows
    for (const ImportItem *item : options.items)
        picked.append(source ? source->index(item->row) : QModelIndex());
    QVector<Incoming> items;
    for (int i = 0; i < picked.size(); ++i) {
        const ImportItem *item = options.items[i];
        const AnimationCode *each =
            source && picked[i].isValid() ? source->at(unsigned(picked[i].row())) : nullptr;
        if (each)
            items.append({codeOf(each), item->name});
        else if (options.project)
            warnOfImport(*interface, QStringLiteral("animation"), item->row,
                         options.project->displayName());
        if (!still.isSo())
            return;
    }
    takeIn(items, options.policy, text(72));
}

/// All questions first, then one change, behind the current animation, of which the user is told
/// unless the file was closed behind a box, or the user has cancelled.
void AnimationEditorPrivate::takeIn(const QVector<Incoming> &offered,
                                    ConflictPolicy policy,
                                    const QString &title)
{
    const Still still(this);
    const int first = row.isValid() ? row.row() + 1 : 0;
    ImportPlan plan(
        window(), *list, first, policy,
        AnimationEditor::tr("Animation '%1' already exists, do you want to replace it?"),
        [this](int at) { return nameOf(*list, at); });
    for (int i = 0; i < offered.size(); ++i) {
        plan.settle(i, offered[i].name);
        if (!still.isSo())
            return;
    }
    // What is replaced keeps its row, and the new ones come last.
    QVector<QPair<int, Incoming>> rows;
    for (const ImportPlan::Step &step : plan.steps())
        rows.append({step.replaced.row(), {offered[step.item].code, step.name}});
    std::stable_partition(rows.begin(), rows.end(),
                          [](const QPair<int, Incoming> &each) { return each.first >= 0; });
    const QString anyName = list->freeIdentifier(); // until the code comes, which has its own
    int added = 0;
    const bool isDone =
        writeEach(rows.size(), AnimationEditor::tr("Importing animations..."), [&](int i) {
            const int at = rows[i].first;
            put(at >= 0 ? list->at(unsigned(at)) : list->insert(unsigned(first + added++), anyName),
                rows[i].second);
        });
    if (!isDone)
        return;
    if (added > 0)
        select(first, 0, true);
    showInformation(window(), title,
                    added > 0
                        ? AnimationEditor::tr("%n new animation(s) were imported!", nullptr, added)
                        : AnimationEditor::tr("No new animation imported!"));
}

/// The text of an animation in the place of another, under the name that it has here.
void AnimationEditorPrivate::put(AnimationCode *target, const Incoming &item)
{
    const int at = list->indexOf(target);
    if (at < 0)
        return;
    target->setCode(item.code);
    AnimationCode *taken = list->at(unsigned(at));
    if (taken && nameOf(*list, at) != item.name)
        taken->setProperty(identifierName, item.name);
}

} // namespace Kiln

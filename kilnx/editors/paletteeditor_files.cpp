#include <kilnx/editors/exportfiles_p.h>
#include <kilnx/editors/paletteeditor_p.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/forms/sprimport.h>
#include <kilnx/project/archive.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/paths.h>

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <algorithm>
#include <array>

namespace Kiln
{

namespace
{

using Colors = std::array<RGBA, 256>;

const QLatin1String identifierName("Identifier");
const QLatin1String suffix(".act");
/// Of a file's name, in characters; what stands behind it must still fit.
const int longestName = 80;

/// Leaves `colors` alone unless it is read. Shares nothing, so any thread may call it.
bool readPalette(const QString &path, Colors &colors)
{
    QFile file(path);
    RGBA table[256];
    PaletteObject object(&table);
    if (!file.open(QIODevice::ReadOnly) || !object.fromFile(&file, fileExtension(path).constData()))
        return false;
    std::copy_n(table, 256, colors.begin());
    return true;
}

QByteArray encoded(const Palette &palette)
{
    RGBA table[256];
    palette.toPalette(table);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PaletteObject(&table).toFile(&buffer, "ACT");
    return buffer.data();
}

/// A palette file that is to be written.
struct Output {
    QString path;
    QByteArray bytes;
};

/// What makes no name of a file, in no system, becomes "_".
QString fileNameOf(const QString &identifier)
{
    static const QRegularExpression refused(QStringLiteral("[\\x00-\\x1f\\x7f/\\\\:*?\"<>|]"));
    QString name = identifier.left(longestName);
    name.replace(refused, QStringLiteral("_"));
    return name.isEmpty() || name.startsWith(QLatin1Char('.')) ? QLatin1Char('_') + name : name;
}

/// Every palette has a file of its own, on file systems without letter case too.
QString freeName(const QString &identifier, QSet<QString> &taken)
{
    const QString wish = fileNameOf(identifier);
    QString name = wish;
    for (int number = 2; taken.contains(name.toLower()); ++number)
        name = QStringLiteral("%1_%2").arg(wish).arg(number);
    taken.insert(name.toLower());
    return name;
}

void tellOf(const QStringList &files,
            const QString &title,
            const QString &text,
            Interface *interface)
{
    if (!files.isEmpty())
        showWarning(interface->mainWindow(), title, text.arg(listedNames(files)));
}

/// Asks for the name of one file, or for the directory of several, and makes whole paths of the
/// names. False if the user cancels, or does not want files replaced.
bool choosePlace(QVector<Output> &outputs,
                 const QString &title,
                 const QString &startPath,
                 QWidget *window)
{
    if (outputs.size() == 1) {
        QString &path = outputs.first().path;
        path = getSaveFileName(window, title, QDir(startPath).filePath(path),
                               QLatin1String(fileExtension(PaletteSave)), suffix);
        return !path.isEmpty();
    }
    const QString directory = getExistingDirectory(window, title, startPath);
    if (directory.isEmpty())
        return false;
    int present = 0;
    for (Output &output : outputs) {
        output.path = QDir(directory).filePath(output.path);
        present += QFile::exists(output.path);
    }
    return present == 0 ||
           askQuestion(window, title,
                       PaletteEditor::tr("%n of the files exist. Do you want to replace them?",
                                         nullptr, present));
}

/// Goes on past files that cannot be written. After a cancel all is as it was before.
void writeFiles(const QVector<Output> &outputs, Interface *interface)
{
    const auto total = static_cast<unsigned int>(outputs.size());
    Progress *progress = interface->progress(PaletteEditor::tr("Saving palettes..."), true);
    progress->setProgress(0, total);
    ExportedFiles files;
    QStringList failed;
    const auto tell = [&failed](const QString &path) {
        failed.append(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path),
                                                   FileSystemArchive::lastError()));
    };
    bool isCanceled = false;
    for (unsigned int i = 0; i < total && !isCanceled; ++i) {
        if (!files.write(outputs[int(i)].path, outputs[int(i)].bytes))
            tell(outputs[int(i)].path);
        progress->setProgress(i + 1, 0, &isCanceled);
    }
    progress->finish();
    if (isCanceled)
        return;
    const QStringList refused = files.commit();
    std::for_each(refused.cbegin(), refused.cend(), tell);
    tellOf(failed, PaletteEditor::tr("Save palettes"),
           PaletteEditor::tr("These files cannot be written:\n%1"), interface);
}

} // namespace

QString PaletteEditorPrivate::openFilter() const
{
    return PaletteEditor::tr("All palettes") + QLatin1String(fileExtension(PaletteOpenAll)) +
           QLatin1String(fileExtension(PaletteOpen));
}

QString PaletteEditorPrivate::startPath() const
{
    return interface->option(QStringLiteral("project_path"), QVariant()).toString();
}

void PaletteEditorPrivate::add()
{
    if (!ready())
        return;
    const Still still(this);
    const bool fromFiles =
        askQuestion(window(), PaletteEditor::tr("Add palette"),
                    PaletteEditor::tr("Do you want to load the palettes from files?"));
    if (!still.isSo())
        return;
    if (fromFiles)
        addFiles();
    else
        addEmpty();
}

void PaletteEditorPrivate::addEmpty()
{
    const RGBA colors[256] = {};
    const unsigned int index = count() > 0 ? palettes->current() + 1 : 0;
    const QPersistentModelIndex before = row;
    palettes->insert(index, colors, QString(), true);
    setCurrent(index);
    cameFrom = before;
}

/// All files are read before the first palette goes into the list.
void PaletteEditorPrivate::addFiles()
{
    const Still still(this);
    const QString title = PaletteEditor::tr("Add palettes");
    const QStringList paths = getOpenFileNames(window(), title, startPath(), openFilter());
    if (paths.isEmpty() || !still.isSo())
        return;
    const QPointer<SprImport> dialog(new SprImport(window(), title, paths));
    dialog->exec();
    const QVector<SprImport::Answer> answers =
        dialog ? dialog->answers() : QVector<SprImport::Answer>();
    delete dialog;
    if (answers.size() != paths.size() || !still.isSo())
        return;

    Interface *const host = interface;
    QVector<QPair<QString, Colors>> read;
    QStringList failed;
    bool isCanceled = false;
    Progress *progress = host->progress(PaletteEditor::tr("Loading palettes..."), true);
    progress->setProgress(0, unsigned(paths.size()));
    for (int file = 0; file < paths.size() && !isCanceled; ++file) {
        Colors colors;
        if (readPalette(paths[file], colors))
            read.append({answers[file].identifier, colors});
        else
            failed.append(QDir::toNativeSeparators(paths[file]));
        progress->setProgress(unsigned(file) + 1, 0, &isCanceled);
    }
    progress->finish();
    if (isCanceled || !still.isSo())
        return;

    if (!read.isEmpty()) {
        const QPersistentModelIndex before = row;
        unsigned int index = count() > 0 ? palettes->current() + 1 : 0;
        palettes->beginChange();
        for (const auto &palette : qAsConst(read))
            palettes->insert(index++, palette.second.data(), palette.first, false);
        palettes->endChange();
        setCurrent(index - 1);
        cameFrom = before;
    }
    tellOf(failed, title, PaletteEditor::tr("These files have no palette that can be read:\n%1"),
           host);
}

void PaletteEditorPrivate::open()
{
    if (!ready() || !row.isValid())
        return;
    const Still still(this);
    const QPersistentModelIndex target = row;
    const QString title = PaletteEditor::tr("Open palette");
    const QString path = getOpenFileName(window(), title, startPath(), openFilter());
    if (path.isEmpty() || !still.isSo() || !target.isValid())
        return;
    Colors colors;
    if (readPalette(path, colors))
        palettes->at(unsigned(target.row()))->setColors(colors.data(), Palette::SetReplaced);
    else
        tellOf({QDir::toNativeSeparators(path)}, title,
               PaletteEditor::tr("These files have no palette that can be read:\n%1"), interface);
}

/// What is written, and where, is settled before the first file is: the palettes may go meanwhile.
void PaletteEditorPrivate::save()
{
    if (!palettes || !row.isValid())
        return;
    const Still still(this);
    const QString title = PaletteEditor::tr("Save palettes");
    const QList<int> rows = chosenRows(title, palettes, row.row());
    if (rows.isEmpty() || !still.isSo())
        return;
    QVector<Output> outputs;
    QSet<QString> names;
    for (int chosen : rows) {
        if (Palette *palette = palettes->at(unsigned(chosen)))
            outputs.append({freeName(palette->property(identifierName).toString(), names) + suffix,
                            encoded(*palette)});
    }
    Interface *const host = interface; // the panel may go while the user chooses
    const QFileInfo own(palettes->sprites()->fileName());
    const QString start = own.fileName().isEmpty() ? startPath() : own.absolutePath();
    if (choosePlace(outputs, title, start, host->mainWindow()))
        writeFiles(outputs, host);
}

} // namespace Kiln

#include <hostkit/newprojectdialog.h>

#include <hostkit/enginelibraries.h>
#include <hostkit/settings.h>
#include <hostkit/widgets.h>

#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/engine.h>
#include <kilnx/project/engineplugin.h>
#include <kilnx/project/filedialogs.h>

#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>

namespace HostKit
{

namespace
{

const QLatin1String placeKey("new_project_place");

// Beside the project that was opened last.
QString firstPlace(const Settings &settings)
{
    const QString known = settings.value(placeKey).toString();
    const QString last = settings.value(QStringLiteral("project_path")).toString();
    return !known.isEmpty() ? known : !last.isEmpty() ? QFileInfo(last).path() : QDir::homePath();
}

// One that every file system and every engine can take.
bool isName(const QString &text)
{
    static const QRegularExpression pattern(
        QStringLiteral("^[\\p{L}\\p{N}]([\\p{L}\\p{N} _.-]*[\\p{L}\\p{N}_-])?$"));
    return pattern.match(text).hasMatch();
}

} // namespace

NewProjectDialog::NewProjectDialog(const EngineLibraries &engines,
                                   Settings &settings,
                                   QWidget *parent)
    : QDialog(parent)
    , m_settings(settings)
    , m_name(named(new QLineEdit, "new_project_name", tr("Name")))
    , m_place(named(new QLineEdit(QDir::toNativeSeparators(firstPlace(settings))),
                    "new_project_place",
                    tr("Place")))
    , m_list(named(new QListWidget, "new_project_starts", tr("Starts with")))
    , m_state(named(new QLabel, "new_project_state"))
{
    setObjectName(QStringLiteral("new_project_dialog"));
    setWindowTitle(tr("New project"));
    auto *browse = named(new QPushButton(tr("&Browse...")), "new_project_browse");
    auto *place = new QHBoxLayout;
    place->addWidget(m_place, 1);
    place->addWidget(browse);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    m_ok = named(buttons->button(QDialogButtonBox::Ok), "new_project_ok");
    named(buttons->button(QDialogButtonBox::Cancel), "new_project_cancel");
    m_state->setWordWrap(true);
    m_state->setTextFormat(Qt::PlainText);
    auto *layout = new QFormLayout(this);
    layout->addRow(tr("&Name:"), m_name);
    layout->addRow(tr("&Place:"), place);
    static_cast<QLabel *>(layout->labelForField(place))->setBuddy(m_place);
    layout->addRow(tr("&Starts with:"), m_list);
    layout->addRow(m_state);
    layout->addRow(buttons);
    addStarts(engines);
    connect(m_name, &QLineEdit::textChanged, this, &NewProjectDialog::showState);
    connect(m_place, &QLineEdit::textChanged, this, &NewProjectDialog::showState);
    connect(browse, &QPushButton::clicked, this, &NewProjectDialog::choosePlace);
    connect(m_list, &QListWidget::itemActivated, m_ok, &QPushButton::click);
    connect(buttons, &QDialogButtonBox::accepted, this, &NewProjectDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &NewProjectDialog::reject);
    resize(520, 320);
    showState();
}

void NewProjectDialog::addStarts(const EngineLibraries &engines)
{
    for (Kiln::EnginePlugin *plugin : engines.plugins()) {
        const QStringList starts = plugin->newProjectStarts();
        for (int i = 0; i < starts.size(); ++i) {
            m_list->addItem(
                QStringLiteral("%1: %2").arg(plugin->engine().displayName(), starts.at(i)));
            m_starts.append({plugin, i});
        }
    }
    m_list->setCurrentRow(0);
}

QString NewProjectDialog::directory() const
{
    const QString place = QDir::fromNativeSeparators(m_place->text().trimmed());
    return QDir::cleanPath(place + QLatin1Char('/') + m_name->text().trimmed());
}

void NewProjectDialog::choosePlace()
{
    const QString place = Kiln::getExistingDirectory(this, tr("Place of the new project"),
                                                     QDir::fromNativeSeparators(m_place->text()));
    if (!place.isEmpty())
        m_place->setText(QDir::toNativeSeparators(place));
}

QString NewProjectDialog::fault() const
{
    const QString name = m_name->text().trimmed();
    const QString place = QDir::fromNativeSeparators(m_place->text().trimmed());
    if (m_starts.isEmpty())
        return tr("No engine that is loaded makes projects.");
    if (name.isEmpty())
        return tr("The project needs a name.");
    if (!isName(name))
        return tr("A name has letters, digits, blanks and the signs - _ . only.");
    if (!QDir::isAbsolutePath(place))
        return tr("The place is a directory, written from the root.");
    const QFileInfo made(directory());
    // What was begun and failed takes all of the directory away again, hidden files, too.
    constexpr QDir::Filters anything =
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    if (made.exists() && !(made.isDir() && QDir(made.filePath()).isEmpty(anything)))
        return tr("'%1' exists already.").arg(QDir::toNativeSeparators(made.filePath()));
    return QString();
}

void NewProjectDialog::showState()
{
    const QString wrong = fault();
    m_ok->setEnabled(wrong.isEmpty());
    m_state->setText(wrong.isEmpty()
                         ? tr("It is made in '%1'.").arg(QDir::toNativeSeparators(directory()))
                         : wrong);
}

// What was begun goes away again.
bool NewProjectDialog::make() const
{
    const Start &start = m_starts.at(qMax(0, m_list->currentRow()));
    const QString path = directory();
    if (!QDir().mkpath(path))
        return false;
    if (start.plugin->makeProject(path, m_name->text().trimmed(), start.number))
        return true;
    QDir(path).removeRecursively();
    return false;
}

void NewProjectDialog::accept()
{
    showState();
    if (!m_ok->isEnabled())
        return;
    if (!make()) {
        Kiln::showWarning(this, windowTitle(),
                          tr("'%1' cannot be made. Can files be written there?")
                              .arg(QDir::toNativeSeparators(directory())));
        return;
    }
    m_settings.setValue(placeKey, QFileInfo(directory()).path());
    QDialog::accept();
}

} // namespace HostKit

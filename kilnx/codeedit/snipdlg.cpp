#include <kilnx/codeedit/snipdlg.h>

#include "ui_snipdlg.h"
#include "ui_snipfielddlg.h"

#include <kilnx/codeedit/codefont_p.h>
#include <kilnx/codeedit/snippets.h>
#include <kilnx/forms/messageboxes.h>
#include <kilnx/project/filedialogs.h>
#include <kilnx/project/paths.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

using namespace Kiln;

namespace
{
const QLatin1Char ListSeparator(';');
const QString ItemsType = QStringLiteral("items");

QString withSuffix(const QString &file, const QString &suffix)
{
    return file.endsWith(suffix, Qt::CaseInsensitive) ? file : file + suffix;
}
} // namespace

SnipDlg::SnipDlg(QWidget *parent, const QString &file)
    : QDialog(parent)
    , m_form(std::make_unique<Ui::SnipDlg>())
    , m_fields(new SnipFieldsModel(this))
{
    m_form->setupUi(this);
    m_form->snipEdit->setFont(codeFont(QString(), font().pointSize()));
    m_form->snipFields->setModel(m_fields);
    connect(m_form->addBut, &QPushButton::clicked, this, &SnipDlg::addField);
    connect(m_form->editBut, &QPushButton::clicked, this, &SnipDlg::editField);
    connect(m_form->removeBut, &QPushButton::clicked, this, &SnipDlg::removeField);
    connect(m_form->up, &QPushButton::clicked, this, &SnipDlg::moveUp);
    connect(m_form->down, &QPushButton::clicked, this, &SnipDlg::moveDown);
    connect(m_form->insertBut, &QPushButton::clicked, this, &SnipDlg::insertField);
    connect(m_form->saveBut, &QPushButton::clicked, this, &SnipDlg::save);
    connect(m_form->saveTSBut, &QPushButton::clicked, this, &SnipDlg::saveTranslation);
    connect(m_form->previewBut, &QPushButton::clicked, this, &SnipDlg::preview);
    connect(m_form->cancelBut, &QPushButton::clicked, this, &SnipDlg::reject);
    connect(m_form->snipFields, &QListView::doubleClicked, this, &SnipDlg::editField);
    connect(m_form->snipFields->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &SnipDlg::updateButtons);
    if (!file.isEmpty())
        load(file);
    m_saved = toXml();
    updateButtons();
}

SnipDlg::~SnipDlg() = default;

void SnipDlg::load(const QString &file)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly))
        return;
    QString error;
    std::optional<Snippet> snippet = Snippet::read(in.readAll(), &error);
    if (!snippet) {
        showCritical(parentWidget(), windowTitle(), error);
        return;
    }
    m_file = file;
    m_form->snipName->setText(QFileInfo(file).completeBaseName());
    for (std::unique_ptr<SnipField> &field : snippet->fields)
        m_fields->append(std::move(field));
    m_form->snipEdit->setPlainText(snippet->code);
}

QByteArray SnipDlg::toXml() const
{
    return snippetToXml(m_fields->fields(), m_form->snipEdit->toPlainText());
}

void SnipDlg::reject()
{
    if (toXml() == m_saved ||
        askQuestion(this, windowTitle(), tr("Do you want to discard the changes of the snippet?")))
        QDialog::reject();
}

int SnipDlg::currentRow() const
{
    return m_form->snipFields->currentIndex().row();
}

void SnipDlg::updateButtons()
{
    const int row = currentRow();
    for (QPushButton *button : {m_form->editBut, m_form->removeBut, m_form->insertBut})
        button->setEnabled(row >= 0);
    m_form->up->setEnabled(row > 0);
    m_form->down->setEnabled(row >= 0 && row + 1 < m_fields->rowCount());
}

void SnipDlg::addField()
{
    SnipFieldDlg dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_fields->append(dialog.field());
    m_form->snipFields->setCurrentIndex(m_fields->index(m_fields->rowCount() - 1));
}

void SnipDlg::editField()
{
    const int row = currentRow();
    const SnipField *field = m_fields->at(row);
    if (!field)
        return;
    SnipFieldDlg dialog(this, field);
    if (dialog.exec() == QDialog::Accepted)
        m_fields->replace(row, dialog.field());
}

void SnipDlg::removeField()
{
    m_fields->remove(currentRow());
    updateButtons();
}

void SnipDlg::moveUp()
{
    m_fields->moveDown(currentRow() - 1);
    updateButtons();
}

void SnipDlg::moveDown()
{
    m_fields->moveDown(currentRow());
    updateButtons();
}

void SnipDlg::insertField()
{
    if (const SnipField *field = m_fields->at(currentRow()))
        m_form->snipEdit->insertPlainText(QLatin1Char('@') + field->name);
    m_form->snipEdit->setFocus();
}

bool SnipDlg::write(const QString &file, const QByteArray &data)
{
    QSaveFile out(file);
    if (out.open(QIODevice::WriteOnly) && writeAll(&out, data) && out.commit())
        return true;
    showCritical(this, windowTitle(), tr("Can't write the file '%1'!").arg(file));
    return false;
}

// The file dialog has asked about the name as it was typed, without the suffix.
bool SnipDlg::mayReplace(const QString &chosen, const QString &target)
{
    return target == chosen || !QFileInfo::exists(target) ||
           askQuestion(this, windowTitle(),
                       tr("The file '%1' already exists. Do you want to replace it?").arg(target));
}

void SnipDlg::save()
{
    SnippetManager *manager = SnippetManager::instance();
    const QString directory =
        m_file.isEmpty() ? manager->directory() : QFileInfo(m_file).absolutePath();
    const QString name = m_form->snipName->text().trimmed();
    const QString start = name.isEmpty()
                              ? directory
                              : QDir(directory).filePath(withSuffix(name, QStringLiteral(".xml")));
    const QString file = getSaveFileName(this, tr("Save code snippet"), start,
                                         tr("Extensible Markup Language (*.xml)"));
    if (file.isEmpty())
        return;
    const QString target = withSuffix(file, QStringLiteral(".xml"));
    const QByteArray snippet = toXml();
    if (!mayReplace(file, target) || !write(target, snippet))
        return;
    m_file = target;
    m_form->snipName->setText(QFileInfo(target).completeBaseName());
    m_saved = snippet;
    manager->setDirectory(manager->directory());
}

void SnipDlg::saveTranslation()
{
    const QString file =
        getSaveFileName(this, tr("Save for translation"), QFileInfo(m_file).absolutePath(),
                        tr("Qt translation sources (*.ts)"));
    if (file.isEmpty())
        return;
    const QString target = withSuffix(file, QStringLiteral(".ts"));
    if (mayReplace(file, target))
        write(target,
              snippetToTranslation(QFileInfo(m_file).completeBaseName(), m_fields->fields()));
}

void SnipDlg::preview()
{
    const QString code = SnippetManager::build(this, toXml());
    if (code.isEmpty())
        return;
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Preview"));
    auto *text = new QPlainTextEdit(code, &dialog);
    text->setObjectName(QStringLiteral("previewText"));
    text->setAccessibleName(dialog.windowTitle());
    text->setFont(m_form->snipEdit->font());
    text->setReadOnly(true);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(&dialog);
    layout->addWidget(text);
    layout->addWidget(buttons);
    dialog.exec();
}

SnipFieldDlg::SnipFieldDlg(QWidget *parent, const SnipField *field)
    : QDialog(parent)
    , m_form(std::make_unique<Ui::SnipFieldDlg>())
{
    m_form->setupUi(this);
    connect(m_form->type, &QComboBox::currentTextChanged, this, &SnipFieldDlg::typeChanged);
    connect(m_form->name, &QLineEdit::textChanged, this, &SnipFieldDlg::typeChanged);
    if (field) {
        m_form->name->setText(field->name);
        m_form->title->setText(field->title);
        m_form->type->setCurrentText(field->typeName());
        m_column = field->column.value_or(-1);
        if (const auto *items = dynamic_cast<const ComboSnipField *>(field)) {
            m_form->values->setText(items->values.join(ListSeparator));
            m_form->titles->setText(items->titles.join(ListSeparator));
        }
    }
    typeChanged();
}

SnipFieldDlg::~SnipFieldDlg() = default;

// The lists belong to the type "items" only, and a field without a name could not be used.
void SnipFieldDlg::typeChanged()
{
    const bool items = m_form->type->currentText() == ItemsType;
    for (QWidget *widget : std::initializer_list<QWidget *>{m_form->valuesLb, m_form->values,
                                                            m_form->titlesLb, m_form->titles})
        widget->setVisible(items);
    m_form->buttons->button(QDialogButtonBox::Ok)->setEnabled(!m_form->name->text().isEmpty());
}

std::unique_ptr<SnipField> SnipFieldDlg::field() const
{
    std::unique_ptr<SnipField> field;
    const QString type = m_form->type->currentText();
    if (type == ItemsType) {
        auto items = std::make_unique<ComboSnipField>();
        items->values = m_form->values->text().split(ListSeparator);
        items->titles = m_form->titles->text().split(ListSeparator);
        field = std::move(items);
    } else {
        field = std::make_unique<RegularSnipField>(type);
    }
    field->name = m_form->name->text();
    field->title = m_form->title->text();
    if (m_column >= 0)
        field->column = m_column;
    return field;
}

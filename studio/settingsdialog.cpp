#include "settingsdialog.h"

#include "colorpage.h"
#include "enginepage.h"
#include "librarypage.h"
#include "viewportpage.h"

#include <hostkit/enginelibraries.h>
#include <hostkit/hostbase.h>
#include <hostkit/keyspage.h>
#include <hostkit/settings.h>
#include <hostkit/widgets.h>

#include <kilnx/project/engine.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Studio
{

using namespace HostKit;

namespace
{
/// A page that fits a small screen, too.
QWidget *scrolled(QWidget *page)
{
    auto *area = named(new QScrollArea(page->parentWidget()), "settings_page");
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidgetResizable(true);
    area->setWidget(page);
    return area;
}
} // namespace

SettingsDialog::SettingsDialog(const HostBase &host, QWidget *parent)
    : QDialog(parent)
    , m_settings(host.settings())
    , m_pages(named(new QTabWidget(this), "settings_pages", tr("Pages")))
{
    named(this, "settings_dialog");
    setWindowTitle(tr("Settings"));
    m_pages->addTab(scrolled(generalPage()), tr("&General"));
    m_pages->addTab(scrolled(codePage()), tr("&Code"));
    m_viewport = new ViewportPage(m_settings, this);
    m_pages->addTab(scrolled(m_viewport), tr("&Viewport"));
    m_colors = new ColorPage(m_settings, this);
    m_pages->addTab(scrolled(m_colors), tr("C&olours"));
    m_keys = new KeysPage(host.shortcuts(), this);
    m_pages->addTab(m_keys, tr("&Keys"));
    m_pages->addTab(enginePage(host.engines()), tr("&Engines"));

    auto *buttons =
        named(new QDialogButtonBox(
                  QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Apply, this),
              "settings_buttons");
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);
    connect(buttons->button(QDialogButtonBox::Apply), &QPushButton::clicked, this,
            &SettingsDialog::apply);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_pages);
    layout->addWidget(buttons);
    resize(560, 480);
}

void SettingsDialog::showPage(Page page)
{
    m_pages->setCurrentIndex(page);
    if (page == Keys)
        m_keys->setFocus();
}

void SettingsDialog::accept()
{
    apply();
    QDialog::accept();
}

QWidget *SettingsDialog::generalPage()
{
    auto *page = new QWidget(this);
    m_theme = named(new QComboBox(page), "settings_theme", tr("Theme"));
    m_theme->addItem(tr("As the system"), "system");
    m_theme->addItem(tr("Light"), "light");
    m_theme->addItem(tr("Dark"), "dark");
    m_theme->setCurrentIndex(m_theme->findData(m_settings.value("theme")));
    auto *look = new QFormLayout;
    look->addRow(tr("&Theme:"), m_theme);

    auto *files = new QGroupBox(tr("Files"), page);
    auto *fileLayout = new QVBoxLayout(files);
    fileLayout->addWidget(
        option("reopen_last_project", tr("Open the &last project at start"), page));
    fileLayout->addWidget(
        option("enable_file_watcher", tr("&Watch files for changes by other programs"), page));
    fileLayout->addWidget(
        option("reload_unchanged", tr("&Reload changed files that have no changes here"), page));
    fileLayout->addWidget(option("use_native_open", tr("Use the &system's open dialog"), page));
    fileLayout->addWidget(
        option("sort_file_names", tr("So&rt several chosen files by name"), page));

    auto *layout = new QVBoxLayout(page);
    layout->addLayout(look);
    layout->addWidget(files);
    layout->addStretch();
    return page;
}

QWidget *SettingsDialog::codePage()
{
    auto *page = new QWidget(this);
    m_font = named(new QFontComboBox(page), "settings_font", tr("Code font"));
    m_font->setFontFilters(QFontComboBox::MonospacedFonts);
    m_font->setCurrentFont(QFont(m_settings.value("font_name").toString()));
    m_shownFont = m_font->currentFont().family();
    m_fontSize = named(new QSpinBox(page), "settings_font_size", tr("Code font size"));
    m_fontSize->setRange(5, 72);
    m_fontSize->setSuffix(tr(" pt"));
    m_fontSize->setValue(m_settings.value("font_size").toInt());
    auto *form = new QFormLayout;
    form->addRow(tr("&Font:"), m_font);
    form->addRow(tr("Si&ze:"), m_fontSize);

    m_tabWidth = named(new QSpinBox(page), "settings_tab_width", tr("Tab width"));
    m_tabWidth->setRange(1, 32);
    m_tabWidth->setValue(m_settings.value("code_tab_width").toInt());
    form->addRow(tr("Tab wi&dth:"), m_tabWidth);

    auto *keys = new QGroupBox(tr("Indentation"), page);
    auto *keysLayout = new QVBoxLayout(keys);
    keysLayout->addWidget(option("code_auto_indent", tr("&Keep it on new lines"), page));
    keysLayout->addWidget(option("code_tab_spaces", tr("The Tab key inserts b&lanks"), page));

    auto *view = new QGroupBox(tr("View"), page);
    auto *viewLayout = new QVBoxLayout(view);
    viewLayout->addWidget(option("show_code_bar", tr("Show code tool&bar"), page));
    viewLayout->addWidget(option("code_wrap", tr("&Wrap long lines"), page));
    viewLayout->addWidget(option("code_line_numbers", tr("Line n&umbers"), page));
    viewLayout->addWidget(option("code_folding_markers", tr("Fold &markers"), page));
    viewLayout->addWidget(option("code_highlight_line", tr("Mark the current &line"), page));
    viewLayout->addWidget(
        option("code_highlight_blocks", tr("Shade the nested bloc&ks around the cursor"), page));
    viewLayout->addWidget(option("code_paren_matching", tr("Mark matching br&ackets"), page));
    viewLayout->addWidget(
        option("auto_expand_tree", tr("Let the node tree follow t&he cursor"), page));

    auto *model = new QGroupBox(tr("Parsing"), page);
    auto *modelLayout = new QVBoxLayout(model);
    modelLayout->addWidget(option("parseCode", tr("&Parse code while it is edited"), page));
    modelLayout->addWidget(option("modelCode", tr("Show the &node tree"), page));
    modelLayout->addWidget(option("highlightCode", tr("&Colour the tokens of code"), page));

    auto *layout = new QVBoxLayout(page);
    layout->addLayout(form);
    layout->addWidget(keys);
    layout->addWidget(view);
    layout->addWidget(model);
    layout->addStretch();
    return page;
}

QWidget *SettingsDialog::enginePage(EngineLibraries &engines)
{
    auto *page = new QWidget(this);
    auto *layout = new QVBoxLayout(page);
    if (Kiln::Engine *engine = engines.engine()) {
        auto *list = new EnginePage(engine, page);
        engine->registerCustomOptions(list);
        layout->addWidget(list, 2);
    }
    layout->addWidget(new LibraryPage(m_settings, engines, page), 1);
    return page;
}

QCheckBox *SettingsDialog::option(const char *key, const QString &text, QWidget *page)
{
    auto *box = new QCheckBox(text, page);
    box->setObjectName(QStringLiteral("settings_") + QLatin1String(key));
    box->setChecked(m_settings.value(QLatin1String(key)).toBool());
    m_options.insert(QLatin1String(key), box);
    return box;
}

void SettingsDialog::apply()
{
    for (auto box = m_options.cbegin(); box != m_options.cend(); ++box)
        m_settings.setValue(box.key(), box.value()->isChecked());
    m_settings.setValue("theme", m_theme->currentData());
    if (m_font->currentFont().family() != m_shownFont)
        m_settings.setValue("font_name", m_font->currentFont().family());
    m_settings.setValue("font_size", m_fontSize->value());
    m_settings.setValue("code_tab_width", m_tabWidth->value());
    m_viewport->apply();
    m_colors->apply();
    m_keys->apply();
    m_settings.apply();
}

} // namespace Studio

#pragma once

#include <ember/embersprites.h>
#include <tests/editors/tablefield.h>
#include <tests/support/release.h>
#include <tests/support/testhost.h>

#include <hostkit/editordeck.h>
#include <kilnx/editors/paletteeditor.h>
#include <kilnx/imageedit/palettewidget.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <array>
#include <functional>
#include <random>

/// What the tests of the palettes' panel share.
namespace PaletteTest
{

using namespace Kiln;

using Table = std::array<RGBA, 256>;

inline Table randomTable(std::mt19937 &random)
{
    Table table;
    for (RGBA &color : table)
        color = fromQRgb(QRgb(random()));
    return table;
}

inline Table tableOf(const RGBA *colors)
{
    Table table;
    std::copy_n(colors, 256, table.begin());
    return table;
}

/// The bytes of an Adobe color table: red, green and blue of the last entry first.
inline QByteArray tableFile(const Table &table)
{
    QByteArray bytes;
    for (int i = 255; i >= 0; --i)
        bytes.append(char(table[size_t(i)].r))
            .append(char(table[size_t(i)].g))
            .append(char(table[size_t(i)].b));
    return bytes;
}

/// The editor of sprites, as far as the panel knows it.
class SpriteStub : public Editor
{
public:
    QAction *action() const override { return nullptr; }
    const char *name() const override { return "sprites"; }
    void activate() override
    {
        active = true;
        if (onActivate)
            onActivate();
    }
    bool isModified() const override { return false; }
    unsigned int areas() const override { return 7; }
    void retranslate() override {}
    void undo() override {}
    void redo() override {}
    void find(const QString &, unsigned int) override {}
    void replace(const QString &, const QString &, unsigned int, bool) override {}
    void hostReserved15() override {}

    std::function<void()> onActivate;
};

/// An engine's panel that knows under which name colours go into the file.
class NamingEditor : public PaletteEditor
{
public:
    QVariant key;
    int remaps = 0;

protected:
    QVariant paletteIdentifier() override { return key; }
    void remapChanged() override
    {
        ++remaps;
        PaletteEditor::remapChanged();
    }
};

/// The panel in a window, on a file of its own, and the hands of its user.
class Panel : public QObject
{
    Q_OBJECT

public:
    ~Panel() override { delete m_editor; }

private Q_SLOTS:
    void init();
    void cleanup() { QCOMPARE(m_host->dialogs().finish(), QString()); }

protected:
    /// The panel with a file of that many palettes, "0" and so on, of random colours.
    void makePanel(int palettes);
    void trigger(const char *key);
    /// Answers the next dialog, after `before`: a question by its button, a list by all of it.
    void answer(const QString &step, const std::function<void()> &before = {});
    /// All names and colours of a file, and of the one that is shown.
    static QVector<QPair<QString, Table>> contentsOf(const EmberSprites *sprites);
    QVector<QPair<QString, Table>> contents() const { return contentsOf(m_sprites.get()); }
    QStringList names() const;
    QString label() const
    {
        return m_host->mainWindow()->findChild<QLabel *>("pal_sel_lb")->text();
    }
    QString file(const QString &name) const { return m_directory->filePath(name); }
    /// What every step must leave, whatever it was.
    void checkShown() const;

    std::unique_ptr<TestHost> m_host;
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<EmberSprites, Release> m_sprites;
    QPointer<NamingEditor> m_editor;
    SpriteStub *m_spriteEditor = nullptr;
    std::mt19937 m_random;
    QStringList m_keys;          ///< of the panel's actions
    int m_toldCount = 0;         ///< of news of a palette
    Palette *m_toldOf = nullptr; ///< by the last one
    Table m_toldColors;          ///< it had then
};

inline void Panel::init()
{
    delete m_editor;
    m_sprites.reset();
    m_host.reset();
    m_host = std::make_unique<TestHost>();
    m_directory = std::make_unique<QTemporaryDir>();
    m_random.seed(20261122);
}

inline void Panel::makePanel(int palettes)
{
    m_editor = new NamingEditor;
    m_editor->engineSwitched(true);
    QVERIFY(!m_editor->switchToSprites());
    m_spriteEditor = m_host->deck().make<SpriteStub>(); // after the panel, as a host may
    m_sprites.reset(new EmberSprites(StreamCache::Memory));
    for (int i = 0; i < palettes; ++i)
        m_sprites->palettes()->add(randomTable(m_random).data(), i, false);
    m_editor->activate();
    QCOMPARE(label(), QString("0 / 0"));
    m_keys = m_host->log.filter("addControl ").replaceInStrings("addControl ", "");
    m_keys = m_keys.mid(m_keys.indexOf("pal_clear"));
    connect(m_editor, &PaletteEditor::paletteShown, this, [this](Palette *palette) {
        ++m_toldCount;
        m_toldOf = palette;
        RGBA colors[256] = {};
        if (palette)
            palette->toPalette(colors);
        m_toldColors = tableOf(colors);
    });
    m_editor->setPalettes(m_sprites->palettes());
    m_host->options.insert("project_path", m_directory->path());
    m_host->mainWindow()->show();
    QCOMPARE(m_editor->widget()->sizeHint().width(), 16 * m_host->scaled(12));
    m_editor->widget()->setCellSize(12);
    m_editor->widget()->setGeometry(0, 0, 192, 192);
    m_editor->widget()->show();
    m_editor->widget()->raise();
    QVERIFY(QTest::qWaitForWindowExposed(m_host->mainWindow()));
}

inline void Panel::trigger(const char *key)
{
    QAction *action = m_host->action(key);
    QVERIFY2(action && action->isEnabled(), key);
    action->trigger();
}

inline QVector<QPair<QString, Table>> Panel::contentsOf(const EmberSprites *sprites)
{
    QVector<QPair<QString, Table>> all;
    for (unsigned int i = 0; sprites && i < sprites->palettes()->count(); ++i) {
        EmberPalette *palette = sprites->palettes()->at(i);
        all.append({palette->identifier(), tableOf(palette->colors())});
    }
    return all;
}

inline QStringList Panel::names() const
{
    QStringList list;
    for (const auto &palette : contents())
        list << palette.first;
    return list;
}

inline void Panel::checkShown() const
{
    const EmberPalettes &list = *m_sprites->palettes();
    const auto *slider = m_host->mainWindow()->findChild<QSlider *>("pal_sel");
    const int count = int(list.count());
    QCOMPARE(slider->maximum(), qMax(0, count - 1));
    QCOMPARE(slider->isEnabled(), count > 0);
    for (const QString &key : m_keys.mid(0, 16))
        QCOMPARE(m_host->action(qPrintable(key))->isEnabled(),
                 count > 0 || key == "pal_add" || key == "org_palette");
    QCOMPARE(m_editor->widget()->isEnabled(), count > 0);
    if (m_toldCount > 0) {
        QCOMPARE(m_toldOf, m_editor->currentPalette());
        QCOMPARE(m_toldColors, tableOf(m_editor->widget()->palette()->palette()));
    }
    if (count == 0) {
        QCOMPARE(label(), QString("0 / 0"));
        QVERIFY(!m_editor->currentPalette());
        QCOMPARE(tableOf(m_editor->widget()->palette()->palette()), Table());
        return;
    }
    const int at = m_editor->currentPalette()->index();
    QCOMPARE(slider->value(), at);
    QCOMPARE(label(), QString("%1 / %2").arg(at + 1).arg(count));
    QCOMPARE(tableOf(m_editor->widget()->palette()->palette()),
             tableOf(m_editor->currentPalette()->colors()));
}

inline void Panel::answer(const QString &step, const std::function<void()> &before)
{
    m_host->dialogs().expectDialog([this, step, before](QDialog *shown) {
        const QPointer<QDialog> dialog(shown);
        if (before)
            before();
        if (!dialog || !dialog->isVisible())
            return;
        if (step == "ALL")
            dialog->findChild<QListView *>("items")->selectAll();
        else if (step == "COLOR")
            static_cast<QColorDialog *>(shown)->setCurrentColor(Qt::red);
        else if (step.startsWith("EDIT"))
            QTest::keyClick(dialog->findChild<QTableWidget *>(), Qt::Key_F2);
        if (step.startsWith("EDIT"))
            typeIntoTable(dialog, step.mid(5));
        if (auto *box = qobject_cast<QMessageBox *>(shown))
            box->button(step == "Yes" ? QMessageBox::Yes
                                      : (step == "No" ? QMessageBox::No : QMessageBox::Ok))
                ->click();
        else if (step == "CANCEL")
            dialog->reject();
        else if (auto *name = shown->findChild<QLineEdit *>("fileNameEdit"))
            name->setText(step), static_cast<QDialog *>(shown)->accept();
        else
            dialog->accept();
    });
}

} // namespace PaletteTest

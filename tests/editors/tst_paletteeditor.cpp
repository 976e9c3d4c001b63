#include <tests/editors/palettetest.h>
#include <tests/support/files.h>
#include <tests/support/rows.h>
#include <tests/support/told.h>

#include <kilnx/editors/organizer.h>
#include <kilnx/editors/remapdlg.h>

using namespace Kiln;
using namespace PaletteTest;

class tst_paletteeditor : public Panel
{
    Q_OBJECT

private Q_SLOTS:
    void declaresItsCommands();
    void randomUser_data();
    void randomUser();
    void doesNothingWithoutAPalette_data();
    void doesNothingWithoutAPalette();
    void actsOnSprites();
    void standsInForOthers();
    void followsTheSprites();
};

void tst_paletteeditor::declaresItsCommands()
{
    makePanel(2);
    const QStringList texts{"Clear",
                            "Clear all unused",
                            "Add",
                            "Delete",
                            "Remove all duplicates",
                            "Change...",
                            "Save as...",
                            "Remap",
                            "Undo",
                            "Redo",
                            "Exchange position of selected colors",
                            "Sets the color of the selected slots",
                            "Apply to the sprites",
                            "Previous palette",
                            "Next palette",
                            "Palettes"};
    const QStringList keys = m_keys;
    QCOMPARE(m_editor->widget()->sizePolicy(),
             QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding));
    QCOMPARE(m_editor->widget()->accessibleName(), QString("Palettes"));
    QCOMPARE(keys.mid(texts.size()), QStringList({"pal_sel", "pal_sel_lb", "pal_view"}));
    QCOMPARE(keys.mid(0, texts.size()).join(' '),
             QString("pal_clear pal_clear_unused pal_add pal_delete pal_delete_duplicates pal_open "
                     "pal_save pal_remap pal_undo pal_redo pal_switch_color pal_set_color "
                     "pal_apply_sprite pal_prev pal_next org_palette"));
    for (int i = 0; i < texts.size(); ++i)
        QCOMPARE(m_host->action(qPrintable(keys[i]))->text(), texts[i]);
    QVERIFY(m_host->action("org_palette")->isCheckable());
    QCOMPARE(QString(m_editor->name()), QString("palettes"));
    QCOMPARE(m_host->control("pal_view"), m_editor->widget());
    m_editor->setPalettes(nullptr);
    QVERIFY(!m_host->action("pal_add")->isEnabled());
}

void tst_paletteeditor::randomUser_data()
{
    const auto add = columns<int>("seed");
    for (int seed = 1; seed <= 6; ++seed)
        add(qPrintable(QString("seed %1").arg(seed)), seed);
}

/// Against a plain model: the list of palettes, and for the grid a list of whole palettes of which
/// the last twelve are kept. Two files take turns; the one that is not shown changes, too.
void tst_paletteeditor::randomUser()
{
    const auto [seed] = row<int>();
    m_random.seed(unsigned(seed));
    makePanel(3);
    auto model = contents();
    int at = 0;
    QVector<Table> ring{model[0].second};
    int page = 0;
    std::unique_ptr<EmberSprites, Release> hiddenFile(new EmberSprites(StreamCache::Memory));
    auto hiddenModel = contentsOf(hiddenFile.get());

    const auto show = [&](int index) {
        const bool isOther = index != at;
        at = model.isEmpty() ? 0 : qBound(0, index, model.size() - 1);
        if (isOther)
            ring.clear();
    };
    const auto edited = [&](const Table &table) {
        if (ring.isEmpty())
            ring = {model[at].second}, page = 0;
        ring.resize(page + 1);
        ring.append(table);
        if (ring.size() > 12)
            ring.removeFirst();
        page = ring.size() - 1;
        model[at].second = table;
    };
    PaletteWidget *grid = m_editor->widget();
    const auto cell = [](int index) { return QPoint(index % 16 * 12 + 5, index / 16 * 12 + 5); };
    const auto select = [&](int first, int last) {
        QTest::mouseClick(grid, Qt::LeftButton, {}, cell(first));
        QTest::mouseClick(grid, Qt::LeftButton, Qt::ShiftModifier, cell(last));
    };

    for (int step = 0; step < 150; ++step) {
        const int action = int(m_random() % 18);
        const int one = m_random() % 4 ? int(m_random() % 256) : 0;
        const int other = m_random() % 4 ? int(m_random() % 256) : 255;
        if (action == 0) {
            m_host->dialogs().expectBox(QMessageBox::No);
            trigger("pal_add");
            model.insert(model.isEmpty() ? 0 : at + 1, {QString(), Table()});
            show(model.size() == 1 ? 0 : at + 1);
            ring.clear();
        } else if (action == 1 && step % 3 == 0 && !model.isEmpty()) {
            const bool agreed = m_random() % 2;
            m_host->dialogs().expectBox(agreed ? QMessageBox::Yes : QMessageBox::No);
            trigger("pal_delete");
            if (agreed) {
                model.removeAt(at);
                ring.clear();
                show(at);
            }
        } else if (action == 2 && !model.isEmpty()) {
            trigger("pal_prev");
            show(qMax(0, at - 1));
        } else if (action == 3 && !model.isEmpty()) {
            trigger("pal_next");
            show(qMin(model.size() - 1, at + 1));
        } else if (action == 4 && !model.isEmpty()) {
            auto *slider = m_host->mainWindow()->findChild<QSlider *>("pal_sel");
            slider->setValue(one % model.size());
            show(one % model.size());
        } else if (action == 5 && model.size() > 1) {
            const int from = one % model.size();
            const int to = other % model.size();
            m_sprites->palettes()->move(unsigned(from), unsigned(to));
            model.move(from, to);
            if (from == at)
                at = to;
            else
                at += (from > at && to <= at) - (from < at && to >= at);
        } else if (action <= 9 && !model.isEmpty()) {
            // A colour is dragged, the others make room.
            const QImage still = grid->grab().toImage();
            const int next = one < other ? one + 1 : one - 1;
            QTest::mousePress(grid, Qt::LeftButton, {}, cell(one));
            QMouseEvent move(QEvent::MouseMove, cell(other), Qt::NoButton, Qt::LeftButton, {});
            QCoreApplication::sendEvent(grid, &move);
            if (one != other)
                QCOMPARE(grid->grab().toImage().pixel(cell(one)), still.pixel(cell(next)));
            QTest::mouseRelease(grid, Qt::LeftButton, {}, cell(other));
            if (one != other) {
                Table table = model[at].second;
                QVector<RGBA> list(table.begin(), table.end());
                list.move(one, other);
                std::copy(list.begin(), list.end(), table.begin());
                edited(table);
            }
        } else if (action == 10 && !model.isEmpty()) {
            const QColor color = QColor::fromRgba(QRgb(m_random()));
            const bool agreed = m_random() % 3;
            select(one, other);
            m_host->dialogs().expectDialog([color, agreed](QDialog *dialog) {
                QCOMPARE(dialog->windowTitle(), QString("Color"));
                static_cast<QColorDialog *>(dialog)->setCurrentColor(color);
                agreed ? dialog->accept() : dialog->reject();
            });
            trigger("pal_set_color");
            if (agreed) {
                Table table = model[at].second;
                for (int i = qMin(one, other); i <= qMax(one, other); ++i)
                    table[size_t(i)] = fromQRgb(color.rgba());
                edited(table);
            }
        } else if (action == 11 && !model.isEmpty()) {
            m_editor->widget()->clearSelection(); // nothing to ask about, and no step of undo
            trigger("pal_set_color");
            trigger("pal_switch_color");
            select(one, other);
            trigger("pal_switch_color");
            Table table = model[at].second;
            std::reverse(table.begin() + qMin(one, other), table.begin() + qMax(one, other) + 1);
            if (one == 0 && other == 255) // entry 0 keeps its alpha
                std::swap(table.front().a, table.back().a);
            edited(table);
        } else if (action <= 13 && !model.isEmpty()) {
            trigger("pal_undo");
            if (!ring.isEmpty() && page > 0)
                model[at].second = ring[--page];
        } else if (action == 14 && !model.isEmpty()) {
            trigger("pal_redo");
            if (page + 1 < ring.size())
                model[at].second = ring[++page];
        } else if (action == 15 && step % 5 == 0) {
            // The file's own undo is the engine's, and is believed: the grid must follow it.
            const Palette *before = m_editor->currentPalette();
            const auto colors = model.isEmpty() ? Table() : model[at].second;
            m_sprites->undo();
            model = contents();
            at = model.isEmpty() ? 0 : m_editor->currentPalette()->index();
            if (m_editor->currentPalette() != before || model.isEmpty() ||
                model[at].second != colors)
                ring.clear();
        } else if (action == 16) {
            const QString shown = shownFields(*m_host, "pal_");
            const int news = m_toldCount;
            EmberPalettes &hidden = *hiddenFile->palettes();
            if (one % 3 == 0 && hidden.count() > 0)
                hidden.remove(0);
            else if (one % 3 == 1 && hidden.count() > 0)
                hidden.at(0)->setColors(randomTable(m_random).data(), Palette::SetReplaced);
            else
                hidden.add(randomTable(m_random).data(), "hidden", true);
            QCOMPARE(shownFields(*m_host, "pal_"), shown);
            QCOMPARE(m_toldCount, news);
            hiddenModel = contentsOf(hiddenFile.get());
        } else if (action == 17) { // the other one, or the same again
            const QString shown = shownFields(*m_host, "pal_");
            const bool isOther = m_random() % 2;
            m_editor->setPalettes(nullptr);
            QVERIFY(!m_host->action("pal_add")->isEnabled() && label() == "0 / 0");
            if (isOther) {
                m_sprites.swap(hiddenFile);
                model.swap(hiddenModel);
            }
            const int place = int(m_sprites->palettes()->current());
            m_editor->setPalettes(m_sprites->palettes());
            QVERIFY(isOther || shownFields(*m_host, "pal_") == shown);
            at = model.isEmpty() ? 0 : qMin(place, model.size() - 1);
            ring.clear();
        }
        checkShown();
        QVERIFY2(contents() == model, qPrintable(QString("%1: %2").arg(step).arg(action)));
        if (!model.isEmpty())
            QCOMPARE(m_editor->currentPalette()->index(), at);
        if (QTest::currentTestFailed())
            return;
    }

    for (int i = 0; i < 300; ++i)
        m_sprites->redo();
    const auto end = contents();
    for (int i = 0; i < 300; ++i)
        m_sprites->undo();
    QVERIFY(contents().isEmpty());
    checkShown();
    for (int i = 0; i < 300; ++i)
        m_sprites->redo();
    checkShown();
    QCOMPARE(contents(), end);
}

void tst_paletteeditor::doesNothingWithoutAPalette_data()
{
    const auto add = columns<QString>("exceptions");
    add("no file", {});
    add("an empty file", "pal_add pal_remap org_palette");
    add("the file goes as the sprites come", "pal_save");
}

/// Whoever triggers what is not offered.
void tst_paletteeditor::doesNothingWithoutAPalette()
{
    const auto [exceptions] = row<QString>();
    const bool goes = exceptions == "pal_save";
    auto *organizer = m_host->deck().make<OrganizerEditor>();
    makePanel(goes ? 2 : 0);
    m_host->options.insert("confirm_delete", false);
    m_editor->widget()->select(3);
    const auto before = contents();
    if (goes)
        m_spriteEditor->onActivate = [this] { m_editor->setPalettes(nullptr); };
    for (const QString &key : m_keys.mid(0, 16)) {
        if (exceptions.contains(key))
            continue;
        m_host->activeEditor = nullptr;
        m_editor->setPalettes(exceptions.isEmpty() ? nullptr : m_sprites->palettes());
        QAction *action = m_host->action(qPrintable(key));
        for (int round = 0; round < 2; ++round) { // what is checkable goes both ways
            action->setEnabled(true);
            action->trigger();
        }
        QVERIFY2(m_host->dialogs().seen().isEmpty(), qPrintable(key));
        QVERIFY2(contents() == before, qPrintable(key));
        QVERIFY2(!organizer->object() && !m_host->mainWindow()->findChild<RemapDlg *>(),
                 qPrintable(key));
    }
    m_spriteEditor->onActivate = nullptr;
    delete m_editor->widget(); // as a host may
    m_editor->setPalettes(m_sprites->palettes());
    m_sprites->palettes()->add(randomTable(m_random).data(), 9, false);
    m_editor->retranslate();
    for (const char *key : {"pal_undo", "pal_redo", "pal_switch_color", "pal_set_color"})
        trigger(key);
}

void tst_paletteeditor::actsOnSprites()
{
    makePanel(4);
    EmberPalettes &palettes = *m_sprites->palettes();
    QImage picture(3, 3, QImage::Format_Indexed8);
    picture.setColorTable(QVector<QRgb>(256, 0xFF000000));
    picture.fill(1);
    for (unsigned int i = 0; i < 3; ++i)
        m_sprites->insert(i, i, QImage())->setImage(picture, false, 3, palettes.at(i));
    palettes.at(1)->setColors(palettes.at(0)->colors(), Palette::SetReplaced);
    const auto before = contents();
    const auto uses = [&] {
        QStringList names;
        for (unsigned int i = 0; i < 3; ++i)
            names << m_sprites->at(i)->palette()->property("Identifier").toString();
        return names.join(' ');
    };

    trigger("pal_clear_unused");
    QCOMPARE(names().join(' '), QString("0 1 2"));
    m_sprites->undo();
    trigger("pal_delete_duplicates");
    QCOMPARE(names().join(' ') + '|' + uses(), QString("0 2 3|0 0 2"));
    m_sprites->undo();
    trigger("pal_next");
    trigger("pal_next");
    answer("ALL");
    trigger("pal_apply_sprite");
    QCOMPARE(uses(), QString("2 2 2"));
    m_sprites->undo();
    QCOMPARE(uses(), QString("0 1 2"));
    answer("Yes");
    trigger("pal_clear");
    QCOMPARE(contents().size(), 0);
    checkShown();
    m_sprites->undo();
    QCOMPARE(contents(), before);
    m_host->options.insert("confirm_delete", false);
    trigger("pal_delete");
    QCOMPARE(contents().size(), 3);

    // Another palette's colours, from a file and by an engine.
    const Table table = randomTable(m_random);
    writeFile(file("new.act"), tableFile(table));
    answer(file("new.act"));
    trigger("pal_open");
    const Table shown = tableOf(m_editor->currentPalette()->colors());
    QVERIFY(tableFile(shown) == tableFile(table));
    trigger("pal_undo"); // another palette has no steps
    QCOMPARE(tableOf(m_editor->currentPalette()->colors()), shown);
    writeFile(file("short.act"), "R");
    answer(file("short.act"));
    answer("OK");
    trigger("pal_open");
    QVERIFY(m_host->dialogs().seen().last().text.contains("short.act"));
    RGBA colors[256];
    std::copy_n(table.begin(), 256, colors);
    const auto unchanged = contents();
    m_editor->setPalette(colors);
    QCOMPARE(contents(), unchanged);
    for (const QString &key : {names().first(), QString("2")}) {
        m_editor->key = key;
        m_editor->setPalette(colors);
        QCOMPARE(contents()[names().indexOf(key)].second, table);
        QCOMPARE(contents().size(), unchanged.size());
    }
    m_editor->key = "new";
    m_editor->setPalette(colors);
    QCOMPARE(contents().last(), qMakePair(QString("new"), table));
    checkShown();
    m_editor->setPalettes(nullptr);
    m_editor->setPalette(colors);
}

void tst_paletteeditor::standsInForOthers()
{
    makePanel(3);
    trigger("pal_remap");
    auto *dialog = m_host->mainWindow()->findChild<RemapDlg *>();
    QVERIFY(dialog && dialog->isVisible());
    QCOMPARE(dialog->windowTitle(), QString("Remap"));
    auto *table = dialog->findChild<QTableView *>();
    QCOMPARE(misplaced(*dialog), QStringList());
    QCOMPARE(told(*table, "accessibleName selectionBehavior tabKeyNavigation contextMenuPolicy"),
             QString("Remap SelectRows false ActionsContextMenu"));
    QCOMPARE(table->horizontalHeader()->sectionResizeMode(1), QHeaderView::Stretch);
    QVERIFY(table->verticalHeader()->isHidden());
    QTRY_VERIFY(QApplication::activeWindow() == dialog);
    table->setFocus();
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(table, Qt::Key_Insert);
    const auto &pairs = m_sprites->palettes()->remapModel()->pairs();
    QCOMPARE(pairs.size(), 3);
    table->setCurrentIndex(table->model()->index(1, 1));
    QTest::keyClick(table, Qt::Key_F2);
    auto *names = table->findChild<QComboBox *>();
    QVERIFY(names && names->count() == 3);
    QTest::keyClick(names, Qt::Key_Down);
    QTest::keyClick(names, Qt::Key_Return);
    QTRY_COMPARE(pairs[1].to, m_sprites->palettes()->at(1));
    QCOMPARE(m_editor->remaps, 4);

    QMap<QString, QAbstractButton *> buttons;
    for (auto *button : dialog->findChildren<QPushButton *>())
        buttons.insert(button->text().remove('&'), button);
    QCOMPARE(buttons.keys().join(' '), QString("Clear Delete OK"));
    table->selectionModel()->clear();
    for (int selected : {2, 0})
        table->selectionModel()->select(table->model()->index(selected, 0),
                                        QItemSelectionModel::Select | QItemSelectionModel::Rows);
    buttons["Delete"]->click();
    QCOMPARE(pairs.size(), 1);
    QCOMPARE(pairs[0].to, m_sprites->palettes()->at(1));
    QVERIFY(buttons["Clear"]->isEnabled() && buttons["Delete"]->isEnabled());
    m_sprites->undo();
    QCOMPARE(pairs.size(), 3);
    buttons["Clear"]->click();
    QCOMPARE(pairs.size(), 0);
    QVERIFY(!buttons["Clear"]->isEnabled() && !buttons["Delete"]->isEnabled());
    m_sprites->undo();
    // More palettes came with them than was told of.
    m_sprites->palettes()->blockSignals(true);
    m_sprites->palettes()->add(randomTable(m_random).data(), 3, false);
    m_sprites->palettes()->blockSignals(false);
    static_cast<PaletteEditor *>(m_editor)->remapChanged();
    QCOMPARE(label(), QString("4 / 4"));
    m_editor->setPalettes(nullptr);
    QVERIFY(!table->model());
    buttons["OK"]->click();
    QVERIFY(!dialog->isVisible());
}

void tst_paletteeditor::followsTheSprites()
{
    auto *organizer = m_host->deck().make<OrganizerEditor>();
    makePanel(3);
    emit m_spriteEditor->visibilityChanged(true);
    QCOMPARE(m_host->shownExtraEditor, m_editor.data());
    emit m_spriteEditor->visibilityChanged(false);
    QVERIFY(!m_host->shownExtraEditor);
    m_host->shownExtraEditor = organizer;
    emit m_spriteEditor->visibilityChanged(true);
    emit m_spriteEditor->visibilityChanged(false);
    QCOMPARE(m_host->shownExtraEditor, organizer);
    m_editor->engineSwitched(false);
    m_host->shownExtraEditor = nullptr;
    emit m_spriteEditor->visibilityChanged(true);
    QVERIFY(!m_host->shownExtraEditor);
    m_spriteEditor->activate();
    m_editor->engineSwitched(true);
    QCOMPARE(m_host->shownExtraEditor, m_editor.data());
    m_editor->engineSwitched(false);
    QVERIFY(!m_host->shownExtraEditor);

    m_host->log.clear();
    QVERIFY(m_editor->switchToSprites());
    QVERIFY(m_editor->switchToSprites());
    QCOMPARE(m_host->log.join(' '), QString("switchTo sprites"));
    m_host->activeEditor = nullptr;

    // The organizer has the palettes while the action is checked, and leads to them.
    trigger("org_palette");
    QCOMPARE(organizer->object(), m_sprites->palettes());
    organizer->itemDblClick(m_sprites->palettes()->index(2));
    QCOMPARE(label(), QString("3 / 3"));
    trigger("org_palette");
    QCOMPARE(organizer->object(), m_sprites.get());
    organizer->setObject(nullptr);

    int shown = 0;
    connect(m_editor, &PaletteEditor::paletteShown, this, [&shown] { ++shown; });
    m_editor->setCurrentPalette(m_sprites->palettes()->at(1));
    QCOMPARE(label(), QString("2 / 3"));
    QCOMPARE(shown, 1);
    answer("No");
    trigger("pal_add");
    QCOMPARE(label(), QString("3 / 4"));
    m_sprites->undo(); // leads back
    QCOMPARE(label(), QString("2 / 3"));
    EmberSprites *other = new EmberSprites(StreamCache::Memory);
    m_editor->setCurrentPalette(other->palettes()->add(randomTable(m_random).data(), 0, false));
    other->release();
    QCOMPARE(label(), QString("2 / 3"));
    // A panel that the host does not show has no say.
    m_editor->deactivate();
    QVERIFY(!m_editor->canChangeFieldValue());
    m_host->mainWindow()->findChild<QSlider *>("pal_sel")->setValue(0);
    QCOMPARE(m_editor->currentPalette()->index(), 1);

    // The file goes without a word.
    m_sprites.reset();
    QCOMPARE(label(), QString("0 / 0"));
    QVERIFY(!m_editor->palettes() && !m_host->action("pal_add")->isEnabled());
}

QTEST_MAIN(tst_paletteeditor)
#include "tst_paletteeditor.moc"

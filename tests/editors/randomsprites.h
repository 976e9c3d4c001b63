#pragma once

#include "spritetest.h"

#include <tests/support/memoryarchive.h>
#include <tests/support/modeltester.h>

namespace SpriteTest
{

/// A user at random among the sprites of a file, who answers whatever asks, beside others who
/// change the file. After each step all that is shown is what is there, a box that was refused or
/// that the file was closed under has changed nothing, and each command is one step of undo.
class RandomUser
{
public:
    explicit RandomUser(unsigned int seed)
        : m_bench(seed % 4 > 0)
        , m_random(seed)
    {
        QImage other = somePicture({9, 7}, 2);
        other.setColorTable(someColors(99));
        QVERIFY(other.save(m_bench.path("other.png")));
        m_bench.insert("other", other);
        m_bench.show({somePicture({8, 6}), {}, other.convertToFormat(QImage::Format_RGB32)});
        save();
        load();
        m_bench.host.dialogs().answerOthers([this](QDialog *dialog) { answer(dialog); });
    }

    void walk(int steps)
    {
        const ModelTester files(m_bench.file.get()),
            thumbnails(m_bench.field<QListView>("thumb_list")->model());
        while (steps-- > 0 && !QTest::currentTestFailed())
            step();
        m_agrees = true;
        const QByteArray last = bytes();
        for (int i = 0; i < 1000 && bytes() != m_states[0]; ++i)
            m_bench.editor->undo();
        QCOMPARE(bytes(), m_states[0]);
        for (int i = 0; i < 1000 && bytes() != last; ++i)
            m_bench.editor->redo();
        QCOMPARE(bytes(), last);
        check();
        QCOMPARE(m_bench.host.dialogs().finish(), QString());
    }

private:
    int below(int limit) { return int(m_random() % unsigned(qMax(1, limit))); }
    unsigned int someRow() { return unsigned(below(int(m_bench.file->itemCount()) + 1)); }
    QByteArray bytes()
    {
        m_bench.file->toFile(m_archive, "copy", true);
        return m_archive.files["copy"];
    }
    void save()
    {
        m_bench.file->toFile(FileSystemArchive::instance(), m_bench.path("kept.gleam"), false);
    }
    /// The file's steps are gone then.
    void load()
    {
        m_bench.file->fromFile(FileSystemArchive::instance(), m_bench.path("kept.gleam"), false);
        QCoreApplication::processEvents();
        m_states = {bytes()};
        m_now = 0;
    }
    void check() const
    {
        const QString wrong = m_bench.differences();
        QVERIFY2(wrong.isEmpty(), qPrintable(m_log.join("; ") + '\n' + wrong));
    }

    /// The file may have taken a step.
    void note()
    {
        if (bytes() == m_states[m_now])
            return;
        m_states.resize(++m_now);
        m_states.append(bytes());
    }

    void answer(QDialog *dialog)
    {
        if (++m_asked == 1 && !m_agrees && below(12) == 0) {
            m_isLeft = true;
            m_bench.editor->setCurrentFile(nullptr);
        }
        if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
            const QList<QAbstractButton *> buttons = box->buttons();
            QAbstractButton *yes = box->button(QMessageBox::Yes);
            QAbstractButton *chosen = m_agrees && yes ? yes : buttons.at(below(buttons.size()));
            m_log.last() += '?' + box->windowTitle() + chosen->text();
            if (box->text().endsWith("in the current sprite?"))
                m_drawn = chosen == yes ? QImage() : m_bench.editor->unsavedPicture();
            QVERIFY(!yes || box->defaultButton() != yes);
            chosen->click();
            return;
        }
        if (auto *name = dialog->findChild<QLineEdit *>("fileNameEdit"))
            name->setText(m_bench.path("other.png"));
        for (QSpinBox *field : dialog->findChildren<QSpinBox *>())
            field->setValue(1 + below(12));
        for (QDoubleSpinBox *field : dialog->findChildren<QDoubleSpinBox *>())
            field->setValue(90 * below(5));
        for (QComboBox *field : dialog->findChildren<QComboBox *>())
            field->setCurrentIndex(below(field->count()));
        m_isRefused |= below(4) == 0 && !dialog->findChild<QWidget *>("palette_modes");
        m_isRefused ? dialog->reject() : dialog->accept();
        if (dialog->isVisible())
            dialog->reject();
    }

    void step()
    {
        const QByteArray before = bytes();
        const int progresses = m_bench.host.progresses.size();
        const int steps = m_bench.canvas().undoStack.index();
        m_isRefused = m_isLeft = false;
        m_drawn = QImage();
        m_asked = 0;
        const int kind = below(8);
        m_log = m_log.mid(m_log.size() - 8) << QString::number(kind);
        if (kind == 0)
            goBack();
        else if (kind < 3)
            draw();
        else if (kind < 6)
            command();
        else if (kind == 6)
            useFields();
        else
            others();
        QCoreApplication::processEvents();
        const QByteArray after = bytes();
        if (m_isRefused || (m_isLeft && kind < 6)) {
            QCOMPARE(after, before);
            QCOMPARE(m_bench.host.progresses.size(), progresses);
            QCOMPARE(m_bench.canvas().undoStack.index(), m_isLeft ? 0 : steps);
        }
        if (m_isLeft)
            m_bench.editor->setCurrentFile(m_bench.file.get());
        if (kind > 0)
            note();
        if (!m_drawn.isNull() && m_bench.editor->unsavedPicture() != m_drawn) {
            bool isKept = false;
            for (unsigned int i = 0; i < m_bench.file->itemCount(); ++i)
                isKept |= m_bench.sprite(i) == m_drawn;
            QVERIFY2(isKept, qPrintable(m_log.join("; ")));
        }
        check();
    }

    void goBack()
    {
        const bool isRedo = below(4) == 0;
        const QUndoStack &steps = m_bench.canvas().undoStack;
        const bool isOnCanvas = isRedo ? steps.canRedo() : steps.canUndo();
        isRedo ? m_bench.editor->redo() : m_bench.editor->undo();
        if (isOnCanvas || bytes() != m_states[m_now])
            m_now += isOnCanvas ? 0 : isRedo ? 1 : -1;
        QCOMPARE(bytes(), m_states.value(m_now));
    }

    void draw()
    {
        m_bench.setColor(below(256), below(256));
        m_bench.drag({below(9), below(8)}, {below(9), below(8)});
    }

    /// What comes, comes behind the current sprite.
    void command()
    {
        const QByteArray key = m_commands[below(m_commands.size())];
        m_log.last() += key;
        const bool isWanted = key != "openimg" || m_bench.canvas().undoStack.isClean();
        if (!m_bench.action("spr_" + key)->isEnabled() || !isWanted)
            return;
        m_bench.host.duringProgress = [this] { // one thing at once
            const int before = m_asked;
            for (const char *each : {"add", "new", "openimg", "saveimgas", "import_proj"})
                m_bench.trigger(QByteArray("spr_") + each);
            QCOMPARE(m_asked, before);
        };
        QStringList names = m_bench.names();
        const int at = int(m_bench.file->current());
        const QSignalSpy selected(&m_bench.canvas(), &ImageCanvas::selectionChanged);
        m_bench.trigger("spr_" + key);
        QVERIFY(!key.startsWith("select_") || selected.count() > 0);
        QStringList rest = m_bench.names();
        if (rest.size() < names.size())
            names.removeAt(at);
        else if (!names.isEmpty())
            rest.erase(rest.begin() + at + 1, rest.begin() + at + 1 + rest.size() - names.size());
        QCOMPARE(rest, names);
    }

    /// A click in a list that need not show anything.
    void choose(const char *list)
    {
        auto *view = m_bench.field<QListView>(list);
        view->setCurrentIndex(view->model()->index(below(view->model()->rowCount()), 0));
        Q_EMIT view->clicked(view->currentIndex());
    }

    void useFields()
    {
        auto *blending = m_bench.field<QComboBox>("spr_layers_blendmode");
        auto *opacity = m_bench.field<QSpinBox>("spr_layers_opacity");
        const int kind = below(10);
        m_log.last() += '.' + QString::number(kind);
        if (kind == 0)
            m_bench.field<QSlider>("spr_sel")->setValue(below(5));
        else if (kind < 4)
            choose(kind == 1 ? "org_list" : kind == 2 ? "thumb_list" : "spr_layers_list");
        else if (kind == 4 && blending->isEnabled())
            Q_EMIT blending->activated(below(13));
        else if (kind == 5 && opacity->isEnabled())
            opacity->setValue(below(101));
        else if (kind == 6)
            m_bench.field<QAbstractButton>("spr_switch_pal")->click();
        else if (kind < 9)
            below(2) ? m_bench.editor->cut() : m_bench.editor->copy();
        else
            m_bench.editor->paste();
    }

    void others()
    {
        const int kind = below(7);
        m_log.last() += '.' + QString::number(kind);
        if (kind < 2)
            changeFile();
        else if (kind == 2)
            below(2) ? save() : load();
        else if (kind == 3)
            showAnother();
        else if (kind == 4)
            turnAway();
        else if (kind == 5)
            below(2) ? m_bench.editor->engineSwitched(true)
                     : void(m_bench.editor->canDiscard(m_bench.file.get()));
        for (int i = 0; kind == 6 && i < 2 && m_bench.panel; ++i) {
            m_bench.trigger("org_palette");
            m_bench.editor->deactivate();
            m_bench.editor->activate();
            check();
        }
    }

    /// By another editor. What is drawn stays while the picture below it does.
    void changeFile()
    {
        const Sprite *sprite = m_bench.editor->currentSprite();
        const QByteArray picture = sprite ? bytesOf(sprite->image()) : QByteArray();
        const auto work = [this] {
            return QPoint(m_bench.canvas().layers.rowCount(), m_bench.canvas().undoStack.index());
        };
        const QPoint before = work();
        Sprite *changed = m_bench.file->at(someRow());
        const int kind = below(5);
        if (kind == 0 && changed)
            changed->setImage(somePicture({5, 4}, m_random()));
        else if (kind == 1 && changed)
            changed->setProperty("Identifier", QString::number(m_random()));
        else if (kind == 2)
            m_bench.file->move(someRow(), someRow());
        else if (kind == 3)
            m_bench.file->remove(someRow());
        else if (Palette *palette = m_bench.file->palettes()->at(unsigned(below(2)))) {
            RGBA colors[256];
            const QVector<QRgb> table = someColors(m_random());
            std::transform(table.cbegin(), table.cend(), colors, fromQRgb);
            palette->setColors(colors, Palette::SetReplaced);
        }
        if (sprite && m_bench.editor->currentSprite() == sprite &&
            bytesOf(sprite->image()) == picture)
            QCOMPARE(work(), before);
    }

    void showAnother()
    {
        const SpritesPointer file = Bench::make();
        const bool isNone = below(2);
        m_bench.editor->setCurrentFile(isNone ? nullptr : file.get());
        m_bench.isMarked = m_bench.editor->isModified(); // the host asks by itself
        const int before = m_asked;
        for (const QByteArray &key : m_commands) {
            if (isNone)
                m_bench.trigger("spr_" + key);
        }
        m_bench.editor->paste();
        QCOMPARE(m_asked, before);
        note();
        const QSignalSpy told(m_bench.editor.get(), &Editor::modified);
        m_bench.file->move(someRow(), someRow());
        QCOMPARE(told.count(), 0);
        check();
        m_bench.editor->setCurrentFile(m_bench.file.get());
        m_bench.isMarked = m_bench.editor->isModified();
    }

    /// What happens behind another editor.
    void turnAway()
    {
        m_bench.editor->deactivate();
        const unsigned int current = m_bench.file->current();
        Q_EMIT m_bench.organizer->itemClicked(0);
        Q_EMIT m_bench.thumbnails->spriteChosen(0);
        Q_EMIT m_bench.workspace->paintingChanged();
        m_bench.mouse(QEvent::MouseMove, {1, 1});
        QCOMPARE(m_bench.file->current(), current);
        changeFile();
        QCoreApplication::processEvents();
        check();
        m_bench.editor->activate();
    }

    Bench m_bench;
    std::mt19937 m_random;
    MemoryArchive m_archive;
    QVector<QByteArray> m_states; ///< the file after each of its steps
    int m_now = 0;                ///< of m_states
    int m_asked = 0;              ///< the boxes of this step
    bool m_agrees = false, m_isRefused = false, m_isLeft = false;
    QImage m_drawn; ///< what is not to be lost
    QStringList m_log;
    const QList<QByteArray> m_commands =
        QByteArray("prev next next duplicate delete new saveimg saveimg add openimg saveimgas "
                   "layer_add layer_delete layer_duplicate layer_mergevis layer_mergeall resize "
                   "crop split_channels image_properties image_rotate image_fliph image_flipv "
                   "select_all select_none select_invert view_original tool_pen tool_rectsel "
                   "tool_paintbucket")
            .split(' ');
};

} // namespace SpriteTest

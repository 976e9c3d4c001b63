#include "animationtest.h"

using namespace AnimationTest;

namespace
{

/// Not what it was.
QVariant other(const QVariant &was)
{
    return was.type() == QVariant::String ? QVariant("?")
           : was.type() == QVariant::Bool ? QVariant(!was.toBool())
                                          : QVariant(was.toInt() + 1);
}

} // namespace

class tst_RandomAnimator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomAnimator_data()
    {
        columns<unsigned int>("seed");
        const int wanted = qEnvironmentVariableIntValue("KILN_ANIMATOR_SEEDS");
        for (unsigned int seed = 1; seed <= unsigned(wanted > 0 ? wanted : 4); ++seed)
            QTest::newRow(qPrintable(QString::number(seed))) << seed;
    }

    // Commands, fields, drags, typed text, undo and playback at random: what is shown is what the
    // text says, what is told anew shows the same, and so does a fresh editor; undo leads back to
    // the first bytes, and redo to the last.
    void randomAnimator()
    {
        QFETCH(unsigned int, seed);
        m_random.seed(seed);
        m_wrong.clear();
        auto bench = std::make_unique<Bench>();
        for (int part = 0; part < 6; ++part) {
            answerAll(*bench);
            QStringList log;
            for (int at = 0; at < 40; ++at) {
                step(*bench, log);
                const QString wrong = bench->differences() + m_wrong;
                QVERIFY2(wrong.isEmpty(), qPrintable(QString("part %1, step %2: %3\n%4")
                                                         .arg(part)
                                                         .arg(at)
                                                         .arg(wrong, log.mid(at - 7).join("; "))));
            }
            QCOMPARE(dump(bench->list()), dumpOf(bench->text()));
            rest(*bench);
            const QStringList seen = bench->shown();
            const QString last = bench->text();
            const QString onion = bench->field<QLabel>("onion_lb")->text();
            const int onionRow = bench->field<QSlider>("onion_sel")->value();
            const int onionFrame = bench->field<QSlider>("onion_framesel")->value();
            const int row = bench->field<QSlider>("sel")->value();
            const int frame = bench->field<QSlider>("frame_sel")->value();
            const unsigned int tick = bench->strip().currentTick();
            int undone = 0;
            for (; bench->file->isUndoAvailable(); ++undone)
                bench->editor->undo();
            QCOMPARE(bench->text(), bench->first);
            QCOMPARE(bench->differences(), QString());
            for (; undone > 0; --undone)
                bench->editor->redo();
            QCOMPARE(bench->text(), last);
            QCOMPARE(bench->differences(), QString());
            const QMap<QString, QVariant> options = bench->host.options;
            const QPoint origin = GraphicsRenderer::origin();
            bench.reset();
            bench = std::make_unique<Bench>(options);
            bench->show(last);
            bench->editor->setCurrent(unsigned(row), unsigned(frame));
            bench->strip().setCurrentTick(tick, false);
            if (!onion.endsWith("none")) {
                Q_EMIT bench->field<QSlider>("onion_sel")->valueChanged(onionRow);
                bench->field<QSlider>("onion_framesel")->setValue(onionFrame);
            }
            GraphicsRenderer::setOrigin(origin);
            rest(*bench);
            // A frame that is not there any more can't be chosen anew.
            if (bench->field<QLabel>("onion_lb")->text() == onion)
                QCOMPARE(bench->shown(), seen);
        }
    }

private:
    int below(int bound) { return m_random.bounded(bound); }

    /// What the user is about to do ends: a drawing, a drag, playback.
    static void rest(Bench &bench)
    {
        bench.trigger("stop");
        bench.viewport.keyPressed(Qt::Key_Escape, Qt::NoModifier);
        bench.viewport.deselectContactBoxes();
        bench.viewport.mouseMoved({5, 5}, Qt::NoModifier);
        bench.viewport.widget()->setFocus();
    }

    /// Whatever asks gets some answer.
    void answerAll(Bench &bench)
    {
        bench.host.dialogs().answerOthers([&](QDialog *dialog) {
            if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
                box->buttons().at(below(box->buttons().size()))->click();
                return;
            }
            if (auto *files = qobject_cast<QFileDialog *>(dialog)) {
                const bool isPicture = files->windowTitle().contains("GIF");
                files->findChild<QLineEdit *>("fileNameEdit")
                    ->setText(bench.path(isPicture ? "random.gif" : "random.flick"));
                below(4) ? dialog->accept() : dialog->reject();
                if (files->isVisible())
                    files->reject();
                return;
            }
            for (QComboBox *choice : dialog->findChildren<QComboBox *>())
                choice->setCurrentIndex(choice->count() ? below(choice->count()) : -1);
            for (QDoubleSpinBox *field : dialog->findChildren<QDoubleSpinBox *>())
                field->setValue(below(9) - 4);
            for (QListView *view : dialog->findChildren<QListView *>()) {
                if (const QAbstractItemModel *rows = view->model())
                    view->setCurrentIndex(rows->index(below(rows->rowCount() + 1), 0));
            }
            if (auto *typed = dialog->findChild<QPlainTextEdit *>("code"); typed && below(2))
                typed->appendPlainText("    frame: wren_hook_1, for 2");
            if (auto *input = qobject_cast<QInputDialog *>(dialog))
                input->setTextValue(QString::number(below(9)));
            dialog->done(below(4) ? QDialog::Accepted : QDialog::Rejected);
        });
    }

    enum Telling { Updates, Reconfigures, Activates, Reopens, Retranslates };

    /// Others have written into what an editor is to tell when it does that.
    static void spoil(Bench &bench, int how)
    {
        const auto turn = [&bench](const char *keys, const QList<QByteArray> &properties) {
            const QRegularExpression expression(QString("^anim_(%1)$").arg(keys));
            for (QObject *each : bench.host.mainWindow()->findChildren<QObject *>(expression)) {
                const QSignalBlocker quiet(each);
                for (const QByteArray &name : properties) {
                    if (each->property(name).isValid())
                        each->setProperty(name, other(each->property(name)));
                }
            }
        };
        const char *fields = "sel|onion_sel|onion_framesel|frame_(sel|xaxis|yaxis|flip|xscale|"
                             "yscale|angle|time)";
        if (how == Activates || how == Retranslates)
            bench.host.statusTexts.clear();
        if (how == Retranslates) {
            turn(fields, {"toolTip", "accessibleName"});
            turn("onion_lb", {"text"});
            bench.field<QComboBox>("frame_flip")->setItemText(2, "?");
            return;
        }
        turn("frame_sel|onion_framesel", {"maximum"});
        turn(fields, {"value", "currentIndex", "enabled"});
        turn("(sel|frame_sel|onion|place)_lb", {"text"});
        for (QAction *each :
             bench.host.mainWindow()->findChildren<QAction *>(QRegularExpression("^anim_")))
            each->setEnabled(!each->isEnabled());
        turn("stop", {"checked"});
        bench.viewport.setContactBoxes(ContactBoxCode::Attack, nullptr);
        bench.viewport.setContactBoxes(ContactBoxCode::Collision, nullptr);
        bench.viewport.setOnionSkinSprite(nullptr, {});
        bench.viewport.setItemPosition(GraphicsRenderer::ItemSprite, {90, 90});
        if (how == Reconfigures) {
            bench.host.statusTexts.remove(Interface::RendererField);
            turn("onion_skin", {"checked"});
            bench.viewport.setGuideLines({70, 70});
            bench.viewport.setOnionSkin(false, GraphicsRenderer::OnionNormal, 1);
        }
    }

    /// Whatever is told anew shows what was shown before.
    void tellAgain(Bench &bench, int how)
    {
        rest(bench);
        const QStringList seen = bench.shown();
        const unsigned int tick = bench.strip().currentTick();
        spoil(bench, how);
        if (how == Updates) {
            bench.editor->update();
        } else if (how == Reconfigures) {
            bench.editor->reconfig();
        } else if (how == Activates) {
            const QPoint origin = GraphicsRenderer::origin();
            bench.editor->deactivate();
            bench.editor->activate();
            GraphicsRenderer::setOrigin(origin); // which would come back into sight
        } else if (how == Reopens) {
            bench.editor->setCurrentFile(nullptr);
            bench.editor->setCurrentFile(bench.file);
            bench.strip().setCurrentTick(tick, false);
        } else {
            bench.editor->retranslate();
        }
        const QStringList again = bench.shown();
        for (int i = 0; i < qMax(seen.size(), again.size()); ++i) {
            if (seen.value(i) != again.value(i))
                m_wrong += QString("\n  %1\n  became %2").arg(seen.value(i), again.value(i));
        }
    }

    static QStringList commands()
    {
        return QString(
                   "add delete frame_add frame_delete frameall_offset frameall_time frameall_flip "
                   "frameall_scale box_del box_delall box_type box_prev pos_left pos_up pos_right "
                   "pos_down prev_anim next_anim prev_frame next_frame play stop box_add_attack "
                   "box_add_collision editcode box_delall_anim box_allinst optimize frame_align "
                   "code save_gif export import import_proj duplicate")
            .split(' ');
    }

    void step(Bench &bench, QStringList &log)
    {
        const QStringList lines{"    frame: wren_jab_1, at 3 4, for 2",
                                "    body: 1, 2, 9, 8",
                                "    strike: -9, -9, 4, 4",
                                "@animation more, layer 1",
                                "; a remark",
                                "    frame: nobody, for 0, flip h, angle 30",
                                "    frame: wren_stand_1, for ever, opacity 0.5",
                                "    frame: wren_walk_2, loop"};
        const int what = below(113);
        log << QString::number(what);
        if (what < 40) {
            log.last() += ' ' + commands().value(below(commands().size()));
            bench.trigger(log.last().section(' ', 1));
        } else if (what < 44) {
            if (below(2))
                bench.drop({"wren_jab_3", "nobody"}, below(20) - 1);
            else if (bench.editor->currentFrame())
                bench.chooseFlip(below(4));
        } else if (what < 56) {
            const char *wholes[] = {"frame_xaxis", "frame_yaxis", "frame_time"};
            const char *reals[] = {"frame_xscale", "frame_yscale", "frame_angle"};
            auto *whole = bench.field<QSpinBox>(wholes[below(3)]);
            auto *real = bench.field<QDoubleSpinBox>(reals[below(3)]);
            if (bench.editor->currentFrame())
                below(2) ? whole->setValue(below(60) - 20) : real->setValue(below(16) / 4.0 - 1);
        } else if (what < 60) {
            bench.field<QSlider>(below(2) ? "sel" : "frame_sel")->setValue(below(20));
        } else if (what < 64) {
            bench.field<QSlider>(below(2) ? "onion_sel" : "onion_framesel")->setValue(below(5));
            bench.field<QCheckBox>("onion_skin")->setChecked(below(3));
        } else if (what < 78) {
            bench.drag({below(80) - 40, -below(90)}, {below(80) - 40, -below(90)});
        } else if (what < 82) {
            const int keys[] = {Qt::Key_Left, Qt::Key_Up, Qt::Key_Delete, Qt::Key_Escape};
            bench.viewport.keyPressed(keys[below(4)], Qt::NoModifier);
        } else if (what < 90) {
            QTextBlock line = bench.file->findBlockByNumber(below(bench.file->blockCount()));
            QTextCursor cursor(line);
            if (below(3))
                cursor.insertText(lines[below(lines.size())] + '\n');
            else if (bench.file->blockCount() > 20) {
                cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
                cursor.removeSelectedText();
            }
        } else if (what < 93) {
            QTextCursor cursor(bench.file->findBlockByNumber(below(bench.file->blockCount())));
            bench.code->editor()->setTextCursor(cursor);
            (below(2) ? bench.code->editor() : bench.viewport.widget())->setFocus();
        } else if (what < 97) {
            bench.editor->undo();
        } else if (what < 99) {
            bench.editor->redo();
        } else if (what < 105) {
            auto *line = dynamic_cast<TimeLine *>(bench.viewport.spriteProvider());
            const int length = line->name().section(' ', -2, -2).toInt();
            bench.strip().setCurrentTick(unsigned(below(qBound(1, length, 200))), false);
        } else if (!bench.editor->isPlaying()) {
            tellAgain(bench, what % 5);
        }
        QCoreApplication::processEvents();
    }

    QRandomGenerator m_random;
    QString m_wrong; ///< what became another when it was told again
};

QTEST_MAIN(tst_RandomAnimator)
#include "tst_randomanimator.moc"

#include "animationtest.h"

using namespace AnimationTest;

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
    // text says, a fresh document reads the same, and undo leads back to the first bytes.
    void randomAnimator()
    {
        QFETCH(unsigned int, seed);
        QRandomGenerator random(seed);
        const auto below = [&random](int bound) { return random.bounded(bound); };
        Bench bench;
        const QStringList commands =
            QString(
                "add delete frame_add frame_delete frameall_offset frameall_time frameall_flip "
                "frameall_scale box_del box_delall box_type box_prev pos_left pos_up pos_right "
                "pos_down prev_anim next_anim prev_frame next_frame next_frame next_anim play stop "
                "box_add_attack box_add_collision editcode box_delall_anim box_allinst optimize "
                "frame_align code save_gif export import import_proj duplicate")
                .split(' ');
        // Whatever asks gets some answer.
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
        const QStringList lines{"    frame: wren_jab_1, at 3 4, for 2",
                                "    body: 1, 2, 9, 8",
                                "    strike: -9, -9, 4, 4",
                                "@animation more, layer 1",
                                "; a remark",
                                "    frame: nobody, for 0",
                                "    frame: wren_stand_1, for ever, opacity 0.5",
                                "    frame: wren_walk_2, loop"};
        QStringList log;
        for (int step = 0; step < 400; ++step) {
            const int what = below(100);
            log << QString::number(what);
            if (what < 40) {
                const QString command = commands[below(commands.size())];
                log.last() += ' ' + command;
                bench.trigger(command);
            } else if (what < 44) {
                if (below(2))
                    bench.chooseFlip(below(4));
                else
                    bench.drop({"wren_jab_3", "nobody"}, below(20) - 1);
            } else if (what < 56) {
                const char *wholes[] = {"frame_xaxis", "frame_yaxis", "frame_time"};
                const char *reals[] = {"frame_xscale", "frame_yscale", "frame_angle"};
                if (below(2))
                    bench.field<QSpinBox>(wholes[below(3)])->setValue(below(60) - 20);
                else
                    bench.field<QDoubleSpinBox>(reals[below(3)])->setValue(below(16) / 4.0 - 1);
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
            } else if (what < 97) {
                bench.editor->undo();
            } else if (what < 99) {
                bench.editor->redo();
            } else {
                bench.strip().setCurrentTick(unsigned(below(60)), false);
            }
            QCoreApplication::processEvents();
            const QString wrong = bench.differences();
            QVERIFY2(
                wrong.isEmpty(),
                qPrintable(
                    QString("step %1: %2\n%3")
                        .arg(step)
                        .arg(wrong, QStringList(log.mid(qMax(0, log.size() - 8))).join("; "))));
            if (step % 20 == 0)
                QCOMPARE(dump(bench.list()), dumpOf(bench.text()));
        }
        bench.trigger("stop");
        while (bench.file->isUndoAvailable())
            bench.editor->undo();
        QCOMPARE(bench.text(), bench.first);
        QCOMPARE(bench.differences(), QString());
    }
};

QTEST_MAIN(tst_RandomAnimator)
#include "tst_randomanimator.moc"

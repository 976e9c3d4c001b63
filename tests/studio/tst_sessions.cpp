#include "windowtest.h"

#include <findinfilesdock.h>
#include <hostkit/actionregistry.h>
#include <hostkit/animationview.h>
#include <hostkit/outsidechanges.h>
#include <hostkit/viewport.h>
#include <kilnx/editors/spriteeditor.h>
#include <kilnx/image/imagepalette.h>
#include <kilnx/image/sprite.h>
#include <kilnx/imageedit/imagerenderer.h>
#include <kilnx/sound/sounds.h>
#include <tests/support/modeltester.h>
#include <tests/support/told.h>

namespace
{

/// Before the application reads them: numbers, reasons and the length of paths are the same on
/// every machine.
const bool isPlain =
    qputenv("LC_ALL", "C.UTF-8") && qunsetenv("LANGUAGE") && qputenv("TMPDIR", "/tmp");

/// What can be seen, a value a name.
using State = QMap<QString, QString>;

QString checksum(const QByteArray &bytes)
{
    return '#' + QCryptographicHash::hash(bytes, QCryptographicHash::Md4).toHex().left(4);
}

/// Few bytes as the text that they are.
QString bytesText(const QByteArray &bytes)
{
    return bytes.size() > 60
               ? checksum(bytes)
               : '"' + QString::fromUtf8(bytes).replace("\r", "\\r").replace("\n", "\\n") + '"';
}

QString pictureText(const QImage &image)
{
    QByteArray bytes;
    for (int y = 0; y < image.height(); ++y)
        bytes.append(reinterpret_cast<const char *>(image.constScanLine(y)),
                     image.width() * image.depth() / 8);
    return QString("%1x%2 ").arg(image.width()).arg(image.height()) + checksum(bytes);
}

/// The rows of a list or tree that are open to the eye, and of the current and selected ones again
/// with their numbers.
void addRows(const QAbstractItemView &view,
             const QModelIndex &parent,
             QStringList &rows,
             QStringList &marks)
{
    const QAbstractItemModel &model = *view.model();
    const auto *tree = qobject_cast<const QTreeView *>(&view);
    for (int row = 0; row < model.rowCount(parent); ++row) {
        QStringList cells;
        for (int column = 0; column < model.columnCount(parent); ++column)
            cells << model.index(row, column, parent).data().toString();
        const QModelIndex index = model.index(row, 0, parent);
        if (tree && tree->isRowHidden(row, parent))
            continue;
        if (const QVariant mark = index.data(Qt::CheckStateRole); mark.isValid())
            cells[0].prepend(QStringList{"[ ] ", "[-] ", "[x] "}[mark.toInt()]);
        const QString text = cells.join(" | ");
        if (view.currentIndex().siblingAtColumn(0) == index)
            marks << QString("current %1 %2").arg(rows.size()).arg(text);
        if (view.selectionModel()->isRowSelected(row, parent))
            marks << QString("selected %1 %2").arg(rows.size()).arg(text);
        rows << text;
        if (tree && tree->isExpanded(index))
            addRows(view, index, rows, marks);
    }
}

/// What of a text is selected or folded away.
QString marksOf(const QPlainTextEdit &edit)
{
    QStringList marks;
    if (edit.textCursor().hasSelection())
        marks << "selected " + edit.textCursor().selectedText().replace(QChar(0x2029), '|');
    for (QTextBlock line = edit.document()->begin(); line.isValid(); line = line.next()) {
        if (line.isVisible() && line.next().isValid() && !line.next().isVisible())
            marks << "folded " + line.text();
    }
    return marks.join('\n');
}

QString valueOf(QWidget *widget)
{
    if (auto *label = qobject_cast<QLabel *>(widget))
        return label->pixmap(Qt::ReturnByValue).isNull() ? label->text() : "picture";
    if (auto *edit = qobject_cast<QLineEdit *>(widget))
        return edit->text();
    if (auto *spin = qobject_cast<QSpinBox *>(widget); spin && spin->maximum() < INT_MAX)
        return QString("%1 in %2..%3").arg(spin->text()).arg(spin->minimum()).arg(spin->maximum());
    if (auto *spin = qobject_cast<QAbstractSpinBox *>(widget))
        return spin->text();
    if (auto *slider = qobject_cast<QSlider *>(widget))
        return QString("%1 in %2..%3")
            .arg(slider->value())
            .arg(slider->minimum())
            .arg(slider->maximum());
    if (auto *combo = qobject_cast<QComboBox *>(widget))
        return QString("%1 of %2")
            .arg(combo->currentIndex() < 0 ? combo->placeholderText() : combo->currentText())
            .arg(combo->count());
    if (auto *tabs = qobject_cast<QTabBar *>(widget)) {
        QStringList texts;
        for (int i = 0; i < tabs->count(); ++i)
            texts << (i == tabs->currentIndex() ? '[' + tabs->tabText(i) + ']' : tabs->tabText(i));
        return texts.join('\n');
    }
    if (auto *bar = qobject_cast<QProgressBar *>(widget))
        return bar->text();
    if (auto *keys = qobject_cast<QKeySequenceEdit *>(widget))
        return keys->keySequence().toString();
    if (auto *edit = qobject_cast<QPlainTextEdit *>(widget))
        return edit->toPlainText();
    if (auto *button = qobject_cast<QAbstractButton *>(widget)) {
        if (!button->text().isEmpty())
            return button->text().remove('&') + (button->isChecked() ? ", checked" : "");
    }
    return {};
}

/// What a widget tells of itself beside its value, and how it takes the user's hand.
QString manner(QWidget *widget, const QString &name)
{
    QStringList words;
    if (!widget->accessibleName().isEmpty() && widget->accessibleName() != name)
        words << "called " + widget->accessibleName();
    if (!widget->toolTip().isEmpty() && widget->toolTip() != name &&
        widget->toolTip() != widget->accessibleName())
        words << "tip " + widget->toolTip();
    if (auto *button = qobject_cast<QPushButton *>(widget); button && button->isDefault())
        words << "default";
    else if (button && !button->autoDefault() && qobject_cast<QDialog *>(button->window()))
        words << "never default";
    if (auto *view = qobject_cast<QAbstractItemView *>(widget)) {
        const QMetaObject &meta = QAbstractItemView::staticMetaObject;
        for (const char *property : {"selectionMode", "selectionBehavior", "dragDropMode"}) {
            const QMetaProperty read = meta.property(meta.indexOfProperty(property));
            words << read.enumerator().valueToKey(read.read(view).toInt());
        }
    }
    if (auto *edit = qobject_cast<QPlainTextEdit *>(widget)) {
        words << (edit->isReadOnly() ? "read only" : "written")
              << (edit->lineWrapMode() == QPlainTextEdit::NoWrap ? "unwrapped" : "wrapped");
    }
    return words.join(", ");
}

/// Adds everything in `root` that has a value of its own and can be seen.
void addWidgets(QWidget *root, State &state)
{
    for (QWidget *widget : root->findChildren<QWidget *>()) {
        const QWidget *parent = widget->parentWidget();
        const bool isPart = qobject_cast<const QAbstractSpinBox *>(parent) ||
                            qobject_cast<const QComboBox *>(parent) ||
                            qobject_cast<const QTabBar *>(parent) ||
                            widget->inherits("QHeaderView") || widget->inherits("QScrollBar");
        auto *tool = qobject_cast<QToolButton *>(widget);
        if (isPart || (tool && tool->defaultAction()) || !widget->isVisibleTo(root) ||
            widget->window() != root)
            continue;
        const QString value = valueOf(widget);
        QString name = widget->objectName();
        if (name.isEmpty() || name.startsWith("qt_"))
            name = qobject_cast<QAbstractButton *>(widget) || qobject_cast<QLabel *>(widget)
                       ? value
                       : widget->metaObject()->className();
        const QString off = widget->isEnabled() ? "" : " off";
        if (auto *view = qobject_cast<QAbstractItemView *>(widget); view && view->model()) {
            QStringList rows;
            QStringList marks;
            addRows(*view, view->rootIndex(), rows, marks);
            state[name] = rows.join('\n') + off;
            state[name + " has"] = marks.join('\n');
        } else if (!name.isEmpty() && !(value.isEmpty() && widget->isEnabled())) {
            name = name.remove('&').simplified();
            state[name] = (name == value.simplified() ? QString("seen") : '"' + value + '"') + off;
        } else {
            continue;
        }
        if (const QString how = manner(widget, value); !how.isEmpty())
            state[name + " is"] = how;
        if (auto *edit = qobject_cast<QPlainTextEdit *>(widget))
            state[name + " has"] = marksOf(*edit);
    }
}

} // namespace

/// Sessions of a user in the real window, as text. In a file of sessions/ each line with a > in
/// front is what the user does; what stands below it is everything that can be seen to change by
/// it: commands that can be given or not, fields, lists, labels, the boxes that came, and what the
/// files hold. Somebody has read each of them and found it right. After a wanted change,
/// KILNX_SESSIONS=write writes them anew, for the difference to be read.
class tst_sessions : public WindowTest
{
    Q_OBJECT

private slots:
    void sessions_data()
    {
        columns<QString>("file");
        const QDir directory(KILN_SOURCE_DIR "/tests/studio/sessions");
        for (const QFileInfo &file : directory.entryInfoList({"*.txt"}, QDir::Files))
            addRow(qPrintable(file.baseName()), file.filePath());
    }

    void sessions()
    {
        const auto [path] = row<QString>();
        m_dialogs->answerOthers([this](QDialog *dialog) { answer(dialog); });
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_directory->filePath("share"))); // the trash
        m_answers.clear();
        listen();
        m_said.clear();
        const ModelTester messages(&host().messages());
        m_state = seen();
        const QString wanted = QString::fromUtf8(readFile(path));
        QStringList got;
        for (const QString &line : wanted.split('\n')) {
            if (line.startsWith('#')) {
                got << line;
            } else if (line.startsWith("> ")) {
                got << line;
                act(line.mid(2));
                settle();
                got += m_said + differences();
                m_said.clear();
            }
        }
        const QString text = got.join('\n') + '\n';
        if (qgetenv("KILNX_SESSIONS") == "write")
            writeFile(path, text.toUtf8());
        else
            compare(got, wanted.split('\n'));
        QCOMPARE(got.filter("CANNOT"), QStringList());
        QCOMPARE(m_answers, QStringList());
    }

private:
    /// Does one line: its verb, an object, and the rest of it, in which words are parted by blanks.
    void act(const QString &line)
    {
        m_line = line;
        for (QTreeView *tree : m_window->findChildren<QTreeView *>("code_tree")) {
            QAbstractItemModel *nodes = tree->model();
            if (nodes && !nodes->findChild<QAbstractItemModelTester *>())
                new QAbstractItemModelTester(
                    nodes, QAbstractItemModelTester::FailureReportingMode::QtTest, nodes);
        }
        const QString verb = line.section(' ', 0, 0);
        const QByteArray slot = ("user" + verb.left(1).toUpper() + verb.mid(1)).toLatin1();
        check(QMetaObject::invokeMethod(this, slot.constData(),
                                        Q_ARG(QString, line.section(' ', 1, 1)),
                                        Q_ARG(QString, line.section(' ', 2))));
    }

    // The verbs.
    Q_INVOKABLE void userOpen(const QString &name, const QString &)
    {
        check(host().desk().openFile(path(name), 0));
    }
    Q_INVOKABLE void userDo(const QString &key, const QString &)
    {
        QAction *action = host().actionByKey(key.toLatin1());
        if (check(action && action->isEnabled()))
            action->trigger();
    }
    /// To the next box: fields with an = and their values, and the button; parted by semicolons.
    Q_INVOKABLE void userAnswer(const QString &first, const QString &rest)
    {
        m_answers << (first + ' ' + rest).trimmed();
    }
    Q_INVOKABLE void userSet(const QString &name, const QString &value)
    {
        setValue(field(name), value);
    }
    Q_INVOKABLE void userKey(const QString &name, const QString &keys)
    {
        if (!check(field(name)))
            return;
        field(name)->setFocus();
        press(field(name), keys);
    }
    /// A key to whatever has the focus, and where that is then.
    Q_INVOKABLE void userPress(const QString &keys, const QString &)
    {
        press(QApplication::focusWidget(), keys);
        userFocus({}, {});
    }
    Q_INVOKABLE void userType(const QString &name, const QString &text)
    {
        QTest::keyClicks(field(name), text);
    }
    Q_INVOKABLE void userFind(const QString &first, const QString &rest)
    {
        const QTextCursor found = document()->QTextDocument::find((first + ' ' + rest).trimmed());
        if (check(!found.isNull()))
            view()->setTextCursor(found);
    }
    Q_INVOKABLE void userMouse(const QString &name, const QString &words)
    {
        mouse(field(name), words.split(' '));
    }
    /// The mouse on the picture, in its pixels.
    Q_INVOKABLE void userPaint(const QString &first, const QString &rest)
    {
        if (!check(painting()))
            return;
        painting()->setZoom(8);
        painting()->setOffset({4, 4});
        mouseOn(painting()->widget(), first + ' ' + rest,
                [this](QPoint at) { return painting()->toScreen(at) + QPoint(4, 4); });
    }
    /// The mouse on the frame of an animation, in pixels from its origin.
    Q_INVOKABLE void userFrame(const QString &first, const QString &rest)
    {
        const HostKit::Viewport &shown = host().animationView()->viewport();
        mouseOn(shown.widget(), first + ' ' + rest, [&](QPoint at) {
            return HostKit::Viewport::origin() + at * double(shown.zoomFactor());
        });
    }
    /// A command of a field's own menu, on a row or at a point.
    Q_INVOKABLE void userMenu(const QString &name, const QString &rest)
    {
        QWidget *target = surface(field(name));
        if (!check(target))
            return;
        const QPoint at = pointOf(field(name), rest.section(' ', 0, 0));
        QTimer::singleShot(0, this, [this, wanted = rest.section(' ', 1)] {
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            if (!check(menu))
                return;
            QAction *chosen = nullptr;
            QStringList texts;
            for (QAction *action : menu->actions()) {
                const QString text = action->text().remove('&');
                texts << (action->isEnabled() ? text : text + " off");
                chosen = text == wanted && action->isEnabled() ? action : chosen;
            }
            m_said << "    menu: " + texts.join(" ; ");
            menu->setActiveAction(chosen);
            if (check(chosen || wanted.isEmpty()) && chosen)
                QTest::keyClick(menu, Qt::Key_Return);
            else
                menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, target->mapToGlobal(at));
        QApplication::sendEvent(target, &event);
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }
    /// Files from a file manager.
    Q_INVOKABLE void userDrop(const QString &name, const QString &files)
    {
        QWidget *target = surface(field(name));
        QMimeData data;
        QList<QUrl> urls;
        for (const QString &file : files.split(' '))
            urls << QUrl::fromLocalFile(m_directory->filePath(file));
        data.setUrls(urls);
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(target, &enter);
        QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        if (check(enter.isAccepted()))
            QApplication::sendEvent(target, &event);
    }
    Q_INVOKABLE void userOption(const QString &key, const QString &value) { set(key, value); }
    Q_INVOKABLE void userProject(const QString &name, const QString &)
    {
        check(host().openProject(m_directory->filePath(name)));
    }
    Q_INVOKABLE void userFocus(const QString &, const QString &)
    {
        m_said << "    focus: " + QApplication::focusWidget()->objectName();
    }
    /// Closes the window, and starts anew.
    Q_INVOKABLE void userRestart(const QString &, const QString &)
    {
        if (!check(m_window->close()))
            return;
        m_window.reset(); // or its end would leave the new one deaf to the disk
        makeWindow();
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        listen();
        m_window->reopenLast();
    }
    /// Everything that can be seen, and not only what has changed.
    Q_INVOKABLE void userShow(const QString &, const QString &) { m_state.clear(); }

    // What others do on the disk.
    Q_INVOKABLE void userCopy(const QString &from, const QString &to)
    {
        const QString path = QDir(KILN_SOURCE_DIR).filePath(from);
        QFileInfo(path).isDir() ? copyFolder(path, m_directory->filePath(to))
                                : replaceFile(m_directory->filePath(to), readFile(path));
    }
    Q_INVOKABLE void userWrite(const QString &name, const QString &text)
    {
        replaceFile(m_directory->filePath(name), QString(text).replace("\\n", "\n").toUtf8());
    }
    Q_INVOKABLE void userDelete(const QString &name, const QString &)
    {
        const QString path = m_directory->filePath(name);
        check(QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::remove(path));
    }
    Q_INVOKABLE void userLink(const QString &from, const QString &to)
    {
        check(QFile::link(m_directory->filePath(from), m_directory->filePath(to)));
    }
    Q_INVOKABLE void userMove(const QString &from, const QString &to)
    {
        check(QDir(m_directory->path()).rename(from, to));
    }

    /// What takes the mouse of a widget.
    static QWidget *surface(QWidget *widget)
    {
        auto *area = qobject_cast<QAbstractScrollArea *>(widget);
        return area ? area->viewport() : widget;
    }

    static void press(QWidget *widget, const QString &keys)
    {
        const int code = QKeySequence(keys)[0];
        QTest::keyClick(widget, Qt::Key(code & ~int(Qt::KeyboardModifierMask)),
                        Qt::KeyboardModifiers(code) & Qt::KeyboardModifierMask);
    }

    static QModelIndex rowOf(const QAbstractItemView &view, int row)
    {
        const auto *tree = qobject_cast<const QTreeView *>(&view);
        QModelIndex index = view.model()->index(tree ? 0 : row, 0, view.rootIndex());
        for (int below = 0; tree && below < row && index.isValid(); ++below)
            index = tree->indexBelow(index);
        return index;
    }

    QWidget *field(const QString &name) const
    {
        QWidget *found = host().control(name);
        if (!found)
            found = name == "code" ? view() : m_window->findChild<QWidget *>(name);
        return found;
    }

    /// Notes what cannot be done.
    bool check(bool done)
    {
        if (!done)
            m_said << "CANNOT " + m_line;
        return done;
    }

    /// A point in the widget, "5,7", or the middle of a list's third row or of the third tab,
    /// "row2".
    static QPoint pointOf(QWidget *widget, const QString &word)
    {
        const int row = word.mid(3).toInt();
        if (auto *view = qobject_cast<QAbstractItemView *>(widget); view && !word.contains(','))
            return view->visualRect(rowOf(*view, row)).center();
        if (auto *tabs = qobject_cast<QTabBar *>(widget); tabs && !word.contains(','))
            return tabs->tabRect(row).center();
        return pointOf(word);
    }

    /// A button is held from the first point to the last one.
    void mouse(QWidget *widget, const QStringList &words)
    {
        if (!check(widget))
            return;
        Qt::KeyboardModifiers keys;
        keys.setFlag(Qt::ShiftModifier, words.contains("shift"));
        keys.setFlag(Qt::ControlModifier, words.contains("ctrl"));
        QVector<QPoint> points;
        for (const QString &word : words) {
            if (word.contains(',') || word.startsWith("row"))
                points << pointOf(widget, word);
        }
        widget = surface(widget);
        const auto send = [&](QEvent::Type type, QPoint at) {
            const auto button = words.contains("right")    ? Qt::RightButton
                                : words.contains("middle") ? Qt::MiddleButton
                                                           : Qt::LeftButton;
            const bool moves = type == QEvent::MouseMove;
            QMouseEvent event(type, at, widget->mapToGlobal(at), moves ? Qt::NoButton : button,
                              type == QEvent::MouseButtonRelease ? Qt::NoButton : button, keys);
            QApplication::sendEvent(widget, &event);
        };
        send(words.contains("double") ? QEvent::MouseButtonDblClick : QEvent::MouseButtonPress,
             points.first());
        for (const QPoint at : qAsConst(points))
            send(QEvent::MouseMove, at);
        send(QEvent::MouseButtonRelease, points.last());
    }

    template<typename Map>
    void mouseOn(QWidget *widget, const QString &line, const Map &toWidget)
    {
        QStringList words = line.trimmed().split(' ');
        for (QString &word : words) {
            if (word.contains(',')) {
                const QPoint at = toWidget(pointOf(word));
                word = QString("%1,%2").arg(at.x()).arg(at.y());
            }
        }
        mouse(widget, words);
    }

    static QPoint pointOf(const QString &word)
    {
        return {word.section(',', 0, 0).toInt(), word.section(',', 1).toInt()};
    }

    void setValue(QWidget *widget, const QString &value)
    {
        if (!check(widget && widget->isEnabled()))
            return;
        if (auto *combo = qobject_cast<QComboBox *>(widget)) {
            if (!check(combo->findText(value) >= 0))
                return;
            combo->setCurrentIndex(combo->findText(value));
            Q_EMIT combo->activated(combo->currentIndex());
        } else if (auto *slider = qobject_cast<QSlider *>(widget)) {
            slider->setValue(value.toInt());
        } else if (auto *tabs = qobject_cast<QTabBar *>(widget)) {
            tabs->setCurrentIndex(value.toInt());
        } else if (auto *keys = qobject_cast<QKeySequenceEdit *>(widget)) {
            press(keys, value);
        } else if (auto *button = qobject_cast<QAbstractButton *>(widget)) {
            button->click();
        } else if (auto *view = qobject_cast<QAbstractItemView *>(widget)) {
            if (check(view->model()))
                selectRows(*view, value.split(' '));
        } else if (auto *text = qobject_cast<QPlainTextEdit *>(widget)) {
            text->setPlainText(QString(value).replace("\\n", "\n"));
        } else {
            auto *spin = qobject_cast<QAbstractSpinBox *>(widget);
            auto *edit = qobject_cast<QLineEdit *>(widget);
            if (!check(spin || edit))
                return;
            widget->setFocus();
            spin ? spin->selectAll() : edit->selectAll();
            for (const QChar letter : value)
                QTest::sendKeyEvent(QTest::Click, widget, Qt::Key_unknown, letter, Qt::NoModifier);
            if (!qobject_cast<QDialog *>(widget->window()))
                QTest::keyClick(widget, Qt::Key_Return);
        }
    }

    /// And changes their marks, if "mark" is among the words.
    static void selectRows(QAbstractItemView &view, QStringList rows)
    {
        const bool marks = rows.removeAll("mark");
        view.clearSelection();
        for (const QString &row : rows) {
            const QModelIndex index = rowOf(view, row.toInt());
            view.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
            view.selectionModel()->select(index,
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
            if (marks)
                QTest::keyClick(&view, Qt::Key_Space);
        }
    }

    /// Notes what the dialog shows, fills its fields and presses a button of it.
    void answer(QDialog *dialog)
    {
        const QStringList steps =
            m_answers.isEmpty() ? QStringList{"Escape"} : m_answers.takeFirst().split("; ");
        auto *files = qobject_cast<QFileDialog *>(dialog);
        m_said << "    box \"" + dialog->windowTitle() + '"';
        if (files) {
            m_said << "        " + files->nameFilters().join(" ") + ", " +
                          tidy(files->selectedFiles().join(' '));
            QStringList names;
            for (const QString &name : steps.mid(0, steps.size() - 1))
                names << '"' + m_directory->filePath(name) + '"';
            files->findChild<QLineEdit *>("fileNameEdit")->setText(names.join(' '));
            if (steps.last() != "Escape")
                dialog->accept();
            if (dialog->isVisible())
                dialog->reject();
            return;
        }
        for (const QString &field : misplaced(*dialog))
            m_said << "        MISPLACED: " + field;
        const auto note = [&](const State &before) {
            State all;
            addWidgets(dialog, all);
            State now;
            for (auto it = all.cbegin(); it != all.cend(); ++it)
                now[tidy(it.key())] = tidy(it.value());
            if (m_line.startsWith("press") && dialog->focusWidget())
                now["focus"] = dialog->focusWidget()->objectName();
            noteDifferences(before, now, "        ", m_said);
            return now;
        };
        State shown = note({});
        for (const QString &step : steps.mid(0, steps.size() - 1)) {
            const QString name = step.section('=', 0, 0);
            auto *widget = dialog->findChild<QWidget *>(name);
            for (QWidget *each : dialog->findChildren<QWidget *>()) {
                if (!widget && name == each->metaObject()->className())
                    widget = each;
            }
            m_said << "      = " + step;
            const QString value = step.section('=', 1).replace('~', m_directory->path());
            if (name == "press") // to what has the focus
                press(dialog->focusWidget(), value);
            else
                setValue(widget, value);
            if (!dialog->isVisible())
                return;
            shown = note(shown);
        }
        for (auto *button : dialog->findChildren<QAbstractButton *>()) {
            if (button->text().remove('&') == steps.last() && button->isEnabled())
                return button->click();
        }
        dialog->reject();
    }

    /// The same on every machine.
    QString tidy(QString text) const
    {
        return text.replace(m_directory->path(), "~").replace(KILN_BINARY_DIR, "build");
    }

    /// Everything that can be seen now.
    State seen() const
    {
        State state;
        for (QAction *action : host().HostBase::actions().actions()) {
            QString text = action->isEnabled() ? "on" : "off";
            text += action->isChecked() ? " checked" : "";
            state["do " + action->objectName()] =
                text + " \"" + action->text().remove('&') + "\" " + action->toolTip();
            if (!action->toolTip().endsWith(')') && !action->shortcut().isEmpty())
                state["do " + action->objectName()] += ' ' + action->shortcut().toString();
        }
        const auto direct = Qt::FindDirectChildrenOnly;
        for (const QAction *action : m_window->findChildren<QAction *>(QString(), direct))
            state["commands in order"] += action->objectName() + '\n';
        addWidgets(m_window.get(), state);
        state["title"] = m_window->windowTitle();
        state["look"] = look();
        QDirIterator written(m_directory->path(), QDir::Files, QDirIterator::Subdirectories);
        while (written.hasNext()) {
            const QString path = written.next();
            const QString name = path.mid(m_directory->path().size() + 1);
            // What a library compresses may have other bytes in another release of it.
            const bool isPacked = name.endsWith(".png") || name.endsWith("gleam") ||
                                  name.endsWith(".peal") || !name.contains('.');
            if (name.startsWith("hero/") || !name.contains('/') || name.contains("Trash/files/"))
                state["file " + name] = isPacked ? "there" : bytesText(readFile(path));
        }
        for (Kiln::Project *project : session().projects())
            addFiles(*project, state);
        if (Kiln::ImageRenderer *canvas = painting())
            addCanvas(*canvas, state);
        for (QString &value : state)
            value = tidy(value);
        return state;
    }

    /// Colours, letters, and what is drawn beside and below the text.
    QString look() const
    {
        if (!document())
            return m_state.value("look"); // as it was
        QString words = QApplication::palette().color(QPalette::Base).name();
        words += QString(", %1 points").arg(view()->font().pointSize());
        bool isColoured = false;
        for (QTextBlock block = document()->begin(); block.isValid(); block = block.next())
            isColoured |= !block.layout()->formats().isEmpty();
        const Kiln::CodeEditor::SyntaxFormatting &now = view()->syntaxFormatting();
        const std::pair<bool, const char *> drawn[] = {
            {isColoured, "coloured"},        {now.lineNumbers, "numbers"},
            {now.foldingMarkers, "folds"},   {now.highlightLine, "line"},
            {now.highlightBlocks, "blocks"}, {now.parenMatching, "parens"}};
        for (const auto &[isDrawn, what] : drawn)
            words += isDrawn ? QString(", ") + what : QString();
        return words;
    }

    Kiln::ImageRenderer *painting() const
    {
        auto *editor = dynamic_cast<Kiln::SpriteEditor *>(host().currentEditor());
        return editor ? editor->renderer() : nullptr;
    }

    static void addCanvas(Kiln::ImageRenderer &renderer, State &state)
    {
        const Kiln::ImageCanvas &canvas = renderer.canvas;
        const QRect rect = canvas.selection.rect;
        QString about = QString("%1x%2").arg(canvas.size.width()).arg(canvas.size.height());
        if (canvas.selection.active)
            about += QString(", selected %1,%2 %3x%4 ")
                         .arg(rect.x())
                         .arg(rect.y())
                         .arg(rect.width())
                         .arg(rect.height()) +
                     pictureText(canvas.selection.mask);
        about += QString(", foreground %1, background %2, zoom %3, %4")
                     .arg(canvas.palette->foregroundIndex())
                     .arg(canvas.palette->backgroundIndex())
                     .arg(renderer.zoom())
                     .arg(renderer.picture().isNull() ? "" : pictureText(renderer.picture()));
        about += ", undo " + canvas.undoStack.undoText() + ", redo " + canvas.undoStack.redoText();
        state["canvas"] = about + (canvas.undoStack.isClean() ? ", clean" : "");
        for (int row = 0; row < canvas.layers.rowCount(); ++row) {
            const Kiln::ImageLayer &layer = *canvas.layers.at(row);
            const auto *raster = dynamic_cast<const Kiln::RasterLayer *>(&layer);
            state[QString("canvas layer %1").arg(row)] =
                QString("%1, %2, mode %3, opacity %4, %5")
                    .arg(layer.name, layer.visible ? "seen" : "hidden")
                    .arg(layer.blendMode)
                    .arg(layer.opacity)
                    .arg(raster ? pictureText(raster->image) : "");
        }
    }

    void addFiles(Kiln::Project &project, State &state) const
    {
        using ID = Kiln::FileID;
        for (const auto type : {ID::Sprites, ID::Sounds, ID::Animations}) {
            Kiln::ProjectFile *file = project.file(type);
            if (!file)
                continue;
            const QString name = tidy(file->fileName()).section('/', -1);
            state[name] = file->isModified() ? "modified" : "saved";
            if (m_state.value(name) == "saved" && state[name] == "saved") {
                for (const QString part : {" sprites", " palettes", " sounds"}) {
                    if (m_state.contains(name + part))
                        state[name + part] = m_state.value(name + part);
                }
                continue; // as it was
            }
            const auto note = [&](const QString &kind, Kiln::PropertyItem *item,
                                  const QString &text) {
                QStringList words;
                for (const QString &property : item->propertyNames()) {
                    const QVariant value = item->property(property);
                    words
                        << (value.type() == QVariant::Point
                                ? QString("%1:%2").arg(value.toPoint().x()).arg(value.toPoint().y())
                                : value.toString());
                }
                words << text;
                QString &all = state[name + ' ' + kind];
                all += (all.isEmpty() ? "" : "\n") + words.join(' ');
            };
            if (auto *sprites = dynamic_cast<Kiln::Sprites *>(file)) {
                for (int i = 0; i < int(sprites->itemCount()); ++i)
                    note("sprites", sprites->at(uint(i)),
                         pictureText(sprites->at(uint(i))->image()));
                for (int i = 0; i < int(sprites->palettes()->count()); ++i) {
                    Kiln::Palette *palette = sprites->palettes()->at(uint(i));
                    note("palettes", palette,
                         checksum({reinterpret_cast<const char *>(palette->colors()), 1024}));
                }
            }
            if (auto *sounds = dynamic_cast<Kiln::Sounds *>(file)) {
                for (int i = 0; i < int(sounds->itemCount()); ++i)
                    note("sounds", sounds->itemAt(uint(i)),
                         checksum(sounds->itemAt(uint(i))->sample().data));
            }
        }
    }

    /// Notes what the status bar tells. It hides its fields for a while then, so settle() ends
    /// that.
    void listen()
    {
        connect(statusBar(), &QStatusBar::messageChanged, this, [this](const QString &text) {
            if (!text.isEmpty())
                m_said << "    told: " + tidy(text);
        });
        statusBar()->clearMessage();
    }
    QStatusBar *statusBar() const { return m_window->findChild<QStatusBar *>("status_bar"); }

    /// Waits until nothing more happens by itself.
    void settle() const
    {
        const auto isWaiting = [this] {
            const auto *search = m_window->findChild<Studio::FindInFilesDock *>();
            const QList<QTimer *> timers = m_window->findChildren<QTimer *>() +
                                           host().outsideChanges().findChildren<QTimer *>();
            return search->isSearching() || view()->hitState() == Kiln::CodeEditor::Searching ||
                   std::any_of(timers.begin(), timers.end(), [](const QTimer *timer) {
                       return timer->isActive() && timer->isSingleShot() &&
                              timer->interval() < 1000;
                   });
        };
        State last;
        QElapsedTimer watch;
        watch.start();
        for (State now = seen(); now != last || isWaiting(); now = seen()) {
            if (watch.hasExpired(8000))
                return; // what is seen then tells what does not end
            last = now;
            QTest::qWait(20);
        }
        statusBar()->clearMessage();
    }

    /// What has changed since the last call.
    QStringList differences()
    {
        const State now = seen();
        QStringList lines;
        noteDifferences(m_state, now, "    ", lines);
        m_state = now;
        return lines;
    }

    /// Commands by their keys, a line for those of each kind of change; of long lists only the rows
    /// between those that are as before.
    static void noteDifferences(const State &before,
                                const State &now,
                                const QString &indent,
                                QStringList &lines)
    {
        QMap<QString, QString> commands;
        QStringList gone;
        for (auto it = before.cbegin(); it != before.cend(); ++it) {
            const bool tells = it.key().endsWith(" is") || it.key().endsWith(" has");
            if (!tells && !now.contains(it.key()))
                gone << it.key();
        }
        if (!gone.isEmpty())
            lines << indent + "gone: " + gone.join(' ');
        for (auto it = now.cbegin(); it != now.cend(); ++it) {
            const QString was = before.value(it.key());
            if (was == it.value())
                continue;
            if (it.key().startsWith("do ") && was.section('"', 1) == it.value().section('"', 1))
                commands[it.value().section(" \"", 0, 0)] += ' ' + it.key().mid(3);
            else
                lines << indent + it.key() + ": " + changed(was, it.value());
        }
        for (auto it = commands.cbegin(); it != commands.cend(); ++it)
            lines << indent + it.key() + ':' + it.value();
    }

    static QString changed(const QString &before, QString now)
    {
        QStringList was = before.split('\n');
        QStringList is = now.split('\n');
        int same = 0;
        while (same < qMin(was.size(), is.size()) && was[same] == is[same])
            ++same;
        const int count = is.size();
        while (qMin(was.size(), is.size()) > same && was.last() == is.last()) {
            was.removeLast();
            is.removeLast();
        }
        if (count < 8 || is.size() - same > count / 2)
            return now.replace('\n', " ; ");
        return QString("of %1 from %2: %3 -> %4")
            .arg(count)
            .arg(same)
            .arg(QStringList(was.mid(same)).join(" ; "), QStringList(is.mid(same)).join(" ; "));
    }

    /// The first line that differs, with those before it.
    static void compare(const QStringList &got, const QStringList &wanted)
    {
        for (int i = 0; i < qMax(got.size(), wanted.size() - 1); ++i) {
            const QString line = got.value(i, "(end)");
            const QString said = wanted.value(i, "(end)");
            QVERIFY2(line == said,
                     qPrintable(
                         QString("line %1:\n%2\n  is:     %3\n  wanted: %4")
                             .arg(i + 1)
                             .arg(QStringList(got.mid(qMax(0, i - 6), 6)).join('\n'), line, said)));
        }
    }

    State m_state;
    QString m_line; ///< that is done
    QStringList m_answers;
    QStringList m_said;
};

QTEST_MAIN(tst_sessions)
#include "tst_sessions.moc"

// What the code view shows: margin, current line, brackets, nested blocks and tool tips.

#include "editortest.h"

using namespace Kiln;

/// A style of that name, as the margin asks for it.
class QGtkStyle : public QProxyStyle
{
    Q_OBJECT
};

/// What a new view of a new document paints of a place, brought to the state of `view`.
static QImage paintedAnew(const CodeEditor &view,
                          const CodeEditor::SyntaxFormatting &formatting,
                          QInputMethodEvent composition,
                          const QRect &place)
{
    PlainDocument document(view.codeDocument()->toString());
    CodeEditor anew;
    anew.setSyntaxFormatting(formatting);
    anew.setHorizontalScrollBarPolicy(view.horizontalScrollBarPolicy());
    anew.resize(view.size());
    anew.setDocument(&document);
    anew.setFont(view.font());
    anew.setAttribute(Qt::WA_DontShowOnScreen);
    anew.show();
    QFocusEvent focus(QEvent::FocusIn);
    QApplication::sendEvent(&anew, &focus);
    // Inner folds before those that they stand in.
    QTextBlock line = document.lastBlock();
    for (QTextBlock same = view.document()->lastBlock(); same.isValid(); same = same.previous()) {
        if (CodeBlockData::testBlockData(same)->isFolded())
            anew.toggleBlockVisible(line);
        line = line.previous();
    }
    QTextCursor cursor(&document);
    cursor.setPosition(view.textCursor().anchor());
    cursor.setPosition(view.textCursor().position(), QTextCursor::KeepAnchor);
    anew.setTextCursor(cursor);
    if (!composition.preeditString().isEmpty())
        QApplication::sendEvent(&anew, &composition);
    QCoreApplication::processEvents();
    anew.verticalScrollBar()->setValue(view.verticalScrollBar()->value());
    // A view is as wide as the widest line that it has seen.
    for (line = document.firstBlock(); line.isValid(); line = line.next())
        document.documentLayout()->blockBoundingRect(line);
    anew.horizontalScrollBar()->setMaximum(view.horizontalScrollBar()->maximum());
    anew.horizontalScrollBar()->setValue(view.horizontalScrollBar()->value());
    const QImage image = anew.grab(place).toImage();
    anew.setDocument(nullptr);
    return image;
}

class TestCodeEditor : public EditorTest
{
    Q_OBJECT

private slots:
    void init() { open(); }
    void cleanup() { close(); }
    void marginGrowsByADigit()
    {
        const QFontMetrics metrics(m_editor->font());
        const int even = metrics.lineSpacing() + metrics.lineSpacing() % 2;
        const QMap<int, int> digits{{1, 2}, {99, 2}, {100, 3}, {999, 3}, {1000, 4}}; // by lines
        for (int lines : digits.keys()) {
            m_editor->setPlainText(numberedLines(lines));
            QCOMPARE(margin()->width(),
                     digits.value(lines) * metrics.horizontalAdvance('9') + 2 + 4 + 1 + even);
        }
    }

    void placeholderIsSeen()
    {
        const QImage empty = shot(m_editor->viewport());
        m_editor->setPlaceholderText("nothing here");
        QVERIFY(shot(m_editor->viewport()) != empty);
        m_editor->setPlainText("x");
        const QImage text = shot(m_editor->viewport());
        m_editor->setPlaceholderText(QString());
        QCOMPARE(shot(m_editor->viewport()), text);
    }

    void marginColumns()
    {
        m_editor->setPlainText(QString("[a]\nb\nc\nd"));
        for (int shown = 0; shown < 8; ++shown) {
            const bool numbers = shown & 1;
            const bool icons = shown & 2;
            const bool markers = shown & 4;
            CodeEditor::SyntaxFormatting formatting;
            formatting.lineNumbers = numbers;
            formatting.iconArea = icons;
            formatting.foldingMarkers = markers;
            m_editor->setSyntaxFormatting(formatting);
            const QFontMetrics metrics(m_editor->font());
            const int spacing = metrics.lineSpacing();
            const int expected = (numbers ? 2 * metrics.horizontalAdvance('9') : 0) +
                                 (icons ? spacing : 2) + 4 +
                                 (markers ? 1 + spacing + spacing % 2 : 0);
            QCOMPARE(margin()->width(), expected);
            QCOMPARE(m_editor->viewport()->geometry().left(), margin()->geometry().right() + 1);

            // The column of markers starts where the others end; the head's line has one, the next
            // not.
            const QImage image = shot(margin());
            const QColor background = margin()->palette().color(QPalette::Window);
            const auto blank = [&](int line, int from, int to) {
                const QRect row = lineRect(line);
                const QImage cells = image.copy(from, row.top() + 1, to - from, row.height() - 3);
                QImage plain = cells;
                plain.fill(background);
                return cells == plain;
            };
            const int markersAt = margin()->width() - (markers ? 1 + spacing + spacing % 2 : 0);
            QCOMPARE(blank(1, 0, markersAt - 1), !numbers);
            QCOMPARE(blank(0, markersAt, margin()->width() - 1), !markers);
            QVERIFY(blank(2, markersAt, margin()->width() - 1));
            QCOMPARE(image.pixel(margin()->width() - 1, lineRect(3).bottom() + 5),
                     background.darker(115).rgb());
        }
    }

    void marginShowsTheNumbersOfItsLines()
    {
        m_editor->setPlainText("[a]\nb\nc\n[d]\ne\nf");
        setCursor(4, 0);
        const auto number = [&](int line) {
            const QRect row = lineRect(line).adjusted(0, 1, 0, -1);
            return shot(margin()).copy(0, row.top(), margin()->width() - row.height() - 3,
                                       row.height());
        };
        const auto isFull = [&](int line) {
            const QImage image = number(line);
            return showsColor(image, image.rect(), margin()->palette().color(QPalette::WindowText));
        };
        for (int line = 0; line < 6; ++line)
            QCOMPARE(isFull(line), line == 4);
        // Lines that are folded away take their numbers with them.
        const QImage fourth = number(3);
        m_editor->toggleBlockVisible(m_document->firstBlock());
        QCOMPARE(lineRect(3).top(), lineRect(0).bottom() + 1);
        QCOMPARE(number(3), fourth);
    }

    void marginForwardsWheelAndToolTip()
    {
        m_editor->setPlainText("a bad and old one\n" + numberedLines(200));
        QToolTip::hideText();
        const auto toolTip = [&](int line) {
            const QPoint place(3, lineRect(line).center().y());
            QHelpEvent help(QEvent::ToolTip, place, margin()->mapToGlobal(place));
            QApplication::sendEvent(margin(), &help);
            return QToolTip::isVisible() ? QToolTip::text() : QString();
        };
        QCOMPARE(toolTip(0), QString("bad at 2\nold at 10"));
        QTRY_COMPARE(toolTip(1), QString());
        m_editor->setPlainText("bad");
        QHelpEvent below(QEvent::ToolTip, {3, 300}, margin()->mapToGlobal({3, 300}));
        QApplication::sendEvent(margin(), &below);
        QVERIFY(!QToolTip::isVisible());
        m_editor->setPlainText(numberedLines(200));
        const QPointF place(3, 20);
        QWheelEvent wheel(place, margin()->mapToGlobal(place.toPoint()), QPoint(), QPoint(0, -120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(margin(), &wheel);
        QVERIFY(m_editor->verticalScrollBar()->value() > 0);
    }

    /// Brackets that are shown stay for 50 ms when the cursor moves on, the blocks for 100 ms:
    /// typing does not look for them at each key.
    void timersWaitTheirTime()
    {
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightBlocks = true;
        formatting.highlightLine = false;
        m_editor->setSyntaxFormatting(formatting);
        m_editor->setPlainText("[x]\n  one\n(a) b\n[y]\n  two");
        const auto shade = [&](int line) {
            const QImage image = shot(m_editor->viewport());
            return image.pixel(image.width() - 3, lineRect(line).center().y());
        };
        const QRgb plain = m_editor->palette().color(QPalette::Base).rgb();
        setCursor(2, 3);
        QTRY_VERIFY(shade(1) != plain);
        QTRY_COMPARE(m_editor->extraSelections().size(), 3);
        QElapsedTimer timer;
        timer.start();
        setCursor(4, 2);
        QCoreApplication::processEvents();
        const int brackets = m_editor->extraSelections().size();
        const QRgb before = shade(1);
        if (timer.elapsed() < 50) { // a machine that stood still proves nothing
            QCOMPARE(brackets, 3);
            QVERIFY(before != plain);
        }
        QTRY_COMPARE(m_editor->extraSelections().size(), 0);
        QVERIFY(timer.elapsed() >= 45);
        QTRY_COMPARE(shade(1), plain);
        QVERIFY(timer.elapsed() >= 95);
        QVERIFY(shade(4) != plain);
    }

    void hugeLineIsEdited()
    {
        const QString line = QString("a bad (x) ").repeated(100000);
        m_editor->setPlainText("first\n" + line);
        setCursor(1, 500000);
        QTest::keyClicks(m_editor.get(), QString("yz"));
        QTest::keyClick(m_editor.get(), Qt::Key_Backspace);
        QCOMPARE(m_document->blockCount(), 2);
        QVERIFY(m_document->lastBlock().text() == QString(line).insert(500000, 'y'));
        QVERIFY(m_editor->viewport()->rect().contains(m_editor->cursorRect().center()));
        QTest::keyClick(m_editor.get(), Qt::Key_Return);
        QCOMPARE(m_document->blockCount(), 3);
        while (m_document->isUndoAvailable())
            m_editor->undo();
        QVERIFY(m_document->lastBlock().text() == line);
    }

    void cursorMoveRepaintsTwoStrips()
    {
        m_editor->setPlainText(numberedLines(30));
        setCursor(3, 0);
        QTest::qWait(100); // whatever the window system still paints
        PaintWatch watch(margin());
        setCursor(8, 2);
        const QRect width(0, 0, margin()->width(), margin()->height());
        const QRect oldLine = lineRect(3).intersected(width);
        const QRect newLine = lineRect(8).intersected(width);
        QTRY_VERIFY(watch.region.contains(oldLine.center()) &&
                    watch.region.contains(newLine.center()));
        // Painting of the current line reaches one pixel into its neighbours.
        const QRegion allowed =
            QRegion(oldLine.adjusted(0, -2, 0, 2)) + newLine.adjusted(0, -2, 0, 2);
        QVERIFY2((watch.region - allowed).isEmpty(), "more than the two lines was painted");
    }

    void keyRepaintsItsLine()
    {
        m_editor->setPlainText(numberedLines(30).replace("line 9", "a bad line 9"));
        setCursor(9, 10);
        QTest::keyClicks(m_editor.get(), QString("xyz"));
        QTest::qWait(100); // whatever the window system still paints
        const QRect line = lineRect(9);
        const QRegion allowed(line.adjusted(0, -2, 0, 2));
        for (const Qt::Key key : {Qt::Key_Y, Qt::Key_Backspace, Qt::Key_Delete, Qt::Key_Space}) {
            PaintWatch watch(m_editor->viewport());
            QTest::keyClick(m_editor.get(), key);
            QTRY_VERIFY(watch.region.contains(line.center()));
            QVERIFY2((watch.region - allowed).isEmpty(), "more than the line was painted");
        }
        m_editor->insertPlainText(QString("\u0e01\u0e36\u0e4b")); // may be higher than Latin
        QCOMPARE(m_document->lineCount(), 30);
        // The marker of the line above comes with the first line that it can fold.
        m_editor->setPlainText("[a]\n-\n-");
        setCursor(1, 1);
        QTest::qWait(100);
        PaintWatch watch(margin());
        QTest::keyClick(m_editor.get(), 'x');
        QTRY_VERIFY(watch.region.contains(QPoint(margin()->width() - 8, lineRect(0).center().y())));
    }

    void newFormattingRepaints()
    {
        m_editor->setPlainText("[a]\nb");
        QTest::qWait(100);
        PaintWatch text(m_editor->viewport());
        PaintWatch numbers(margin());
        const auto isRepainted = [&] {
            return text.region.contains(m_editor->viewport()->rect().bottomRight()) &&
                   numbers.region.contains(margin()->rect().bottomLeft());
        };
        CodeEditor::SyntaxFormatting formatting;
        QCOMPARE(CodeEditor().syntaxFormatting().blockColor, formatting.blockColor);
        formatting.highlightBlocks = true;
        m_editor->setSyntaxFormatting(formatting);
        QTRY_VERIFY(isRepainted());
        PlainDocument other(m_document->toString());
        const std::function<void()> changes[] = {
            [&] { setCursor(1, 0); }, // whose block and its shade come a little later
            [&] { m_editor->setDocument(&other); },
            [&] { m_editor->setDocument(m_document.get()); }};
        for (const auto &change : changes) {
            QCoreApplication::processEvents();
            text.region = numbers.region = QRegion();
            change();
            QTRY_VERIFY(isRepainted());
        }
        // Without a host's colours there are some of its own.
        QCOMPARE(formatting.lineColor.rgb(), qRgb(255, 255, 153));
        QCOMPARE(formatting.hitColor.rgb(), qRgb(255, 255, 76));
        QCOMPARE(formatting.blockColor, m_editor->palette().color(QPalette::Base));
        QCOMPARE(formatting.parenMatch.foreground().color().rgb(), qRgb(255, 0, 0));
        QCOMPARE(formatting.parenRange.background().color().rgb(), qRgb(255, 229, 255));
        QCOMPARE(formatting.parenError.background().color().rgb(), qRgb(255, 0, 255));
    }

    void currentLineIsPaintedAcross()
    {
        m_editor->setPlainText(numberedLines(5));
        CodeEditor::SyntaxFormatting formatting;
        formatting.lineColor = QColor(200, 220, 240);
        m_editor->setSyntaxFormatting(formatting);
        setCursor(2, 0);
        const int right = m_editor->viewport()->width() - 3;
        const QImage image = shot(m_editor->viewport());
        for (int line = 0; line < 5; ++line) {
            const QRgb pixel = image.pixel(right, lineRect(line).center().y());
            QCOMPARE(pixel == formatting.lineColor.rgb(), line == 2);
        }
        m_editor->moveCursor(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        QCOMPARE(shot(m_editor->viewport()).pixel(right, lineRect(2).center().y()),
                 formatting.lineColor.rgb());
        formatting.highlightLine = false;
        m_editor->setSyntaxFormatting(formatting);
        QVERIFY(!showsColor(shot(m_editor->viewport()), m_editor->viewport()->rect(),
                            formatting.lineColor));
    }

    /// Bright waves are for dark grounds.
    void wavesAreSeenOnAnyGround()
    {
        m_document->fromString("hmm hmm hmm hmm");
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightLine = false;
        m_editor->setSyntaxFormatting(formatting);
        for (const QColor &ground : {QColor(Qt::white), QColor(31, 34, 38)}) {
            QPalette palette = m_editor->palette();
            palette.setColor(QPalette::Base, ground);
            m_editor->setPalette(palette);
            const QImage image = shot(m_editor->viewport());
            int brightest = 0;
            for (int i = 0; i < image.width() * image.height(); ++i) {
                const QColor color = image.pixelColor(i % image.width(), i / image.width());
                if (qAbs(color.hsvHue() - 60) < 6 && color.hsvSaturation() > 150)
                    brightest = qMax(brightest, color.value());
            }
            QVERIFY2(ground == Qt::white ? brightest > 90 && brightest < 190 : brightest > 190,
                     qPrintable(QString::number(brightest)));
        }
    }

    /// After keys, compositions, folds, scrolls, selections and fonts the X server shows what the
    /// whole view would paint now, and what a new view of the same would; each line has the colours
    /// that it has in a new document.
    void screenIsTheTruth()
    {
        QApplication::setCursorFlashTime(0); // a blinking cursor is no difference
        CodeEditor::SyntaxFormatting formatting;
        formatting.parenMatching = false; // comes later, by a timer
        m_editor->setSyntaxFormatting(formatting);
        m_editor->setFont(QFont("Courier", 10));
        m_editor->setHorizontalScrollBarPolicy(
            Qt::ScrollBarAlwaysOn); // it knows lines it has shown
        m_document->fromString(
            sectionedText(12, 4).replace("of 1", "bad of (1) " + QString(90, '.')));
        const auto place = [&] {
            return m_editor->viewport()->geometry().united(margin()->geometry());
        };
        const auto onScreen = [&] {
            for (int i = 0; i < 3; ++i)
                QCoreApplication::processEvents();
            const QRect shown = place();
            return m_editor->screen()
                ->grabWindow(m_editor->winId(), shown.x(), shown.y(), shown.width(), shown.height())
                .toImage();
        };
        QRandomGenerator random(23);
        const auto bodyLine = [&] {
            QTextBlock line;
            do
                line = block(random.bounded(m_document->blockCount()));
            while (!line.text().startsWith("    "));
            return line;
        };
        QInputMethodEvent composition;
        const auto compose = [&](const QString &text, int points) {
            QTextCharFormat format;
            format.setFontPointSize(points);
            composition = {text, {{QInputMethodEvent::TextFormat, 0, text.size(), format}}};
            QInputMethodEvent event = composition;
            QApplication::sendEvent(m_editor.get(), &event);
        };
        for (int step = 0; step < 160; ++step) {
            if (step % 20 == 0) {
                formatting.highlightLine = step % 40 == 0;
                m_editor->setSyntaxFormatting(formatting);
                m_editor->resize(m_editor->width(), 420 - step);
            }
            const int action = random.bounded(9);
            if (action < 5) {
                const QTextBlock line = bodyLine();
                setCursor(line.blockNumber(), qMin(line.length() - 1, 4 + random.bounded(8)));
            }
            onScreen();
            switch (action) {
            case 0:
                QTest::keyClicks(m_editor.get(), QStringList{"x", "bad y", "old"}.at(step % 3));
                break;
            case 1:
                QTest::keyClick(m_editor.get(), step % 2 ? Qt::Key_Return : Qt::Key_Delete);
                break;
            case 2:
                compose("comp", 10 + 8 * random.bounded(3));
                break;
            case 3: { // one step of two edits, lines apart
                QTextCursor cursor = m_editor->textCursor();
                cursor.beginEditBlock();
                cursor.insertText("q");
                cursor.setPosition(bodyLine().position() + 4);
                cursor.insertText("old ");
                cursor.endEditBlock();
                break;
            }
            case 4:
                QTest::keyClick(m_editor.get(), Qt::Key_Down, Qt::ShiftModifier);
                break;
            case 5:
            case 6: { // what can be seen can be folded
                if (random.bounded(5) == 0)
                    step % 2 ? m_editor->foldAll() : m_editor->unfoldAll();
                const QTextBlock head = block(random.bounded(m_document->blockCount()));
                if (head.isVisible())
                    m_editor->toggleBlockVisible(head);
                break;
            }
            case 7:
                m_editor->verticalScrollBar()->setValue(
                    random.bounded(m_editor->verticalScrollBar()->maximum() + 1));
                m_editor->horizontalScrollBar()->setValue(random.bounded(2) * 30);
                break;
            default:
                m_editor->setFont(QFont("Courier", 9 + random.bounded(4)));
            }
            const QImage shown = onScreen();
            m_editor->viewport()->update();
            margin()->update();
            const QByteArray where = QString("step %1, action %2").arg(step).arg(action).toUtf8();
            QVERIFY2(shown == onScreen(), where + ": something was not painted");
            const QImage anew = paintedAnew(*m_editor, formatting, composition, place());
            QVERIFY2(anew.convertToFormat(QImage::Format_RGB32) ==
                         shown.convertToFormat(QImage::Format_RGB32),
                     where + ": a new view shows something else");
            if (action == 2)
                compose(QString(), 10);
            // Nothing stands in for the colours of a line that is not parsed again.
            PlainDocument fresh(m_document->toString());
            QTextBlock line = m_document->firstBlock();
            for (QTextBlock same = fresh.firstBlock(); same.isValid(); same = same.next()) {
                QVERIFY2(line.layout()->formats() == same.layout()->formats(),
                         where + ": colours are gone");
                line = line.next();
            }
        }
    }

    // A document, the cursor's line and column, those of the selection's other end, and how far the
    // view is scrolled to the side, and what an input method composes.
    void looksLikeThePlainView_data()
    {
        const auto add = columns<QString, QList<int>, int, bool, QString>(
            "text", "places", "scroll", "overwrites", "composed");
        const QString shortText = QString("a bad word\n\told and \u05d0\u05d1\u05d2 hmm\n\n"
                                          "\u05d0\u05d1\u05d2 to the left\nthe end");
        const QString words = QString("w\u00f6rd bad f(i) ").repeated(1500);
        const QString tabs = QString("a\tbad word ").repeated(1500);
        const QString mixed = QString("left \u05d0\u05d1\u05d2 bad ").repeated(1500);
        // Cut every 80 characters, one of these is cut inside a letter.
        const QString pairs = QString("\U0001d5c3x").repeated(5000);
        add("a cursor", shortText, {0, 3, 0, 3}, 0, false, "");
        add("a cursor to overwrite with", shortText, {1, 2, 1, 2}, 0, true, "");
        add("one at a line's end", shortText, {4, 7, 4, 7}, 0, true, "");
        add("a selection", shortText, {0, 4, 3, 5}, 0, false, "");
        add("a selection upwards", shortText, {4, 2, 1, 9}, 0, false, "");
        add("a long line", words, {0, 0, 0, 0}, 0, false, "");
        add("the middle of one", words, {0, 9, 0, 9}, 60007, false, "");
        add("a selection in one", words, {0, 7500, 0, 15000}, 60007, false, "");
        add("the end of one", words, {0, 20000, 0, 20010}, 1, false, "");
        add("tabs in one", tabs, {0, 0, 0, 0}, 60007, false, "");
        add("two directions in one", mixed, {0, 0, 0, 0}, 60007, false, "");
        const QString run = QString("\u05d0\u05d1\u05d2 ").repeated(100);
        add("long runs of two directions", QString("left " + run).repeated(40), {0, 0, 0, 0}, 60007,
            false, "");
        for (const int scroll : {30000, 30009, 30018})
            QTest::addRow("pairs of surrogates at %d", scroll)
                << pairs << QList<int>{0, 0, 0, 0} << scroll << false << "";
        add("text being composed", shortText, {0, 3, 0, 3}, 0, false, "kana");
        add("text being composed in a long line", words, {0, 9, 0, 9}, 0, false, "kana");
    }

    void looksLikeThePlainView()
    {
        const auto [text, places, scroll, overwrites, composed] =
            row<QString, QList<int>, int, bool, QString>();
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightLine = formatting.parenMatching = false;
        m_editor->setSyntaxFormatting(formatting);
        QPalette palette = m_editor->palette();
        palette.setColor(QPalette::Base, QColor(40, 40, 40)); // on which waves are as they are
        m_editor->setPalette(palette);
        m_editor->setPlainText(text);
        QTextBlockFormat ground;
        ground.setBackground(QColor(60, 80, 40));
        cursorAt(0, 0).setBlockFormat(ground);
        m_editor->setBackgroundVisible(true);
        QPlainTextEdit plain(
            m_editor.get()); // in the same window, so that it can have the keyboard
        plain.setFrameShape(QFrame::NoFrame);
        plain.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        plain.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        plain.setLineWrapMode(QPlainTextEdit::NoWrap);
        plain.setDocument(m_document.get());
        plain.setBackgroundVisible(true);
        plain.setTabStopDistance(m_editor->tabStopDistance());
        plain.resize(m_editor->viewport()->size());
        plain.show();
        const int flashTime = QApplication::cursorFlashTime();
        QApplication::setCursorFlashTime(0);
        QImage images[2];
        QPlainTextEdit *const views[2] = {m_editor.get(), &plain};
        for (int i = 0; i < 2; ++i) {
            QPlainTextEdit *const view = views[i];
            QTextCursor cursor(block(places.at(2)));
            cursor.setPosition(cursor.block().position() + places.at(3));
            const QTextBlock line = block(places.at(0));
            cursor.setPosition(line.position() + places.at(1), QTextCursor::KeepAnchor);
            view->setFocus();
            view->setOverwriteMode(overwrites);
            view->setTextCursor(cursor);
            if (scroll)
                view->horizontalScrollBar()->setValue(scroll);
            QVERIFY(view->hasFocus());
            for (const QString &preedit : {composed, QString()}) {
                QInputMethodEvent event(preedit, {});
                if (!composed.isEmpty())
                    QCoreApplication::sendEvent(view, &event);
                if (preedit == composed)
                    images[i] = shot(view->viewport());
                // A strip alone shows what the whole does.
                const QRect strip = view->viewport()->rect().adjusted(0, 300, 0, 0);
                if (preedit == composed)
                    QCOMPARE(
                        view->viewport()->grab(strip).toImage().convertToFormat(images[i].format()),
                        images[i].copy(strip));
            }
        }
        QApplication::setCursorFlashTime(flashTime);
        QCOMPARE(images[0], images[1]);
    }

    // Ten times as many lines as may keep the shapes of their characters, with edits on the way.
    void linesOutOfSightLoseTheirShapes()
    {
        constexpr int most = 1000;
        m_editor->setPlainText(numberedLines(10 * most));
        const QImage before = shot(m_editor->viewport());
        for (int line = 0; line < 10 * most; line += 15) {
            m_editor->setCurrentLine(line, CodeEditor::TopPlacement);
            shot(m_editor->viewport());
            if (line % 1500 == 0) {
                QTest::keyClick(m_editor.get(), Qt::Key_Return);
                QTest::keyClick(m_editor.get(), Qt::Key_Backspace);
            }
            QCoreApplication::processEvents();
        }
        int shaped = 0;
        for (QTextBlock line = m_document->begin(); line.isValid(); line = line.next())
            shaped += line.layout()->cacheEnabled();
        QVERIFY2(shaped > 0 && shaped <= most, qPrintable(QString::number(shaped)));
        m_editor->setCurrentLine(0, CodeEditor::TopPlacement);
        QCOMPARE(shot(m_editor->viewport()), before);
    }

    void brackets_data()
    {
        const auto add = columns<QString, int, QString>("text", "column", "paint");
        // In `paint`, "m" stands under a bracket that matches, "r" under the range, "e" under an
        // error.
        add("cursor before the opening one", "a (bc) d", 2, "  mrrm  ");
        add("cursor behind the closing one", "a (bc) d", 6, "  mrrm  ");
        add("cursor inside finds nothing", "a (bc) d", 4, "        ");
        add("nested, outer", "(a(b)c)", 0, "mrrrrrm");
        add("nested, inner", "(a(b)c)", 5, "  mrm  ");
        add("both neighbours at once", "(a)(b)", 3, "mrmmrm");
        add("mismatch forward", "(ab}", 0, "eeee");
        add("mismatch backward", "x{ab)", 5, " eeee");
        add("one matches, the other does not", "(a)<b)", 3, "mrmeee");
        add("without a partner", "((a)", 0, "    ");
        add("a sign that opens and closes", "a!bc!", 1, " mrrm");
    }

    void brackets()
    {
        auto [text, column, paint] = row<QString, int, QString>();
        CodeEditor::SyntaxFormatting formatting;
        formatting.parenMatch.setForeground(QColor(1, 2, 3));
        formatting.parenRange.setBackground(QColor(10, 250, 10));
        formatting.parenError.setBackground(QColor(250, 10, 250));
        m_editor->setSyntaxFormatting(formatting);
        m_editor->setPlainText(text);
        setCursor(0, column == 0 ? 1 : 0);
        setCursor(0, column);
        const auto painted = [&] {
            QString found(text.size(), ' ');
            for (const QTextEdit::ExtraSelection &selection : m_editor->extraSelections()) {
                for (int i = selection.cursor.selectionStart(); i < selection.cursor.selectionEnd();
                     ++i) {
                    found[i] = selection.format == formatting.parenMatch   ? 'm'
                               : selection.format == formatting.parenRange ? 'r'
                                                                           : 'e';
                }
            }
            return found;
        };
        QTest::qWait(5); // the row without brackets must not pass before the timer has run
        QTRY_COMPARE(painted(), paint);
        QTextCursor selection = cursorAt(0, text.size() - column);
        selection.setPosition(column, QTextCursor::KeepAnchor);
        m_editor->setTextCursor(selection); // what is selected changes nothing
        m_editor->setParenRangePainted(true);
        QTest::qWait(5);
        QTRY_COMPARE(painted(), paint);
        setCursor(0, column);
        const QImage image = shot(m_editor->viewport());
        for (int i = 0; i < text.size(); ++i) {
            const QRect cell = textRect(0, i, i + 1).adjusted(1, 1, -2, -1);
            QCOMPARE(showsColor(image, cell, formatting.parenError.background().color()),
                     paint.at(i) == 'e');
            QCOMPARE(showsColor(image, cell, formatting.parenRange.background().color()),
                     paint.at(i) == 'r' || paint.at(i) == 'm');
        }
    }

    void bracketsAreNotMatchedWithout_data()
    {
        const auto add =
            columns<bool, bool, bool, int>("matching", "readOnly", "range", "selections");
        add("with everything", true, false, true, 3);
        add("without the range", true, false, false, 2);
        add("without matching", false, false, true, 0);
        add("without a cursor to write at", true, true, true, 0);
    }

    void bracketsAreNotMatchedWithout()
    {
        const auto [matching, readOnly, range, selections] = row<bool, bool, bool, int>();
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightLine = false;
        formatting.parenMatching = matching;
        m_editor->setSyntaxFormatting(formatting);
        m_editor->setParenRangePainted(range);
        m_editor->setReadOnly(readOnly);
        // The partner stands lines away, and most lines between have no brackets.
        m_editor->setPlainText("() (" + numberedLines(40) + "\n)");
        for (const QPoint &place : {QPoint(0, 3), QPoint(40, 1)}) {
            setCursor(3, 0);
            setCursor(place.x(), place.y());
            QTest::qWait(80); // longer than the timer of the brackets
            QCOMPARE(m_editor->extraSelections().size(), selections);
            for (const QTextEdit::ExtraSelection &selection : m_editor->extraSelections())
                QVERIFY(selection.cursor.selectionStart() >= 3); // not the pair before
        }
        // Each may be switched while the cursor stands at the bracket.
        m_editor->setParenRangePainted(!range);
        const int others = selections == 0 ? 0 : range ? 2 : 3;
        QTRY_COMPARE(m_editor->extraSelections().size(), others);
        m_editor->setParenRangePainted(true);
        formatting.parenMatching = !matching;
        m_editor->setSyntaxFormatting(formatting);
        m_editor->setReadOnly(false);
        QCOMPARE(m_editor->extraSelections().size(), matching ? 0 : 3);
        m_editor->setReadOnly(true);
        QCOMPARE(m_editor->extraSelections().size(), 0);
    }

    void nestedBlocksAreShaded_data()
    {
        const auto add = columns<QColor, QColor, QColor>("base", "inner", "outer");
        add("light", QColor(240, 20, 250), QColor(210, 0, 220), QColor(225, 5, 235));
        add("dark", QColor(30, 40, 128), QColor(70, 80, 168), QColor(50, 60, 148));
        add("without blue", QColor(240, 200, 10), QColor(210, 170, 0), QColor(225, 185, 0));
        add("without red", QColor(10, 240, 200), QColor(0, 210, 170), QColor(0, 225, 185));
    }

    void nestedBlocksAreShaded()
    {
        const auto [base, inner, outer] = row<QColor, QColor, QColor>();
        m_editor->setPlainText("[a]\n-\n[[b]]\n  one\n  two\n[[c]]\n  three\n[d]\n  four");
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightBlocks = true;
        formatting.highlightLine = false;
        formatting.blockColor = base;
        m_editor->setSyntaxFormatting(formatting);
        setCursor(3, 0);
        const QColor plain = m_editor->palette().color(QPalette::Base);
        const QList<QColor> expected{outer, outer, inner, inner, inner, outer, outer, plain, plain};
        const auto shades = [&] {
            const QImage image = shot(m_editor->viewport());
            QList<QColor> found;
            for (int line = 0; line < expected.size(); ++line)
                found << QColor(image.pixel(image.width() - 3, lineRect(line).center().y()));
            return found;
        };
        QTRY_COMPARE(shades(), expected);
        setCursor(7, 0);
        QTRY_COMPARE(shades().at(4), plain);
        setCursor(2, 0); // a head is of its own block
        QTRY_COMPARE(shades(), expected);
        // The margin joins the lines of the block, and stops where it ends.
        const QImage image = shot(margin());
        const QRect column(margin()->width() - 14, 0, 13, 1);
        for (int line : {1, 3, 6}) {
            const QRect strip(column.left(), lineRect(line).top() + 3, column.width(), 1);
            QVERIFY(showsColor(image, strip, Qt::gray));
        }
        const QRect behind(column.left(), lineRect(8).top() + 3, column.width(), 1);
        QVERIFY(!showsColor(image, behind, Qt::gray));

        formatting.highlightBlocks = false;
        m_editor->setSyntaxFormatting(formatting);
        QCOMPARE(shades().first(), plain);
    }

    /// Where widgets run to the left, the columns of the margin change sides.
    void marginRunsToTheLeft()
    {
        m_editor->setPlainText("[a]\nb\nc");
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightBlocks = true;
        m_editor->setSyntaxFormatting(formatting);
        setCursor(1, 0);
        const QRect last = lineRect(2);
        const auto hasGray = [&](const QImage &image, int column) {
            return showsColor(image, QRect(column, last.top(), 1, last.height()), Qt::gray);
        };
        const int width = margin()->width();
        QTRY_VERIFY(hasGray(shot(margin()), width - 3));
        const QImage right = shot(margin());
        QVERIFY(!hasGray(right, width - 2));
        m_editor->setLayoutDirection(Qt::RightToLeft);
        const QImage left = shot(margin());
        QVERIFY(hasGray(left, 2) && !hasGray(left, 1));
        const int spacing = QFontMetrics(margin()->font()).lineSpacing();
        const int markers = 1 + spacing + spacing % 2;
        const QRect numbers(0, 0, width - markers - 4, last.bottom());
        QCOMPARE(left.copy(numbers.translated(markers, 0)), right.copy(numbers));
        QCOMPARE(left.pixel(0, 3), margin()->palette().color(QPalette::Window).darker(115).rgb());
    }

    /// Styles that paint widgets smaller have the markers elsewhere.
    void markersStandAsTheirStyleWants()
    {
        m_editor->setPlainText("-\n[a]\nb\nc");
        const int spacing = QFontMetrics(margin()->font()).lineSpacing();
        const int size = spacing + spacing % 2;
        const QRect marker(margin()->width() - size - 1, lineRect(1).top() + (spacing - size) / 2,
                           size, size);
        const QImage before = shot(margin()).copy(marker.adjusted(2, 2, -2, -2));
        QGtkStyle style;
        m_editor->setStyle(&style);
        const QRect moved = marker.translated(-2, -1).adjusted(2, 2, -2, -2);
        QCOMPARE(shot(margin()).copy(moved), before);
        m_editor->setStyle(nullptr);
        QVERIFY(shot(margin()).copy(moved) != before);
    }

    /// The shades between the innermost block and the outer ones go over into one another, on the
    /// side to which the lines run.
    void deepBlocksAreShaded()
    {
        // A line of no kind keeps the depth that it had: inner sections below it stand deeper.
        m_editor->setPlainText("[a]\n-\n[[b]]\none");
        for (int deeper = 0; deeper < 3; ++deeper) {
            QTextCursor cursor(m_document->lastBlock());
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            cursor.insertText("~");
            cursor.insertText("\n[[c]]\none");
        }
        QTextCursor end(m_document->lastBlock());
        end.movePosition(QTextCursor::End);
        end.insertText("\n[z]\n[\u05d0]\n\u05d1\n\u05d2");
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightBlocks = true;
        formatting.highlightLine = false;
        formatting.blockColor = QColor(240, 20, 250);
        setCursor(9, 0);
        m_editor->setSyntaxFormatting(formatting);
        const QColor plain = m_editor->palette().color(QPalette::Base);
        const auto shade = [&](int line, int x) {
            const QImage image = shot(m_editor->viewport());
            return image.pixelColor(x < 0 ? image.width() + x : x, lineRect(line).top());
        };
        const QList<QColor> expected{
            {225, 5, 235}, {224, 4, 234}, {219, 3, 229}, {214, 1, 224}, {210, 0, 220}};
        for (int depth = 0; depth < expected.size(); ++depth)
            QTRY_COMPARE(shade(2 * depth, -3), expected.at(depth));
        QCOMPARE(shade(10, -3), plain);
        setCursor(12, 0);
        QTRY_COMPARE(shade(12, 0), expected.last());
        QCOMPARE(shade(12, -1), plain);
        QCOMPARE(shade(0, -3), plain);
        // Each begins where its lines do, whatever the font is and however far they are scrolled.
        m_editor->setPlainText("[a]\n-\n    [[b]]\n    one\n    " + QString(200, 'x'));
        setCursor(3, 0);
        for (const int points : {10, 20}) {
            m_editor->setFont(QFont("Courier", points));
            const int indent = m_editor->cursorRect(cursorAt(3, 4)).left();
            QTRY_COMPARE(shade(3, indent - 1), expected.first());
            QCOMPARE(shade(3, indent), expected.last());
            QCOMPARE(shade(2, qRound(m_document->documentMargin())), expected.first());
            m_editor->horizontalScrollBar()->setValue(10);
            QCOMPARE(shade(3, indent - 10), expected.last());
            QCOMPARE(shade(3, indent - 11), expected.first());
            m_editor->horizontalScrollBar()->setValue(0);
        }
        PlainDocument other(numberedLines(9));
        m_editor->setDocument(&other);
        QCOMPARE(shade(3, -3), plain); // at once
        m_editor->setDocument(nullptr);
    }

    void toolTips_data()
    {
        const auto add =
            columns<int, Qt::KeyboardModifiers, QString>("column", "modifiers", "text");
        const Qt::KeyboardModifiers none = Qt::NoModifier;
        add("on the error", 5, none, "bad at 4");
        add("on the deprecation", 9, none, "old at 8");
        add("between two", 1, none, "");
        add("the end counts", 7, none, "bad at 4");
        add("the start counts", 4, none, "bad at 4");
        add("no markup", 13, none, "<span style='white-space:pre'>&lt;b&gt; at 12</span>");
        add("with Control held", 5, Qt::KeyboardModifiers(Qt::ControlModifier), "");
    }

    void toolTips()
    {
        const auto [column, modifiers, text] = row<int, Qt::KeyboardModifiers, QString>();
        m_editor->setPlainText("xxx bad old <b> xxx");
        QToolTip::hideText();
        QTRY_VERIFY(!QToolTip::isVisible());
        if (modifiers & Qt::ControlModifier)
            QTest::keyPress(m_editor->viewport(), Qt::Key_Control, modifiers);
        const QPoint place = textRect(0, column, column + 1).center() - QPoint(2, 0);
        QHelpEvent help(QEvent::ToolTip, place, m_editor->viewport()->mapToGlobal(place));
        QApplication::sendEvent(m_editor->viewport(), &help);
        QCOMPARE(QToolTip::isVisible() ? QToolTip::text() : QString(), text);
        if (modifiers & Qt::ControlModifier)
            QTest::keyRelease(m_editor->viewport(), Qt::Key_Control);
        QHelpEvent nowhere(QEvent::ToolTip, {1, 300}, m_editor->viewport()->mapToGlobal({1, 300}));
        QApplication::sendEvent(m_editor->viewport(), &nowhere);
        QTRY_VERIFY(!QToolTip::isVisible());
    }

    void mouseSelectsText()
    {
        m_editor->setPlainText(numberedLines(20));
        const QPoint from = m_editor->cursorRect(cursorAt(2, 2)).center();
        const QPoint to = m_editor->cursorRect(cursorAt(3, 4)).center();
        QTest::mousePress(m_editor->viewport(), Qt::LeftButton, Qt::NoModifier, from);
        QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(m_editor->viewport(), &move);
        QTest::mouseRelease(m_editor->viewport(), Qt::LeftButton, Qt::NoModifier, to);
        QCOMPARE(m_editor->textCursor().anchor(), cursorAt(2, 2).position());
        QCOMPARE(m_editor->textCursor().position(), cursorAt(3, 4).position());
    }

    void marginMouseSelectsLines()
    {
        m_editor->setPlainText(numberedLines(20));
        const auto at = [&](int line) { return QPoint(3, lineRect(line).center().y()); };
        const auto selected = [&] {
            return m_editor->textCursor().selectedText().split(QChar::ParagraphSeparator);
        };
        const auto goesDown = [&] {
            return m_editor->textCursor().anchor() < m_editor->textCursor().position();
        };
        QTest::mousePress(margin(), Qt::LeftButton, Qt::NoModifier, at(5));
        QCOMPARE(selected(), QStringList({"line 5", ""}));
        QTest::mouseMove(margin(), at(7));
        QTRY_COMPARE(selected(), QStringList({"line 5", "line 6", "line 7", ""}));
        QVERIFY(goesDown());
        QTest::mouseMove(margin(), at(4));
        QTRY_COMPARE(selected(), QStringList({"line 4", "line 5", ""}));
        QVERIFY(!goesDown());
        QTest::mouseRelease(margin(), Qt::LeftButton, Qt::NoModifier, at(4));
        QTest::mouseMove(margin(), at(9));
        QCOMPARE(selected(), QStringList({"line 4", "line 5", ""}));
        QTest::mousePress(margin(), Qt::LeftButton, Qt::NoModifier, at(0));
        QTest::mouseMove(margin(), at(1));
        QTRY_COMPARE(selected(), QStringList({"line 0", "line 1", ""}));
        QTest::mouseRelease(margin(), Qt::LeftButton, Qt::NoModifier, at(1));
        QTest::mouseClick(margin(), Qt::LeftButton, Qt::NoModifier, at(2));
        QTest::mouseClick(margin(), Qt::LeftButton, Qt::ShiftModifier, at(3));
        QCOMPARE(selected(), QStringList({"line 2", "line 3", ""}));
        m_editor->moveCursor(QTextCursor::End);
        QTest::mouseClick(margin(), Qt::LeftButton, Qt::NoModifier, at(19)); // has no end
        QCOMPARE(selected(), QStringList("line 19"));
    }

    void marginDragScrolls()
    {
        m_editor->setPlainText(numberedLines(500));
        QTest::mousePress(margin(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(3, lineRect(2).center().y()));
        const QPoint below(3, margin()->height() + 30);
        QMouseEvent move(QEvent::MouseMove, below, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(margin(), &move);
        const int last = m_editor->textCursor().blockNumber();
        QTRY_VERIFY(m_editor->verticalScrollBar()->value() >= 5);
        // What scrolls in is selected with the next step.
        QTRY_VERIFY(m_editor->textCursor().blockNumber() >= last + 5);
        const auto stands = [&] {
            const int before = m_editor->verticalScrollBar()->value();
            QTest::qWait(60); // several steps of the drag
            return m_editor->verticalScrollBar()->value() == before;
        };
        QMouseEvent back(QEvent::MouseMove, {3, 20}, Qt::LeftButton, Qt::LeftButton, {});
        QApplication::sendEvent(margin(), &back);
        QVERIFY(stands());
        QMouseEvent edge(QEvent::MouseMove, QPoint(3, margin()->height()), Qt::LeftButton,
                         Qt::LeftButton, {});
        QApplication::sendEvent(margin(), &edge);
        QVERIFY(stands());
        QApplication::sendEvent(margin(), &move);
        QTest::mouseRelease(margin(), Qt::LeftButton, Qt::NoModifier, below);
        QVERIFY(stands());
        QCOMPARE(m_document->findBlock(m_editor->textCursor().selectionStart()).blockNumber(), 2);
        // A box that takes the release ends a drag that is under way.
        QTest::mousePress(margin(), Qt::LeftButton, Qt::NoModifier, QPoint(3, 5));
        QApplication::sendEvent(margin(), &move);
        {
            QDialog box(m_editor.get());
            box.open();
            QVERIFY(stands());
        }
        QTest::mouseRelease(margin(), Qt::LeftButton, Qt::NoModifier, below);
        // So does another document.
        QTest::mousePress(margin(), Qt::LeftButton, Qt::NoModifier, QPoint(3, 5));
        QApplication::sendEvent(margin(), &move);
        PlainDocument second(numberedLines(500));
        m_editor->setDocument(&second);
        QApplication::sendEvent(margin(), &move);
        QTest::qWait(60);
        QCOMPARE(m_editor->verticalScrollBar()->value(), 0);
        QVERIFY(!m_editor->textCursor().hasSelection());
        // And the line where it began may be gone.
        QTest::mousePress(margin(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(3, lineRect(5).center().y()));
        second.fromString("one\ntwo");
        QApplication::sendEvent(margin(), &back);
        QVERIFY(!m_editor->textCursor().hasSelection());
        m_editor->setDocument(nullptr);
    }

    void documentsComeAndGoWhileTimersRun()
    {
        CodeEditor::SyntaxFormatting formatting;
        formatting.highlightBlocks = true;
        m_editor->setSyntaxFormatting(formatting);
        auto second = std::make_unique<PlainDocument>("[x]\n(y\n)");
        for (int round = 0; round < 4; ++round) {
            m_editor->setPlainText(sectionedText(5, 5) + "\n(a)");
            m_editor->setCurrentLine(4, CodeEditor::NoPlacement);
            m_editor->setDocument(round % 2 ? second.get() : nullptr);
            QCOMPARE(m_editor->toPlainText(), round % 2 ? second->toString() : QString());
            QTest::qWait(1);
            m_editor->setDocument(m_document.get());
        }
        // The document ends first, with both timers waiting and a selection in it.
        m_editor->setCurrentLine(m_document->blockCount() - 1, CodeEditor::NoPlacement);
        m_editor->setSyntaxFormatting(formatting); // which looks for brackets at once
        QCOMPARE(m_editor->extraSelections().size(), 4);
        m_editor->setDocument(second.get());
        QCOMPARE(m_editor->extraSelections().size(), 1);
        m_editor->setCurrentLine(1, CodeEditor::NoPlacement);
        m_editor->selectAll();
        second.reset();
        QVERIFY(!m_editor->codeDocument());
        QCOMPARE(m_editor->toPlainText(), QString());
        QTest::keyClicks(m_editor.get(), "still (alive)");
        QTest::qWait(150); // longer than both timers
        QCOMPARE(m_editor->toPlainText(), QString("still (alive)"));
    }

    void fontsAndDirections()
    {
        m_editor->setPlainText(numberedLines(50));
        QFont font(QString("no such family anywhere"), 20);
        font.setStyleHint(QFont::Monospace);
        m_editor->setFont(font);
        QCOMPARE(margin()->font().pointSize(), 20);
        QCOMPARE(m_document->defaultFont().pointSize(), 20);
        QCOMPARE(m_editor->tabStopDistance(),
                 qreal(qCeil(4 * QFontMetricsF(m_editor->font()).horizontalAdvance(' '))));
        QCOMPARE(m_editor->displayedLineCount(),
                 m_editor->viewport()->height() / QFontMetrics(m_editor->font()).lineSpacing());
        const qreal distance = m_editor->tabStopDistance();
        m_editor->setIndentation({true, false, 8});
        QVERIFY(qAbs(m_editor->tabStopDistance() - 2 * distance) <= 1);

        m_editor->setLayoutDirection(Qt::RightToLeft);
        QTRY_COMPARE(margin()->geometry().left(), m_editor->viewport()->geometry().right() + 1);
        QCOMPARE(m_editor->viewport()->geometry().left(),
                 m_editor->contentsRect().left() + m_editor->verticalScrollBar()->width());
        // Letters that run to the left stand at the left of the view, and the dots of a fold beside
        // them.
        m_editor->setPlainText(QString::fromUtf8("[\u05d0\u05d1]\n\u05d2\n\u05d3"));
        const QRect text = textRect(0, 0, 4).normalized();
        const QRect beside(text.right() + 3, lineRect(0).top(), 78, lineRect(0).height());
        setCursor(2, 0);
        QVERIFY(!showsColor(shot(m_editor->viewport()), beside, Qt::gray));
        QTest::mouseClick(margin(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(8, lineRect(0).center().y()));
        QVERIFY(!block(1).isVisible());
        QVERIFY(showsColor(shot(m_editor->viewport()), beside, Qt::gray));
    }

private:
    QRect lineRect(int line) const
    {
        const QRect cursor = m_editor->cursorRect(QTextCursor(block(line)));
        return QRect(0, cursor.top(), m_editor->viewport()->width(), cursor.height());
    }

    QRect textRect(int line, int from, int to) const
    {
        const QRect begin = m_editor->cursorRect(cursorAt(line, from));
        const QRect end = m_editor->cursorRect(cursorAt(line, to));
        return QRect(begin.topLeft(), QPoint(end.left(), begin.bottom()));
    }
};

QTEST_MAIN(TestCodeEditor)
#include "tst_codeeditor.moc"

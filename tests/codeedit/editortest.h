#pragma once

#include "plaindocument.h"

#include <kilnx/codeedit/codeeditor.h>
#include <tests/support/rows.h>

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

/// Shows a widget and waits until it has the keyboard.
inline bool showActive(QWidget &widget)
{
    widget.show();
    widget.activateWindow();
    QApplication::setActiveWindow(&widget);
    return QTest::qWaitForWindowExposed(&widget) && QTest::qWaitForWindowActive(&widget);
}

inline QImage shot(QWidget *widget)
{
    return widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

inline bool showsColor(const QImage &image, const QRect &area, const QColor &color)
{
    const QRect part = area & image.rect();
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (image.pixel(x, y) == color.rgb())
                return true;
        }
    }
    return false;
}

/// Collects what a widget is asked to paint.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(QWidget *widget)
        : m_widget(widget)
    {
        widget->installEventFilter(this);
    }

    QRegion region;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == m_widget && event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent *>(event)->region();
        return false;
    }

private:
    QWidget *m_widget;
};

inline QString numberedLines(int count)
{
    QStringList lines;
    for (int i = 0; i < count; ++i)
        lines << QString("line %1").arg(i);
    return lines.join(QLatin1Char('\n'));
}

/// A test of the code view alone: a document in a view that is shown and has the keyboard.
class EditorTest : public QObject
{
protected:
    void open(const QString &text = QString())
    {
        m_document = std::make_unique<PlainDocument>(text);
        m_editor = std::make_unique<Kiln::CodeEditor>();
        m_editor->resize(500, 400);
        m_editor->setDocument(m_document.get());
        QVERIFY(showActive(*m_editor));
        m_editor->setFocus();
        QTRY_VERIFY(m_editor->hasFocus());
    }

    void close()
    {
        m_editor.reset();
        m_document.reset();
    }

    QWidget *margin() const { return m_editor->findChild<QWidget *>("codeEditorMargin"); }
    QTextBlock block(int line) const { return m_document->findBlockByNumber(line); }

    QTextCursor cursorAt(int line, int column) const
    {
        QTextCursor cursor(block(line));
        cursor.setPosition(cursor.position() + column);
        return cursor;
    }

    void setCursor(int line, int column) { m_editor->setTextCursor(cursorAt(line, column)); }

    std::unique_ptr<PlainDocument> m_document;
    std::unique_ptr<Kiln::CodeEditor> m_editor;
};

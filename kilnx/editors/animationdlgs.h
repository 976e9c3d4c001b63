#pragma once

#include <kilnx/export.h>

#include <QtCore/QPoint>
#include <QtCore/QPointF>
#include <QtCore/QRect>
#include <QtWidgets/QDialog>

class QComboBox;
class QDoubleSpinBox;
class QPlainTextEdit;
class QSpinBox;

/// "Alignment Tool": shifts or scales what frames say, by the same amount in each of them.
class KILNX_EXPORT AnimAlign : public QDialog
{
    Q_OBJECT

public:
    enum Operation { OffsetAxis, OffsetBoxes, ResizeTopLeft, ResizeBottomRight, ScaleBoxes };
    enum Range { ThisFrame, FromHere, WholeAnimation, AllAnimations };

    explicit AnimAlign(QWidget *parent);

    Operation operation() const;
    Range range() const;
    /// Image pixels or, for ScaleBoxes, factors.
    QPointF amount() const;

    /// What becomes of an offset.
    static QPoint aligned(QPoint offset, Operation operation, QPointF amount);
    /// What becomes of a box, given around the main cross. A box keeps at least one pixel a side:
    /// the edge that is moved stops there.
    static QRect aligned(const QRect &box, Operation operation, QPointF amount);

private:
    void operationChosen();

    QComboBox *m_operation;
    QDoubleSpinBox *m_x;
    QDoubleSpinBox *m_y;
    QComboBox *m_range;
};

/// The place of the extra cross as two numbers, in a window that stays open beside the work.
class KILNX_EXPORT ExAxisDlg : public QDialog
{
    Q_OBJECT

public:
    explicit ExAxisDlg(QWidget *parent);

    /// Shows a place without telling of it.
    void setPosition(QPoint position);

Q_SIGNALS:
    void positionChanged(QPoint position);

private:
    QSpinBox *m_x;
    QSpinBox *m_y;
};

/// "Edit animation code": the text of one animation in a field.
class KILNX_EXPORT AnimCodeDlg : public QDialog
{
    Q_OBJECT

public:
    AnimCodeDlg(QWidget *parent, const QString &code, const QFont &font);

    /// Lines are separated by "\n".
    QString code() const;
    /// The text has changed behind the dialog: it is shown unless the user has typed.
    void setCode(const QString &code);
    /// Whether the text behind the dialog is still what the user began with.
    bool isCurrent() const { return !m_outdated; }

private:
    QPlainTextEdit *m_text;
    QString m_shown; ///< what the user began with
    bool m_outdated = false;
};

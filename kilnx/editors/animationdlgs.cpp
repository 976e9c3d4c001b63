#include <kilnx/editors/animationdlgs.h>

#include <QtCore/QSignalBlocker>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QVBoxLayout>

#include <cmath>

namespace
{

constexpr int farthest = 65535; // image pixels

/// The whole number nearest to a value, within what a text can say.
int rounded(double value)
{
    return int(std::lround(qBound(-1e9, value, 1e9)));
}

void addButtons(QDialog *dialog, QLayout *layout)
{
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);
}

template<class Field>
Field *named(Field *field, const char *name)
{
    field->setObjectName(QLatin1String(name));
    return field;
}

} // namespace

AnimAlign::AnimAlign(QWidget *parent)
    : QDialog(parent)
    , m_operation(named(new QComboBox(this), "operation"))
    , m_x(named(new QDoubleSpinBox(this), "x"))
    , m_y(named(new QDoubleSpinBox(this), "y"))
    , m_range(named(new QComboBox(this), "range"))
{
    setObjectName(QStringLiteral("animAlign"));
    setWindowTitle(tr("Alignment Tool"));
    m_operation->addItems({tr("Offset axis"), tr("Offset Contact boxes"),
                           tr("Resize Contact boxes (top-left)"),
                           tr("Resize Contact boxes (bottom-right)"), tr("Scale Contact boxes")});
    m_range->addItems({tr("This frame"), tr("This frame and all next ones"),
                       tr("All frames of the animation"), tr("All animations")});
    m_range->setCurrentIndex(WholeAnimation);
    auto *fields = new QFormLayout;
    fields->addRow(tr("Change:"), m_operation);
    fields->addRow(tr("X:"), m_x);
    fields->addRow(tr("Y:"), m_y);
    fields->addRow(tr("In:"), m_range);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    addButtons(this, layout);
    connect(m_operation, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &AnimAlign::operationChosen);
    operationChosen();
    m_x->setFocus();
    m_x->selectAll();
}

/// Factors begin at 1 and distances at 0.
void AnimAlign::operationChosen()
{
    const bool scales = operation() == ScaleBoxes;
    for (QDoubleSpinBox *field : {m_x, m_y}) {
        const bool wasFactor = field->decimals() > 0;
        field->setDecimals(scales ? 3 : 0);
        field->setRange(scales ? 0.001 : -farthest, scales ? 1000 : farthest);
        field->setSingleStep(scales ? 0.1 : 1);
        field->setSuffix(scales ? QString() : tr(" px"));
        if (scales != wasFactor || field->value() < field->minimum())
            field->setValue(scales ? 1 : 0);
    }
}

AnimAlign::Operation AnimAlign::operation() const
{
    return Operation(m_operation->currentIndex());
}

AnimAlign::Range AnimAlign::range() const
{
    return Range(m_range->currentIndex());
}

QPointF AnimAlign::amount() const
{
    return {m_x->value(), m_y->value()};
}

QPoint AnimAlign::aligned(QPoint offset, Operation operation, QPointF amount)
{
    if (operation != OffsetAxis)
        return offset;
    return {rounded(offset.x() + amount.x()), rounded(offset.y() + amount.y())};
}

QRect AnimAlign::aligned(const QRect &box, Operation operation, QPointF amount)
{
    double left = box.x();
    double top = box.y();
    double right = left + box.width();
    double bottom = top + box.height();
    switch (operation) {
    case OffsetAxis:
        return box;
    case OffsetBoxes:
        return QRect(QPoint(rounded(left + amount.x()), rounded(top + amount.y())), box.size());
    case ResizeTopLeft:
        left = qMin(left + amount.x(), right - 1);
        top = qMin(top + amount.y(), bottom - 1);
        break;
    case ResizeBottomRight:
        right = qMax(right + amount.x(), left + 1);
        bottom = qMax(bottom + amount.y(), top + 1);
        break;
    case ScaleBoxes:
        left *= amount.x();
        right *= amount.x();
        top *= amount.y();
        bottom *= amount.y();
        break;
    }
    const QPoint corner(rounded(left), rounded(top));
    return QRect(
        corner, QSize(qMax(1, rounded(right) - corner.x()), qMax(1, rounded(bottom) - corner.y())));
}

ExAxisDlg::ExAxisDlg(QWidget *parent)
    : QDialog(parent, Qt::Tool)
    , m_x(named(new QSpinBox(this), "x"))
    , m_y(named(new QSpinBox(this), "y"))
{
    setObjectName(QStringLiteral("extraAxis"));
    setWindowTitle(tr("Extra axis"));
    auto *layout = new QFormLayout(this);
    layout->addRow(tr("X axis:"), m_x);
    layout->addRow(tr("Y axis:"), m_y);
    for (QSpinBox *field : {m_x, m_y}) {
        field->setRange(-farthest, farthest);
        connect(field, QOverload<int>::of(&QSpinBox::valueChanged), this, [this] {
            Q_EMIT positionChanged({m_x->value(), m_y->value()});
        });
    }
}

void ExAxisDlg::setPosition(QPoint position)
{
    const QSignalBlocker quietX(m_x);
    const QSignalBlocker quietY(m_y);
    m_x->setValue(position.x());
    m_y->setValue(position.y());
}

AnimCodeDlg::AnimCodeDlg(QWidget *parent, const QString &code, const QFont &font)
    : QDialog(parent)
    , m_text(named(new QPlainTextEdit(this), "code"))
{
    setObjectName(QStringLiteral("animCode"));
    setWindowTitle(tr("Edit animation code"));
    m_text->setAccessibleName(windowTitle());
    m_text->setFont(font);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_text, 1);
    addButtons(this, layout);
    resize(640, 420);
    setCode(code);
}

QString AnimCodeDlg::code() const
{
    return m_text->toPlainText();
}

void AnimCodeDlg::setCode(const QString &code)
{
    QString lines = code;
    lines.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    if (m_text->document()->isModified()) {
        m_outdated = lines != m_shown;
        return;
    }
    m_shown = lines;
    m_text->setPlainText(lines);
    m_text->document()->setModified(false);
}

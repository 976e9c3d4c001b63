#include <hostkit/statusfields.h>

#include <hostkit/widgets.h>

#include <QStyleOption>
#include <QStylePainter>
#include <QToolButton>

#include <algorithm>

namespace HostKit
{

namespace
{
const int maximumField = 15;
const int tellMs = 5000;

/// A field that a narrow window cuts short, instead of growing with what its fields say.
class Field : public QToolButton
{
public:
    using QToolButton::QToolButton;
    QSize sizeHint() const override
    {
        // The advance is rounded, and a fraction too little would cut the text.
        return {fontMetrics().horizontalAdvance(text()) + 1 + margin,
                QToolButton::sizeHint().height()};
    }
    QSize minimumSizeHint() const override
    {
        return {fontMetrics().averageCharWidth() * 8, sizeHint().height()};
    }

    static constexpr int margin = 10; // left and right together

protected:
    void paintEvent(QPaintEvent *) override
    {
        QStyleOptionToolButton option;
        initStyleOption(&option);
        option.text = fontMetrics().elidedText(text(), Qt::ElideRight, width() - margin);
        QStylePainter(this).drawComplexControl(QStyle::CC_ToolButton, option);
    }
};

} // namespace

StatusFields::StatusFields(QWidget *parent)
    : QStatusBar(parent)
    , m_counts(named(new QToolButton(this), "status_messages", tr("Messages of the project")))
{
    named(this, "status_bar", tr("Status"));
    m_counts->setAutoRaise(true);
    m_counts->setToolTip(tr("Show the messages of the whole project"));
    m_counts->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    addPermanentWidget(m_counts);
    connect(m_counts, &QToolButton::clicked, this, &StatusFields::messagesClicked);
    connect(this, &QStatusBar::messageChanged, this, &StatusFields::makeRoom);
    setMessageCounts(0, 0);
}

void StatusFields::setField(int field, const QString &text)
{
    if (field < 0 || field > maximumField)
        return;
    QToolButton *button = fieldButton(field);
    button->setText(text);
    button->setToolTip(text);
    button->setVisible(!text.isEmpty() && !m_isInTheWay);
}

// A message that is wider than what the fields leave has their place while it stands.
void StatusFields::makeRoom(const QString &message)
{
    const auto isShown = [](const QToolButton *button) { return !button->text().isEmpty(); };
    const auto first = std::find_if(m_fields.cbegin(), m_fields.cend(), isShown);
    const int wanted = fontMetrics().horizontalAdvance(message) + 2 * Field::margin;
    m_isInTheWay =
        !message.isEmpty() && first != m_fields.cend() && (m_isInTheWay || wanted > (*first)->x());
    for (QToolButton *button : qAsConst(m_fields))
        button->setVisible(isShown(button) && !m_isInTheWay);
}

QString StatusFields::field(int field) const
{
    return field >= 0 && field < m_fields.size() ? m_fields[field]->text() : QString();
}

void StatusFields::setMessageCounts(int errors, int warnings)
{
    const QString errorText = errors == 1 ? tr("1 error") : tr("%1 errors").arg(errors);
    const QString warningText = warnings == 1 ? tr("1 warning") : tr("%1 warnings").arg(warnings);
    m_counts->setText(errorText + QLatin1String(", ") + warningText);
    const char *icon = errors ? "error" : warnings ? "warn" : "info";
    m_counts->setIcon(QIcon(QStringLiteral(":/kiln_icons/icons/%1.png").arg(QLatin1String(icon))));
}

void StatusFields::tell(const QString &text)
{
    showMessage(text, tellMs);
}

QToolButton *StatusFields::fieldButton(int field)
{
    while (m_fields.size() <= field) {
        const int number = m_fields.size();
        auto *button = named(new Field(this), "");
        button->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
        button->setObjectName(QStringLiteral("status_field_%1").arg(number));
        button->setAutoRaise(true);
        button->hide();
        insertPermanentWidget(number, button);
        connect(button, &QToolButton::clicked, this,
                [this, number] { Q_EMIT fieldClicked(number); });
        m_fields.append(button);
    }
    return m_fields[field];
}

} // namespace HostKit

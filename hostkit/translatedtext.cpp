#include <hostkit/translatedtext.h>

#include <kilnx/project/translator.h>

#include <QEvent>
#include <QWidget>

namespace HostKit
{

TranslatedText::TranslatedText(QWidget *widget,
                               Kiln::Translator *translator,
                               int textId,
                               std::function<void(const QString &)> setText)
    : QObject(widget)
    , m_translator(translator)
    , m_textId(textId)
    , m_setText(std::move(setText))
{
    widget->installEventFilter(this);
    update();
}

bool TranslatedText::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        update();
    return QObject::eventFilter(watched, event);
}

void TranslatedText::update()
{
    m_setText(m_translator->text(m_textId));
}

} // namespace HostKit

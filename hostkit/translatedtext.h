#pragma once

#include <hostkit/export.h>

#include <QtCore/QObject>

#include <functional>

class QWidget;

namespace Kiln
{
class Translator;
}

namespace HostKit
{

/// Keeps a text of a widget in the language of the application: sets it at once, and again
/// whenever the language changes. It is a child of the widget.
class HOSTKIT_EXPORT TranslatedText : public QObject
{
    Q_OBJECT

public:
    TranslatedText(QWidget *widget,
                   Kiln::Translator *translator,
                   int textId,
                   std::function<void(const QString &)> setText);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void update();

    Kiln::Translator *m_translator;
    int m_textId;
    std::function<void(const QString &)> m_setText;
};

} // namespace HostKit

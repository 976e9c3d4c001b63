#include "outputdock.h"

#include <hostkit/widgets.h>

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QTime>

namespace Studio
{

using namespace HostKit;

OutputDock::OutputDock(QWidget *parent)
    : QDockWidget(tr("Output"), parent)
    , m_text(named(new QPlainTextEdit(this), "output_text", tr("Output of the engine")))
{
    named(this, "dock_output");
    m_text->setReadOnly(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->setPlaceholderText(tr("Run the project in the engine to see what it prints."));
    setWidget(m_text);
}

void OutputDock::addRun(const QString &output, bool success)
{
    const QString time = QTime::currentTime().toString(QStringLiteral("hh:mm:ss"));
    m_text->appendPlainText((success ? tr("— Run at %1 —") : tr("— Not run at %1 —")).arg(time));
    if (!output.isEmpty())
        m_text->appendPlainText(output.trimmed());
}

QString OutputDock::text() const
{
    return m_text->toPlainText();
}

} // namespace Studio

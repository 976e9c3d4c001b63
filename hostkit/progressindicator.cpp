#include <hostkit/progressindicator.h>

namespace HostKit
{

namespace
{
const int patienceMs = 400;
}

ProgressIndicator::ProgressIndicator(QWidget *window, const QString &text, bool cancellable)
    : m_dialog(window)
{
    m_dialog.setObjectName(QStringLiteral("progress"));
    m_dialog.setLabelText(text);
    m_dialog.setWindowTitle(text);
    m_dialog.setWindowModality(Qt::WindowModal);
    m_dialog.setMinimumDuration(patienceMs);
    m_dialog.setAutoReset(false);
    m_dialog.setAutoClose(false);
    if (!cancellable)
        m_dialog.setCancelButton(nullptr);
}

ProgressIndicator::~ProgressIndicator() = default;

void ProgressIndicator::setProgress(unsigned int value, unsigned int total, bool *cancelled)
{
    if (total > 0)
        m_dialog.setMaximum(int(total));
    m_dialog.setValue(int(value));
    if (cancelled && m_dialog.wasCanceled())
        *cancelled = true;
}

void ProgressIndicator::finish()
{
    delete this;
}

} // namespace HostKit

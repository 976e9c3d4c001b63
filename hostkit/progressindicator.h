#pragma once

#include <hostkit/export.h>

#include <kilnx/project/interface.h>

#include <QtWidgets/QProgressDialog>

namespace HostKit
{

/// A progress that the library asked for: a small window that appears only when the work lasts.
/// It destroys itself in finish().
class HOSTKIT_EXPORT ProgressIndicator : public Kiln::Progress
{
public:
    ProgressIndicator(QWidget *window, const QString &text, bool cancellable);

    void setProgress(unsigned int value, unsigned int total, bool *cancelled = nullptr) override;
    void finish() override;

private:
    ~ProgressIndicator() override;

    QProgressDialog m_dialog;
};

} // namespace HostKit

#pragma once

#include <kilnx/project/interface.h>

#include <QProgressDialog>

namespace Studio
{

/// A progress that the library asked for: a small window that appears only when the work lasts.
/// It ends itself in finish().
class ProgressIndicator : public Kiln::Progress
{
public:
    ProgressIndicator(QWidget *window, const QString &text, bool cancellable);

    void setProgress(unsigned int value, unsigned int total, bool *cancelled = nullptr) override;
    void finish() override;

private:
    ~ProgressIndicator() override;

    QProgressDialog m_dialog;
};

} // namespace Studio

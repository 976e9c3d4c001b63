#pragma once

#include <kilnx/export.h>

namespace Kiln
{

/// A progress indicator that the host shows, opened with Interface::progress().
///
/// The library calls setProgress(0, total) first, setProgress(step, 0) or setProgress(step, total)
/// for each step, and finish() exactly once, after which the object is gone.
class KILNX_EXPORT Progress
{
public:
    /// Shows `value` of `total` steps; a `total` of 0 leaves the total as it was. Where
    /// `cancelled` is given it is set to true once the user has cancelled, and is left alone
    /// otherwise.
    virtual void setProgress(unsigned int value, unsigned int total, bool *cancelled = nullptr) = 0;
    /// Closes the indicator and destroys the object.
    virtual void finish() = 0;

protected:
    virtual ~Progress() = default;
};

} // namespace Kiln

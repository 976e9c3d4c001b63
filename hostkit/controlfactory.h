#pragma once

#include <hostkit/export.h>

#include <QtCore/QString>

class QWidget;

namespace Kiln
{
class Control;
}

namespace HostKit
{

/// Builds the real widget of a control that an editor describes, and connects its slot, setter
/// and enabler.
class HOSTKIT_EXPORT ControlFactory
{
public:
    struct Built {
        /// The widget that shows the value or the command; null for an unknown control.
        QWidget *field = nullptr;
        /// What to place: the field, with a caption in front of it where it has one.
        QWidget *row = nullptr;
    };

    /// The row becomes a child of `parent`. Object names are `key` for the field and `key`
    /// followed by "_caption" for its caption.
    static Built build(const QString &key, const Kiln::Control &control, QWidget *parent);
};

} // namespace HostKit

#pragma once

#include <QDialog>

class QAction;

namespace HostKit
{
class ActionRegistry;
}

namespace Studio
{

/// Every command that has a key, grouped by where it belongs, as the actions say it now.
class KeysPage : public QDialog
{
    Q_OBJECT

public:
    /// `window` has the commands of its own, `actions` those that editors have registered.
    KeysPage(const HostKit::ActionRegistry &actions, QWidget *window);
};

} // namespace Studio

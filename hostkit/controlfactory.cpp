#include <hostkit/controlfactory.h>

#include <hostkit/controllink.h>
#include <hostkit/translatedtext.h>

#include <kilnx/project/controls.h>
#include <kilnx/project/translator.h>

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QSlider>
#include <QSpinBox>
#include <QToolButton>
#include <QTreeView>

namespace HostKit
{

namespace
{

using Built = ControlFactory::Built;

// Fields of the full integer range would ask for a width that nobody needs.
const int fieldWidth = 96;

void connectControl(ControlLink *link, const Kiln::WidgetControl &control, QWidget *field)
{
    link->connectSlot(control.receiver, control.slot);
    link->connectSetter(control.receiver, control.setter);
    ControlLink::connectEnabler(control.receiver, control.enabler, field);
}

// The field with its caption in front, which is its buddy, its name for a screen reader and
// follows its state.
Built captioned(const QString &key, const Kiln::trWidgetControl &control, QWidget *field)
{
    if (!control.translator)
        return {field, field};
    auto *row = new QWidget(field->parentWidget());
    auto *caption = new QLabel(row);
    caption->setObjectName(key + QLatin1String("_caption"));
    caption->setBuddy(field);
    new TranslatedText(caption, control.translator, control.textId,
                       [caption, field](const QString &text) {
                           caption->setText(text);
                           field->setAccessibleName(QString(text).remove(QLatin1Char(':')));
                       });
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(4);
    layout->addWidget(caption);
    layout->addWidget(field);
    ControlLink::connectEnabler(control.receiver, control.enabler, caption);
    return {field, row};
}

Built buildLabel(const Kiln::WidgetControl &control, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *link = new ControlLink(
        label, [label](const QVariant &value) { label->setText(value.toString()); });
    connectControl(link, control, label);
    return {label, label};
}

Built buildFixedLabel(const Kiln::trWidgetControl &control, QWidget *parent)
{
    const Built built = buildLabel(control, parent);
    auto *label = static_cast<QLabel *>(built.field);
    if (control.translator) {
        new TranslatedText(label, control.translator, control.textId,
                           [label](const QString &text) { label->setText(text); });
    }
    return built;
}

Built buildPosition(const Kiln::WidgetControl &control, QWidget *parent)
{
    auto *slider = new QSlider(Qt::Horizontal, parent);
    slider->setMinimumWidth(fieldWidth);
    slider->setAccessibleName(QObject::tr("Position"));
    auto *link = new ControlLink(
        slider, [slider](const QVariant &value) { slider->setValue(value.toInt()); });
    QObject::connect(slider, &QSlider::valueChanged, link,
                     [link](int value) { link->reportChange(value); });
    connectControl(link, control, slider);
    return {slider, slider};
}

Built buildSpin(const QString &key, const Kiln::SpinEditControl &control, QWidget *parent)
{
    auto *spin = new QSpinBox(parent);
    spin->setRange(control.minimum, control.maximum);
    spin->setMaximumWidth(fieldWidth);
    auto *link =
        new ControlLink(spin, [spin](const QVariant &value) { spin->setValue(value.toInt()); });
    QObject::connect(spin, QOverload<int>::of(&QSpinBox::valueChanged), link,
                     [link](int value) { link->reportChange(value); });
    connectControl(link, control, spin);
    return captioned(key, control, spin);
}

Built buildFloat(const QString &key, const Kiln::FloatEditControl &control, QWidget *parent)
{
    auto *spin = new QDoubleSpinBox(parent);
    spin->setDecimals(4);
    spin->setSingleStep(0.1);
    spin->setRange(-1e9, 1e9);
    spin->setMaximumWidth(fieldWidth);
    auto *link =
        new ControlLink(spin, [spin](const QVariant &value) { spin->setValue(value.toDouble()); });
    QObject::connect(spin, QOverload<double>::of(&QDoubleSpinBox::valueChanged), link,
                     [link](double value) { link->reportChange(value); });
    connectControl(link, control, spin);
    return captioned(key, control, spin);
}

Built buildCheck(const Kiln::trWidgetControl &control, QWidget *parent)
{
    auto *check = new QCheckBox(parent);
    if (control.translator) {
        new TranslatedText(check, control.translator, control.textId,
                           [check](const QString &text) { check->setText(text); });
    }
    auto *link = new ControlLink(
        check, [check](const QVariant &value) { check->setChecked(value.toBool()); });
    QObject::connect(check, &QCheckBox::toggled, link, [link](bool on) { link->reportChange(on); });
    connectControl(link, control, check);
    return {check, check};
}

Built buildCombo(const QString &key, const Kiln::ComboBoxControl &control, QWidget *parent)
{
    auto *combo = new QComboBox(parent);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    combo->setMinimumWidth(fieldWidth);
    auto *link = new ControlLink(combo, [combo](const QVariant &value) {
        if (value.type() == QVariant::String)
            combo->setCurrentText(value.toString());
        else
            combo->setCurrentIndex(value.toInt());
    });
    const bool wantsText = control.slot && QByteArray(control.slot).contains("QString");
    QObject::connect(combo, QOverload<int>::of(&QComboBox::activated), link,
                     [link, combo, wantsText](int index) {
                         link->reportChange(wantsText ? QVariant(combo->itemText(index)) : index);
                     });
    connectControl(link, control, combo);
    return captioned(key, control, combo);
}

Built buildButton(const Kiln::ToolButtonControl &control, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setAutoRaise(true);
    button->setIconSize(QSize(16, 16));
    button->setFocusPolicy(Qt::TabFocus);
    if (control.action) {
        button->setDefaultAction(control.action);
        button->setAccessibleName(control.action->text());
        if (control.action->icon().isNull())
            button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    }
    if (const auto *withMenu = dynamic_cast<const Kiln::MenuToolButtonControl *>(&control)) {
        const bool hasCommand =
            control.action && (!withMenu->menu || control.action != withMenu->menu->menuAction());
        // The menu's own action brings the menu, and would be lost if it came twice.
        if (hasCommand || !control.action)
            button->setMenu(withMenu->menu);
        button->setPopupMode(hasCommand ? QToolButton::MenuButtonPopup : QToolButton::InstantPopup);
    }
    return {button, button};
}

Built buildView(const Kiln::WidgetControl &control,
                const char *doubleClickSlot,
                QAbstractItemView *view)
{
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setIconSize(QSize(16, 16));
    auto *link = new ControlLink(
        view, [view](const QVariant &value) { view->setCurrentIndex(value.toModelIndex()); });
    QObject::connect(view, &QAbstractItemView::activated, link,
                     [link](const QModelIndex &index) { link->reportChange(index); });
    if (control.receiver && doubleClickSlot)
        QObject::connect(view, SIGNAL(doubleClicked(QModelIndex)), control.receiver,
                         doubleClickSlot);
    connectControl(link, control, view);
    return {view, view};
}

Built buildList(const Kiln::ListViewControl &control, QWidget *parent)
{
    auto *list = new QListView(parent);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    return buildView(control, control.doubleClickSlot, list);
}

Built buildTree(const Kiln::TreeViewControl &control, QWidget *parent)
{
    auto *tree = new QTreeView(parent);
    tree->setHeaderHidden(true);
    tree->setUniformRowHeights(true);
    return buildView(control, nullptr, tree);
}

Built buildByClass(const QString &key, const Kiln::Control &control, QWidget *parent)
{
    if (const auto *button = dynamic_cast<const Kiln::ToolButtonControl *>(&control))
        return buildButton(*button, parent);
    if (const auto *list = dynamic_cast<const Kiln::ListViewControl *>(&control))
        return buildList(*list, parent);
    if (const auto *tree = dynamic_cast<const Kiln::TreeViewControl *>(&control))
        return buildTree(*tree, parent);
    if (const auto *spin = dynamic_cast<const Kiln::SpinEditControl *>(&control))
        return buildSpin(key, *spin, parent);
    if (const auto *number = dynamic_cast<const Kiln::FloatEditControl *>(&control))
        return buildFloat(key, *number, parent);
    if (const auto *combo = dynamic_cast<const Kiln::ComboBoxControl *>(&control))
        return buildCombo(key, *combo, parent);
    const auto *embedded = dynamic_cast<const Kiln::EmbeddedControl *>(&control);
    if (embedded && embedded->widget) {
        embedded->widget->setParent(parent);
        return {embedded->widget, embedded->widget};
    }
    const auto *plain = dynamic_cast<const Kiln::WidgetControl *>(&control);
    const auto *translated = dynamic_cast<const Kiln::trWidgetControl *>(&control);
    if (translated && control.kind == Kiln::Control::CheckBox)
        return buildCheck(*translated, parent);
    if (translated && control.kind == Kiln::Control::Label)
        return buildFixedLabel(*translated, parent);
    if (plain && control.kind == Kiln::Control::Label)
        return buildLabel(*plain, parent);
    if (plain && control.kind == Kiln::Control::PositionSelector)
        return buildPosition(*plain, parent);
    return {};
}

} // namespace

ControlFactory::Built
ControlFactory::build(const QString &key, const Kiln::Control &control, QWidget *parent)
{
    const Built built = buildByClass(key, control, parent);
    if (built.field)
        built.field->setObjectName(key);
    if (built.row && built.row != built.field)
        built.row->setObjectName(key + QLatin1String("_row"));
    return built;
}

} // namespace HostKit

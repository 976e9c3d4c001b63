#pragma once

#include <hostkit/export.h>

#include <QtCore/QList>
#include <QtWidgets/QLayout>

namespace HostKit
{

/// Lays widgets out in lines, like words in a paragraph: as many in a line as fit, each at its
/// preferred size, centred on the height of its line.
class HOSTKIT_EXPORT FlowLayout : public QLayout
{
    Q_OBJECT

public:
    explicit FlowLayout(QWidget *parent, int spacing = 4);
    ~FlowLayout() override;

    void addItem(QLayoutItem *item) override;
    int count() const override;
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;
    Qt::Orientations expandingDirections() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect &area) override;

private:
    int arrange(const QRect &area, bool move) const;

    QList<QLayoutItem *> m_items;
};

} // namespace HostKit

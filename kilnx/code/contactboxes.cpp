#include <kilnx/code/contactboxes.h>

namespace Kiln
{
ContactBoxCode::~ContactBoxCode() = default;

ContactBoxesCode::~ContactBoxesCode() = default;

QVector<ContactBoxCode *> ContactBoxesCode::all() const
{
    QVector<ContactBoxCode *> boxes;
    for (unsigned int index = 0; index < count(); ++index)
        boxes.append(at(index));
    return boxes;
}

int ContactBoxesCode::indexOf(const ContactBoxCode *box) const
{
    return box ? all().indexOf(const_cast<ContactBoxCode *>(box)) : -1;
}

std::weak_ptr<const void> ContactBoxesCode::life() const
{
    if (!m_life)
        m_life = std::make_shared<char>();
    return m_life;
}

QVector<QRect> ContactBoxesCode::rects() const
{
    QVector<QRect> rects;
    const QVector<ContactBoxCode *> boxes = all();
    for (const ContactBoxCode *box : boxes)
        rects.append(box->rect());
    return rects;
}
} // namespace Kiln

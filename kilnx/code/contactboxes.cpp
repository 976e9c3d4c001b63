#include <kilnx/code/contactboxes.h>

namespace Kiln
{
ContactBoxCode::~ContactBoxCode() = default;

ContactBoxesCode::~ContactBoxesCode() = default;

int ContactBoxesCode::indexOf(const ContactBoxCode *box) const
{
    for (unsigned int index = 0; index < count(); ++index) {
        if (at(index) == box)
            return box ? int(index) : -1;
    }
    return -1;
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
    for (unsigned int index = 0; index < count(); ++index)
        rects.append(at(index)->rect());
    return rects;
}
} // namespace Kiln

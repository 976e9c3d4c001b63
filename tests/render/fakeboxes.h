#pragma once

#include <kilnx/code/contactboxes.h>

#include <functional>
#include <memory>
#include <vector>

/// Boxes of a frame whose text is a list of rectangles.
class FakeBoxes : public Kiln::ContactBoxesCode
{
public:
    class Box : public Kiln::ContactBoxCode
    {
    public:
        Box(FakeBoxes *owner, const QRect &rect)
            : m_owner(owner)
            , m_rect(rect)
        {
        }
        BoxType boxType() const override { return m_owner->m_type; }
        QRect rect() const override { return m_rect; }
        void setRect(const QRect &rect) override
        {
            // Its edges are its corners, in whatever order they come.
            m_rect = QRect(rect.x() + qMin(0, rect.width()), rect.y() + qMin(0, rect.height()),
                           qAbs(rect.width()), qAbs(rect.height()));
            m_owner->tell();
        }
        void setBoxType(BoxType) override {} // one list knows one kind

    private:
        FakeBoxes *m_owner;
        QRect m_rect;
    };

    explicit FakeBoxes(Kiln::ContactBoxCode::BoxType type, const QVector<QRect> &rects = {})
        : m_type(type)
    {
        setRects(rects);
    }

    unsigned int count() const override { return unsigned(m_boxes.size()); }
    Kiln::ContactBoxCode *at(unsigned int index) const override
    {
        return index < count() ? m_boxes[index].get() : nullptr;
    }
    Kiln::ContactBoxCode *add(const QRect &rect) override
    {
        if (refuses)
            return nullptr;
        m_boxes.push_back(std::make_unique<Box>(this, rect));
        tell();
        return count() ? m_boxes.back().get() : nullptr;
    }
    void remove(Kiln::ContactBoxCode *box) override
    {
        const int index = indexOf(box);
        if (index < 0)
            return;
        // Any edit but setRect() makes the boxes anew, as a parser may.
        QVector<QRect> left = rects();
        left.remove(index);
        setRects(left);
    }
    void setRects(const QVector<QRect> &rects) override
    {
        m_boxes.clear();
        for (const QRect &rect : rects)
            m_boxes.push_back(std::make_unique<Box>(this, rect));
        tell();
    }

    std::function<void()> changed; ///< the text changed: what a client answers
    bool refuses = false;

private:
    void tell()
    {
        if (changed)
            changed();
    }

    Kiln::ContactBoxCode::BoxType m_type;
    std::vector<std::unique_ptr<Box>> m_boxes;
};

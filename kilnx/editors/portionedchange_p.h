#pragma once

#include <QtCore/QAbstractItemModel>
#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>

#include <functional>

namespace Kiln
{

/// One change of a list of items, made in many steps: by portions of 10 ms, between which events
/// run. It closes when this is destroyed; one that was stopped is taken back as a whole.
template<class List>
class PortionedChange
{
public:
    /// `goesOn` is asked behind events, and may show how many steps are done. The list counts as
    /// not wanted, too, when it is loaded again or destroyed meanwhile.
    PortionedChange(List *list, const std::function<bool(int done)> &goesOn)
        : m_list(list)
        , m_goesOn(goesOn)
    {
        QObject::connect(list, &QAbstractItemModel::modelReset, &m_watch,
                         [this] { m_isStopped = true; });
        m_portion.start();
        list->beginChange();
    }
    PortionedChange(const PortionedChange &) = delete;
    PortionedChange &operator=(const PortionedChange &) = delete;
    ~PortionedChange()
    {
        if (m_list && m_isStopped && m_hasChanged)
            m_list->cancelChange();
        else if (m_list)
            m_list->endChange();
    }

    /// Behind each step. The last one is told at once.
    void stepped(int done, bool hasChanged, bool isLast)
    {
        m_hasChanged |= hasChanged;
        if (m_portion.elapsed() < portionMs && !isLast)
            return;
        QCoreApplication::processEvents();
        m_isStopped |= !m_goesOn(done) || !m_list;
        m_portion.restart();
    }
    bool isWhole() const { return !m_isStopped; }

private:
    static constexpr int portionMs = 10;

    const QPointer<List> m_list;
    const std::function<bool(int)> m_goesOn;
    QObject m_watch;
    QElapsedTimer m_portion;
    bool m_hasChanged = false;
    bool m_isStopped = false;
};

} // namespace Kiln

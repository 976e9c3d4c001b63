#pragma once

#include <kilnx/editors/portionedchange_p.h>
#include <kilnx/project/interface.h>
#include <kilnx/project/progress.h>

#include <QtCore/QPointer>

#include <functional>

namespace Kiln
{

/// Does something with each of some items, under an indicator when there are several. `d` is the
/// private part of an editor, which takes no other command meanwhile. False when the user has
/// cancelled, or the editor has another file.
template<class Private>
bool doWithEach(Private *d, int count, const QString &told, const std::function<void(int)> &act)
{
    const typename Private::Still still(d);
    const QPointer<Private> alive(d);
    bool cancelled = false;
    d->working = true;
    Progress *progress = count > 1 ? d->interface->progress(told, true) : nullptr;
    if (progress)
        progress->setProgress(0, unsigned(count), &cancelled);
    for (int i = 0; i < count && !cancelled && still.isSo(); ++i) {
        act(i);
        if (progress)
            progress->setProgress(unsigned(i) + 1, 0, &cancelled);
    }
    if (progress)
        progress->finish();
    if (alive)
        d->working = false;
    return !cancelled && still.isSo();
}

/// The same as one change of a list, of which a cancel takes everything back. `act` returns whether
/// it has changed something; `isWanted` is asked behind events whether the work still is.
template<class Private, class List>
bool changeEach(Private *d,
                List *list,
                int count,
                const QString &told,
                const std::function<bool()> &isWanted,
                const std::function<bool(int)> &act)
{
    const QPointer<Private> alive(d);
    bool cancelled = false;
    bool isWhole = false;
    const auto goesOn = [&] { return alive && !cancelled && isWanted(); };
    d->working = true;
    Progress *progress = count > 1 ? d->interface->progress(told, true) : nullptr;
    if (progress)
        progress->setProgress(0, unsigned(count), &cancelled);
    if (goesOn()) {
        PortionedChange<List> change(list, [&](int done) {
            if (progress)
                progress->setProgress(unsigned(done), 0, &cancelled);
            return goesOn();
        });
        for (int i = 0; i < count && change.isWhole(); ++i)
            change.stepped(i + 1, act(i), i + 1 == count);
        isWhole = change.isWhole();
    }
    if (progress)
        progress->finish();
    if (alive)
        d->working = false;
    return isWhole;
}

} // namespace Kiln

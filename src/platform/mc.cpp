// SPDX-License-Identifier: MIT
#include "mc.h"

#include "mceventdispatcher.h"

#include <QCoreApplication>
#include <QVector>

#include <algorithm>

// Routines are added from static initialisers on the loading thread and run
// on the application's thread, before and after its event loop: the lists
// are never touched by two threads at once.
namespace {

struct PendingRoutine
{
    int priority;
    int order;
    Mc::Routine routine;
};

struct RoutineLists
{
    QVector<PendingRoutine> pre;
    QVector<PendingRoutine> post;
    int added = 0;
    bool preRan = false;
    bool postHooked = false;
};

RoutineLists &lists()
{
    static RoutineLists instance;
    return instance;
}

void runPreRoutines()
{
    RoutineLists &all = lists();
    all.preRan = true;
    QVector<PendingRoutine> pending;
    pending.swap(all.pre);
    std::stable_sort(pending.begin(), pending.end(), [](const PendingRoutine &a, const PendingRoutine &b) {
        return a.priority < b.priority;
    });
    for (const PendingRoutine &entry : qAsConst(pending))
        entry.routine();
}

void runPostRoutines()
{
    QVector<PendingRoutine> pending;
    pending.swap(lists().post);
    std::sort(pending.begin(), pending.end(), [](const PendingRoutine &a, const PendingRoutine &b) {
        return a.priority != b.priority ? a.priority < b.priority : a.order > b.order;
    });
    for (const PendingRoutine &entry : qAsConst(pending))
        entry.routine();
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(runPreRoutines)

namespace Mc {

void addPreRoutine(int priority, const Routine &routine)
{
    RoutineLists &all = lists();
    if (all.preRan && QCoreApplication::instance()) {
        routine();
        return;
    }
    all.pre.append({priority, all.added++, routine});
}

void addPostRoutine(int priority, const Routine &routine)
{
    RoutineLists &all = lists();
    all.post.append({priority, all.added++, routine});
    if (!all.postHooked) {
        all.postHooked = true;
        qAddPostRoutine(runPostRoutines);
    }
}

McEventDispatcher *eventDispatcher()
{
    static McEventDispatcher dispatcher;
    return &dispatcher;
}

} // namespace Mc

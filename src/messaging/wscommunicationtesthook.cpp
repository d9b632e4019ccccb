// SPDX-License-Identifier: MIT
#include "wscommunicationtesthook_p.h"

#include "wscommunicationmanager.h"
#include "wscommunicationprivate_p.h"

#include <QThread>
#include <QTimer>

#include <cmath>

namespace {

double timeScale = 1.0;
std::function<QDate()> todayOverride;
bool watchNetwork = true;

void runOnConnectionThread(KvWSCommunicationPrivate *d, const std::function<void(KvWSCommunicationPrivate *)> &work)
{
    if (!d)
        return;
    QThread *thread = d->thread();
    if (thread->isRunning() && thread != QThread::currentThread())
        QMetaObject::invokeMethod(d, [d, &work] { work(d); }, Qt::BlockingQueuedConnection);
    else
        work(d);
}

} // namespace

void KvWSCommunicationTestHook::setTimeScale(double scale)
{
    timeScale = scale;
}

void KvWSCommunicationTestHook::setClock(const std::function<QDate()> &today)
{
    todayOverride = today;
}

void KvWSCommunicationTestHook::setNetworkWatcherEnabled(bool enabled)
{
    watchNetwork = enabled;
}

int KvWSCommunicationTestHook::scaledInterval(int intervalMs)
{
    if (timeScale == 1.0)
        return intervalMs;
    return qMax(1, int(std::lround(intervalMs * timeScale)));
}

QDate KvWSCommunicationTestHook::currentDate()
{
    return todayOverride ? todayOverride() : QDate::currentDate();
}

bool KvWSCommunicationTestHook::networkWatcherEnabled()
{
    return watchNetwork;
}

int KvWSCommunicationTestHook::reconnectTimerInterval(KvWSCommunicationManager *manager)
{
    int interval = -1;
    runOnConnectionThread(manager->d, [&interval](KvWSCommunicationPrivate *d) {
        if (d->m_reconnectTimer->isActive())
            interval = d->m_reconnectTimer->interval();
    });
    return interval;
}

bool KvWSCommunicationTestHook::heartbeatActive(KvWSCommunicationManager *manager)
{
    bool active = false;
    runOnConnectionThread(manager->d, [&active](KvWSCommunicationPrivate *d) { active = d->m_heartbeatTimer->isActive(); });
    return active;
}

int KvWSCommunicationTestHook::heartbeatCount(KvWSCommunicationManager *manager)
{
    int count = 0;
    runOnConnectionThread(manager->d, [&count](KvWSCommunicationPrivate *d) { count = d->m_heartbeatCount; });
    return count;
}

void KvWSCommunicationTestHook::heartbeat(KvWSCommunicationManager *manager)
{
    runOnConnectionThread(manager->d, [](KvWSCommunicationPrivate *d) { d->slotHeartbeat(); });
}

void KvWSCommunicationTestHook::setOnline(KvWSCommunicationManager *manager, bool isOnline)
{
    runOnConnectionThread(manager->d, [isOnline](KvWSCommunicationPrivate *d) { d->slotOnlineStateChanged(isOnline); });
}

void KvWSCommunicationTestHook::raiseError(KvWSCommunicationManager *manager, QAbstractSocket::SocketError error)
{
    runOnConnectionThread(manager->d, [error](KvWSCommunicationPrivate *d) { d->onError(error); });
}

int KvWSCommunicationTestHook::pendingReplyCount(KvWSCommunicationManager *manager)
{
    int count = 0;
    runOnConnectionThread(manager->d, [&count](KvWSCommunicationPrivate *d) { count = d->m_pendingReplies.size(); });
    return count;
}

QThread *KvWSCommunicationTestHook::thread(KvWSCommunicationManager *manager)
{
    return manager->d ? manager->d->m_workerThread : nullptr;
}

// SPDX-License-Identifier: MIT
#include "reconnecthelper.h"

#include "wscommunicationmanager.h"
#include "wscommunicationtesthook_p.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QTimer>

namespace {

constexpr int FirstDelayMs = 1000;
constexpr int LongestDelayMs = 60000;

} // namespace

KvReconnectHelper::KvReconnectHelper(QObject *parent)
    : QObject(parent)
    , m_timer(new QTimer(this))
{
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &KvReconnectHelper::slotRetry);
    KvWSCommunicationManager *link = KvWSCommunicationManager::getDefault();
    connect(link, &KvWSCommunicationManager::onConnected, this, &KvReconnectHelper::slotConnected);
    connect(link, &KvWSCommunicationManager::onDisconnected, this, &KvReconnectHelper::slotDisconnected);
    if (QCoreApplication *app = QCoreApplication::instance())
        connect(app, &QCoreApplication::aboutToQuit, this, [this] { setSuspended(true); });
    m_watching = link->isConnected();
}

void KvReconnectHelper::setSuspended(bool suspended)
{
    m_suspended = suspended;
    m_timer->stop();
    m_attempts = 0;
    // A disconnect still on its way belongs to what was ended meanwhile.
    m_watching = !suspended && KvWSCommunicationManager::getDefault()->isConnected();
}

void KvReconnectHelper::slotConnected()
{
    m_timer->stop();
    m_attempts = 0;
    m_watching = !m_suspended;
}

void KvReconnectHelper::slotDisconnected()
{
    // A failed attempt reports a disconnect too: the running delay stands.
    if (m_suspended || !m_watching || m_timer->isActive())
        return;
    m_timer->start(nextDelay());
}

void KvReconnectHelper::slotRetry()
{
    KvWSCommunicationManager *link = KvWSCommunicationManager::getDefault();
    if (m_suspended || link->isConnected())
        return;
    link->forceStart();
    // The next try is armed now: an attempt that fails may not say so.
    m_timer->start(nextDelay());
}

int KvReconnectHelper::nextDelay()
{
    const int base = FirstDelayMs << qMin(m_attempts, 6);
    ++m_attempts;
    const int capped = qMin(base, LongestDelayMs);
    // Up to a quarter less, so that many hosts dropped by one server restart
    // do not come back in step.
    const int delay = capped - int(QRandomGenerator::global()->bounded(capped / 4 + 1));
    return KvWSCommunicationTestHook::scaledInterval(delay);
}

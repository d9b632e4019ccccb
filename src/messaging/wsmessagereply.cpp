// SPDX-License-Identifier: MIT
#include "wsmessagereply.h"

#include "wscommunicationprivate_p.h"

KvWSMessageReply::KvWSMessageReply(const KvWSMessagePtr &message, KvWSCommunicationPrivate *communicationPrivate)
    : m_message(message)
    , m_communicationPrivate(communicationPrivate)
{
    m_timeoutTimer.setSingleShot(true);
    m_timeoutTimer.setInterval(30000);
    connect(&m_timeoutTimer, &QTimer::timeout, this, &KvWSMessageReply::slotTimeout);
}

KvWSMessageReply::~KvWSMessageReply()
{
    if (m_timeoutTimer.isActive())
        m_timeoutTimer.stop();
}

void KvWSMessageReply::onFinished(KvWSMessageError error)
{
    m_running = false;
    m_errorCode = error;
    // Called on the connection's thread; the timer belongs to the thread that
    // made the reply.
    QTimer *timer = &m_timeoutTimer;
    QMetaObject::invokeMethod(timer, [timer] { timer->stop(); });
    Q_EMIT finished();
}

void KvWSMessageReply::slotTimeout()
{
    // The acknowledgement may have won the race against the queued stop.
    if (!m_running)
        return;
    m_errorCode = SocketTimeoutError;
    if (m_communicationPrivate)
        m_communicationPrivate->removeReply(m_message->sid());
    Q_EMIT finished();
}

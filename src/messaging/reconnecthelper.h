// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QObject>

class QTimer;

// Brings the message link back after the server closed it cleanly.
//
// The connection re-arms itself only after a socket error; a close frame from
// the server (1001 when it shuts down, 1007 after a text that was not UTF-8)
// leaves it down for good. A host that wants the link kept makes one of these
// on its GUI thread. Once the link of KvWSCommunicationManager::getDefault()
// has been up, every loss of it is followed by forceStart() after a delay of
// about 1 s that doubles, with random jitter, up to 60 s, until the link is up
// again; then the delay starts from 1 s anew. The module itself never makes one.
//
// Suspend it while ending the session on purpose (logout, quit): after
// setSuspended(false) it watches again from the link's next connect, so a
// close that belonged to the ended session never reopens that session's link.
// It suspends itself when the application is about to quit.
class KVMESS_EXPORT KvReconnectHelper : public QObject
{
    Q_OBJECT
public:
    explicit KvReconnectHelper(QObject *parent = nullptr);

    void setSuspended(bool suspended);
    bool isSuspended() const { return m_suspended; }

private Q_SLOTS:
    void slotConnected();
    void slotDisconnected();
    void slotRetry();

private:
    int nextDelay();

    QTimer *m_timer;
    int m_attempts = 0;
    bool m_suspended = false;
    bool m_watching = false;
};

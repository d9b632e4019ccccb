// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QAbstractSocket>
#include <QDate>

#include <functional>

class KvWSCommunicationManager;
class QThread;

// For tests only: shortens the connection's timers, moves its clock, and
// looks inside a manager's connection. Nothing in the library sets these;
// without a test they keep their neutral values.
class KVMESS_EXPORT KvWSCommunicationTestHook
{
public:
    // Every interval armed after the call (heartbeat, reconnect, reply
    // time-out, and the delays of KvReconnectHelper) is multiplied by scale;
    // 1 is real time.
    static void setTimeScale(double scale);
    // The date source of the heartbeat's date test; empty: the system date.
    static void setClock(const std::function<QDate()> &today);
    // Whether a manager built after the call watches the network's state.
    static void setNetworkWatcherEnabled(bool enabled);

    static int scaledInterval(int intervalMs);
    static QDate currentDate();
    static bool networkWatcherEnabled();

    // These run on the connection's thread and wait for it, or run at once
    // when that thread is not running.
    static int reconnectTimerInterval(KvWSCommunicationManager *manager); // -1 when not armed
    static bool heartbeatActive(KvWSCommunicationManager *manager);
    static int heartbeatCount(KvWSCommunicationManager *manager);
    static void heartbeat(KvWSCommunicationManager *manager);
    static void setOnline(KvWSCommunicationManager *manager, bool isOnline);
    static void raiseError(KvWSCommunicationManager *manager, QAbstractSocket::SocketError error);
    static int pendingReplyCount(KvWSCommunicationManager *manager);

    static QThread *thread(KvWSCommunicationManager *manager);
};

// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessage.h"
#include "wsmessagereply.h"

#include <QAbstractSocket>
#include <QDate>
#include <QMap>
#include <QObject>
#include <QSharedPointer>
#include <QStringList>

#include <atomic>

class KvWSCommunicationManager;
class QJsonObject;
class QThread;
class QTimer;
class QWebSocket;

// The connection behind KvWSCommunicationManager. Built on the caller's thread
// and then moved to its own thread: the socket, the pending replies and the
// timers are touched only there, by functors posted to this object. The
// caller's thread reads the socket's state through an atomic copy.
class KvWSCommunicationPrivate : public QObject
{
    Q_OBJECT
public:
    explicit KvWSCommunicationPrivate(KvWSCommunicationManager *manager);
    ~KvWSCommunicationPrivate() override;

    // Ends the connection's thread; false if it did not end in time.
    bool endThread();
    void startConnection(bool force);
    void stopConnection(bool quit);
    // Caller's thread. The reply's time-out starts after the frame is posted,
    // whatever the socket's state.
    QSharedPointer<KvWSMessageReply> sendFrame(const KvWSMessagePtr &message, int timeoutMs);
    void sendFrameWithoutReply(const KvWSMessagePtr &message);
    // Any thread.
    void removeReply(const QString &sid);

private Q_SLOTS:
    void onConnected();
    void onDisconnected();
    void onError(QAbstractSocket::SocketError error);
    void onTextMessageReceived(QString message);

private:
    friend class KvWSCommunicationManager;
    friend class KvWSCommunicationTestHook;

    QByteArray buildFrame(const KvWSMessagePtr &message) const;
    void handleFrame(const QJsonObject &object, QStringList &ids, QList<KvWSMessagePtr> &batch);
    void failAllReplies(int error);
    void closeSocket();
    void slotHeartbeat();
    void slotReconnect();
    void slotOnlineStateChanged(bool isOnline);
    void armReconnect(int intervalMs);
    void logLine(const QString &line);

    QWebSocket *m_socket = nullptr;
    std::atomic<int> m_socketState{QAbstractSocket::UnconnectedState};
    KvWSCommunicationManager *m_manager = nullptr;
    QTimer *m_heartbeatTimer = nullptr;
    QTimer *m_reconnectTimer = nullptr;
    int m_reconnectInterval = 0;
    QDate m_authDate;
    int m_heartbeatCount = 0;
    // The address asked for, on the caller's thread; the connection's thread
    // keeps its own copy, handed over with each start, so that a new token
    // never rewrites a string the other thread is reading.
    QString m_requestedUrl;
    QString m_url;
    QMap<QString, QSharedPointer<KvWSMessageReply>> m_pendingReplies;
    QThread *m_workerThread = nullptr;
};

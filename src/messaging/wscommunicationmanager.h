// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "wsmessage.h"
#include "wsmessagereply.h"

#include <QAbstractSocket>
#include <QObject>
#include <QSharedPointer>
#include <QStringList>

class KvWSCommunicationPrivate;

// The one WebSocket to the message server, run on a thread of its own.
//
// The operations are called from the thread that made the manager (or any
// thread for the chat sends) and never block: the work is posted to the
// connection's thread. The signals are emitted on the connection's thread, so
// a listener elsewhere receives them queued. Failures come back as signals
// (onError, onDisconnected) and as reply codes, never as exceptions.
class KVMESS_EXPORT KvWSCommunicationManager : public QObject
{
    Q_OBJECT
public:
    // The process uses getDefault(); a separate instance is for tests.
    explicit KvWSCommunicationManager(QObject *parent = nullptr);
    ~KvWSCommunicationManager() override;

    static KvWSCommunicationManager *getDefault();

    // A token other than the current one takes effect at once: the link is
    // closed (code 1000) and opened again with it. The same token does nothing.
    void setToken(const QString &token);
    // Starts the connection's thread and connects, unless the thread already
    // runs or no token was set: after stop(), start() does not reconnect.
    void start();
    // Drops any live link and connects afresh.
    void forceStart();
    // Closes the link and stops reconnecting; the thread stays up.
    void stop();
    // As stop(), and the thread ends too.
    void quit();
    bool isConnected() const;

    // Sends a chat. The reply finishes with the server's acknowledgement, with
    // 5 after 30 s without one, or with the socket's error. A send while
    // disconnected is not queued: it times out.
    QSharedPointer<KvWSMessageReply> chatForText(const QStringList &toUsers, const QString &text, bool isGroup);
    QSharedPointer<KvWSMessageReply> chatForPicture(const QStringList &toUsers, const QString &id,
                                                    const QString &title, qint64 size, const QString &src,
                                                    const QString &md5, bool isGroup);
    QSharedPointer<KvWSMessageReply> chatForFile(const QStringList &toUsers, const QString &id, const QString &title,
                                                 qint64 size, const QString &src, const QString &md5, bool isGroup);
    // Asks for the messages after lastMessageId (empty: all); the server
    // answers with ordinary frames. No reply is kept.
    void requestUpdateMessages(const QString &lastMessageId);

Q_SIGNALS:
    void onConnected();
    void onDisconnected();
    void onError(QAbstractSocket::SocketError error);
    // The date changed since the token was last refreshed.
    void onReqRefreshAuth();
    // Once per received text, with all its chat-like messages in order.
    void onChatMsgReceived(QList<KvWSMessagePtr> messages);
    void onApplyforFriendMsgReceived(KvWSMessagePtr msg);
    void onConfirmedFriendMsgReceived(KvWSMessagePtr msg);
    void onRefusedFriendMsgReceived(KvWSMessagePtr msg);
    void onRemovedFriendMsgReceived(KvWSMessagePtr msg);
    void onPCOffline(KvWSMessagePtr msg);
    void onProMemberChanged(KvWSMessagePtr msg);
    void onMapLayerAdded(KvWSMessagePtr msg);
    void onMapLayerUpdated(KvWSMessagePtr msg);
    void onMapLayerDeleted(KvWSMessagePtr msg);
    void onDevicesLightUpChanged(KvWSMessagePtr msg);
    void onNoticeReceived(KvWSMessagePtr msg);
    void onPopNoticeReceived(KvWSMessagePtr msg);

private:
    friend class KvWSCommunicationTestHook;

    QSharedPointer<KvWSMessageReply> sendChat(const QSharedPointer<KvWSMessageContent> &content,
                                              const QStringList &toUsers, bool isGroup);
    void deleteResources();
    static bool registerRoutines();
    static const bool s_routinesRegistered;

    QString m_token;
    KvWSCommunicationPrivate *d = nullptr;
};

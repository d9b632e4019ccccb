// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "messaging/wsmessage.h"
#include "store/commmanagerinterface.h"
#include "store/friendmessagedata.h"

#include <QMap>
#include <QSharedPointer>
#include <QStringList>
#include <QThread>

class KvWSMessageReply;
class KvFriendMessageManagerSync;

// The GUI-thread side of the message store: windows read conversations here,
// synchronously, on this object's own connection. Every row is written by the
// worker, KvFriendMessageManagerSync, on its thread.
class KVMESS_EXPORT KvFriendMessageManager : public KvCommManagerInterface
{
    Q_OBJECT
public:
    KvFriendMessageManager(KvUserCommManager *commManager, QObject *parent = nullptr);
    ~KvFriendMessageManager() override;

    void addMessage(const KvFriendMessageData &data);
    // Keeps `data` until the reply ends, then stores it with status 6 or 7.
    void watchSendReply(const QSharedPointer<KvWSMessageReply> &reply, const KvFriendMessageData &data);

    bool lastMessage(const QString &userName, KvFriendMessageData &data);
    QList<KvFriendMessageData> lastMessages();
    bool messages(const QString &userName, bool isGroup, QList<KvFriendMessageData> &list);
    bool updateMessageStatus(const QString &userName, const QString &messageId, int status);

    static int messageKind(const QString &type);
    static QString messageTimeText(qint64 msecs);

Q_SIGNALS:
    void signalNewMessage(KvFriendMessageData messageData);
    void signalAddMessage(KvFriendMessageData messageData);
    void signalMessageStateUpdate(KvFriendMessageData messageData);
    void signalFriendRemove(QString userName);

public Q_SLOTS:
    void slotFriendRemove(QString userName);
    void slotCreateMessageTable(QString tableName);
    void slotSendMessageFinished();
    void slotDownloadFinished(QString userName, QString messageId, bool state);
    void slotSendFinished(QString userName, QString messageId);
    void slotOnPopNoticeMsgReceived(KvWSMessagePtr messages);

protected Q_SLOTS:
    void slotDatebasebChanged(QString dbName) override;

private:
    friend class KvUserCommManager;

    struct PendingSend
    {
        QSharedPointer<KvWSMessageReply> reply;
        KvFriendMessageData data;
    };

    void finishSend(KvWSMessageReply *reply);
    // With `tags`, each row's tenth column goes there.
    bool readRows(const QString &statement, QList<KvFriendMessageData> &rows, QStringList *tags = nullptr);
    bool readRow(const QString &table, const QString &messageId, KvFriendMessageData &row);

    QStringList messageTables;
    QThread workThread;
    QMap<KvWSMessageReply *, PendingSend> pendingMessages;
};

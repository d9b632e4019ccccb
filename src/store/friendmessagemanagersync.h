// SPDX-License-Identifier: MIT
#pragma once

#include "messaging/wsmessage.h"
#include "store/commmanagerinterface.h"
#include "store/friendmessagedata.h"

#include <QHash>
#include <QSqlQuery>

// The worker of the message store: stores every incoming message and every
// record of the send pipeline, keeps the catch-up mark and starts the
// downloads of received files. Lives on KvFriendMessageManager's thread.
class KvFriendMessageManagerSync : public KvCommManagerInterface
{
    Q_OBJECT
public:
    explicit KvFriendMessageManagerSync(KvUserCommManager *commManager, QObject *parent = nullptr);

    static bool fromWSMessage(KvFriendMessageData &record, const KvWSMessagePtr &msg);

Q_SIGNALS:
    void signalDownloadFinished(QString userName, QString messageId, bool state);
    void singnalSendFinished(QString userName, QString messageId);
    void signalNewMessage(KvFriendMessageData messageData);
    void signalCreateMessageTable(QString tableName);
    void signalFriendRemove(QString userName);

private Q_SLOTS:
    void slotAddMessage(KvFriendMessageData data);
    void slotOnChatMsgReceived(QList<KvWSMessagePtr> messages);
    void slotOnNoticeMsgReceived(KvWSMessagePtr msg);
    void slotOnApplyforFriendMsgReceived(KvWSMessagePtr msg);
    void slotOnConfirmedFriendMsgReceived(KvWSMessagePtr msg);
    void slotOnRefusedFriendMsgReceived(KvWSMessagePtr msg);
    void slotOnRemovedFriendMsgReceived(KvWSMessagePtr msg);
    void slotDatebasebChanged(QString dbName) override;
    void requestCatchUp();

private:
    friend class KvFriendMessageManager;

    void storeSystemMessage(const KvWSMessagePtr &msg, int status);
    void prepareFileInfo(const QString &fromUser, KvFriendMessageFile &fileInfo, const KvWSMessagePtr &msg, bool isSend);
    bool saveMessage(const KvFriendMessageData &record, bool emitNew);
    bool saveFileInfo(const KvFriendMessageFile &fileInfo);
    bool createMessageTable(const QString &name);
    bool createFileTable();
    bool messageExists(const QString &table, const KvFriendMessageData &record);
    bool isRedelivery(const KvFriendMessageData &record, const QStringList &tables);
    bool insertMessage(const QString &table, const KvFriendMessageData &record, bool emitNew);
    bool updateMessage(const QString &table, const KvFriendMessageData &record);
    void writeLastMessageId(const QString &id);
    bool exec(QSqlQuery &query);
    // The statement prepared on the current connection, by its text.
    QSqlQuery prepared(const QString &statement);

    QHash<QString, QSqlQuery> m_prepared;
};

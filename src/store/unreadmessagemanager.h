// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "store/commmanagerinterface.h"
#include "store/friendmessagedata.h"

#include <QMap>
#include <QSqlQuery>
#include <QString>

// Unread messages per conversation, in memory and in UnreadMessageTable, kept
// current from every new message. The key "kavora" is the system account's
// conversation: its count is the notice count. GUI thread only; the one way
// in from the message worker is the queued signalNewMessage.
//
// After a logout the counts of the last user stay readable and unchanged
// until the next sign-in loads that user's.
class KVMESS_EXPORT KvUnreadMessageManager : public KvCommManagerInterface
{
    Q_OBJECT
public:
    const QMap<QString, int> &allUnreadMessageInfo() const { return unreadCounts; }
    int userUnreadMessageCount(const QString &userName) const;
    int allUnreadMesssageCount(bool includeNotice) const;
    int allUnreadNoticeCount() const;

    // Stores first, then changes the map: the map never runs ahead of the
    // table. A negative count is stored as 0. Nothing without a database.
    void setUserUnreadMessageCount(const QString &userName, int count);
    void subUserUnreadMessageCount(const QString &userName, int n);
    // These signal signalUserUnreadClear for each count that was not 0, also
    // when the count could not be stored.
    void clearUserUnreadMessage(const QString &userName);
    void clearAllNoticeUnreadMessage();
    void clearAllUserUnreadMessage();
    void clearAllUnreadMessage();

Q_SIGNALS:
    void signalUserUnreadClear(QString userName);
    void signalUnreadMessageChanged();

public Q_SLOTS:
    void slotNewMessage(KvFriendMessageData messageData);

protected Q_SLOTS:
    void slotDatebasebChanged(QString dbName) override;

private:
    friend class KvUserCommManager;

    KvUnreadMessageManager(KvUserCommManager *commManager, QObject *parent = nullptr);

    void addUserUnreadMessage(const QString &userName, int n);
    void init();
    bool createUnreadMessageTable();
    void loadUnreadMessageCounts();

    QMap<QString, int> unreadCounts;
    QSqlQuery upsert;
};

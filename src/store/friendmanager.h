// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfofriend.h"
#include "kvmess_export.h"
#include "store/commmanagerinterface.h"
#include "store/friendmessagedata.h"

#include <QList>
#include <QThread>

// The signed-in user's friends, kept in FriendTable. The server's lists are
// merged by the worker, KvFriendManagerSync, on this object's thread; its
// signals arrive here, so windows connect to this object only. Reads run on
// the GUI thread on this object's own connection. The table is the state:
// nothing is cached.
class KVMESS_EXPORT KvFriendManager : public KvCommManagerInterface
{
    Q_OBJECT
public:
    KvFriendManager(KvUserCommManager *commManager, QObject *parent = nullptr);
    ~KvFriendManager() override;

    // False without a database, without a row, or on an error (see lastErrorText()).
    bool friendInfo(KvUserInfoFriend &out, const QString &userName);
    // For a message this side sent: the own profile named "我的手机", always
    // true and without a database. Otherwise the sender's row.
    bool friendOfMessage(KvUserInfoFriend &out, const KvFriendMessageData &record);
    bool friendExists(const QString &userName);
    // In the table's order; empty without a database.
    void allFriends(QList<KvUserInfoFriend> &list);
    // The same, with portraits left as stored (null pixmaps in `list`), for a
    // view that decodes only the portraits it paints.
    void allFriends(QList<KvUserInfoFriend> &list, QList<QByteArray> &encodedPortraits);

Q_SIGNALS:
    void signalFriendNew(KvUserInfoFriend friendInfo);
    void signalFriendUpdate(KvUserInfoFriend friendInfo);
    void signalFriendRemove(QString userName);
    void signalFriendToCustomerService(KvUserInfoFriend friendInfo);

public Q_SLOTS:
    void slotFriendRemove(QString userName);

protected Q_SLOTS:
    void slotDatebasebChanged(QString dbName) override;

private:
    friend class KvUserCommManager;

    void ensureSelfEntry();
    bool insertFriend(const KvUserInfoFriend &info);

    QThread workThread;
};

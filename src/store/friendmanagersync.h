// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfofriend.h"
#include "store/commmanagerinterface.h"

#include <QList>

// The worker of the friend store: merges the server's friend list and single
// profiles into FriendTable. Lives on KvFriendManager's thread.
class KvFriendManagerSync : public KvCommManagerInterface
{
    Q_OBJECT
public:
    explicit KvFriendManagerSync(KvUserCommManager *commManager, QObject *parent = nullptr);

Q_SIGNALS:
    void signalFriendNew(KvUserInfoFriend friendInfo);
    void signalFriendUpdate(KvUserInfoFriend friendInfo);
    void signalFriendRemove(QString userName);
    void signalFriendToCustomerService(KvUserInfoFriend friendInfo);

public Q_SLOTS:
    void slotFriendsListResp(QList<KvUserInfoFriend> friendList);
    void slotFriendResp(KvUserInfoFriend friendInfo);

private:
    void updateIfChanged(const KvUserInfoFriend &stored, const KvUserInfoFriend &info);
};

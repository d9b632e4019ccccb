// SPDX-License-Identifier: MIT
#include "friendmanagersync.h"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "store/friendtable_p.h"

using namespace KvFriendTable;

KvFriendManagerSync::KvFriendManagerSync(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
    KvUserManager *users = KvUserManager::instance();
    connect(users, &KvUserManager::signalReposeFriends, this, &KvFriendManagerSync::slotFriendsListResp);
    connect(users, &KvUserManager::signalReposeFriend, this, &KvFriendManagerSync::slotFriendResp);
}

void KvFriendManagerSync::updateIfChanged(const KvUserInfoFriend &stored, const KvUserInfoFriend &info)
{
    // A portrait read from the table never equals a downloaded one, so a friend
    // with a picture is rewritten on every merge.
    if (stored != info && updateFriend(dataAdapter, lastError, info))
        emit signalFriendUpdate(info);
}

void KvFriendManagerSync::slotFriendsListResp(QList<KvUserInfoFriend> friendList)
{
    QStringList stale = storedFriendNames(dataAdapter, lastError);
    for (const KvUserInfoFriend &info : qAsConst(friendList)) {
        // The system account is never a friend; a row of that name goes as stale.
        if (info.userName == systemUserName)
            continue;
        KvUserInfoFriend stored;
        if (!friendInfo(dataAdapter, lastError, stored, info.userName)) {
            if (insertFriend(dataAdapter, lastError, info))
                emit signalFriendNew(info);
        } else {
            updateIfChanged(stored, info);
        }
        stale.removeOne(info.userName);
    }
    // The self entry is in no server list and stays.
    stale.removeOne(KvUserManager::instance()->getUserLoginInfo().username);
    for (const QString &name : qAsConst(stale)) {
        if (removeFriendRow(dataAdapter, lastError, name))
            emit signalFriendRemove(name);
    }
}

void KvFriendManagerSync::slotFriendResp(KvUserInfoFriend friendInfo)
{
    KvUserInfoFriend stored;
    if (KvFriendTable::friendInfo(dataAdapter, lastError, stored, friendInfo.userName)) {
        updateIfChanged(stored, friendInfo);
    } else if (isCustomerServiceAccount(friendInfo.userName)) {
        // An agent is never stored as a friend.
        emit signalFriendToCustomerService(friendInfo);
    } else if (insertFriend(dataAdapter, lastError, friendInfo)) {
        emit signalFriendNew(friendInfo);
    }
}

// SPDX-License-Identifier: MIT
#include "friendmanagersync.h"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "store/friendtable_p.h"

#include <QSet>

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
    // A set: with a thousand friends, removing each listed name from a list made the merge quadratic.
    const QStringList stored = storedFriendNames(dataAdapter, lastError);
    QSet<QString> listed;
    listed.reserve(friendList.size());
    for (const KvUserInfoFriend &info : qAsConst(friendList)) {
        // The system account is never a friend; a row of that name goes as stale.
        if (info.userName == systemUserName)
            continue;
        KvUserInfoFriend row;
        if (!friendInfo(dataAdapter, lastError, row, info.userName)) {
            if (insertFriend(dataAdapter, lastError, info))
                emit signalFriendNew(info);
        } else {
            updateIfChanged(row, info);
        }
        listed.insert(info.userName);
    }
    // The self entry is in no server list and stays.
    listed.insert(KvUserManager::instance()->getUserLoginInfo().username);
    for (const QString &name : stored) {
        if (!listed.contains(name) && removeFriendRow(dataAdapter, lastError, name))
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

// SPDX-License-Identifier: MIT
#include "friendmanager.h"

#include "account/usermanager.h"
#include "kvmesslogging_p.h"
#include "platform/dataadapter.h"
#include "store/friendmanagersync.h"
#include "store/friendtable_p.h"
#include "store/storestatements_p.h"

namespace {

KvUserInfoFriend selfEntry()
{
    KvUserInfoFriend info;
    static_cast<KvUserInfoBase &>(info) = KvUserManager::instance()->getUserInfo();
    info.nickName = KvFriendManager::tr("我的手机");
    return info;
}

} // namespace

KvFriendManager::KvFriendManager(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
    auto *sync = new KvFriendManagerSync(commManager);
    sync->moveToThread(&workThread);
    connect(&workThread, &QThread::finished, sync, &QObject::deleteLater);
    connect(sync, &KvFriendManagerSync::signalFriendNew, this, &KvFriendManager::signalFriendNew);
    connect(sync, &KvFriendManagerSync::signalFriendUpdate, this, &KvFriendManager::signalFriendUpdate);
    connect(sync, &KvFriendManagerSync::signalFriendRemove, this, &KvFriendManager::signalFriendRemove);
    connect(sync, &KvFriendManagerSync::signalFriendToCustomerService, this,
            &KvFriendManager::signalFriendToCustomerService);
    workThread.start(QThread::InheritPriority);
}

KvFriendManager::~KvFriendManager()
{
    if (workThread.isRunning()) {
        workThread.quit();
        workThread.wait();
    }
}

void KvFriendManager::slotDatebasebChanged(QString dbName)
{
    KvCommManagerInterface::slotDatebasebChanged(dbName);
    if (!dataAdapter)
        return;
    if (!dataAdapter->hasTable(KvFriendStatements::tableName))
        KvFriendTable::createTable(dataAdapter, lastError);
    ensureSelfEntry();
}

void KvFriendManager::ensureSelfEntry()
{
    const KvUserInfoFriend self = selfEntry();
    KvUserInfoFriend stored;
    // Made once: the row keeps the profile of the day it was made.
    if (friendInfo(stored, self.userName))
        return;
    insertFriend(self);
}

bool KvFriendManager::insertFriend(const KvUserInfoFriend &info)
{
    // The signal goes out when the row could not be written, not when it was:
    // long-standing behaviour that the windows have lived with.
    if (!dataAdapter) {
        emit signalFriendNew(info);
        return false;
    }
    if (!KvFriendTable::insertFriend(dataAdapter, lastError, info)) {
        qCDebug(kvStore) << "cannot insert the own entry:" << lastError;
        emit signalFriendNew(info);
        return false;
    }
    return true;
}

bool KvFriendManager::friendInfo(KvUserInfoFriend &out, const QString &userName)
{
    return KvFriendTable::friendInfo(dataAdapter, lastError, out, userName);
}

bool KvFriendManager::friendOfMessage(KvUserInfoFriend &out, const KvFriendMessageData &record)
{
    if (record.isSend) {
        out = selfEntry();
        return true;
    }
    return friendInfo(out, record.fromUserId);
}

bool KvFriendManager::friendExists(const QString &userName)
{
    return KvFriendTable::friendExists(dataAdapter, userName);
}

void KvFriendManager::allFriends(QList<KvUserInfoFriend> &list)
{
    KvFriendTable::allFriends(dataAdapter, lastError, list);
}

void KvFriendManager::allFriends(QList<KvUserInfoFriend> &list, QList<QByteArray> &encodedPortraits)
{
    KvFriendTable::allFriends(dataAdapter, lastError, list, &encodedPortraits);
}

void KvFriendManager::slotFriendRemove(QString userName)
{
    if (KvFriendTable::removeFriendRow(dataAdapter, lastError, userName))
        emit signalFriendRemove(userName);
}

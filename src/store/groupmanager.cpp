// SPDX-License-Identifier: MIT
#include "groupmanager.h"

#include "platform/dataadapter.h"
#include "store/enterprisetable_p.h"
#include "store/groupmanagersync.h"
#include "store/storestatements_p.h"

KvGroupManager::KvGroupManager(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
    auto *sync = new KvGroupManagerSync(commManager);
    sync->moveToThread(&workThread);
    connect(&workThread, &QThread::finished, sync, &QObject::deleteLater);
    connect(sync, &KvGroupManagerSync::signalEnterpriseNew, this, &KvGroupManager::signalEnterpriseNew);
    connect(sync, &KvGroupManagerSync::signalEnterpriseUpdate, this, &KvGroupManager::signalEnterpriseUpdate);
    connect(sync, &KvGroupManagerSync::signalEnterpriseRemove, this, &KvGroupManager::signalEnterpriseRemove);
    workThread.start(QThread::InheritPriority);
    const auto forget = [this] {
        memberCacheValid = false;
        memberCache.clear();
    };
    connect(this, &KvGroupManager::signalEnterpriseNew, this, forget);
    connect(this, &KvGroupManager::signalEnterpriseUpdate, this, forget);
    connect(this, &KvGroupManager::signalEnterpriseRemove, this, forget);
}

KvGroupManager::~KvGroupManager()
{
    if (workThread.isRunning()) {
        workThread.quit();
        workThread.wait();
    }
}

void KvGroupManager::slotDatebasebChanged(QString dbName)
{
    KvCommManagerInterface::slotDatebasebChanged(dbName);
    memberCacheValid = false;
    memberCache.clear();
    if (dataAdapter && !dataAdapter->hasTable(KvEnterpriseStatements::tableName))
        KvEnterpriseTable::createTable(dataAdapter, lastError);
}

void KvGroupManager::enterprises(QList<KvGroupInfo> &list)
{
    KvEnterpriseTable::enterprises(dataAdapter, lastError, list);
}

bool KvGroupManager::memberInfo(const QString &userName, QString &name, QPixmap &portrait)
{
    if (!memberCacheValid) {
        enterprises(memberCache);
        memberCacheValid = true;
    }
    for (const KvGroupInfo &info : qAsConst(memberCache)) {
        if (info.enterpriseId == userName) {
            name = info.name;
            portrait = info.headPortrait;
            return true;
        }
        for (const KvUserInfoFriend &member : info.staffs) {
            if (member.userName == userName) {
                name = member.nickName;
                portrait = member.headPortrait;
                return true;
            }
        }
    }
    return false;
}

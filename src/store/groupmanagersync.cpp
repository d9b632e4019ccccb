// SPDX-License-Identifier: MIT
#include "groupmanagersync.h"

#include "account/usermanager.h"
#include "store/enterprisetable_p.h"

using namespace KvEnterpriseTable;

KvGroupManagerSync::KvGroupManagerSync(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
    connect(KvUserManager::instance(), &KvUserManager::signalReposeEnterprises, this,
            &KvGroupManagerSync::slotEnterprisesListResp);
}

bool KvGroupManagerSync::enterprise(KvGroupInfo &out, const QString &id)
{
    return KvEnterpriseTable::enterprise(dataAdapter, lastError, out, id);
}

void KvGroupManagerSync::slotEnterprisesListResp(QList<KvGroupInfo> infoList)
{
    QStringList stale = storedEnterpriseIds(dataAdapter, lastError);
    for (const KvGroupInfo &info : qAsConst(infoList)) {
        KvGroupInfo stored;
        // Every enterprise is rewritten, changed or not.
        if (!enterprise(stored, info.enterpriseId)) {
            if (insertEnterprise(dataAdapter, lastError, info))
                emit signalEnterpriseNew(info);
        } else if (updateEnterprise(dataAdapter, lastError, info)) {
            emit signalEnterpriseUpdate(info);
        }
        stale.removeOne(info.enterpriseId);
    }
    // Mirrors the friend merge's self entry: spares an enterprise whose id is the user's name.
    stale.removeOne(KvUserManager::instance()->getUserLoginInfo().username);
    // The group's message table stays when its enterprise goes.
    for (const QString &id : qAsConst(stale)) {
        if (removeEnterprise(dataAdapter, lastError, id))
            emit signalEnterpriseRemove(id);
    }
}

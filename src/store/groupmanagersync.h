// SPDX-License-Identifier: MIT
#pragma once

#include "account/groupinfo.h"
#include "store/commmanagerinterface.h"

#include <QList>

// The worker of the group store: merges the server's enterprise list into
// EnterpriseTable. Lives on KvGroupManager's thread.
class KvGroupManagerSync : public KvCommManagerInterface
{
    Q_OBJECT
public:
    explicit KvGroupManagerSync(KvUserCommManager *commManager, QObject *parent = nullptr);

    bool enterprise(KvGroupInfo &out, const QString &id);

Q_SIGNALS:
    void signalEnterpriseNew(KvGroupInfo info);
    void signalEnterpriseUpdate(KvGroupInfo info);
    void signalEnterpriseRemove(QString ID);

public Q_SLOTS:
    void slotEnterprisesListResp(QList<KvGroupInfo> infoList);
};

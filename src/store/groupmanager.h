// SPDX-License-Identifier: MIT
#pragma once

#include "account/groupinfo.h"
#include "kvmess_export.h"
#include "store/commmanagerinterface.h"

#include <QList>
#include <QPixmap>
#include <QThread>

// The enterprises of the signed-in user with their members, kept in
// EnterpriseTable. The server's list is merged by the worker,
// KvGroupManagerSync, on this object's thread; windows read here, on the GUI
// thread, and connect to this object's signals.
class KVMESS_EXPORT KvGroupManager : public KvCommManagerInterface
{
    Q_OBJECT
public:
    KvGroupManager(KvUserCommManager *commManager, QObject *parent = nullptr);
    ~KvGroupManager() override;

    // In the table's order, members decoded; empty without a database.
    void enterprises(QList<KvGroupInfo> &list);
    // The name and picture of an enterprise with that id, or else of the first
    // member of that name, walking the enterprises in table order. Both stay
    // untouched when nothing matches. The table is decoded once and kept until
    // an enterprise changes or another user's file is opened: a list of
    // conversations asks for every row.
    bool memberInfo(const QString &userName, QString &name, QPixmap &portrait);

Q_SIGNALS:
    void signalEnterpriseNew(KvGroupInfo info);
    void signalEnterpriseUpdate(KvGroupInfo info);
    void signalEnterpriseRemove(QString ID);

protected Q_SLOTS:
    void slotDatebasebChanged(QString dbName) override;

private:
    friend class KvUserCommManager;

    QThread workThread;
    QList<KvGroupInfo> memberCache;
    bool memberCacheValid = false;
};

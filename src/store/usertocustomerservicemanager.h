// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfofriend.h"
#include "kvmess_export.h"
#include "store/usertitles.h"

#include <QMap>
#include <QObject>
#include <QString>

// The agents of customer service met during this run: accounts "10000@..."
// that are never friends. Filled from the profiles the friend store refuses to
// store, kept in memory only, and not cleared by a logout. Build it with
// instance() before asking for a profile: what arrives before is lost.
// GUI thread.
class KVMESS_EXPORT KvUserToCustomerServiceManager : public QObject
{
    Q_OBJECT
public:
    static KvUserToCustomerServiceManager *instance();

Q_SIGNALS:
    void signalFriendToCustomerService(KvUserInfoFriend friendInfo);

private Q_SLOTS:
    void slotFriendToCustomerService(KvUserInfoFriend frinedInfo);

private:
    KvUserToCustomerServiceManager();
    friend bool agentInfo(const QString &userName, QString &name, QPixmap &portrait);

    QMap<QString, KvUserInfoFriend> agents;
};

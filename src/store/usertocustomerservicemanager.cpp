// SPDX-License-Identifier: MIT
#include "usertocustomerservicemanager.h"

#include "store/friendmanager.h"
#include "store/usercommmanager.h"

KvUserToCustomerServiceManager *KvUserToCustomerServiceManager::instance()
{
    static KvUserToCustomerServiceManager manager;
    return &manager;
}

KvUserToCustomerServiceManager::KvUserToCustomerServiceManager()
{
    connect(KvUserCommManager::instance()->friendManager(), &KvFriendManager::signalFriendToCustomerService, this,
            &KvUserToCustomerServiceManager::slotFriendToCustomerService);
}

void KvUserToCustomerServiceManager::slotFriendToCustomerService(KvUserInfoFriend frinedInfo)
{
    agents.insert(frinedInfo.userName, frinedInfo);
    emit signalFriendToCustomerService(frinedInfo);
}

// SPDX-License-Identifier: MIT
#include "offlineauthorizemanager.h"

KvOfflineAuthorizeManager *KvOfflineAuthorizeManager::instance()
{
    static KvOfflineAuthorizeManager manager;
    return &manager;
}

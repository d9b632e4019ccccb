// SPDX-License-Identifier: MIT
#include "wssignalsfilterformgr.h"

#include "wscommunicationmanager.h"

KvWSSignalsFilterForMgr::KvWSSignalsFilterForMgr(KvWSCommunicationManager *manager)
    : manager(manager)
{
}

void KvWSSignalsFilterForMgr::setHandler(ManagerSignal signal)
{
    if (!signal)
        return;
    KvWSCommunicationManager *target = manager;
    handler = [target, signal](const KvWSMessagePtr &message) { (target->*signal)(message); };
}

void KvWSSignalsFilterForMgr::callHandler(const KvWSMessagePtr &message) const
{
    if (handler)
        handler(message);
}

// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "wsmessage.h"

#include <functional>

class KvWSCommunicationManager;

// What the content factory tells the connection about one received frame:
// how it is dispatched, and for a signal, which signal of the manager.
struct KVMESS_EXPORT KvWSSignalsFilterForMgr
{
    enum DispatchKind {
        NotDispatched = -1,
        Batch = 1,
        Signal = 2,
    };

    using ManagerSignal = void (KvWSCommunicationManager::*)(KvWSMessagePtr);

    explicit KvWSSignalsFilterForMgr(KvWSCommunicationManager *manager);

    // Binds a signal of the manager; a null pointer leaves the handler as it is.
    void setHandler(ManagerSignal signal);
    // Emits the bound signal with the message; does nothing without one.
    void callHandler(const KvWSMessagePtr &message) const;

    std::function<void(const KvWSMessagePtr &)> handler;
    int dispatchKind = NotDispatched;
    KvWSCommunicationManager *manager = nullptr;
};

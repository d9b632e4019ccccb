// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

// Holds the licence mode of the application. This build knows only the
// ordinary online mode; the offline-authorisation mode is a licence matter of
// the host and never switched on here.
class KVPLATFORM_EXPORT KvOfflineAuthorizeManager
{
public:
    enum AuthorizeMode {
        OnlineMode = 0,
        OfflineMode = 1,
    };

    static KvOfflineAuthorizeManager *instance();

    AuthorizeMode authorizeMode() const { return OnlineMode; }
    bool isOfflineMode() const { return authorizeMode() == OfflineMode; }

private:
    KvOfflineAuthorizeManager() = default;
};

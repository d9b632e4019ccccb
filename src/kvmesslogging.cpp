// SPDX-License-Identifier: MIT
#include "kvmesslogging_p.h"

Q_LOGGING_CATEGORY(kvMessaging, "kvmess.messaging")
Q_LOGGING_CATEGORY(kvAccount, "kvmess.account")
Q_LOGGING_CATEGORY(kvStore, "kvmess.store")
Q_LOGGING_CATEGORY(kvTransfer, "kvmess.transfer")
Q_LOGGING_CATEGORY(kvUi, "kvmess.ui")

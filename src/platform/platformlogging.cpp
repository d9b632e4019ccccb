// SPDX-License-Identifier: MIT
#include "platformlogging_p.h"

Q_LOGGING_CATEGORY(kvPlatform, "kvmess.platform")

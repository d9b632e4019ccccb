// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QString>

// The account whose conversation holds notices and friend requests.
inline const QString systemUserName = QStringLiteral("kavora");
// The conversation that reaches customer service.
inline const QString customerServiceUserName = QStringLiteral("10000");

// An agent of customer service: "10000@" followed by anything, case-sensitive.
KVMESS_EXPORT bool isCustomerServiceAccount(const QString &userName);

// SPDX-License-Identifier: MIT
#include "accountnames.h"

bool isCustomerServiceAccount(const QString &userName)
{
    return userName.startsWith(customerServiceUserName + QLatin1Char('@'));
}

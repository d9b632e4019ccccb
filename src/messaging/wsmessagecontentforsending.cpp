// SPDX-License-Identifier: MIT
#include "wsmessagecontentforsending.h"

void KvWSMessageContentForSending::parseJsonValue(const QJsonValue &)
{
}

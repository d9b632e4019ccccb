// SPDX-License-Identifier: MIT
#include "wsmessagecontentforreceiving.h"

QJsonValue KvWSMessageContentForReceiving::toJsonValue() const
{
    return QJsonValue();
}

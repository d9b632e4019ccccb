// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// Base of a content that is only ever received: it serialises to null.
class KVMESS_EXPORT KvWSMessageContentForReceiving : public KvWSMessageContent
{
public:
    QJsonValue toJsonValue() const override;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// Base of a content that is only ever sent: parsing does nothing.
class KVMESS_EXPORT KvWSMessageContentForSending : public KvWSMessageContent
{
public:
    void parseJsonValue(const QJsonValue &value) override;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// Base of the chat contents. It keeps the whole "data" value, so a chat that
// came from the wire serialises to exactly what was received, keys unknown to
// this client included.
class KVMESS_EXPORT KvMsgContentChat : public KvWSMessageContent
{
public:
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

protected:
    QJsonValue m_jsonValue;
};

// SPDX-License-Identifier: MIT
#include "msgcontentchat.h"

void KvMsgContentChat::parseJsonValue(const QJsonValue &value)
{
    m_jsonValue = value;
}

QJsonValue KvMsgContentChat::toJsonValue() const
{
    return m_jsonValue;
}

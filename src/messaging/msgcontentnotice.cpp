// SPDX-License-Identifier: MIT
#include "msgcontentnotice.h"

KvMsgContentNotice::KvMsgContentNotice(const QString &type)
    : m_type(type)
{
}

KvMsgContentNotice::KvMsgContentNotice(const QString &type, const QJsonValue &value)
    : m_type(type)
    , m_jsonValue(value)
{
}

QString KvMsgContentNotice::type() const
{
    return m_type;
}

void KvMsgContentNotice::parseJsonValue(const QJsonValue &value)
{
    m_jsonValue = value;
}

QJsonValue KvMsgContentNotice::toJsonValue() const
{
    return m_jsonValue;
}

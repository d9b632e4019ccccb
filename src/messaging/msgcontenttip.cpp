// SPDX-License-Identifier: MIT
#include "msgcontenttip.h"

KvMsgContentTip::KvMsgContentTip(const QString &type)
    : m_type(type)
{
}

KvMsgContentTip::KvMsgContentTip(const QString &type, const QJsonValue &value)
    : m_type(type)
    , m_jsonValue(value)
{
}

QString KvMsgContentTip::type() const
{
    return m_type;
}

void KvMsgContentTip::parseJsonValue(const QJsonValue &value)
{
    m_jsonValue = value;
}

QJsonValue KvMsgContentTip::toJsonValue() const
{
    return m_jsonValue;
}

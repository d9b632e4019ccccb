// SPDX-License-Identifier: MIT
#include "msgnewcustomerservice.h"

#include <QJsonObject>

KvMsgNewCustomerService::KvMsgNewCustomerService(const QString &type)
    : m_type(type)
{
}

KvMsgNewCustomerService::KvMsgNewCustomerService(const QString &type, const QJsonValue &value)
    : m_type(type)
    , m_jsonValue(value)
{
}

QString KvMsgNewCustomerService::type() const
{
    return m_type;
}

void KvMsgNewCustomerService::parseJsonValue(const QJsonValue &value)
{
    m_jsonValue = value;
    const QJsonObject agent = value.toObject().value(QStringLiteral("customer_service")).toObject();
    m_userName = agent.value(QStringLiteral("username")).toString();
    m_nikeName = agent.value(QStringLiteral("nickname")).toString();
}

QJsonValue KvMsgNewCustomerService::toJsonValue() const
{
    return m_jsonValue;
}

// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// "BBK": a new customer-service agent was assigned; the agent is under
// "customer_service". The value is kept as received.
class KVMESS_EXPORT KvMsgNewCustomerService : public KvWSMessageContent
{
public:
    explicit KvMsgNewCustomerService(const QString &type);
    // Stores the value without reading the agent from it.
    KvMsgNewCustomerService(const QString &type, const QJsonValue &value);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

    const QString &nikeName() const { return m_nikeName; }
    const QString &userName() const { return m_userName; }

private:
    QString m_type;
    QString m_nikeName;
    QString m_userName;
    QJsonValue m_jsonValue;
};

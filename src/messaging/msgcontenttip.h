// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// "BBI", "BBJ": a customer-service tip. Its type alone says what is shown;
// the value is kept as received and never read by this client.
class KVMESS_EXPORT KvMsgContentTip : public KvWSMessageContent
{
public:
    explicit KvMsgContentTip(const QString &type);
    KvMsgContentTip(const QString &type, const QJsonValue &value);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

private:
    QString m_type;
    QJsonValue m_jsonValue;
};

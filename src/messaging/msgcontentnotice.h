// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// "ZZN", "ZZO": a notice. The value is kept as received; a consumer reads
// "url" and "notice" (with its integer "id") from toJsonValue() itself.
class KVMESS_EXPORT KvMsgContentNotice : public KvWSMessageContent
{
public:
    explicit KvMsgContentNotice(const QString &type);
    KvMsgContentNotice(const QString &type, const QJsonValue &value);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

private:
    QString m_type;
    QJsonValue m_jsonValue;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// "ZZE": the client was put offline; handed to the host as it came.
class KVMESS_EXPORT KvMsgContentClientOfflineInfo : public KvWSMessageContent
{
public:
    KvMsgContentClientOfflineInfo() = default;
    KvMsgContentClientOfflineInfo(const QString &uuid, const QString &token);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

    const QString &uuid() const { return m_uuid; }
    const QString &clientid() const { return m_clientid; }
    const QString &token() const { return m_token; }

private:
    QString m_uuid;
    QString m_clientid;
    QString m_token;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "wsmessagecontent.h"

// "QQQ": asks the server for the messages after the given server id; an empty
// id is sent as an empty string. Exported for the tests only.
class KVMESS_EXPORT KvMsgContentReqUpdate : public KvWSMessageContent
{
public:
    explicit KvMsgContentReqUpdate(const QString &lastMessageId);
    Q_DISABLE_COPY_MOVE(KvMsgContentReqUpdate)

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

    const QString &lastMessageId() const { return m_lastMessageId; }

private:
    QString m_lastMessageId;
};

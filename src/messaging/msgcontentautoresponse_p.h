// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "wsmessagecontent.h"

#include <QStringList>

// "RRR": the client's acknowledgement of received messages. Its "data" is an
// array of message ids, not an object. Exported for the tests only.
class KVMESS_EXPORT KvMsgContentAutoResponse : public KvWSMessageContent
{
public:
    explicit KvMsgContentAutoResponse(const QStringList &ids);
    Q_DISABLE_COPY_MOVE(KvMsgContentAutoResponse)

    QString type() const override;
    // Leaves the ids alone unless the value is an array; drops empty ids.
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

    const QStringList &ids() const { return m_ids; }

private:
    QStringList m_ids;
};

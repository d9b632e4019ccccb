// SPDX-License-Identifier: MIT
#include "msgcontentautoresponse_p.h"

#include <QJsonArray>

KvMsgContentAutoResponse::KvMsgContentAutoResponse(const QStringList &ids)
    : m_ids(ids)
{
}

QString KvMsgContentAutoResponse::type() const
{
    return QStringLiteral("RRR");
}

void KvMsgContentAutoResponse::parseJsonValue(const QJsonValue &value)
{
    if (!value.isArray())
        return;
    m_ids.clear();
    const QJsonArray ids = value.toArray();
    for (const QJsonValue &id : ids) {
        const QString text = id.toString();
        if (!text.isEmpty())
            m_ids.append(text);
    }
}

QJsonValue KvMsgContentAutoResponse::toJsonValue() const
{
    return QJsonArray::fromStringList(m_ids);
}

// SPDX-License-Identifier: MIT
#include "msgcontentclientofflineinfo.h"

#include <QJsonObject>

KvMsgContentClientOfflineInfo::KvMsgContentClientOfflineInfo(const QString &uuid, const QString &token)
    : m_uuid(uuid)
    , m_token(token)
{
}

QString KvMsgContentClientOfflineInfo::type() const
{
    return QStringLiteral("ZZE");
}

void KvMsgContentClientOfflineInfo::parseJsonValue(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    m_uuid = object.value(QStringLiteral("uuid")).toString();
    m_clientid = object.value(QStringLiteral("client_id")).toString();
    m_token = object.value(QStringLiteral("token")).toString();
}

QJsonValue KvMsgContentClientOfflineInfo::toJsonValue() const
{
    return QJsonObject{
        {QStringLiteral("uuid"), m_uuid},
        {QStringLiteral("client_id"), m_clientid},
        {QStringLiteral("token"), m_token},
    };
}

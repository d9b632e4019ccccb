// SPDX-License-Identifier: MIT
#include "msgcontentrequpdate_p.h"

#include <QJsonObject>

KvMsgContentReqUpdate::KvMsgContentReqUpdate(const QString &lastMessageId)
    : m_lastMessageId(lastMessageId)
{
}

QString KvMsgContentReqUpdate::type() const
{
    return QStringLiteral("QQQ");
}

void KvMsgContentReqUpdate::parseJsonValue(const QJsonValue &value)
{
    m_lastMessageId = value.toObject().value(QStringLiteral("message_id")).toString();
}

QJsonValue KvMsgContentReqUpdate::toJsonValue() const
{
    return QJsonObject{{QStringLiteral("message_id"), m_lastMessageId}};
}

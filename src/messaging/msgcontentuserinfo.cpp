// SPDX-License-Identifier: MIT
#include "msgcontentuserinfo.h"

#include <QJsonObject>

KvMsgContentUserInfo::KvMsgContentUserInfo(const QString &type)
    : m_type(type)
{
}

KvMsgContentUserInfo::KvMsgContentUserInfo(const QString &type, const QString &user)
    : m_type(type)
    , m_user(user)
{
}

QString KvMsgContentUserInfo::type() const
{
    return m_type;
}

void KvMsgContentUserInfo::parseJsonValue(const QJsonValue &value)
{
    m_user = value.toObject()
                 .value(QStringLiteral("fromUser"))
                 .toObject()
                 .value(QStringLiteral("username"))
                 .toString();
}

QJsonValue KvMsgContentUserInfo::toJsonValue() const
{
    return QJsonObject{{QStringLiteral("fromUser"), QJsonObject{{QStringLiteral("username"), m_user}}}};
}

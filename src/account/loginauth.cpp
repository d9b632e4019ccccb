// SPDX-License-Identifier: MIT
#include "loginauth.h"

#include <QJsonDocument>

void KvLoginAuth::fromJson(const QJsonObject &object)
{
    m_json = object.isEmpty() ? QByteArray() : QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject KvLoginAuth::toJson() const
{
    return QJsonDocument::fromJson(m_json).object();
}

QDataStream &operator<<(QDataStream &stream, const KvLoginAuth &auth)
{
    return stream << auth.m_json;
}

QDataStream &operator>>(QDataStream &stream, KvLoginAuth &auth)
{
    return stream >> auth.m_json;
}

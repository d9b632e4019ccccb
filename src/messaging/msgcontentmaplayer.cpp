// SPDX-License-Identifier: MIT
#include "msgcontentmaplayer.h"

#include <QJsonArray>
#include <QJsonObject>

#include <cmath>
#include <limits>

KvMsgContentMaplayer::KvMsgContentMaplayer(const QString &type)
    : m_type(type)
{
}

KvMsgContentMaplayer::KvMsgContentMaplayer(const QString &type, const QStringList &maplayerIds)
    : m_type(type)
    , m_maplayerIds(maplayerIds)
{
}

QString KvMsgContentMaplayer::type() const
{
    return m_type;
}

void KvMsgContentMaplayer::parseJsonValue(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    m_maplayerIds.clear();
    const QJsonArray ids = object.value(QStringLiteral("layer_id")).toArray();
    for (const QJsonValue &id : ids)
        m_maplayerIds.append(id.toString());

    // The time comes as a JSON number; written as an integer it has neither a
    // fraction nor an exponent. Values outside the unsigned range are clamped
    // rather than converted with undefined behaviour.
    const double time = object.value(QStringLiteral("update_time")).toDouble(0);
    quint64 integer = 0;
    if (time >= double(std::numeric_limits<quint64>::max()))
        integer = std::numeric_limits<quint64>::max();
    else if (time > 0)
        integer = static_cast<quint64>(time);
    m_version = QString::number(integer, 10);
}

QJsonValue KvMsgContentMaplayer::toJsonValue() const
{
    return QJsonObject{{QStringLiteral("layer_id"), QJsonArray::fromStringList(m_maplayerIds)}};
}

// SPDX-License-Identifier: MIT
#include "msgdevicelightup.h"

#include <QJsonArray>
#include <QJsonObject>

QString KvMsgDeviceLightUp::type() const
{
    return QStringLiteral("ZZK");
}

void KvMsgDeviceLightUp::parseJsonValue(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    const QJsonArray list = object.value(QStringLiteral("list")).toArray();
    for (const QJsonValue &device : list)
        m_devices.append(device.toString());
    m_current = object.value(QStringLiteral("current")).toString();
}

QJsonValue KvMsgDeviceLightUp::toJsonValue() const
{
    QJsonArray list;
    for (const QString &device : m_devices)
        list.append(device);
    return QJsonObject{{QStringLiteral("list"), list}, {QStringLiteral("current"), m_current}};
}

// SPDX-License-Identifier: MIT
#include "jsonhelper.h"

QByteArray KvJsonHelper::encodeJsonToByteArray(const QJsonArray &array, QJsonDocument::JsonFormat format)
{
    return QJsonDocument(array).toJson(format);
}

QByteArray KvJsonHelper::encodeJsonToByteArray(const QJsonObject &object, QJsonDocument::JsonFormat format)
{
    return QJsonDocument(object).toJson(format);
}

bool KvJsonHelper::decodeToJsonArray(QJsonArray &array, const QByteArray &bytes)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return false;
    array = document.array();
    return true;
}

bool KvJsonHelper::decodeToJsonObj(QJsonObject &object, const QByteArray &bytes)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return false;
    object = document.object();
    return true;
}

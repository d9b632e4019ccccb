// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

class KVPLATFORM_EXPORT KvJsonHelper
{
public:
    static QByteArray encodeJsonToByteArray(const QJsonArray &array,
                                            QJsonDocument::JsonFormat format = QJsonDocument::Indented);
    static QByteArray encodeJsonToByteArray(const QJsonObject &object,
                                            QJsonDocument::JsonFormat format = QJsonDocument::Indented);

    // False, with the output left as it was, when the bytes are not a JSON array.
    static bool decodeToJsonArray(QJsonArray &array, const QByteArray &bytes);
    // False, with the output left as it was, when the bytes are not a JSON object.
    static bool decodeToJsonObj(QJsonObject &object, const QByteArray &bytes);
};

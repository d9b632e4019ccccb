// SPDX-License-Identifier: MIT
#include "requesthelper.h"

#include "platform/syshelper.h"

#include <QJsonObject>
#include <QNetworkRequest>

namespace {
const char platformName[] = "PC-PRO";
}

void KvRequestHelper::addClientToJson(QJsonObject &object)
{
    object.insert(QStringLiteral("client_id"), KvSysHelper::kvClientUniqueId());
}

void KvRequestHelper::addPlatformToJson(QJsonObject &object)
{
    object.insert(QStringLiteral("platform"), QLatin1String(platformName));
}

void KvRequestHelper::addPlatformAndClientToJson(QJsonObject &object)
{
    addPlatformToJson(object);
    addClientToJson(object);
}

void KvRequestHelper::addPlatformToHeader(QNetworkRequest &request)
{
    request.setRawHeader("platform", platformName);
}

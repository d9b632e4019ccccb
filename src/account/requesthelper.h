// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

class QJsonObject;
class QNetworkRequest;

// Stamps requests with the client's identity.
class KVMESS_EXPORT KvRequestHelper
{
public:
    static void addClientToJson(QJsonObject &object);
    static void addPlatformToJson(QJsonObject &object);
    static void addPlatformAndClientToJson(QJsonObject &object);
    static void addPlatformToHeader(QNetworkRequest &request);
};

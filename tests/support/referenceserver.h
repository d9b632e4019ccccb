// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

// The reference server that CTest starts for tests marked SERVER.
//
// useFixture() points the platform layer at it: it reads the addresses the
// fixture wrote, puts them into the environment (KVMESS_ACCOUNT_URL,
// KVMESS_MESSAGE_HOST, KVMESS_FILE_HOST) and reloads KvSelfServerManager.
// The admin calls speak plain JSON to the server's /admin/ API and block.
class ReferenceServer
{
public:
    static bool useFixture();
    static QString adminUrl();

    // The parsed JSON reply, or an object with "error" on a transport failure.
    static QJsonValue adminGet(const QString &path);
    static QJsonValue adminPost(const QString &path, const QJsonObject &body = {});

    // Makes an account named <prefix><a number unique to the run> with the
    // password and any further profile fields, and a phone number of its own
    // unless `fields` has one. Gives the fields as sent, or an empty object
    // when the server refused them.
    static QJsonObject createAccount(const QString &prefix, const QString &password, QJsonObject fields = {});
};

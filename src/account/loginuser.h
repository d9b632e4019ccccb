// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "account/loginauth.h"

#include <QByteArray>
#include <QString>

// The session record. `token`, as Latin-1, is the `auth` header of every
// authenticated call.
class KVMESS_EXPORT KvLoginUser
{
public:
    enum DeviceFlag {
        DevicePcPro = 1,
        DevicePad = 2,
        DevicePhone = 4,
    };

    QString token;
    QString username;
    QString mailPassword;
    QString phone;
    QString nickname;
    QString password;
    QString unionid;
    QString serialExtra;
    QString sessionId;
    qint32 deviceFlags = 0;
    qint32 used = 0;
    KvLoginAuth auth;
    bool customerService = false;

    // Empties the strings, the counters and `auth`; `customerService` stays,
    // the next sign-in reply sets it again.
    void clear();

    // An enciphered, compressed snapshot of the record for the host. `used` is
    // not part of it; `extra` is stored in the place of `serialExtra`.
    QByteArray serialize(const QString &extra) const;
    // Clears the record first; false, leaving it cleared, when the bytes do not uncompress.
    bool deserialize(const QByteArray &data);
};

// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QString>

// Where the servers are. These are deployment data: each address is read from
// the environment, then from the settings store ("KavoraPro/Servers"), and
// otherwise points at the reference server on the loopback.
//
//   account service   KVMESS_ACCOUNT_URL   "AccountUrl"   http://127.0.0.1:30080/
//   message server    KVMESS_MESSAGE_HOST  "MessageHost"  127.0.0.1:30082
//   file service      KVMESS_FILE_HOST     "FileHost"     127.0.0.1 (its port is always 30081)
//
// The addresses are read when the instance is made; reload() reads them again.
class KVPLATFORM_EXPORT KvSelfServerManager
{
public:
    static KvSelfServerManager *instance();

    // The account service's base address joined with a relative path, as text.
    QString joinProUserLoginRelatedServer(const QString &path) const;

    QString accountServerUrl() const { return m_accountUrl; }
    QString messageServerHost() const { return m_messageHost; }
    QString fileServerHost() const { return m_fileHost; }

    void reload();

private:
    KvSelfServerManager();

    QString m_accountUrl;
    QString m_messageHost;
    QString m_fileHost;
};

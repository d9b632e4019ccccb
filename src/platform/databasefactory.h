// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QString>

class KvDataAdapter;

class KVPLATFORM_EXPORT KvDataBaseFactory
{
public:
    // A new, not yet opened SQLite adapter on `databaseFile` under the connection
    // name `connectionName`; the caller owns it. Opening it turns on WAL
    // journaling, synchronous=NORMAL and a busy timeout, so that several
    // connections of one file on several threads do not fail one another.
    static KvDataAdapter *createSqliteAdapter(const QString &connectionName, const QString &databaseFile);
};

// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

// One named database connection. It may be used only on the thread that
// opened it; close() or the destructor removes the connection.
class KVPLATFORM_EXPORT KvDataAdapter
{
public:
    virtual ~KvDataAdapter() = default;

    virtual bool open() = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
    virtual QString databaseName() const = 0;

    // A statement without "?" placeholders has been executed when this returns:
    // go straight to next() or lastError(). A statement with placeholders comes
    // back prepared and not executed: bindValue() by position, then exec().
    // A "?" inside a quoted literal, a quoted name or a comment is no placeholder.
    virtual QSqlQuery sqlQuery(const QString &statement) = 0;
    virtual QSqlDatabase database() const = 0;
    virtual bool hasTable(const QString &tableName) = 0;
    virtual bool dropTable(const QString &tableName) = 0;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "platform/dataadapter.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariantList>

// Failed statements of the store end as a false result with their text in the
// object's error string; nothing is thrown and nothing is shown.
namespace KvStatementResult {

// For a statement without placeholders, which has already run.
inline bool failed(const QSqlQuery &query, QString &error)
{
    if (!query.lastError().isValid())
        return false;
    error = query.lastError().text();
    return true;
}

// For a prepared statement with its values bound.
inline bool run(QSqlQuery &query, QString &error)
{
    if (query.exec())
        return true;
    error = query.lastError().text();
    return false;
}

// Prepares `statement`, binds `values` in their order and runs it.
inline bool runWith(KvDataAdapter *adapter, QString &error, const QString &statement, const QVariantList &values)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(statement);
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values.at(i));
    return run(query, error);
}

// The first column of every row of a statement without placeholders.
inline QStringList firstColumn(KvDataAdapter *adapter, QString &error, const QString &statement)
{
    QStringList result;
    if (!adapter)
        return result;
    QSqlQuery query = adapter->sqlQuery(statement);
    if (failed(query, error))
        return result;
    while (query.next())
        result.append(query.value(0).toString());
    return result;
}

} // namespace KvStatementResult

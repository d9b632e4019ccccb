#pragma once

#include <QSqlError>
#include <QSqlQuery>
#include <QString>

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

} // namespace KvStatementResult

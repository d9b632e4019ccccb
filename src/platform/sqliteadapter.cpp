// SPDX-License-Identifier: MIT
#include "sqliteadapter_p.h"

#include "databasefactory.h"
#include "platformlogging_p.h"

#include <QSqlError>

namespace {

// Long enough to outlast any single statement of another connection.
constexpr int busyTimeoutMs = 10000;

} // namespace

KvDataAdapter *KvDataBaseFactory::createSqliteAdapter(const QString &connectionName, const QString &databaseFile)
{
    return new KvSqliteAdapter(connectionName, databaseFile);
}

KvSqliteAdapter::KvSqliteAdapter(const QString &connectionName, const QString &databaseFile)
    : m_connectionName(connectionName)
    , m_databaseFile(databaseFile)
{
}

KvSqliteAdapter::~KvSqliteAdapter()
{
    close();
}

bool KvSqliteAdapter::open()
{
    if (m_database.isOpen())
        return true;
    if (QSqlDatabase::contains(m_connectionName)) {
        qCWarning(kvPlatform) << "database connection name already in use:" << m_connectionName;
        return false;
    }
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connectionName);
    m_database.setDatabaseName(m_databaseFile);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs));
    if (!m_database.open()) {
        qCWarning(kvPlatform) << "cannot open" << m_databaseFile << m_database.lastError().text();
        return false;
    }
    QSqlQuery pragma(m_database);
    if (!pragma.exec(QStringLiteral("PRAGMA journal_mode=WAL"))
        || !pragma.exec(QStringLiteral("PRAGMA synchronous=NORMAL"))) {
        qCWarning(kvPlatform) << "cannot configure" << m_databaseFile << pragma.lastError().text();
    }
    return true;
}

void KvSqliteAdapter::close()
{
    if (!m_database.isValid())
        return;
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connectionName);
}

bool KvSqliteAdapter::isOpen() const
{
    return m_database.isOpen();
}

QString KvSqliteAdapter::databaseName() const
{
    return m_databaseFile;
}

QSqlQuery KvSqliteAdapter::sqlQuery(const QString &statement)
{
    QSqlQuery query(m_database);
    // Rows are read once, in order. A scrollable query keeps every row read,
    // and sets out with room for 128 of them even for a single-row lookup.
    query.setForwardOnly(true);
    if (hasPlaceholder(statement)) {
        query.prepare(statement);
        return query;
    }
    query.exec(statement);
    return query;
}

QSqlDatabase KvSqliteAdapter::database() const
{
    return m_database;
}

bool KvSqliteAdapter::hasTable(const QString &tableName)
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?"));
    query.addBindValue(tableName);
    return query.exec() && query.next();
}

bool KvSqliteAdapter::dropTable(const QString &tableName)
{
    QString quoted = tableName;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    QSqlQuery query(m_database);
    return query.exec(QStringLiteral("DROP TABLE IF EXISTS \"%1\"").arg(quoted));
}

bool KvSqliteAdapter::hasPlaceholder(const QString &statement)
{
    const int length = statement.size();
    for (int i = 0; i < length; ++i) {
        const QChar c = statement.at(i);
        if (c == QLatin1Char('?'))
            return true;
        QChar closing;
        if (c == QLatin1Char('\'') || c == QLatin1Char('"') || c == QLatin1Char('`'))
            closing = c;
        else if (c == QLatin1Char('['))
            closing = QLatin1Char(']');
        if (!closing.isNull()) {
            // A doubled quote inside a literal is an escaped quote: the scan
            // simply closes and reopens the literal.
            const int end = statement.indexOf(closing, i + 1);
            if (end < 0)
                return false;
            i = end;
            continue;
        }
        if (c == QLatin1Char('-') && i + 1 < length && statement.at(i + 1) == QLatin1Char('-')) {
            const int end = statement.indexOf(QLatin1Char('\n'), i);
            if (end < 0)
                return false;
            i = end;
            continue;
        }
        if (c == QLatin1Char('/') && i + 1 < length && statement.at(i + 1) == QLatin1Char('*')) {
            const int end = statement.indexOf(QLatin1String("*/"), i + 2);
            if (end < 0)
                return false;
            i = end + 1;
        }
    }
    return false;
}

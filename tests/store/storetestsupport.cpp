#include "storetestsupport.h"

#include "account/usermanager.h"
#include "referenceserver.h"

#include <QDateTime>
#include <QDir>
#include <QSettings>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>

namespace StoreTest {

bool useFolderAndFixture(const QTemporaryDir &dir)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.filePath(QStringLiteral("settings")));
    KvUserManager::openSettings()->setValue(QStringLiteral("userWorkPath"), dir.filePath(QStringLiteral("work")));
    return ReferenceServer::useFixture();
}

QString createAccount(const QString &prefix, const QJsonObject &fields)
{
    static int serial = 0;
    const QString name = prefix + QString::number(QDateTime::currentMSecsSinceEpoch() % 100000000) + QLatin1Char('x')
        + QString::number(++serial);
    QJsonObject body = fields;
    body.insert(QStringLiteral("username"), name);
    body.insert(QStringLiteral("password"), QStringLiteral("pw"));
    if (!body.contains(QStringLiteral("nickname")))
        body.insert(QStringLiteral("nickname"), prefix);
    ReferenceServer::adminPost(QStringLiteral("accounts"), body);
    return name;
}

QString databaseFile(const QTemporaryDir &dir, const QString &userName)
{
    return dir.filePath(QStringLiteral("work/UserInfo/%1/%1.db").arg(userName));
}

QStringList storeConnections()
{
    return QSqlDatabase::connectionNames().filter(QStringLiteral("friend_connect_"));
}

QJsonObject push(const QString &to, const QString &type, const QJsonObject &data, const QString &from,
                 const QJsonArray &toList, bool group, const QString &platform)
{
    QJsonObject body{{"to", to}, {"type", type}, {"data", data}, {"from", from}, {"group", group},
                     {"platform", platform}};
    if (!toList.isEmpty())
        body.insert(QStringLiteral("to_list"), toList);
    return ReferenceServer::adminPost(QStringLiteral("push"), body).toObject().value("message").toObject();
}

Reader::Reader(const QString &file)
    : m_connection(QStringLiteral("reader_%1").arg(quintptr(this)))
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    db.setDatabaseName(file);
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    db.open();
}

Reader::~Reader()
{
    QSqlDatabase::database(m_connection, false).close();
    QSqlDatabase::removeDatabase(m_connection);
}

QList<QVariantMap> Reader::rows(const QString &table)
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    QList<QVariantMap> result;
    if (!query.exec(QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(table)))
        return result;
    while (query.next()) {
        QVariantMap row;
        for (int i = 0; i < query.record().count(); ++i)
            row.insert(query.record().fieldName(i), query.value(i));
        result.append(row);
    }
    return result;
}

QString Reader::schema(const QString &table)
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    query.prepare(QStringLiteral("SELECT sql FROM sqlite_master WHERE type='table' AND name=?"));
    query.addBindValue(table);
    return query.exec() && query.next() ? query.value(0).toString() : QString();
}

bool Reader::exec(const QString &statement)
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    return query.exec(statement);
}

QVariant Reader::value(const QString &statement)
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    return query.exec(statement) && query.next() ? query.value(0) : QVariant();
}

} // namespace StoreTest

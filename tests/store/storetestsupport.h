#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class QTemporaryDir;

// What the store tests share: a private settings and work folder, accounts on
// the reference server, frames pushed to the signed-in user, and a reader of
// the user's database on a connection of its own.
namespace StoreTest {

// Settings and the work folder inside `dir`; then the fixture's addresses.
bool useFolderAndFixture(const QTemporaryDir &dir);
// A new account with a unique name made from `prefix`; `fields` may set
// "nickname", "face" (false for none) and the other profile keys.
QString createAccount(const QString &prefix, const QJsonObject &fields = {});
QString databaseFile(const QTemporaryDir &dir, const QString &userName);
// Names of the open connections of the store.
QStringList storeConnections();

// Stores and sends a frame to `to`, as the server does; answers the frame.
QJsonObject push(const QString &to, const QString &type, const QJsonObject &data, const QString &from,
                 const QJsonArray &toList = {}, bool group = false, const QString &platform = QStringLiteral("phone"));

class Reader
{
public:
    explicit Reader(const QString &file);
    ~Reader();

    QList<QVariantMap> rows(const QString &table);
    // The CREATE statement SQLite kept for the table.
    QString schema(const QString &table);
    bool exec(const QString &statement);
    // The first column of the first row, invalid when there is none.
    QVariant value(const QString &statement);

private:
    QString m_connection;
};

} // namespace StoreTest

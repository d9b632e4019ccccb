#include "friendtable_p.h"

#include "platform/dataadapter.h"
#include "store/statementresult_p.h"
#include "store/storestatements_p.h"

#include <QBuffer>
#include <QSqlQuery>
#include <QVariant>

namespace KvFriendTable {

namespace Sql = KvFriendStatements;
using KvStatementResult::failed;
using KvStatementResult::run;

QByteArray portraitBytes(const QPixmap &portrait)
{
    // Empty rather than null, so that a missing picture is stored as an empty
    // BLOB and not as NULL.
    QByteArray bytes("", 0);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!portrait.isNull())
        portrait.save(&buffer, "png", 0);
    return bytes;
}

QPixmap portraitFromBytes(const QByteArray &bytes)
{
    QPixmap portrait;
    if (!bytes.isEmpty())
        portrait.loadFromData(bytes);
    return portrait;
}

bool createTable(KvDataAdapter *adapter, QString &error)
{
    if (!adapter)
        return false;
    return !failed(adapter->sqlQuery(Sql::createTable.arg(Sql::tableName)), error);
}

bool friendInfo(KvDataAdapter *adapter, QString &error, KvUserInfoFriend &out, const QString &userName)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::selectOne.arg(Sql::tableName, userName));
    if (failed(query, error) || !query.next())
        return false;
    out.userName = userName;
    out.phone = query.value(0).toString();
    out.headPortrait = portraitFromBytes(query.value(1).toByteArray());
    out.nickName = query.value(2).toString();
    out.sex = query.value(3).toInt();
    out.hometown = query.value(4).toString();
    out.location = query.value(5).toString();
    out.signature = query.value(6).toString();
    return true;
}

bool friendExists(KvDataAdapter *adapter, const QString &userName)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::selectExists.arg(Sql::tableName, userName));
    return query.next();
}

bool allFriends(KvDataAdapter *adapter, QString &error, QList<KvUserInfoFriend> &list)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::selectAll.arg(Sql::tableName));
    if (failed(query, error))
        return false;
    while (query.next()) {
        KvUserInfoFriend info;
        info.userName = query.value(0).toString();
        info.phone = query.value(1).toString();
        info.headPortrait = portraitFromBytes(query.value(2).toByteArray());
        info.nickName = query.value(3).toString();
        info.sex = query.value(4).toInt();
        info.hometown = query.value(5).toString();
        info.location = query.value(6).toString();
        info.signature = query.value(7).toString();
        list.append(info);
    }
    return true;
}

bool insertFriend(KvDataAdapter *adapter, QString &error, const KvUserInfoFriend &info)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::insertRow.arg(Sql::tableName));
    query.bindValue(0, info.userName);
    query.bindValue(1, info.phone);
    query.bindValue(2, portraitBytes(info.headPortrait));
    query.bindValue(3, info.nickName);
    query.bindValue(4, info.sex);
    query.bindValue(5, info.hometown);
    query.bindValue(6, info.location);
    query.bindValue(7, info.signature);
    return run(query, error);
}

bool updateFriend(KvDataAdapter *adapter, QString &error, const KvUserInfoFriend &info)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::updateRow.arg(Sql::tableName));
    query.bindValue(0, info.phone);
    query.bindValue(1, portraitBytes(info.headPortrait));
    query.bindValue(2, info.nickName);
    query.bindValue(3, info.sex);
    query.bindValue(4, info.hometown);
    query.bindValue(5, info.location);
    query.bindValue(6, info.signature);
    query.bindValue(7, info.userName);
    return run(query, error);
}

bool removeFriendRow(KvDataAdapter *adapter, QString &error, const QString &userName)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::deleteRow.arg(Sql::tableName));
    query.bindValue(0, userName);
    return run(query, error);
}

QStringList storedFriendNames(KvDataAdapter *adapter, QString &error)
{
    QStringList result;
    if (!adapter)
        return result;
    QSqlQuery query = adapter->sqlQuery(Sql::selectNames.arg(Sql::tableName));
    if (failed(query, error))
        return result;
    while (query.next())
        result.append(query.value(0).toString());
    return result;
}

} // namespace KvFriendTable

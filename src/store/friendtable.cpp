// SPDX-License-Identifier: MIT
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
using KvStatementResult::firstColumn;
using KvStatementResult::runWith;

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

bool allFriends(KvDataAdapter *adapter, QString &error, QList<KvUserInfoFriend> &list,
                QList<QByteArray> *encodedPortraits)
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
        if (encodedPortraits)
            encodedPortraits->append(query.value(2).toByteArray());
        else
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
    return runWith(adapter, error, Sql::insertRow.arg(Sql::tableName),
                   {info.userName, info.phone, portraitBytes(info.headPortrait), info.nickName, info.sex,
                    info.hometown, info.location, info.signature});
}

bool updateFriend(KvDataAdapter *adapter, QString &error, const KvUserInfoFriend &info)
{
    return runWith(adapter, error, Sql::updateRow.arg(Sql::tableName),
                   {info.phone, portraitBytes(info.headPortrait), info.nickName, info.sex, info.hometown,
                    info.location, info.signature, info.userName});
}

bool removeFriendRow(KvDataAdapter *adapter, QString &error, const QString &userName)
{
    return runWith(adapter, error, Sql::deleteRow.arg(Sql::tableName), {userName});
}

QStringList storedFriendNames(KvDataAdapter *adapter, QString &error)
{
    return firstColumn(adapter, error, Sql::selectNames.arg(Sql::tableName));
}

} // namespace KvFriendTable

// SPDX-License-Identifier: MIT
#include "enterprisetable_p.h"

#include "platform/dataadapter.h"
#include "platform/jsonhelper.h"
#include "store/friendtable_p.h"
#include "store/statementresult_p.h"
#include "store/storestatements_p.h"

#include <QJsonArray>
#include <QSqlQuery>
#include <QVariant>

namespace KvEnterpriseTable {

namespace Sql = KvEnterpriseStatements;
using KvStatementResult::failed;
using KvStatementResult::firstColumn;
using KvStatementResult::runWith;
using KvFriendTable::portraitBytes;
using KvFriendTable::portraitFromBytes;

namespace {

QString trimmedText(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toString().trimmed();
}

} // namespace

QByteArray staffsToJson(const QList<KvUserInfoFriend> &staffs)
{
    QJsonArray array;
    for (const KvUserInfoFriend &member : staffs) {
        array.append(QJsonObject{
            {QStringLiteral("username"), member.userName},
            {QStringLiteral("phone"), member.phone},
            {QStringLiteral("nickname"), member.nickName},
            {QStringLiteral("sex"), member.sex},
            {QStringLiteral("hometown"), member.hometown},
            {QStringLiteral("location"), member.location},
            {QStringLiteral("signature"), member.signature},
            {QStringLiteral("face"), QString::fromLatin1(portraitBytes(member.headPortrait).toBase64())},
        });
    }
    return KvJsonHelper::encodeJsonToByteArray(array, QJsonDocument::Compact);
}

void parseStaff(const QJsonObject &object, KvUserInfoFriend &member)
{
    QJsonObject user = object.value(QLatin1String("user")).toObject();
    if (user.isEmpty())
        user = object;
    member.userName = trimmedText(user, "username");
    member.phone = user.value(QLatin1String("phone")).toString();
    if (user.contains(QLatin1String("face"))) {
        const QByteArray base64 = user.value(QLatin1String("face")).toString().toLatin1();
        member.headPortrait = portraitFromBytes(QByteArray::fromBase64(base64));
    }
    member.nickName = trimmedText(user, "nickname");
    member.sex = user.value(QLatin1String("sex")).toInt(0);
    member.hometown = trimmedText(user, "hometown");
    member.location = trimmedText(user, "location");
    member.signature = trimmedText(user, "signature");
}

QList<KvUserInfoFriend> staffsFromJson(const QByteArray &bytes)
{
    QList<KvUserInfoFriend> staffs;
    QJsonArray array;
    if (!KvJsonHelper::decodeToJsonArray(array, bytes))
        return staffs;
    for (const QJsonValue &value : qAsConst(array)) {
        KvUserInfoFriend member;
        parseStaff(value.toObject(), member);
        staffs.append(member);
    }
    return staffs;
}

bool createTable(KvDataAdapter *adapter, QString &error)
{
    if (!adapter)
        return false;
    return !failed(adapter->sqlQuery(Sql::createTable.arg(Sql::tableName)), error);
}

bool enterprise(KvDataAdapter *adapter, QString &error, KvGroupInfo &out, const QString &id)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::selectOne.arg(Sql::tableName, id));
    if (failed(query, error) || !query.next())
        return false;
    out.enterpriseId = id;
    out.name = query.value(0).toString();
    out.headPortrait = portraitFromBytes(query.value(1).toByteArray());
    out.staffs = staffsFromJson(query.value(2).toByteArray());
    return true;
}

bool enterprises(KvDataAdapter *adapter, QString &error, QList<KvGroupInfo> &list)
{
    if (!adapter)
        return false;
    QSqlQuery query = adapter->sqlQuery(Sql::selectAll.arg(Sql::tableName));
    if (failed(query, error))
        return false;
    while (query.next()) {
        KvGroupInfo info;
        info.enterpriseId = query.value(0).toString();
        info.name = query.value(1).toString();
        info.headPortrait = portraitFromBytes(query.value(2).toByteArray());
        info.staffs = staffsFromJson(query.value(3).toByteArray());
        list.append(info);
    }
    return true;
}

bool insertEnterprise(KvDataAdapter *adapter, QString &error, const KvGroupInfo &info)
{
    return runWith(adapter, error, Sql::insertRow.arg(Sql::tableName),
                   {info.enterpriseId, info.name, portraitBytes(info.headPortrait), staffsToJson(info.staffs)});
}

bool updateEnterprise(KvDataAdapter *adapter, QString &error, const KvGroupInfo &info)
{
    return runWith(adapter, error, Sql::updateRow.arg(Sql::tableName),
                   {info.name, portraitBytes(info.headPortrait), staffsToJson(info.staffs), info.enterpriseId});
}

bool removeEnterprise(KvDataAdapter *adapter, QString &error, const QString &id)
{
    return runWith(adapter, error, Sql::deleteRow.arg(Sql::tableName), {id});
}

QStringList storedEnterpriseIds(KvDataAdapter *adapter, QString &error)
{
    return firstColumn(adapter, error, Sql::selectIds.arg(Sql::tableName));
}

} // namespace KvEnterpriseTable

// SPDX-License-Identifier: MIT
#pragma once

#include "account/groupinfo.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

class KvDataAdapter;

// The rows of EnterpriseTable, shared by the group manager and its worker.
// Members are kept in the Staffs column as a compact JSON array, one object per
// member, the portrait as Base64 PNG text under "face". A null adapter fails
// every call; a failed statement leaves its text in `error`.
namespace KvEnterpriseTable {

QByteArray staffsToJson(const QList<KvUserInfoFriend> &staffs);
// Bytes that are no JSON array read as no members.
QList<KvUserInfoFriend> staffsFromJson(const QByteArray &bytes);
// Reads a member stored flat or wrapped in "user", as the server sends it.
void parseStaff(const QJsonObject &object, KvUserInfoFriend &member);

bool createTable(KvDataAdapter *adapter, QString &error);
bool enterprise(KvDataAdapter *adapter, QString &error, KvGroupInfo &out, const QString &id);
bool enterprises(KvDataAdapter *adapter, QString &error, QList<KvGroupInfo> &list);
bool insertEnterprise(KvDataAdapter *adapter, QString &error, const KvGroupInfo &info);
bool updateEnterprise(KvDataAdapter *adapter, QString &error, const KvGroupInfo &info);
bool removeEnterprise(KvDataAdapter *adapter, QString &error, const QString &id);
QStringList storedEnterpriseIds(KvDataAdapter *adapter, QString &error);

} // namespace KvEnterpriseTable

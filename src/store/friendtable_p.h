// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfofriend.h"

#include <QByteArray>
#include <QPixmap>
#include <QString>
#include <QStringList>

class KvDataAdapter;

// The rows of FriendTable, shared by the friend manager and its worker so that
// both run the same statements, each on its own connection. A null adapter
// fails every call; a failed statement leaves its text in `error`.
namespace KvFriendTable {

// PNG bytes of a portrait (quality 0); empty, not null, for a null pixmap.
QByteArray portraitBytes(const QPixmap &portrait);
// Reads what portraitBytes wrote; any format Qt recognises will do.
QPixmap portraitFromBytes(const QByteArray &bytes);

bool createTable(KvDataAdapter *adapter, QString &error);
// `out` gets the row and `userName`; false for no row as well as for an error.
bool friendInfo(KvDataAdapter *adapter, QString &error, KvUserInfoFriend &out, const QString &userName);
bool friendExists(KvDataAdapter *adapter, const QString &userName);
// With `encodedPortraits`, portraits are left undecoded: the list gets null
// pixmaps and `encodedPortraits` the stored bytes, one entry a friend.
bool allFriends(KvDataAdapter *adapter, QString &error, QList<KvUserInfoFriend> &list,
                QList<QByteArray> *encodedPortraits = nullptr);
bool insertFriend(KvDataAdapter *adapter, QString &error, const KvUserInfoFriend &info);
bool updateFriend(KvDataAdapter *adapter, QString &error, const KvUserInfoFriend &info);
bool removeFriendRow(KvDataAdapter *adapter, QString &error, const QString &userName);
QStringList storedFriendNames(KvDataAdapter *adapter, QString &error);

} // namespace KvFriendTable

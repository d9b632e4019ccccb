// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

class KvFriendMessageData;
class KvGroupInfo;
class KvUserInfoBase;

// How the console host writes what it knows: one JSON object per line on
// standard output, and a progress bar for the terminal. Stateless.
class KvConsoleFormat
{
public:
    // A stored or signalled message. Rows read back from the store do not
    // know whether they are a group's; the caller sets `isGroup` for them.
    static QJsonObject message(const KvFriendMessageData &row);
    static QJsonObject user(const KvUserInfoBase &info);
    static QJsonObject enterprise(const KvGroupInfo &info);

    // "[##########----------]  50%  name", `width` marks wide.
    static QString progressBar(double fraction, int width, const QString &name);

    static QByteArray line(const QJsonObject &object);
};

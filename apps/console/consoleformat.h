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
    // A stored or signalled message. `me` is the signed-in user, needed to
    // tell which conversation a row read back from the store belongs to.
    static QJsonObject message(const KvFriendMessageData &row, const QString &me);
    static QJsonObject user(const KvUserInfoBase &info);
    static QJsonObject enterprise(const KvGroupInfo &info);

    // The conversation of a row: the peer of a one-to-one message, the
    // enterprise of a group message. Rows read back from the store do not say
    // whether they are a group's; a received row addressed to somebody else
    // than `me` can only be one.
    static QString conversationKey(const KvFriendMessageData &row, const QString &me);
    static bool isGroupRow(const KvFriendMessageData &row, const QString &me);

    // "[##########----------]  50%  name", `width` marks wide.
    static QString progressBar(double fraction, int width, const QString &name);

    static QByteArray line(const QJsonObject &object);
};

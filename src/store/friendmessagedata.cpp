// SPDX-License-Identifier: MIT
#include "friendmessagedata.h"

#include "account/accountnames.h"

QString conversationUser(const KvFriendMessageData &message)
{
    return message.isGroup || message.isSend ? message.toUserId : message.fromUserId;
}

QString friendMessageTableName(const QString &userName)
{
    QString name = userName;
    if (isCustomerServiceAccount(name))
        name.replace(QLatin1Char('@'), QLatin1Char('_'));
    return QStringLiteral("%1_%2").arg(QStringLiteral("FriendMessageTable"), name);
}

QString groupMessageTableName(const QString &enterpriseId)
{
    return QStringLiteral("%1_%2").arg(QStringLiteral("GroupMessageTable"), enterpriseId);
}

QString messageTableName(const KvFriendMessageData &message)
{
    return message.isGroup ? groupMessageTableName(message.toUserId) : friendMessageTableName(conversationUser(message));
}

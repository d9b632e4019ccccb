// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "store/friendmessagefile.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>

// One message as the store keeps it. `status` numbers are stored in the
// database and so are a file format:
//   0 nothing pending (a friend request not answered yet), 1 system item not read,
//   2 system item read, 3 friend request agreed, 4 refused, 6 sent and acknowledged,
//   7 send failed, 8 download under way, 9 downloaded, 10 download failed,
//   11 outgoing file still being prepared by the host, 12 outgoing, in flight.
class KVMESS_EXPORT KvFriendMessageData
{
public:
    QString messageServerId;
    QString messageLocalId;
    QString fromUserId;
    QString toUserId;
    QString type;
    QByteArray content;
    qint64 time = 0;
    bool isSend = false;
    bool isGroup = false;
    qint32 status = 0;
    KvFriendMessageFile fileInfo;
};

Q_DECLARE_METATYPE(KvFriendMessageData)

// The conversation a message belongs to: the peer, or the enterprise of a group message.
KVMESS_EXPORT QString conversationUser(const KvFriendMessageData &message);
// "FriendMessageTable_<user>"; the "@" of an agent's name becomes "_".
KVMESS_EXPORT QString friendMessageTableName(const QString &userName);
// "GroupMessageTable_<enterprise id>".
KVMESS_EXPORT QString groupMessageTableName(const QString &enterpriseId);
KVMESS_EXPORT QString messageTableName(const KvFriendMessageData &message);

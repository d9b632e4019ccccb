// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QSharedPointer>
#include <QString>
#include <QStringList>

class KvWSMessage;
class KvWSMessageContent;

// Every message signal carries this type, also across threads.
using KvWSMessagePtr = QSharedPointer<KvWSMessage>;

// One envelope of the message server's WebSocket. A message exists only
// behind a KvWSMessagePtr. After creation it is written by one thread at a
// time: the sender until the hand-over, then the connection's thread when the
// server acknowledges it (before the reply's finished() is emitted).
class KVMESS_EXPORT KvWSMessage
{
public:
    // A new message with a fresh 32-digit sid and platform "pc-pro".
    static KvWSMessagePtr create(const QSharedPointer<KvWSMessageContent> &content, bool isGroup);

    // The content's type, or an empty string without a content.
    const QString type() const;

    const QString &sid() const { return m_sid; }
    const QString &messageID() const { return m_messageID; }
    const QDateTime &datetime() const { return m_datetime; }
    const QString &platform() const { return m_platform; }
    const QString &fromUser() const { return m_fromUser; }
    const QStringList &toUsers() const { return m_toUsers; }
    bool isGroup() const { return m_isGroup; }
    const QSharedPointer<KvWSMessageContent> &content() const { return m_content; }

    void setToUsers(const QStringList &toUsers);
    void setIsGroup(bool isGroup);

private:
    friend class KvWSCommunicationPrivate;

    KvWSMessage();
    static KvWSMessagePtr createWithoutContent();

    QString m_sid;
    QString m_messageID;
    QDateTime m_datetime;
    QString m_platform;
    QString m_fromUser;
    QStringList m_toUsers;
    bool m_isGroup = false;
    QSharedPointer<KvWSMessageContent> m_content;
};

Q_DECLARE_METATYPE(KvWSMessagePtr)

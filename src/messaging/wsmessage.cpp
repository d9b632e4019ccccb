// SPDX-License-Identifier: MIT
#include "wsmessage.h"

#include "wsmessagecontent.h"

#include "platform/mc.h"

#include <QAbstractSocket>
#include <QUuid>

namespace {

// Messages cross from the connection's thread to listeners elsewhere, so the
// types must be known before anything connects to the signals.
const bool metaTypesRegistered = [] {
    Mc::addPreRoutine(0, [] {
        qRegisterMetaType<KvWSMessagePtr>("KvWSMessagePtr");
        qRegisterMetaType<QList<KvWSMessagePtr>>("QList<KvWSMessagePtr>");
        qRegisterMetaType<QAbstractSocket::SocketError>("QAbstractSocket::SocketError");
    });
    return true;
}();

} // namespace

KvWSMessage::KvWSMessage()
    : m_sid(QUuid::createUuid().toString(QUuid::Id128))
    , m_platform(QStringLiteral("pc-pro"))
{
}

KvWSMessagePtr KvWSMessage::create(const QSharedPointer<KvWSMessageContent> &content, bool isGroup)
{
    KvWSMessagePtr message(new KvWSMessage);
    message->m_content = content;
    message->m_isGroup = isGroup;
    return message;
}

KvWSMessagePtr KvWSMessage::createWithoutContent()
{
    return KvWSMessagePtr(new KvWSMessage);
}

const QString KvWSMessage::type() const
{
    return m_content ? m_content->type() : QString();
}

void KvWSMessage::setToUsers(const QStringList &toUsers)
{
    m_toUsers = toUsers;
}

void KvWSMessage::setIsGroup(bool isGroup)
{
    m_isGroup = isGroup;
}

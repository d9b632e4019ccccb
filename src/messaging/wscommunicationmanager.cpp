// SPDX-License-Identifier: MIT
#include "wscommunicationmanager.h"

#include "msgcontentchatfile.h"
#include "msgcontentchatpic.h"
#include "msgcontentchattext.h"
#include "msgcontentrequpdate_p.h"
#include "wscommunicationprivate_p.h"

#include "kvmesslogging_p.h"
#include "platform/mc.h"
#include "platform/selfservermanager.h"

#include <QWebSocket>

namespace {

constexpr int ChatAcknowledgementTimeoutMs = 30000;

bool defaultBuilt = false;

} // namespace

// The socket and its thread must end while the application object still
// exists, before the process tears down its statics.
const bool KvWSCommunicationManager::s_routinesRegistered = KvWSCommunicationManager::registerRoutines();

bool KvWSCommunicationManager::registerRoutines()
{
    Mc::addPostRoutine(0, [] {
        // Building the instance only to tear it down would start a network
        // watcher at shutdown for nothing.
        if (defaultBuilt)
            getDefault()->deleteResources();
    });
    return true;
}

KvWSCommunicationManager::KvWSCommunicationManager(QObject *parent)
    : QObject(parent)
    , d(new KvWSCommunicationPrivate(this))
{
}

KvWSCommunicationManager::~KvWSCommunicationManager()
{
    deleteResources();
}

KvWSCommunicationManager *KvWSCommunicationManager::getDefault()
{
    static KvWSCommunicationManager instance;
    defaultBuilt = true;
    return &instance;
}

void KvWSCommunicationManager::setToken(const QString &token)
{
    if (token == m_token || !d)
        return;
    m_token = token;
    const QString host = KvSelfServerManager::instance()->messageServerHost();
    d->m_requestedUrl = QStringLiteral("ws://") + host + QStringLiteral("/wsmessage?auth=%1&platform=pc-pro").arg(token);
    qCDebug(kvMessaging) << "message server token changed, connecting to" << host;
    d->startConnection(true);
}

void KvWSCommunicationManager::start()
{
    if (d)
        d->startConnection(false);
}

void KvWSCommunicationManager::forceStart()
{
    if (d)
        d->startConnection(true);
}

void KvWSCommunicationManager::stop()
{
    if (d)
        d->stopConnection(false);
}

void KvWSCommunicationManager::quit()
{
    if (d)
        d->stopConnection(true);
}

bool KvWSCommunicationManager::isConnected() const
{
    return d && d->m_socketState.load() == QAbstractSocket::ConnectedState;
}

QSharedPointer<KvWSMessageReply> KvWSCommunicationManager::sendChat(const QSharedPointer<KvWSMessageContent> &content,
                                                                    const QStringList &toUsers, bool isGroup)
{
    if (!d)
        return {};
    const KvWSMessagePtr message = KvWSMessage::create(content, isGroup);
    message->setToUsers(toUsers);
    return d->sendFrame(message, ChatAcknowledgementTimeoutMs);
}

QSharedPointer<KvWSMessageReply> KvWSCommunicationManager::chatForText(const QStringList &toUsers, const QString &text,
                                                                       bool isGroup)
{
    return sendChat(QSharedPointer<KvMsgContentChatText>::create(text), toUsers, isGroup);
}

QSharedPointer<KvWSMessageReply> KvWSCommunicationManager::chatForPicture(const QStringList &toUsers,
                                                                          const QString &id, const QString &title,
                                                                          qint64 size, const QString &src,
                                                                          const QString &md5, bool isGroup)
{
    return sendChat(QSharedPointer<KvMsgContentChatPic>::create(id, title, size, src, md5), toUsers, isGroup);
}

QSharedPointer<KvWSMessageReply> KvWSCommunicationManager::chatForFile(const QStringList &toUsers, const QString &id,
                                                                       const QString &title, qint64 size,
                                                                       const QString &src, const QString &md5,
                                                                       bool isGroup)
{
    return sendChat(QSharedPointer<KvMsgContentChatFile>::create(id, title, size, src, md5), toUsers, isGroup);
}

void KvWSCommunicationManager::requestUpdateMessages(const QString &lastMessageId)
{
    if (!d)
        return;
    d->sendFrameWithoutReply(KvWSMessage::create(QSharedPointer<KvMsgContentReqUpdate>::create(lastMessageId), false));
}

void KvWSCommunicationManager::deleteResources()
{
    if (d && !d->endThread()) {
        // Deleting the connection would pull its socket from under a thread
        // that still runs; it is left to the process's exit instead.
        qCWarning(kvMessaging) << "the message connection's thread did not end in time";
        d = nullptr;
        return;
    }
    delete d;
    d = nullptr;
}

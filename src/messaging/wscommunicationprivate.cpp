// SPDX-License-Identifier: MIT
#include "wscommunicationprivate_p.h"

#include "msgcontentautoresponse_p.h"
#include "wscommunicationmanager.h"
#include "wscommunicationtesthook_p.h"
#include "wsmessagecontent.h"
#include "wsmessagecontentfactory.h"
#include "wssignalsfilterformgr.h"

#include "kvmesslogging_p.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkConfigurationManager>
#include <QThread>
#include <QTimer>
#include <QUrl>
#include <QWebSocket>

namespace {

constexpr int HeartbeatIntervalMs = 50000;
// The date test runs when the counter, after its increment, exceeds this.
constexpr int HeartbeatsBetweenDateTests = 20;
constexpr int DefaultReconnectMs = 30000;
constexpr int NetworkBackReconnectMs = 2000;
// A wished interval of this or less means the default delay.
constexpr int LargestIgnoredReconnectInterval = 10;
constexpr int ThreadWaitMs = 10000;

bool isReconnectingError(QAbstractSocket::SocketError error)
{
    switch (error) {
    case QAbstractSocket::ConnectionRefusedError:
    case QAbstractSocket::RemoteHostClosedError:
    case QAbstractSocket::HostNotFoundError:
    case QAbstractSocket::NetworkError:
        return true;
    default:
        return false;
    }
}

int scaled(int intervalMs)
{
    return KvWSCommunicationTestHook::scaledInterval(intervalMs);
}

QDateTime secondsToDateTime(const QJsonValue &value)
{
    return QDateTime::fromSecsSinceEpoch(value.toVariant().toLongLong(), Qt::LocalTime, 0);
}

} // namespace

KvWSCommunicationPrivate::KvWSCommunicationPrivate(KvWSCommunicationManager *manager)
    : m_manager(manager)
    , m_authDate(KvWSCommunicationTestHook::currentDate())
{
    m_heartbeatTimer = new QTimer(this);
    m_heartbeatTimer->setInterval(HeartbeatIntervalMs);
    connect(m_heartbeatTimer, &QTimer::timeout, this, &KvWSCommunicationPrivate::slotHeartbeat);

    m_socket = new QWebSocket(QString(), QWebSocketProtocol::Version13, this);

    m_reconnectTimer = new QTimer(this);
    m_reconnectTimer->setSingleShot(true);
    connect(m_reconnectTimer, &QTimer::timeout, this, &KvWSCommunicationPrivate::slotReconnect);

    connect(m_socket, &QWebSocket::stateChanged, this,
            [this](QAbstractSocket::SocketState state) { m_socketState.store(state); });
    connect(m_socket, &QWebSocket::connected, this, &KvWSCommunicationPrivate::onConnected);
    connect(m_socket, &QWebSocket::disconnected, this, &KvWSCommunicationPrivate::onDisconnected);
    connect(m_socket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error), this,
            &KvWSCommunicationPrivate::onError);
    connect(m_socket, &QWebSocket::textMessageReceived, this, &KvWSCommunicationPrivate::onTextMessageReceived);

    if (KvWSCommunicationTestHook::networkWatcherEnabled()) {
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        auto *network = new QNetworkConfigurationManager(this);
        connect(network, &QNetworkConfigurationManager::onlineStateChanged, this,
                &KvWSCommunicationPrivate::slotOnlineStateChanged);
        QT_WARNING_POP
    }

    m_workerThread = new QThread;
    m_workerThread->setObjectName(QStringLiteral("KvWSCommunication"));
    moveToThread(m_workerThread);
}

KvWSCommunicationPrivate::~KvWSCommunicationPrivate()
{
    delete m_workerThread;
    m_pendingReplies.clear();
}

bool KvWSCommunicationPrivate::endThread()
{
    if (!m_workerThread->isRunning())
        return true;
    QMetaObject::invokeMethod(this, [this] {
        closeSocket();
        m_heartbeatTimer->stop();
        m_reconnectTimer->stop();
        // The socket and the timers end on the thread that used them.
        m_socket->disconnect(this);
        delete m_socket;
        m_socket = nullptr;
        m_socketState.store(QAbstractSocket::UnconnectedState);
        delete m_heartbeatTimer;
        m_heartbeatTimer = nullptr;
        delete m_reconnectTimer;
        m_reconnectTimer = nullptr;
        m_workerThread->quit();
    });
    return m_workerThread->wait(ThreadWaitMs);
}

void KvWSCommunicationPrivate::startConnection(bool force)
{
    if (m_requestedUrl.isEmpty())
        return;
    if (m_workerThread->isRunning() && !force)
        return;
    m_workerThread->start(QThread::InheritPriority);
    QMetaObject::invokeMethod(this, [this, url = m_requestedUrl] {
        m_url = url;
        if (m_reconnectTimer->isActive())
            m_reconnectTimer->stop();
        closeSocket();
        m_socket->open(QUrl(m_url));
    });
}

void KvWSCommunicationPrivate::stopConnection(bool quit)
{
    if (!m_workerThread->isRunning())
        return;
    QMetaObject::invokeMethod(this, [this, quit] {
        closeSocket();
        if (m_heartbeatTimer->isActive())
            m_heartbeatTimer->stop();
        if (m_reconnectTimer->isActive())
            m_reconnectTimer->stop();
        if (quit)
            m_workerThread->quit();
    });
}

void KvWSCommunicationPrivate::closeSocket()
{
    if (m_socket->state() != QAbstractSocket::ConnectedState)
        return;
    m_socket->close(QWebSocketProtocol::CloseCodeNormal, QString());
    // An open() may follow at once and would drop the unsent close frame.
    m_socket->flush();
}

QSharedPointer<KvWSMessageReply> KvWSCommunicationPrivate::sendFrame(const KvWSMessagePtr &message, int timeoutMs)
{
    const QString text = QString::fromUtf8(buildFrame(message));
    QSharedPointer<KvWSMessageReply> reply(new KvWSMessageReply(message, this), &QObject::deleteLater);
    // Running before the frame can leave: the acknowledgement may come back
    // on the connection's thread before this call returns.
    reply->m_timeoutTimer.setInterval(scaled(timeoutMs));
    reply->m_timeoutTimer.start();
    reply->m_running = true;
    QMetaObject::invokeMethod(this, [this, text, message, reply] {
        m_socket->sendTextMessage(text);
        m_pendingReplies.insert(message->sid(), reply);
    });
    return reply;
}

void KvWSCommunicationPrivate::sendFrameWithoutReply(const KvWSMessagePtr &message)
{
    const QString text = QString::fromUtf8(buildFrame(message));
    QMetaObject::invokeMethod(this, [this, text] { m_socket->sendTextMessage(text); });
}

void KvWSCommunicationPrivate::removeReply(const QString &sid)
{
    QMetaObject::invokeMethod(this, [this, sid] { m_pendingReplies.remove(sid); });
}

void KvWSCommunicationPrivate::failAllReplies(int error)
{
    if (m_pendingReplies.isEmpty())
        return;
    for (auto it = m_pendingReplies.cbegin(); it != m_pendingReplies.cend(); ++it) {
        const QSharedPointer<KvWSMessageReply> reply = it.value();
        reply->onFinished(KvWSMessageReply::KvWSMessageError(error));
    }
    m_pendingReplies = {};
}

QByteArray KvWSCommunicationPrivate::buildFrame(const KvWSMessagePtr &message) const
{
    QJsonObject object;
    object.insert(QStringLiteral("type"), message->type());
    object.insert(QStringLiteral("sid"), message->sid());
    object.insert(QStringLiteral("group"), message->isGroup());
    object.insert(QStringLiteral("data"), message->content()->toJsonValue());
    const QStringList toUsers = message->toUsers();
    if (!toUsers.isEmpty())
        object.insert(QStringLiteral("to"), QJsonArray::fromStringList(toUsers));
    return QJsonDocument(object).toJson();
}

void KvWSCommunicationPrivate::onConnected()
{
    if (!m_heartbeatTimer->isActive())
        m_heartbeatTimer->start(scaled(HeartbeatIntervalMs));
    m_reconnectInterval = 0;
    logLine(QStringLiteral("message server connected"));
    Q_EMIT m_manager->onConnected();
}

void KvWSCommunicationPrivate::onDisconnected()
{
    if (m_heartbeatTimer->isActive())
        m_heartbeatTimer->stop();
    logLine(QStringLiteral("message server disconnected"));
    Q_EMIT m_manager->onDisconnected();
}

void KvWSCommunicationPrivate::onError(QAbstractSocket::SocketError error)
{
    if (kvMessaging().isDebugEnabled()) {
        QString line;
        QDebug(&line) << "message server socket error" << error << m_socket->errorString();
        logLine(line);
    }
    Q_EMIT m_manager->onError(error);
    failAllReplies(error);
    if (isReconnectingError(error) && !m_url.isEmpty() && !m_reconnectTimer->isActive())
        armReconnect(m_reconnectInterval > LargestIgnoredReconnectInterval ? m_reconnectInterval : DefaultReconnectMs);
}

void KvWSCommunicationPrivate::onTextMessageReceived(QString message)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(message.toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return;

    QStringList ids;
    QList<KvWSMessagePtr> batch;
    if (document.isArray()) {
        const QJsonArray frames = document.array();
        for (const QJsonValue &frame : frames) {
            if (frame.isObject())
                handleFrame(frame.toObject(), ids, batch);
        }
    } else if (document.isObject()) {
        handleFrame(document.object(), ids, batch);
    }

    if (!batch.isEmpty())
        Q_EMIT m_manager->onChatMsgReceived(batch);
    if (!ids.isEmpty())
        sendFrameWithoutReply(KvWSMessage::create(QSharedPointer<KvMsgContentAutoResponse>::create(ids), false));
}

void KvWSCommunicationPrivate::handleFrame(const QJsonObject &object, QStringList &ids, QList<KvWSMessagePtr> &batch)
{
    const QString type = object.value(QStringLiteral("type")).toString();
    if (type.isEmpty())
        return;

    if (type == QLatin1String("SSS")) {
        const auto it = m_pendingReplies.find(object.value(QStringLiteral("sid")).toString());
        if (it == m_pendingReplies.end())
            return;
        const QSharedPointer<KvWSMessageReply> reply = it.value();
        m_pendingReplies.erase(it);
        KvWSMessage *sent = reply->message().data();
        sent->m_messageID = object.value(QStringLiteral("message_id")).toString();
        sent->m_datetime = secondsToDateTime(object.value(QStringLiteral("create_time")));
        reply->onFinished(KvWSMessageReply::NoError);
        return;
    }

    KvWSSignalsFilterForMgr filter(m_manager);
    const QSharedPointer<KvWSMessageContent> content =
        KvWSMessageContentFactory::createMessageContent(type, object.value(QStringLiteral("data")), &filter);
    if (!content)
        return;

    const KvWSMessagePtr message = KvWSMessage::create(content, false);
    message->m_messageID = object.value(QStringLiteral("message_id")).toString();
    message->m_datetime = secondsToDateTime(object.value(QStringLiteral("create_time")));
    message->m_platform = object.value(QStringLiteral("platform")).toString();
    message->m_fromUser = object.value(QStringLiteral("from")).toString();
    message->m_isGroup = object.value(QStringLiteral("group")).toBool(false);
    const QJsonArray to = object.value(QStringLiteral("to")).toArray();
    if (!to.isEmpty()) {
        QStringList toUsers;
        for (const QJsonValue &user : to) {
            const QString name = user.toString();
            if (!name.isEmpty())
                toUsers.append(name);
        }
        message->m_toUsers = toUsers;
    }

    if (!message->messageID().isEmpty())
        ids.append(message->messageID());
    if (filter.dispatchKind == KvWSSignalsFilterForMgr::Batch)
        batch.append(message);
    else if (filter.dispatchKind == KvWSSignalsFilterForMgr::Signal)
        filter.callHandler(message);
}

void KvWSCommunicationPrivate::slotHeartbeat()
{
    // No pong is awaited: a dead link shows itself as a socket error.
    m_socket->ping();
    if (++m_heartbeatCount <= HeartbeatsBetweenDateTests)
        return;
    m_heartbeatCount = 0;
    const QDate today = KvWSCommunicationTestHook::currentDate();
    if (m_authDate.daysTo(today) != 0) {
        m_authDate = today;
        Q_EMIT m_manager->onReqRefreshAuth();
    }
}

void KvWSCommunicationPrivate::slotReconnect()
{
    if (!m_url.isEmpty() && m_socket->state() != QAbstractSocket::ConnectedState)
        m_socket->open(QUrl(m_url));
}

void KvWSCommunicationPrivate::slotOnlineStateChanged(bool isOnline)
{
    logLine(QStringLiteral("network online: %1").arg(isOnline ? QLatin1String("true") : QLatin1String("false")));
    if (isOnline) {
        m_reconnectTimer->stop();
        m_reconnectInterval = NetworkBackReconnectMs;
        if (!m_url.isEmpty() && !m_reconnectTimer->isActive())
            armReconnect(NetworkBackReconnectMs);
    } else {
        m_reconnectInterval = 0;
        stopConnection(false);
        // Keep trying while offline.
        if (!m_url.isEmpty() && !m_reconnectTimer->isActive())
            armReconnect(DefaultReconnectMs);
    }
}

void KvWSCommunicationPrivate::logLine(const QString &line)
{
    if (!kvMessaging().isDebugEnabled())
        return;
    // Written on the manager's thread: a message handler need not expect a
    // thread that may outlive it (QtTest's handler, for one, is torn down at
    // the end of a run while this thread still reports the link's closing).
    QMetaObject::invokeMethod(m_manager, [line] { qCDebug(kvMessaging).noquote() << line; });
}

void KvWSCommunicationPrivate::armReconnect(int intervalMs)
{
    m_reconnectTimer->setInterval(scaled(intervalMs));
    m_reconnectTimer->start();
}

// SPDX-License-Identifier: MIT
#include "fakemessageserver.h"

#include "platform/selfservermanager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QWebSocket>
#include <QWebSocketServer>

FakeMessageServer::FakeMessageServer(QObject *parent)
    : QObject(parent)
    , m_server(new QWebSocketServer(QStringLiteral("fake"), QWebSocketServer::NonSecureMode, this))
{
    listen();
    qputenv("KVMESS_MESSAGE_HOST", host().toUtf8());
    KvSelfServerManager::instance()->reload();

    connect(m_server, &QWebSocketServer::newConnection, this, [this] {
        while (QWebSocket *client = m_server->nextPendingConnection()) {
            client->setParent(this);
            m_clients.append(client);
            requestUrls.append(client->requestUrl());
            connect(client, &QWebSocket::textMessageReceived, this, [this](const QString &text) { texts.append(text); });
            connect(client, &QWebSocket::disconnected, this, [this, client] {
                closeCodes.append(client->closeCode());
                client->deleteLater();
            });
        }
    });
}

FakeMessageServer::~FakeMessageServer() = default;

QString FakeMessageServer::host() const
{
    return QStringLiteral("127.0.0.1:%1").arg(m_port);
}

bool FakeMessageServer::listen()
{
    if (!m_server->listen(QHostAddress::LocalHost, m_port))
        return false;
    m_port = m_server->serverPort();
    return true;
}

bool FakeMessageServer::isListening() const
{
    return m_server->isListening();
}

void FakeMessageServer::stopListening()
{
    m_server->close();
}

void FakeMessageServer::send(const QString &text)
{
    if (!m_clients.isEmpty() && m_clients.last())
        m_clients.last()->sendTextMessage(text);
}

void FakeMessageServer::send(const QJsonValue &frame)
{
    const QJsonDocument document = frame.isArray() ? QJsonDocument(frame.toArray()) : QJsonDocument(frame.toObject());
    send(QString::fromUtf8(document.toJson(QJsonDocument::Compact)));
}

void FakeMessageServer::dropClient()
{
    if (!m_clients.isEmpty() && m_clients.last())
        m_clients.last()->abort();
}

void FakeMessageServer::closeClient(QWebSocketProtocol::CloseCode code)
{
    if (!m_clients.isEmpty() && m_clients.last())
        m_clients.last()->close(code);
}

bool FakeMessageServer::waitForConnections(int count, int timeoutMs) const
{
    return QTest::qWaitFor([&] { return requestUrls.size() >= count; }, timeoutMs);
}

bool FakeMessageServer::waitForTexts(int count, int timeoutMs) const
{
    return QTest::qWaitFor([&] { return texts.size() >= count; }, timeoutMs);
}

bool FakeMessageServer::waitForCloseCodes(int count, int timeoutMs) const
{
    return QTest::qWaitFor([&] { return closeCodes.size() >= count; }, timeoutMs);
}

QList<QJsonObject> FakeMessageServer::frames() const
{
    QList<QJsonObject> result;
    for (const QString &text : texts)
        result.append(QJsonDocument::fromJson(text.toUtf8()).object());
    return result;
}

bool MessageLink::open(const QString &token)
{
    manager.setToken(token);
    return server.waitForConnections(1) && QTest::qWaitFor([this] { return manager.isConnected(); }, 5000);
}

QJsonObject chatFrame(const char *messageId)
{
    return QJsonObject{{"type", "BBC"}, {"message_id", messageId}, {"data", QJsonObject{{"content", "x"}}}};
}

QStringList acknowledgedIds(const QJsonObject &frame)
{
    return frame.value(QStringLiteral("data")).toVariant().toStringList();
}

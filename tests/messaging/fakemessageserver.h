// SPDX-License-Identifier: MIT
#pragma once

#include "messaging/wscommunicationmanager.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QWebSocketProtocol>

class QWebSocket;
class QWebSocketServer;

// An in-process message server on the loopback. It records what clients send
// and lets a test send frames back or break the link. Making one points the
// platform layer (KVMESS_MESSAGE_HOST) at it.
class FakeMessageServer : public QObject
{
    Q_OBJECT
public:
    explicit FakeMessageServer(QObject *parent = nullptr);
    ~FakeMessageServer() override;

    QString host() const;
    // Stops listening without dropping live clients; listen() takes the same port again.
    void stopListening();
    bool listen();
    bool isListening() const;

    // Sends a text to the newest client.
    void send(const QString &text);
    void send(const QJsonValue &frame);
    // Closes the newest client's TCP link without a closing handshake.
    void dropClient();
    // Closes the newest client's link with a close frame.
    void closeClient(QWebSocketProtocol::CloseCode code);

    bool waitForConnections(int count, int timeoutMs = 5000) const;
    bool waitForTexts(int count, int timeoutMs = 5000) const;
    bool waitForCloseCodes(int count, int timeoutMs = 5000) const;

    // The texts received, parsed; a text that is not an object gives an empty one.
    QList<QJsonObject> frames() const;

    QList<QUrl> requestUrls;
    QStringList texts;
    QList<QWebSocketProtocol::CloseCode> closeCodes;

private:
    QWebSocketServer *m_server;
    quint16 m_port = 0;
    QList<QPointer<QWebSocket>> m_clients;
};

// A manager with a server of its own, built in that order so that the manager
// finds the server's address.
struct MessageLink
{
    FakeMessageServer server;
    KvWSCommunicationManager manager;

    // Sets the token and waits until both ends see the link open: nothing is
    // queued for a socket that is still opening.
    bool open(const QString &token = QStringLiteral("t"));
};

// A chat text frame as the server sends it.
QJsonObject chatFrame(const char *messageId);
// The message ids that an acknowledgement (RRR) frame carries.
QStringList acknowledgedIds(const QJsonObject &frame);

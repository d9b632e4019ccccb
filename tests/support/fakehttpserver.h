// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QTcpServer>

class QTcpSocket;

// A loopback HTTP responder for faults the reference server cannot be asked
// for: every request gets the configured status and body. The requests it
// received are kept, with their headers and bodies.
class FakeHttpServer : public QObject
{
    Q_OBJECT
public:
    struct Request
    {
        QByteArray verb;
        QByteArray path;
        QHash<QByteArray, QByteArray> headers; // lower-case names
        QByteArray body;
    };

    explicit FakeHttpServer(QObject *parent = nullptr);

    bool listen();
    QString baseUrl() const; // "http://127.0.0.1:<port>/"

    void setResponse(int status, const QByteArray &body);
    QList<Request> requests;

private:
    void readFrom(QTcpSocket *socket);

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_buffers;
    int m_status = 200;
    QByteArray m_body;
};

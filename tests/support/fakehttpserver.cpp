// SPDX-License-Identifier: MIT
#include "fakehttpserver.h"

#include <QTcpSocket>

FakeHttpServer::FakeHttpServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readFrom(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

bool FakeHttpServer::listen()
{
    return m_server.listen(QHostAddress::LocalHost);
}

QString FakeHttpServer::baseUrl() const
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(m_server.serverPort());
}

void FakeHttpServer::setResponse(int status, const QByteArray &body)
{
    m_status = status;
    m_body = body;
}

void FakeHttpServer::readFrom(QTcpSocket *socket)
{
    QByteArray &buffer = m_buffers[socket];
    buffer += socket->readAll();
    const int headerEnd = buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return;
    Request request;
    const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    request.verb = requestLine.value(0);
    request.path = requestLine.value(1);
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines.at(i).indexOf(':');
        if (colon > 0)
            request.headers.insert(lines.at(i).left(colon).trimmed().toLower(), lines.at(i).mid(colon + 1).trimmed());
    }
    const int length = request.headers.value("content-length").toInt();
    if (buffer.size() < headerEnd + 4 + length)
        return;
    request.body = buffer.mid(headerEnd + 4, length);
    m_buffers.remove(socket);
    requests.append(request);
    socket->write("HTTP/1.1 " + QByteArray::number(m_status) + " X\r\nConnection: close\r\nContent-Length: "
                  + QByteArray::number(m_body.size()) + "\r\n\r\n" + m_body);
    socket->disconnectFromHost();
}

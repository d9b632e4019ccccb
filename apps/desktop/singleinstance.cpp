// SPDX-License-Identifier: MIT
#include "singleinstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

KvSingleInstance::KvSingleInstance(const QString &profileFolder, QObject *parent)
    : QObject(parent)
    , m_name(serverName(profileFolder))
{
}

QString KvSingleInstance::serverName(const QString &profileFolder)
{
    const QString folder = profileFolder.isEmpty() ? QString() : QDir(profileFolder).absolutePath();
    const QByteArray hash = QCryptographicHash::hash(folder.toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
    return QStringLiteral("kvmess-desktop-%1-%2").arg(::getuid()).arg(QString::fromLatin1(hash));
}

bool KvSingleInstance::handOver(const QString &chat, const QString &page, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    const QJsonObject request{{QStringLiteral("chat"), chat}, {QStringLiteral("page"), page}};
    socket.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    // The answer says the host is alive, not a socket file left by a crash.
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMs))
            return false;
    }
    return socket.readLine().trimmed() == "ok";
}

bool KvSingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &KvSingleInstance::slotNewConnection);
    if (m_server->listen(m_name))
        return true;
    QLocalServer::removeServer(m_name);
    return m_server->listen(m_name);
}

void KvSingleInstance::slotNewConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            const QJsonObject request = QJsonDocument::fromJson(socket->readLine()).object();
            socket->write("ok\n");
            socket->flush();
            emit signalActivate(request.value(QStringLiteral("chat")).toString(),
                                request.value(QStringLiteral("page")).toString());
        });
    }
}

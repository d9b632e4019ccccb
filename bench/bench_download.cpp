// SPDX-License-Identifier: MIT
// Memory of a received file's download: a loopback HTTP server sends <MiB> of
// body to KvMessageFileDownloader, and the peak resident set above the start is
// printed, with the safety switch on (the body streams to disk) or off (the
// body is held whole until it ends).
//   bench_download [MiB] [on|off]   (default 1024 on)
#include "platform/safety.h"
#include "procstatus.h"
#include "transfer/messagefiledownloader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <cstdio>

namespace {

// Answers one GET with `size` bytes, written as the socket drains.
class BodyServer : public QObject
{
public:
    explicit BodyServer(qint64 size)
        : m_size(size)
        , m_chunk(1 << 20, 'k')
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = m_server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                if (!socket->readAll().contains("\r\n\r\n") || m_started)
                    return;
                m_started = true;
                socket->write("HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: "
                              + QByteArray::number(m_size) + "\r\nConnection: close\r\n\r\n");
                fill(socket);
            });
            connect(socket, &QTcpSocket::bytesWritten, this, [this, socket] { fill(socket); });
        });
    }
    quint16 port() const { return m_server.serverPort(); }

private:
    void fill(QTcpSocket *socket)
    {
        while (m_sent < m_size && socket->bytesToWrite() < 4 * m_chunk.size()) {
            const qint64 n = qMin<qint64>(m_chunk.size(), m_size - m_sent);
            socket->write(m_chunk.constData(), n);
            m_sent += n;
        }
        if (m_sent == m_size && socket->bytesToWrite() == 0)
            socket->disconnectFromHost();
    }

    QTcpServer m_server;
    qint64 m_size;
    qint64 m_sent = 0;
    bool m_started = false;
    QByteArray m_chunk;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const qint64 mebibytes = argc > 1 ? QByteArray(argv[1]).toLongLong() : 1024;
    const bool on = argc <= 2 || QByteArray(argv[2]) != "off";
    KvSafety::setEnabled(on);

    QTemporaryDir dir;
    const QString target = dir.filePath(QStringLiteral("received.bin"));
    BodyServer server(mebibytes << 20);
    const qint64 before = statusKiB("VmRSS:");

    bool ok = false;
    auto *downloader = new KvMessageFileDownloader(QStringLiteral("peer"), QStringLiteral("m1"));
    QObject::connect(downloader, &KvMessageFileDownloader::signalDownloadFinished, &app,
                     [&](QString, QString, bool state) {
                         ok = state;
                         app.quit();
                     });
    QElapsedTimer timer;
    timer.start();
    downloader->download(QUrl(QStringLiteral("http://127.0.0.1:%1/file").arg(server.port())), target);
    app.exec();
    const double seconds = timer.nsecsElapsed() / 1e9;
    const qint64 peak = statusKiB("VmHWM:");

    QJsonObject result{{"mebibytes", mebibytes},
                       {"switch", on ? "on" : "off"},
                       {"peakMiB", double(peak - before) / 1024.0},
                       {"MiBps", mebibytes / seconds},
                       {"written", QFileInfo(target).size() == (mebibytes << 20)}};
    if (!ok)
        result.insert("failed", "download failed");
    std::printf("%s\n", QJsonDocument(result).toJson(QJsonDocument::Compact).constData());
    return ok ? 0 : 1;
}

// SPDX-License-Identifier: MIT
// Received chat messages parsed and dispatched per second, end to end over a
// loopback WebSocket: the server pushes texts of 1 or of 100 chat frames, the
// connection's thread parses them, emits onChatMsgReceived and acknowledges
// each text with one "RRR" frame. Counting happens on the connection's thread,
// so the figure excludes the hop to a listener's thread.
//
// Usage: bench_messaging [messages per run, default 100000]

#include "messaging/wscommunicationmanager.h"
#include "platform/selfservermanager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimer>
#include <QWebSocket>
#include <QWebSocketServer>

#include <atomic>
#include <cstdio>

namespace {

QJsonObject chatFrame(int index)
{
    return QJsonObject{
        {"type", "BBC"},
        {"message_id", QStringLiteral("m%1").arg(index)},
        {"from", "alice"},
        {"to", QJsonArray{"bob"}},
        {"group", false},
        {"platform", "pc-pro"},
        {"create_time", 1700000000 + index},
        {"data", QJsonObject{{"content", QStringLiteral("message number %1 of the benchmark").arg(index)}}},
    };
}

QString textOf(int framesPerText, int firstIndex)
{
    if (framesPerText == 1)
        return QString::fromUtf8(QJsonDocument(chatFrame(firstIndex)).toJson(QJsonDocument::Compact));
    QJsonArray frames;
    for (int i = 0; i < framesPerText; ++i)
        frames.append(chatFrame(firstIndex + i));
    return QString::fromUtf8(QJsonDocument(frames).toJson(QJsonDocument::Compact));
}

// The same texts parsed on one thread with nothing else done: each frame's
// type, id and data are read, nothing is made or sent. The floor of the work.
double bareParseRate(const QStringList &payloads, int messages)
{
    double best = 0;
    for (int run = 0; run < 3; ++run) {
        int seen = 0;
        QElapsedTimer clock;
        clock.start();
        for (const QString &payload : payloads) {
            const QJsonDocument document = QJsonDocument::fromJson(payload.toUtf8());
            const QJsonArray frames = document.isArray() ? document.array() : QJsonArray{document.object()};
            for (const QJsonValue &frame : frames) {
                const QJsonObject object = frame.toObject();
                if (!object.value(QStringLiteral("type")).toString().isEmpty()
                    && !object.value(QStringLiteral("message_id")).toString().isEmpty()
                    && object.value(QStringLiteral("data")).isObject())
                    ++seen;
            }
        }
        const double seconds = clock.nsecsElapsed() / 1e9;
        if (seen == messages)
            best = qMax(best, seen / seconds);
    }
    return best;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int messagesPerRun = argc > 1 ? qMax(100, QByteArray(argv[1]).toInt()) : 100000;

    QWebSocketServer server(QStringLiteral("bench"), QWebSocketServer::NonSecureMode);
    if (!server.listen(QHostAddress::LocalHost, 0)) {
        std::fprintf(stderr, "cannot listen\n");
        return 1;
    }
    qputenv("KVMESS_MESSAGE_HOST", QStringLiteral("127.0.0.1:%1").arg(server.serverPort()).toUtf8());
    KvSelfServerManager::instance()->reload();

    QWebSocket *client = nullptr;
    QObject::connect(&server, &QWebSocketServer::newConnection, [&] {
        client = server.nextPendingConnection();
    });

    KvWSCommunicationManager manager;
    // The main thread runs the server, so it waits in an event loop, not in a
    // sleeping poll, and the connection's thread ends the wait.
    QEventLoop finishLine;
    std::atomic<int> received{0};
    std::atomic<int> target{-1};
    QObject::connect(
        &manager, &KvWSCommunicationManager::onChatMsgReceived, &manager,
        [&](const QList<KvWSMessagePtr> &messages) {
            if ((received += messages.size()) == target)
                QMetaObject::invokeMethod(&finishLine, [&finishLine] { finishLine.quit(); }, Qt::QueuedConnection);
        },
        Qt::DirectConnection);
    manager.setToken(QStringLiteral("bench"));
    if (!QTest::qWaitFor([&] { return client && manager.isConnected(); }, 10000)) {
        std::fprintf(stderr, "no connection\n");
        return 1;
    }

    std::printf("%-18s %12s %14s %14s %16s\n", "frames per text", "messages", "messages/s", "texts/s",
                "bare parse/s");
    QJsonArray results;
    for (int framesPerText : {1, 100}) {
        const int texts = messagesPerRun / framesPerText;
        QStringList payloads;
        payloads.reserve(texts);
        for (int i = 0; i < texts; ++i)
            payloads.append(textOf(framesPerText, i * framesPerText));

        double best = 0;
        for (int run = 0; run < 3; ++run) {
            received = 0;
            target = texts * framesPerText;
            QElapsedTimer clock;
            clock.start();
            for (const QString &payload : qAsConst(payloads))
                client->sendTextMessage(payload);
            QTimer::singleShot(120000, &finishLine, [&finishLine] { finishLine.exit(1); });
            if (finishLine.exec() != 0) {
                std::fprintf(stderr, "timed out: %d of %d\n", received.load(), texts * framesPerText);
                return 1;
            }
            const double seconds = clock.nsecsElapsed() / 1e9;
            target = -1;
            best = qMax(best, received / seconds);
        }
        const double bare = bareParseRate(payloads, texts * framesPerText);
        std::printf("%-18d %12d %14.0f %14.0f %16.0f\n", framesPerText, texts * framesPerText, best,
                    best / framesPerText, bare);
        results.append(QJsonObject{{"framesPerText", framesPerText}, {"dispatch", best}, {"bareParse", bare}});
    }
    std::printf("%s\n", QJsonDocument(QJsonObject{{"bench", "messaging"}, {"results", results}})
                             .toJson(QJsonDocument::Compact)
                             .constData());
    return 0;
}

// SPDX-License-Identifier: MIT
// A long conversation, twice:
//  - catch-up: 10,000 messages wait on the server while the link is down; the
//    time from reconnecting until all are stored and signalled, beside a bare
//    WebSocket client that asks for the same queue and only parses it;
//  - reading: KvFriendMessageManager::messages on those 10,000 rows, beside a
//    plain SELECT of the same columns on a connection of its own.
//   bench_conversation [messages]   (default 10000)
#include "account/usermanager.h"
#include "messaging/wscommunicationmanager.h"
#include "platform/dataadapter.h"
#include "platform/databasefactory.h"
#include "benchserver.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QSettings>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>
#include <QWebSocket>

#include <cstdio>
#include <memory>

namespace {

const QString password = QStringLiteral("pw");

QString tokenOf(const QString &user)
{
    return ReferenceServer::adminPost("token", {{"username", user}}).toObject().value("token").toString();
}

// A client that is nothing but a socket: it counts the chat frames it gets
// and the server's acknowledgements of what it sent.
class BareClient
{
public:
    bool open(const QString &user)
    {
        QObject::connect(&socket, &QWebSocket::textMessageReceived, [this](const QString &text) {
            const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
            const QJsonArray frames = document.isArray() ? document.array() : QJsonArray{document.object()};
            for (const QJsonValue &frame : frames) {
                if (frame.toObject().value(QStringLiteral("type")).toString() == QLatin1String("SSS"))
                    ++acknowledged;
                else
                    ++received;
            }
        });
        socket.open(QUrl(QStringLiteral("ws://%1/wsmessage?auth=%2&platform=pc-pro")
                             .arg(qEnvironmentVariable("KVMESS_MESSAGE_HOST"), tokenOf(user))));
        return QTest::qWaitFor([this] { return socket.state() == QAbstractSocket::ConnectedState; }, 10000);
    }

    QWebSocket socket;
    int received = 0;
    int acknowledged = 0;
};

bool online(const QString &user)
{
    const QJsonArray connections = ReferenceServer::adminGet("connections").toObject().value("connections").toArray();
    for (const QJsonValue &connection : connections) {
        if (connection.toObject().value("username").toString() == user)
            return true;
    }
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int total = argc > 1 ? QByteArray(argv[1]).toInt() : 10000;
    QTemporaryDir dir;
    BenchServer server(dir);
    if (!server.isRunning())
        return 1;
    const QString reader = QStringLiteral("benchreader");
    const QString writer = QStringLiteral("benchwriter");
    BenchServer::createAccount(reader, password);
    BenchServer::createAccount(writer, password);

    int result = 1;
    KvFriendMessageManager *messages = KvUserCommManager::instance()->friendMessageManager();
    KvWSCommunicationManager *link = KvWSCommunicationManager::getDefault();
    int stored = 0;
    QObject::connect(messages, &KvFriendMessageManager::signalNewMessage, [&stored] { ++stored; });
    [&] {
        if (!KvUserManager::instance()->requestLoginByPassword(reader, password)
            || !QTest::qWaitFor([&] { return link->isConnected(); }, 10000)) {
            std::fprintf(stderr, "sign-in failed\n");
            return;
        }
        link->stop();
        if (!QTest::qWaitFor([&] { return !online(reader); }, 10000)) {
            std::fprintf(stderr, "the link did not go down\n");
            return;
        }

        // The queue: 10,000 texts from the writer, sent in arrays of 100.
        BareClient sender;
        if (!sender.open(writer))
            return;
        for (int sent = 0; sent < total; sent += 100) {
            QJsonArray frames;
            for (int i = sent; i < qMin(total, sent + 100); ++i) {
                frames.append(QJsonObject{{"type", "BBC"}, {"sid", QUuid::createUuid().toString(QUuid::Id128)},
                                          {"group", false}, {"to", QJsonArray{reader}},
                                          {"data", QJsonObject{{"content", QStringLiteral("message %1").arg(i)}}}});
            }
            sender.socket.sendTextMessage(QString::fromUtf8(QJsonDocument(frames).toJson(QJsonDocument::Compact)));
        }
        if (!QTest::qWaitFor([&] { return sender.acknowledged == total; }, 300000)) {
            std::fprintf(stderr, "queued %d of %d\n", sender.acknowledged, total);
            return;
        }

        // The bare drain first: it sends no "RRR", so the queue stays for the module.
        QElapsedTimer clock;
        BareClient bare;
        clock.start();
        if (!bare.open(reader))
            return;
        bare.socket.sendTextMessage(QStringLiteral(R"({"type":"QQQ","sid":"bench","group":false,"data":{"message_id":""}})"));
        if (!QTest::qWaitFor([&] { return bare.received >= total; }, 300000)) {
            std::fprintf(stderr, "bare client got %d of %d\n", bare.received, total);
            return;
        }
        const double bareSeconds = clock.nsecsElapsed() / 1e9;
        bare.socket.close();
        if (!QTest::qWaitFor([&] { return !online(reader); }, 10000))
            return;

        clock.restart();
        link->forceStart();
        if (!QTest::qWaitFor([&] { return stored >= total; }, 600000)) {
            std::fprintf(stderr, "stored %d of %d\n", stored, total);
            return;
        }
        const double catchUpSeconds = clock.nsecsElapsed() / 1e9;

        // Reading: best of five, each side.
        double readBest = 1e9;
        int rows = 0;
        for (int run = 0; run < 5; ++run) {
            QList<KvFriendMessageData> list;
            clock.restart();
            messages->messages(writer, false, list);
            readBest = qMin(readBest, clock.nsecsElapsed() / 1e6);
            rows = list.size();
        }
        std::unique_ptr<KvDataAdapter> plain(KvDataBaseFactory::createSqliteAdapter(
            "bench_plain", dir.filePath(QStringLiteral("work/UserInfo/%1/%1.db").arg(reader))));
        plain->open();
        double plainBest = 1e9;
        for (int run = 0; run < 5; ++run) {
            clock.restart();
            QSqlQuery query = plain->sqlQuery(QStringLiteral(
                "SELECT MessageServerId,MessageLocalId,FromUserId,ToUserId,Type,Content,Time,IsSend,Status "
                "FROM FriendMessageTable_%1 ORDER BY Time DESC;").arg(writer));
            QList<KvFriendMessageData> list;
            while (query.next()) {
                KvFriendMessageData row;
                row.messageServerId = query.value(0).toString();
                row.messageLocalId = query.value(1).toString();
                row.fromUserId = query.value(2).toString();
                row.toUserId = query.value(3).toString();
                row.type = query.value(4).toString();
                row.content = query.value(5).toByteArray();
                row.time = query.value(6).toLongLong();
                row.isSend = query.value(7).toInt() != 0;
                row.status = query.value(8).toInt();
                list.append(row);
            }
            plainBest = qMin(plainBest, clock.nsecsElapsed() / 1e6);
        }

        std::printf("queued messages: %d\ncatch-up through the module: %.2f s (%.0f stored/s)\n"
                    "bare WebSocket drain: %.2f s\nread %d rows with messages(): %.1f ms\nplain SELECT: %.1f ms\n",
                    total, catchUpSeconds, total / catchUpSeconds, bareSeconds, rows, readBest, plainBest);
        std::printf("%s\n", QJsonDocument(QJsonObject{{"bench", "conversation"}, {"messages", total},
                                                      {"catchUp", catchUpSeconds}, {"bareDrain", bareSeconds},
                                                      {"rows", rows}, {"readMs", readBest},
                                                      {"plainSelectMs", plainBest}})
                                .toJson(QJsonDocument::Compact)
                                .constData());
        result = rows == total ? 0 : 1;
    }();

    KvUserManager::instance()->logOut();
    return result;
}

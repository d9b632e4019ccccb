// SPDX-License-Identifier: MIT
// Received text messages stored per second through the real path (server ->
// WebSocket -> message worker -> SQLite), beside a plain loop of the same INSERT
// statement on the same disk with the same connection settings.
//   bench_messagestore [messages]   (default 5000)
#include "account/usermanager.h"
#include "platform/databasefactory.h"
#include "platform/dataadapter.h"
#include "benchserver.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSettings>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <cstdio>
#include <memory>

namespace {

int rowCount(const QString &file, const QString &table)
{
    std::unique_ptr<KvDataAdapter> reader(KvDataBaseFactory::createSqliteAdapter("bench_reader", file));
    if (!reader->open())
        return 0;
    QSqlQuery query = reader->sqlQuery(QStringLiteral("SELECT count(*) FROM %1").arg(table));
    return query.next() ? query.value(0).toInt() : 0;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int total = argc > 1 ? QByteArray(argv[1]).toInt() : 5000;
    QTemporaryDir dir;
    BenchServer server(dir);
    if (!server.isRunning())
        return 1;
    if (!BenchServer::signIn("benchuser", "pw"))
        return 1;
    const QString dbFile = dir.filePath("work/UserInfo/benchuser/benchuser.db");
    const QString table = "FriendMessageTable_sender";

    // Counted where the store tells the windows, so that no reader of the file
    // competes with the worker for its lock.
    int stored = 0;
    QObject::connect(KvUserCommManager::instance()->friendMessageManager(), &KvFriendMessageManager::signalNewMessage,
                     [&stored] { ++stored; });
    // All texts are prepared first and posted at once, so that the feeding
    // does not set the pace.
    QList<QByteArray> pushes;
    for (int sent = 0; sent < total; sent += 100) {
        QJsonArray frames;
        for (int i = sent; i < qMin(total, sent + 100); ++i) {
            frames.append(QJsonObject{{"type", "BBC"}, {"data", QJsonObject{{"text", QString("message %1").arg(i)}}},
                                      {"message_id", QString::number(1000000 + i)}, {"create_time", 1795000000 + i},
                                      {"platform", "phone"}, {"from", "sender"}, {"group", false},
                                      {"to", QJsonArray{"benchuser"}}});
        }
        const QJsonObject push{{"to", "benchuser"},
                               {"raw", QString::fromUtf8(QJsonDocument(frames).toJson(QJsonDocument::Compact))}};
        pushes.append(QJsonDocument(push).toJson(QJsonDocument::Compact));
    }
    QNetworkAccessManager network;
    QNetworkRequest request(QUrl(ReferenceServer::adminUrl() + "push"));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    QElapsedTimer timer;
    timer.start();
    for (const QByteArray &push : qAsConst(pushes)) {
        QNetworkReply *reply = network.post(request, push);
        QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    }
    if (!QTest::qWaitFor([&stored, total] { return stored >= total; }, 300000))
        std::fprintf(stderr, "stored %d of %d\n", stored, total);
    const double realPath = total * 1000.0 / timer.elapsed();
    if (rowCount(dbFile, table) != total)
        std::fprintf(stderr, "the table holds %d rows, not %d\n", rowCount(dbFile, table), total);

    std::unique_ptr<KvDataAdapter> plain(KvDataBaseFactory::createSqliteAdapter("bench_plain", dir.filePath("work/plain.db")));
    plain->open();
    plain->sqlQuery(QStringLiteral("CREATE TABLE t (MessageServerId TEXT ,MessageLocalId TEXT UNIQUE,FromUserId TEXT ,ToUserId TEXT ,Type TEXT,Content TEXT,Time INTEGER,IsSend INTEGER,Status INTEGER);"));
    timer.restart();
    for (int i = 0; i < total; ++i) {
        QSqlQuery insert = plain->sqlQuery(QStringLiteral("INSERT INTO t (MessageServerId,MessageLocalId,FromUserId,ToUserId,Type,Content,Time,IsSend,Status) VALUES(?,?,?,?,?,?,?,?,?);"));
        const QVariantList values{QString::number(i), QUuid::createUuid().toString(QUuid::Id128), "sender", "benchuser", "BBC",
                                  QString("{\"text\":\"message %1\"}").arg(i), qint64(1795000000000) + i, 0, 0};
        for (int v = 0; v < values.size(); ++v)
            insert.bindValue(v, values.at(v));
        insert.exec();
    }
    const double plainLoop = total * 1000.0 / qMax<qint64>(1, timer.elapsed());

    std::printf("messages: %d\nreal path: %.0f stored/s\nplain INSERT loop: %.0f rows/s\nratio real/plain: %.2f\n",
                total, realPath, plainLoop, realPath / plainLoop);
    std::printf("%s\n", QJsonDocument(QJsonObject{{"bench", "messagestore"}, {"messages", total},
                                                   {"stored", realPath}, {"plainInsert", plainLoop}})
                             .toJson(QJsonDocument::Compact)
                             .constData());
    KvUserManager::instance()->logOut();
    return 0;
}

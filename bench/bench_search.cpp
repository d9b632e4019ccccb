// SPDX-License-Identifier: MIT
// The chat window's search over a store of 100 conversations holding 100,000
// messages together: the time from the query to its results through the search
// worker, beside the same LIKE statements run bare on one connection, and the
// longest stretch for which the GUI thread did not get to run its events while
// the searches were under way.
//   bench_search [messages] [conversations]   (default 100000 100)
#include "benchserver.h"
#include "platform/databasefactory.h"
#include "platform/dataadapter.h"
#include "store/messagesearchmanager.h"
#include "store/messagestatements_p.h"
#include "store/searchstatements_p.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlQuery>
#include <QTest>
#include <QTimer>
#include <QUuid>

#include <algorithm>
#include <cstdio>
#include <memory>

using namespace KvMessageStatements;

namespace {

const QStringList words{"survey", "parcel", "layer", "river", "road", "boundary", "map", "export", "tile", "scale",
                        "测绘", "地图", "图层", "边界", "河流", "道路", "坐标", "导出", "比例", "数据"};

QString sentence(int i)
{
    QString text;
    for (int w = 0; w < 8; ++w)
        text += words.at((i * 7 + w * 13 + i / 97) % words.size()) + QLatin1Char(' ');
    // A rare word: one message in 500.
    if (i % 500 == 1)
        text += QStringLiteral("needle");
    return text;
}

void seed(KvDataAdapter *db, int total, int conversations)
{
    db->sqlQuery(QStringLiteral("PRAGMA synchronous=OFF;"));
    db->sqlQuery(createFileTable.arg(fileTableName));
    for (int c = 0; c < conversations; ++c)
        db->sqlQuery(createMessageTable.arg(QStringLiteral("FriendMessageTable_peer%1").arg(c)));
    for (int i = 0; i < total; ++i) {
        const QString table = QStringLiteral("FriendMessageTable_peer%1").arg(i % conversations);
        const QString id = QUuid::createUuid().toString(QUuid::Id128);
        const bool file = i % 20 == 0;
        const QString name = QStringLiteral("%1_%2.shp").arg(words.at(i % 10)).arg(i);
        const QJsonObject content = file ? QJsonObject{{"title", name}, {"src", "http://files/" + id}}
                                         : QJsonObject{{"content", sentence(i)}};
        QSqlQuery row = db->sqlQuery(insert.arg(table));
        const QVariantList values{QString::number(i), id, QStringLiteral("peer%1").arg(i % conversations), "benchsearch",
                                  file ? "BBA" : "BBC", QJsonDocument(content).toJson(QJsonDocument::Compact),
                                  qint64(1795000000000) + i, 0, 0};
        for (int v = 0; v < values.size(); ++v)
            row.bindValue(v, values.at(v));
        row.exec();
        if (file) {
            QSqlQuery part = db->sqlQuery(fileWrite.arg(fileTableName));
            const QVariantList fileValues{id, name, "", "", 1, "", name, "", "", 1, ""};
            for (int v = 0; v < fileValues.size(); ++v)
                part.bindValue(v, fileValues.at(v));
            part.exec();
        }
    }
    db->sqlQuery(QStringLiteral("PRAGMA synchronous=FULL;"));
}

// The statements the worker runs, one after the other on this thread.
int bare(KvDataAdapter *db, const QString &query)
{
    QStringList tables;
    QSqlQuery list = db->sqlQuery(listTables);
    while (list.next()) {
        if (list.value(0).toString().startsWith(QLatin1String("FriendMessageTable_")))
            tables << list.value(0).toString();
    }
    const QString textPattern = KvSearchStatements::containsPattern(query);
    int rows = 0;
    for (const QString &table : qAsConst(tables)) {
        for (const QString &statement : {KvSearchStatements::texts, KvSearchStatements::files}) {
            QSqlQuery select = db->sqlQuery(statement.arg(table));
            select.bindValue(0, textPattern);
            select.exec();
            while (select.next())
                ++rows;
        }
    }
    return rows;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int total = argc > 1 ? QByteArray(argv[1]).toInt() : 100000;
    const int conversations = argc > 2 ? QByteArray(argv[2]).toInt() : 100;
    QTemporaryDir dir;
    BenchServer server(dir);
    if (!server.isRunning() || !BenchServer::signIn("benchsearch", "pw")) {
        std::printf("{\"bench\":\"search\",\"failed\":\"no session\"}\n");
        return 1;
    }
    const QString dbFile = dir.filePath("work/UserInfo/benchsearch/benchsearch.db");
    std::unique_ptr<KvDataAdapter> db(KvDataBaseFactory::createSqliteAdapter("bench_search", dbFile));
    db->open();
    QElapsedTimer timer;
    timer.start();
    seed(db.get(), total, conversations);
    std::fprintf(stderr, "seeded %d messages in %d conversations in %.1f s\n", total, conversations,
                 timer.elapsed() / 1000.0);

    KvMessageSearchManager *searcher = KvMessageSearchManager::instance();
    // The GUI thread's longest pause: a 1 ms timer notes the gaps between its ticks.
    qint64 longestGap = 0;
    QElapsedTimer sinceTick;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        longestGap = qMax(longestGap, sinceTick.restart());
    });

    const QStringList queries{"needle", "boundary", "边界", "survey_1", "nothing-like-this"};
    constexpr int rounds = 5;
    QJsonArray results;
    double worstMs = 0;
    for (const QString &query : queries) {
        QList<double> module;
        QList<double> plain;
        int hits = 0;
        int plainRows = 0;
        for (int round = 0; round < rounds; ++round) {
            // A plain event loop, as the host's: it sleeps only while nothing is due.
            QEventLoop loop;
            const auto connection = QObject::connect(
                searcher, &KvMessageSearchManager::signalSearchFinished,
                [&](const QString &, const QList<KvSearchResult> &found) {
                    hits = found.size();
                    loop.quit();
                });
            QTimer::singleShot(60000, &loop, &QEventLoop::quit);
            sinceTick.start();
            ticker.start(1);
            QElapsedTimer clock;
            clock.start();
            searcher->search(query);
            loop.exec();
            module << clock.nsecsElapsed() / 1e6;
            ticker.stop();
            QObject::disconnect(connection);

            clock.restart();
            plainRows = bare(db.get(), query);
            plain << clock.nsecsElapsed() / 1e6;
        }
        std::sort(module.begin(), module.end());
        std::sort(plain.begin(), plain.end());
        const double median = module.at(rounds / 2);
        worstMs = qMax(worstMs, module.last());
        std::printf("%-20s search %7.1f ms (worst %7.1f)  bare LIKE %7.1f ms  hits %d, bare rows %d\n",
                    qPrintable(query), median, module.last(), plain.at(rounds / 2), hits, plainRows);
        results.append(QJsonObject{{"query", query}, {"ms", median}, {"worstMs", module.last()},
                                   {"bareMs", plain.at(rounds / 2)}, {"hits", hits}});
    }
    std::printf("longest GUI thread pause while searching: %lld ms\n", longestGap);
    std::printf("%s\n", QJsonDocument(QJsonObject{{"bench", "search"}, {"messages", total},
                                                   {"conversations", conversations}, {"queries", results},
                                                   {"worstMs", worstMs}, {"guiPauseMs", double(longestGap)}})
                             .toJson(QJsonDocument::Compact)
                             .constData());
    KvUserManager::instance()->logOut();
    return 0;
}

// SPDX-License-Identifier: MIT
// The desktop host's memory while texts arrive from a friend: the real
// kvmess-desktop runs as a process of its own, signed in, with its chat window
// open on the friend; a bare WebSocket client writes `messages` texts of mixed
// length, Chinese and Latin, at `rate` a second. Resident size and peak are read
// from /proc/<pid>/status once the window has settled and again once the host's
// store holds every text. Beside it, the same host with no conversation open;
// then both again with every text sent at once.
//   bench_desktophost [messages] [rate]   (defaults 3000 and 20)
// At 20 a second the page paints every text as it arrives, as a person reading
// along would see it; much faster, it scrolls past rows it never paints, which
// then keep no text document and look cheaper than they are.
// KVMESS_BENCH_WRAP="heaptrack -o /tmp/host" runs the host under that command
// for the case with the conversation open only (the figures are then the
// wrapper's, not the host's).
#include "benchserver.h"
#include "procstatus.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QUuid>
#include <QWebSocket>

#include <cstdio>
#include <functional>

namespace {

const QString password = QStringLiteral("pw");
// Faster than the server hands texts on: the host gets them as one burst.
constexpr int BurstRate = 100000;

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// Runs the event loop for `ms` milliseconds, or until `done` says so.
bool waitFor(const std::function<bool()> &done, int ms)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(20);
    }
    return true;
}

// Waits until the resident size has moved less than 256 KiB over two seconds.
qint64 settledRss(qint64 pid)
{
    QList<qint64> samples;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 60000) {
        samples << statusKiB("VmRSS:", pid);
        if (samples.size() >= 5) {
            const QList<qint64> last = samples.mid(samples.size() - 5);
            if (*std::max_element(last.cbegin(), last.cend()) - *std::min_element(last.cbegin(), last.cend()) < 256)
                break;
        }
        waitFor([] { return false; }, 500);
    }
    return samples.constLast();
}

// Texts as people write them: mostly a line, some a paragraph, a few a page;
// Chinese and Latin mixed, now and then a link.
QStringList makeTexts(int count)
{
    const QStringList chinese{
        QStringLiteral("好的，收到。"),
        QStringLiteral("今天下午三点开会，别忘了带上打印好的地图。"),
        QStringLiteral("我们在东门集合吧，那边停车方便。"),
        QStringLiteral("这条路线比上次的近了两公里，但是要过一座桥，雨天不太好走。"),
        QStringLiteral("文件我已经发到你邮箱了，请查收。"),
        QStringLiteral("哈哈"),
        QStringLiteral("明天天气怎么样？"),
        QStringLiteral("测绘点 17 到 23 的坐标好像偏了，你那边能再核对一下投影参数吗？"),
        QStringLiteral("晚上一起吃饭吗？"),
        QStringLiteral("我刚到，路上有点堵。"),
        QStringLiteral("河道北侧的等高线要重新描一遍，原来的数据是十年前的。"),
        QStringLiteral("没问题。"),
    };
    const QStringList latin{
        QStringLiteral("ok"),
        QStringLiteral("See you at the north gate at 9."),
        QStringLiteral("The survey points along the river are off by about 3 m, can you check the projection?"),
        QStringLiteral("Thanks!"),
        QStringLiteral("Updated route: https://maps.example.org/r/2931?zoom=14"),
        QStringLiteral("I'll send the shapefile tonight, it is about 40 MB."),
        QStringLiteral("Lunch?"),
        QStringLiteral("The bridge on the east road is closed until Friday, so take the ring road instead."),
        QStringLiteral("Sounds good to me."),
        QStringLiteral("Tile cache rebuilt, zoom levels 10 to 17 are done."),
    };
    QRandomGenerator random(20261123);
    QStringList texts;
    texts.reserve(count);
    for (int i = 0; i < count; ++i) {
        const int roll = random.bounded(100);
        const int sentences = roll < 60 ? 1 : roll < 85 ? 2 + random.bounded(2) : roll < 97 ? 4 + random.bounded(5)
                                                                                            : 15 + random.bounded(16);
        QString text;
        for (int s = 0; s < sentences; ++s) {
            const QStringList &pool = random.bounded(3) == 0 ? latin : chinese;
            if (!text.isEmpty() && &pool == &latin)
                text += QLatin1Char(' ');
            text += pool.at(random.bounded(pool.size()));
        }
        texts << text;
    }
    return texts;
}

int storedRows(const QString &file, const QString &peer)
{
    if (!QFile::exists(file))
        return 0;
    int rows = 0;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("benchcount"));
        db.setDatabaseName(file);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=1000"));
        if (db.open()) {
            QSqlQuery query(db);
            if (query.exec(QStringLiteral("SELECT COUNT(*) FROM FriendMessageTable_%1").arg(peer)) && query.next())
                rows = query.value(0).toInt();
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("benchcount"));
    return rows;
}

struct HostRun
{
    bool ok = false;
    qint64 rssBefore = 0;
    qint64 rssAfter = 0;
    qint64 peakAfter = 0;
    double seconds = 0;
};

// One host process, one pair of fresh accounts, one folder of its own.
HostRun runHost(const QTemporaryDir &dir, const QString &tag, bool openChat, const QStringList &texts, int rate)
{
    HostRun run;
    const QJsonObject a = ReferenceServer::createAccount(QStringLiteral("hosta"), password,
                                                         {{"nickname", QStringLiteral("王测绘")}});
    const QJsonObject b = ReferenceServer::createAccount(QStringLiteral("hostb"), password,
                                                         {{"nickname", QStringLiteral("Li Ming 李明")}});
    const QString userA = a.value("username").toString();
    const QString userB = b.value("username").toString();
    if (userA.isEmpty() || userB.isEmpty())
        return run;
    ReferenceServer::adminPost(QStringLiteral("friends"), {{"a", userA}, {"b", userB}});

    const QString profile = dir.filePath(tag);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    // No desktop's notification service gets the texts of the run with no conversation open.
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=%1").arg(dir.filePath("no-bus")));
    QProcess host;
    host.setProcessEnvironment(env);
    host.setProcessChannelMode(QProcess::MergedChannels);
    QStringList arguments{"--profile", profile, "--user", userA, "--password", password};
    if (openChat)
        arguments << "--chat" << userB;
    QByteArray output;
    QObject::connect(&host, &QProcess::readyRead, [&] { output += host.readAll(); });
    QStringList command = QProcess::splitCommand(qEnvironmentVariable("KVMESS_BENCH_WRAP"));
    command << QStringLiteral(KVMESS_DESKTOP_BINARY) << arguments;
    host.start(command.takeFirst(), command);
    if (!host.waitForStarted(10000))
        return run;
    const qint64 pid = host.processId();
    const auto linked = [&] {
        const QJsonArray connections = ReferenceServer::adminGet(QStringLiteral("connections"))
                                           .toObject().value("connections").toArray();
        for (const QJsonValue &connection : connections) {
            if (connection.toObject().value("username").toString() == userA)
                return true;
        }
        return false;
    };
    if (!waitFor([&] { return output.contains("signed in as") && linked(); }, 60000)) {
        std::fprintf(stderr, "the host did not sign in:\n%s\n", output.constData());
        host.kill();
        host.waitForFinished();
        return run;
    }
    settledRss(pid);
    const bool peakReset = resetPeak(pid);
    run.rssBefore = statusKiB("VmRSS:", pid);

    const QString token = ReferenceServer::adminPost(QStringLiteral("token"), {{"username", userB}})
                              .toObject().value("token").toString();
    QWebSocket sender;
    int acknowledged = 0;
    QObject::connect(&sender, &QWebSocket::textMessageReceived, [&](const QString &frame) {
        if (frame.contains(QLatin1String("\"SSS\"")))
            ++acknowledged;
    });
    sender.open(QUrl(QStringLiteral("ws://%1/wsmessage?auth=%2&platform=pc-pro")
                         .arg(qEnvironmentVariable("KVMESS_MESSAGE_HOST"), token)));
    if (!waitFor([&] { return sender.state() == QAbstractSocket::ConnectedState; }, 10000))
        return run;

    // A steady rate: each tick sends what the clock says is due by now.
    QElapsedTimer clock;
    clock.start();
    int sent = 0;
    QTimer pace;
    pace.setInterval(5);
    QObject::connect(&pace, &QTimer::timeout, [&] {
        const int due = qMin<int>(texts.size(), int(clock.elapsed() * rate / 1000) + 1);
        for (; sent < due; ++sent) {
            const QJsonObject frame{{"type", "BBC"}, {"sid", QUuid::createUuid().toString(QUuid::WithoutBraces)},
                                    {"group", false}, {"to", QJsonArray{userA}},
                                    {"data", QJsonObject{{"content", texts.at(sent)}}}};
            sender.sendTextMessage(QString::fromUtf8(json(frame)));
        }
        if (sent == texts.size())
            pace.stop();
    });
    pace.start();
    const QString store = QDir(profile).filePath(QStringLiteral("work/UserInfo/%1/%1.db").arg(userA));
    int stored = 0;
    const bool arrived = waitFor(
        [&] {
            if (sent < texts.size())
                return false;
            stored = storedRows(store, userB);
            return stored >= texts.size();
        },
        600000);
    run.seconds = clock.nsecsElapsed() / 1e9;
    sender.close();
    if (!arrived)
        std::fprintf(stderr, "the host stored %d of %d texts (%d acknowledged)\n", stored, int(texts.size()),
                     acknowledged);
    run.rssAfter = settledRss(pid);
    run.peakAfter = statusKiB("VmHWM:", pid);
    run.ok = arrived && peakReset && host.state() == QProcess::Running;
    host.terminate();
    if (!host.waitForFinished(20000))
        host.kill();
    return run;
}

QJsonObject figures(const HostRun &run, int messages)
{
    return {{"rssBeforeKiB", run.rssBefore},
            {"rssAfterKiB", run.rssAfter},
            {"peakAfterKiB", run.peakAfter},
            {"kibPerMessage", double(run.rssAfter - run.rssBefore) / messages},
            {"peakKibPerMessage", double(run.peakAfter - run.rssBefore) / messages},
            {"seconds", run.seconds}};
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int messages = argc > 1 ? QByteArray(argv[1]).toInt() : 3000;
    const int rate = argc > 2 ? QByteArray(argv[2]).toInt() : 20;
    QTemporaryDir dir;
    dir.setAutoRemove(qEnvironmentVariableIsEmpty("KVMESS_BENCH_KEEP"));
    if (!dir.autoRemove())
        std::fprintf(stderr, "kept %s\n", qPrintable(dir.path()));
    BenchServer server(dir);
    if (!server.isRunning())
        return 1;
    const QStringList texts = makeTexts(messages);

    const HostRun open = runHost(dir, QStringLiteral("open"), true, texts, rate);
    if (!qEnvironmentVariableIsEmpty("KVMESS_BENCH_WRAP")) {
        std::printf("%s\n", json({{"bench", "desktophost"}, {"messages", messages}, {"rate", rate},
                                  {"open", figures(open, messages)}})
                                .constData());
        return open.ok ? 0 : 1;
    }
    const HostRun closed = runHost(dir, QStringLiteral("closed"), false, texts, rate);
    // The same texts all at once, as a catch-up after a reconnect hands them over.
    const HostRun burstOpen = runHost(dir, QStringLiteral("burstopen"), true, texts, BurstRate);
    const HostRun burstClosed = runHost(dir, QStringLiteral("burstclosed"), false, texts, BurstRate);
    const QJsonObject openFigures = figures(open, messages);
    const QJsonObject closedFigures = figures(closed, messages);
    std::printf("%d texts at %d/s into an open conversation: %.1f KiB a message resident, %.1f at the peak (%.0f s); "
                "no conversation open: %.1f KiB, %.1f at the peak\n",
                messages, rate, openFigures.value("kibPerMessage").toDouble(),
                openFigures.value("peakKibPerMessage").toDouble(), open.seconds,
                closedFigures.value("kibPerMessage").toDouble(), closedFigures.value("peakKibPerMessage").toDouble());
    const QJsonObject burst{{"open", figures(burstOpen, messages)}, {"closed", figures(burstClosed, messages)}};
    std::printf("all at once: open %.1f KiB a message at the peak, no conversation open %.1f\n",
                burst.value("open").toObject().value("peakKibPerMessage").toDouble(),
                burst.value("closed").toObject().value("peakKibPerMessage").toDouble());
    std::printf("%s\n", json({{"bench", "desktophost"}, {"messages", messages}, {"rate", rate},
                              {"open", openFigures}, {"closed", closedFigures}, {"burst", burst}})
                            .constData());
    return open.ok && closed.ok && burstOpen.ok && burstClosed.ok ? 0 : 1;
}

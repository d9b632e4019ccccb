// SPDX-License-Identifier: MIT
// The chat window at scale:
//  - opening a conversation of a fifth of `long` and of `long` stored messages
//    (texts, pictures and files mixed) until the page has laid out, beside as
//    many plain QLabel rows in the same kind of scroll area, and the memory a
//    row adds at the peak;
//  - 200 picture rows of 12-megapixel photos, beside the same rows as texts;
//  - 1,000 messages arriving into an open page, beside as many plain labels
//    appended to an open scroll area, with the scrolls and layouts they cause;
//  - the panel's conversation list loading `conversations` conversations,
//    beside a plain QListWidget with as many item widgets;
//  - the long conversation and the list again under the module's style sheet.
//   bench_chatwindow [long] [conversations]   (defaults 10000 and 1000)
// KVMESS_BENCH_KEEP=1 keeps the prepared folder, so that one case can be run
// again under a profiler: bench_chatwindow --case page:long <folder>, with the
// folder's reference server started again by server/fixture.sh.
// KVMESS_BENCH_GRAB=<file.png> saves the measured window of such a case.
#include "benchserver.h"
#include "procstatus.h"
#include "chat/chatwidget.h"
#include "panel/friendmessagewidget.h"
#include "platform/theme.h"
#include "store/friendmessagemanager.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QListWidget>
#include <QProcess>
#include <QScrollArea>
#include <QSettings>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUuid>
#include <QVBoxLayout>

#include <cstdio>
#include <functional>

namespace {

const QString password = QStringLiteral("pw");
const QString user = QStringLiteral("benchchat");

struct Run
{
    double ms = 0;
    double kibPerRow = 0;
};

// Time from building `build`'s widget into a shown window until its layout
// has settled and it has painted once; the peak memory above the start.
// The widget is built inside the shown window, as the chat window builds its
// pages: moved there afterwards, every row would be styled a second time.
Run measure(int rows, const std::function<QWidget *(QWidget *)> &build)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    resetPeak();
    const qint64 before = statusKiB("VmRSS:");
    QElapsedTimer clock;
    clock.start();
    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(build(&window));
    window.resize(900, 700);
    window.show();
    QCoreApplication::processEvents();
    window.layout()->activate();
    for (QLayout *inner : window.findChildren<QLayout *>())
        inner->activate();
    window.grab();
    Run run;
    run.ms = clock.nsecsElapsed() / 1e6;
    run.kibPerRow = double(statusKiB("VmHWM:") - before) / rows;
    // KVMESS_BENCH_GRAB=<file.png> keeps what the window shows once settled.
    if (rows > 1 && qEnvironmentVariableIsSet("KVMESS_BENCH_GRAB")) {
        QTest::qWait(200);
        window.grab().save(qEnvironmentVariable("KVMESS_BENCH_GRAB"));
    }
    return run;
}

QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// Writes the conversations straight into the user's file in one transaction;
// the store sees them at the next sign-in.
bool fillStore(const QString &file, const QStringList &peers, const QList<int> &sizes, const QString &picture,
               const QString &document, const QString &photo)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("benchfill"));
    db.setDatabaseName(file);
    if (!db.open())
        return false;
    QSqlQuery query(db);
    db.transaction();
    query.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS FileTable (MessageLocalId TEXT UNIQUE,FileName TEXT,Filepath TEXT,"
                              "FileMD5 TEXT,FileSize INTEGER,DownloadSrc TEXT);"));
    const qint64 start = QDateTime::currentMSecsSinceEpoch() - 86400000LL * 30;
    for (int p = 0; p < peers.size(); ++p) {
        const QString table = QStringLiteral("FriendMessageTable_%1").arg(peers.at(p));
        query.exec(QStringLiteral("CREATE TABLE %1 (MessageServerId TEXT ,MessageLocalId TEXT UNIQUE,FromUserId TEXT ,"
                                  "ToUserId TEXT ,Type TEXT,Content TEXT,Time INTEGER,IsSend INTEGER,Status INTEGER);")
                       .arg(table));
        QSqlQuery insert(db);
        insert.prepare(QStringLiteral("INSERT INTO %1 VALUES(?,?,?,?,?,?,?,?,?);").arg(table));
        QSqlQuery fileInsert(db);
        fileInsert.prepare(QStringLiteral("INSERT INTO FileTable VALUES(?,?,?,?,?,?);"));
        for (int i = 0; i < sizes.at(p); ++i) {
            const QString id = QUuid::createUuid().toString(QUuid::Id128);
            const bool mine = i % 3 == 1;
            // Eight texts of varying length, one picture and one file in every ten.
            // "photos" holds pictures only, "phototexts" texts only.
            QString type = QStringLiteral("BBC");
            QByteArray content;
            const bool photos = peers.at(p) == QLatin1String("photos");
            if (photos || (peers.at(p) != QLatin1String("phototexts") && (i % 10 == 4 || i % 10 == 9))) {
                const bool isPicture = photos || i % 10 == 4;
                type = isPicture ? QStringLiteral("BBB") : QStringLiteral("BBA");
                const QString path = photos ? photo : isPicture ? picture : document;
                content = json({{"id", id}, {"title", QFileInfo(path).fileName()}, {"src", ""}, {"md5", ""},
                                {"size", QFileInfo(path).size()}});
                fileInsert.addBindValue(id);
                fileInsert.addBindValue(QFileInfo(path).fileName());
                fileInsert.addBindValue(path);
                fileInsert.addBindValue(QString());
                fileInsert.addBindValue(QFileInfo(path).size());
                fileInsert.addBindValue(QString());
                fileInsert.exec();
            } else {
                content = json({{"content", QStringLiteral("第 %1 条消息，").arg(i).repeated(1 + i % 7)}});
            }
            insert.addBindValue(QString::number(100000 + i));
            insert.addBindValue(id);
            insert.addBindValue(mine ? user : peers.at(p));
            insert.addBindValue(mine ? peers.at(p) : user);
            insert.addBindValue(type);
            insert.addBindValue(QString::fromUtf8(content));
            insert.addBindValue(start + qint64(i) * 60000 + p);
            insert.addBindValue(mine ? 1 : 0);
            insert.addBindValue(mine ? 6 : (type == QLatin1String("BBC") ? 0 : 9));
            if (!insert.exec()) {
                std::fprintf(stderr, "%s\n", qPrintable(insert.lastError().text()));
                return false;
            }
        }
    }
    const bool committed = db.commit();
    db.close();
    return committed;
}

QString textOf(const KvFriendMessageData &message)
{
    const QJsonObject content = QJsonDocument::fromJson(message.content).object();
    return content.value(content.contains("content") ? "content" : "title").toString();
}

QWidget *plainRows(const QList<KvFriendMessageData> &messages, QWidget *parent = nullptr)
{
    auto *area = new QScrollArea(parent);
    area->setWidgetResizable(true);
    auto *contents = new QWidget;
    auto *rows = new QVBoxLayout(contents);
    rows->setSpacing(15);
    for (auto message = messages.crbegin(); message != messages.crend(); ++message)
        rows->addWidget(new QLabel(textOf(*message), contents));
    rows->addStretch();
    area->setWidget(contents);
    return area;
}

QWidget *plainList(int count, QWidget *parent)
{
    auto *list = new QListWidget(parent);
    for (int i = 0; i < count; ++i) {
        auto *item = new QListWidgetItem(list);
        auto *row = new QWidget;
        auto *layout = new QHBoxLayout(row);
        layout->addWidget(new QLabel(QStringLiteral("●")));
        auto *texts = new QVBoxLayout;
        texts->addWidget(new QLabel(QStringLiteral("会话 %1").arg(i)));
        texts->addWidget(new QLabel(QStringLiteral("最后一条消息")));
        layout->addLayout(texts);
        item->setSizeHint(row->sizeHint());
        list->setItemWidget(item, row);
    }
    return list;
}

struct Burst
{
    double ms = 0;
    int scrolls = 0;
    int layouts = 0;
};

// Counts the layout requests that reach the rows' parent.
class LayoutCounter : public QObject
{
public:
    int count = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::LayoutRequest)
            ++count;
        return false;
    }
};

// `append` adds the messages into `widget`'s open page; the time runs until
// the page has scrolled to the bottom (the page's own 50 ms timer, or the same
// timer beside it) and laid out.
Burst burst(QWidget *widget, QScrollArea *area, QTimer *scrollTimer, const std::function<void()> &append)
{
    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(widget);
    window.resize(900, 700);
    window.show();
    QCoreApplication::processEvents();
    window.grab();
    Burst result;
    LayoutCounter layouts;
    area->widget()->installEventFilter(&layouts);
    QObject::connect(scrollTimer, &QTimer::timeout, [&result] { ++result.scrolls; });
    QElapsedTimer clock;
    clock.start();
    append();
    while (result.scrolls == 0 || scrollTimer->isActive())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
    window.grab();
    result.ms = clock.nsecsElapsed() / 1e6;
    result.layouts = layouts.count;
    return result;
}

// One measurement in a process of its own, so that neither side inherits the
// other's heap: signs in to the prepared store and prints {"ms", "kibPerRow"}.
int runCase(QString name, const QString &folder)
{
    // "themed:" runs a case under the module's style sheet, as the hosts show it.
    if (name.startsWith("themed:")) {
        KvTheme::apply(KvTheme::Light);
        name = name.mid(7);
    }
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, QDir(folder).filePath("settings"));
    ReferenceServer::useFixture();
    KvUserCommManager::instance();
    if (!KvUserManager::instance()->requestLoginByPassword(user, password))
        return 1;
    KvFriendMessageManager *store = KvUserCommManager::instance()->friendMessageManager();
    // The burst takes the first thousand messages of the short conversation.
    const QString peer = name.startsWith("burst:") ? QStringLiteral("short") : name.section(':', 1);
    QList<KvFriendMessageData> messages;
    store->messages(peer, false, messages);
    const int listed = store->lastMessages().size();
    if (name.startsWith("burst")) {
        messages = messages.mid(0, qMin(1000, messages.size()));
        Burst result;
        if (name == "burst:page") {
            auto *page = new KvChatWidget(QStringLiteral("peer0000"), false);
            result = burst(page, page->findChild<QScrollArea *>(), page->findChild<QTimer *>("scrollTimer"), [&] {
                for (auto message = messages.crbegin(); message != messages.crend(); ++message)
                    page->addMessage(*message);
            });
        } else {
            auto *area = qobject_cast<QScrollArea *>(plainRows({}));
            auto *timer = new QTimer(area);
            timer->setSingleShot(true);
            timer->setInterval(50);
            QObject::connect(timer, &QTimer::timeout, area,
                             [area] { area->verticalScrollBar()->setValue(area->verticalScrollBar()->maximum()); });
            auto *rows = static_cast<QVBoxLayout *>(area->widget()->layout());
            result = burst(area, area, timer, [&] {
                for (auto message = messages.crbegin(); message != messages.crend(); ++message) {
                    rows->insertWidget(rows->count() - 1, new QLabel(textOf(*message), area->widget()));
                    timer->start();
                }
            });
        }
        std::printf("%s\n", json({{"ms", result.ms}, {"scrolls", result.scrolls}, {"layouts", result.layouts},
                                  {"rows", messages.size()}})
                                .constData());
        KvUserManager::instance()->logOut();
        return 0;
    }
    Run run;
    // A first small build of the same kind loads fonts, icons and styles outside the measurement.
    if (name.startsWith("page:")) {
        measure(1, [](QWidget *window) { return new KvChatWidget(QStringLiteral("peer0000"), false, window); });
        run = measure(messages.size(), [&](QWidget *window) { return new KvChatWidget(peer, false, window); });
    } else if (name.startsWith("labels:")) {
        measure(1, [&](QWidget *window) { return plainRows(messages.mid(0, 10), window); });
        run = measure(messages.size(), [&](QWidget *window) { return plainRows(messages, window); });
    } else if (name == "list") {
        measure(1, [](QWidget *window) { return plainList(10, window); });
        run = measure(listed, [](QWidget *window) { return new KvFriendMessageWidget(window); });
    } else {
        measure(1, [](QWidget *window) { return plainList(10, window); });
        run = measure(listed, [&](QWidget *window) { return plainList(listed, window); });
    }
    std::printf("%s\n", json({{"ms", run.ms}, {"kibPerRow", run.kibPerRow},
                              {"rows", name.startsWith("page:") || name.startsWith("labels:") ? messages.size() : listed}})
                            .constData());
    KvUserManager::instance()->logOut();
    return 0;
}

QJsonObject spawn(const QString &name, const QString &folder)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {"--case", name, folder});
    child.waitForFinished(600000);
    const QList<QByteArray> lines = child.readAllStandardOutput().trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last()).object();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc == 4 && QByteArray(argv[1]) == "--case")
        return runCase(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));

    const int longSize = argc > 1 ? QByteArray(argv[1]).toInt() : 10000;
    const int conversations = argc > 2 ? QByteArray(argv[2]).toInt() : 1000;
    const int shortSize = longSize / 5;
    QTemporaryDir dir;
    dir.setAutoRemove(qEnvironmentVariableIsEmpty("KVMESS_BENCH_KEEP"));
    if (!dir.autoRemove())
        std::fprintf(stderr, "kept %s\n", qPrintable(dir.path()));
    BenchServer server(dir);
    if (!server.isRunning() || !BenchServer::signIn(user, password))
        return 1;

    const QString picture = dir.filePath("picture.png");
    QImage image(640, 480, QImage::Format_RGB32);
    image.fill(QColor(0x4a, 0x90, 0xd9));
    image.save(picture);
    const QString document = dir.filePath(QStringLiteral("说明.pdf"));
    QFile(document).open(QIODevice::WriteOnly);
    const QString photo = dir.filePath("photo.jpg");
    {
        QImage large(4000, 3000, QImage::Format_RGB32);
        large.fill(QColor(0x6a, 0x8f, 0x3d));
        large.save(photo, "JPG", 90);
    }

    QStringList peers{QStringLiteral("short"), QStringLiteral("long"), QStringLiteral("photos"),
                      QStringLiteral("phototexts")};
    QList<int> sizes{shortSize, longSize, 200, 200};
    for (int i = 0; i < conversations - 4; ++i) {
        peers << QStringLiteral("peer%1").arg(i, 4, 10, QLatin1Char('0'));
        sizes << 1;
    }
    const QString file = dir.filePath(QStringLiteral("work/UserInfo/%1/%1.db").arg(user));
    KvUserManager::instance()->logOut();
    if (!fillStore(file, peers, sizes, picture, document, photo))
        return 1;
    QSqlDatabase::removeDatabase(QStringLiteral("benchfill"));

    QJsonObject result{{"bench", "chatwindow"}};
    for (const QString &peer : {QStringLiteral("short"), QStringLiteral("long")}) {
        const QJsonObject module = spawn("page:" + peer, dir.path());
        const QJsonObject plain = spawn("labels:" + peer, dir.path());
        std::printf("open a conversation of %d messages: %.0f ms (%.1f KiB a row at the peak); "
                    "plain QLabel rows %.0f ms (%.1f KiB a row)\n",
                    module.value("rows").toInt(), module.value("ms").toDouble(), module.value("kibPerRow").toDouble(),
                    plain.value("ms").toDouble(), plain.value("kibPerRow").toDouble());
        result.insert(peer, QJsonObject{{"messages", module.value("rows")}, {"ms", module.value("ms")},
                                        {"kibPerRow", module.value("kibPerRow")}, {"plainMs", plain.value("ms")},
                                        {"plainKibPerRow", plain.value("kibPerRow")}});
    }
    // The same under the module's style sheet, which the hosts apply: every
    // widget of a row is matched against its rules when it is polished.
    const QJsonObject themed = spawn("themed:page:long", dir.path());
    const QJsonObject themedPlain = spawn("themed:labels:long", dir.path());
    std::printf("under the theme: %.0f ms (%.1f KiB a row); plain QLabel rows %.0f ms (%.1f KiB a row)\n",
                themed.value("ms").toDouble(), themed.value("kibPerRow").toDouble(),
                themedPlain.value("ms").toDouble(), themedPlain.value("kibPerRow").toDouble());
    result.insert("themed", QJsonObject{{"messages", themed.value("rows")}, {"ms", themed.value("ms")},
                                        {"kibPerRow", themed.value("kibPerRow")}, {"plainMs", themedPlain.value("ms")},
                                        {"plainKibPerRow", themedPlain.value("kibPerRow")}});
    const QJsonObject photos = spawn("page:photos", dir.path());
    const QJsonObject photoTexts = spawn("page:phototexts", dir.path());
    const double photoMiB = (photos.value("kibPerRow").toDouble() - photoTexts.value("kibPerRow").toDouble()) * 200 / 1024;
    std::printf("open 200 rows of 12-megapixel photos: %.0f ms, %.1f MiB more than as texts (%.0f ms)\n",
                photos.value("ms").toDouble(), photoMiB, photoTexts.value("ms").toDouble());
    result.insert("photos", QJsonObject{{"ms", photos.value("ms")}, {"textMs", photoTexts.value("ms")},
                                        {"extraMiB", photoMiB}});
    const QJsonObject arrivals = spawn("burst:page", dir.path());
    const QJsonObject plainArrivals = spawn("burst:labels", dir.path());
    std::printf("1,000 arrivals into an open page: %.0f ms, %d scrolls, %d layout requests; plain labels %.0f ms\n",
                arrivals.value("ms").toDouble(), arrivals.value("scrolls").toInt(), arrivals.value("layouts").toInt(),
                plainArrivals.value("ms").toDouble());
    result.insert("burst", QJsonObject{{"ms", arrivals.value("ms")}, {"scrolls", arrivals.value("scrolls")},
                                       {"layouts", arrivals.value("layouts")}, {"plainMs", plainArrivals.value("ms")}});
    const QJsonObject list = spawn("list", dir.path());
    const QJsonObject plainList = spawn("plainlist", dir.path());
    std::printf("load the conversation list of %d: %.0f ms; plain QListWidget %.0f ms\n", list.value("rows").toInt(),
                list.value("ms").toDouble(), plainList.value("ms").toDouble());
    const QJsonObject themedList = spawn("themed:list", dir.path());
    const QJsonObject themedPlainList = spawn("themed:plainlist", dir.path());
    std::printf("under the theme: %.0f ms; plain QListWidget %.0f ms\n", themedList.value("ms").toDouble(),
                themedPlainList.value("ms").toDouble());
    result.insert("list", QJsonObject{{"conversations", list.value("rows")}, {"ms", list.value("ms")},
                                      {"plainMs", plainList.value("ms")}, {"themedMs", themedList.value("ms")},
                                      {"themedPlainMs", themedPlainList.value("ms")}});
    std::printf("%s\n", json(result).constData());
    return result.value("long").toObject().value("messages").toInt() == longSize ? 0 : 1;
}

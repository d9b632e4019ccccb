// SPDX-License-Identifier: MIT
// The friend page at scale, for 250, 500 and 1,000 friends with portraits:
//  - building the page until it has laid out and painted, beside a plain
//    QListWidget with as many item widgets (a portrait and a name);
//  - a sign-in merge that reports every friend changed (new portraits, as a
//    real merge does), from the server's list to the last update painted,
//    with the page open and, beside it, with no page.
// Each size runs in a process of its own with a user of its own.
//   bench_friendpage [sizes...]   (default 250 500 1000)
#include "benchserver.h"
#include "panel/friendwidget.h"
#include "store/friendmanager.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QListWidget>
#include <QPixmap>
#include <QProcess>
#include <QTest>
#include <QVBoxLayout>

#include <cstdio>
#include <functional>
#include <memory>

namespace {

const QString password = QStringLiteral("pw");

QPixmap portrait(int i, int round)
{
    QImage image(96, 96, QImage::Format_RGB32);
    image.fill(QColor::fromHsv((i * 37 + round * 90) % 360, 140, 200));
    return QPixmap::fromImage(image);
}

QList<KvUserInfoFriend> friendList(int count, int round)
{
    static const QStringList surnames{QStringLiteral("王"), QStringLiteral("李"), QStringLiteral("张"),
                                      QStringLiteral("刘"), QStringLiteral("陈"), QStringLiteral("杨"),
                                      QStringLiteral("赵"), QStringLiteral("黄"), QStringLiteral("周"),
                                      QStringLiteral("吴"), QStringLiteral("Anna"), QStringLiteral("欧阳")};
    QList<KvUserInfoFriend> list;
    for (int i = 0; i < count; ++i) {
        KvUserInfoFriend info;
        info.userName = QStringLiteral("mate%1").arg(i, 4, 10, QLatin1Char('0'));
        info.nickName = surnames.at(i % surnames.size()) + QString::number(i);
        info.phone = QStringLiteral("138%1").arg(i, 8, 10, QLatin1Char('0'));
        info.headPortrait = portrait(i, round);
        list.append(info);
    }
    return list;
}

QWidget *plainList(const QList<KvUserInfoFriend> &friends)
{
    auto *list = new QListWidget;
    for (const KvUserInfoFriend &info : friends) {
        auto *item = new QListWidgetItem(list);
        auto *row = new QWidget;
        auto *layout = new QHBoxLayout(row);
        auto *head = new QLabel;
        head->setPixmap(info.headPortrait.scaled(34, 34, Qt::KeepAspectRatio, Qt::SmoothTransformation));
        layout->addWidget(head);
        layout->addWidget(new QLabel(info.nickName));
        item->setSizeHint(row->sizeHint());
        list->setItemWidget(item, row);
    }
    return list;
}

// Time from building `build`'s widget into a shown window until it has laid
// out and painted once. The window is kept in `window`.
double measure(std::unique_ptr<QWidget> &window, const std::function<QWidget *()> &build)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QElapsedTimer clock;
    clock.start();
    window.reset(new QWidget);
    auto *layout = new QVBoxLayout(window.get());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(build());
    window->resize(300, 700);
    window->show();
    QCoreApplication::processEvents();
    window->grab();
    return clock.nsecsElapsed() / 1e6;
}

// Hands `list` to the store as the server's answer at sign-in and waits until
// it has reported `expected` friends changed and the window, if any, has painted.
double merge(const QList<KvUserInfoFriend> &list, int expected, QWidget *window)
{
    KvFriendManager *friends = KvUserCommManager::instance()->friendManager();
    int updates = 0;
    const QMetaObject::Connection counting =
        QObject::connect(friends, &KvFriendManager::signalFriendUpdate, [&updates] { ++updates; });
    QElapsedTimer clock;
    clock.start();
    emit KvUserManager::instance()->signalReposeFriends(list);
    if (!QTest::qWaitFor([&] { return updates >= expected; }, 600000))
        return -1;
    QCoreApplication::processEvents();
    if (window)
        window->grab();
    const double ms = clock.nsecsElapsed() / 1e6;
    QObject::disconnect(counting);
    return updates >= expected ? ms : -1;
}

int runCase(int count)
{
    const QString user = QStringLiteral("benchfriends%1").arg(count);
    if (!BenchServer::signIn(user, password))
        return 1;
    KvFriendManager *friends = KvUserCommManager::instance()->friendManager();
    // The sign-in's own merge (of an empty list) must be over before the friends are stored.
    QTest::qWait(1000);
    emit KvUserManager::instance()->signalReposeFriends(friendList(count, 0));
    const bool stored = QTest::qWaitFor([&] {
        QList<KvUserInfoFriend> all;
        friends->allFriends(all);
        return all.size() >= count;
    }, 120000);
    if (!stored)
        return 1;

    std::unique_ptr<QWidget> window;
    // A first build of each kind loads fonts, icons and styles outside the measurement.
    measure(window, [] { return plainList(friendList(10, 0)); });
    measure(window, [] { return new KvFriendWidget; });
    const QList<KvUserInfoFriend> shown = friendList(count, 0);
    const double plainMs = measure(window, [&] { return plainList(shown); });
    const double pageMs = measure(window, [] { return new KvFriendWidget; });
    // The page's share that is the store's read of the friends and their portraits.
    QElapsedTimer clock;
    clock.start();
    QList<KvUserInfoFriend> read;
    friends->allFriends(read);
    const double readMs = clock.nsecsElapsed() / 1e6;
    const double mergeMs = merge(friendList(count, 1), count, window.get());
    window.reset();
    const double storeMs = merge(friendList(count, 2), count, nullptr);
    std::printf("%s\n", QJsonDocument(QJsonObject{{"friends", count}, {"pageMs", pageMs}, {"plainMs", plainMs},
                                                  {"readMs", readMs},
                                                  {"mergeMs", mergeMs}, {"storeMergeMs", storeMs}})
                            .toJson(QJsonDocument::Compact)
                            .constData());
    KvUserManager::instance()->logOut();
    return mergeMs < 0 || storeMs < 0 ? 1 : 0;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc == 4 && QByteArray(argv[1]) == "--case") {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, QDir(QString::fromLocal8Bit(argv[3])).filePath("settings"));
        ReferenceServer::useFixture();
        return runCase(QByteArray(argv[2]).toInt());
    }

    QList<int> sizes;
    for (int i = 1; i < argc; ++i)
        sizes << QByteArray(argv[i]).toInt();
    if (sizes.isEmpty())
        sizes = {250, 500, 1000};
    QTemporaryDir dir;
    BenchServer server(dir);
    if (!server.isRunning())
        return 1;

    QJsonArray results;
    for (int count : qAsConst(sizes)) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), {"--case", QString::number(count), dir.path()});
        child.waitForFinished(1200000);
        const QJsonObject result =
            QJsonDocument::fromJson(child.readAllStandardOutput().trimmed().split('\n').last()).object();
        if (child.exitCode() != 0 || result.isEmpty()) {
            std::fprintf(stderr, "the case of %d friends failed\n", count);
            return 1;
        }
        std::printf("%d friends: page %.0f ms (reading the friends %.0f ms), plain QListWidget %.0f ms; merge reporting all changed %.0f ms "
                    "with the page, %.0f ms without\n",
                    count, result.value("pageMs").toDouble(), result.value("readMs").toDouble(), result.value("plainMs").toDouble(),
                    result.value("mergeMs").toDouble(), result.value("storeMergeMs").toDouble());
        results.append(result);
    }
    std::printf("%s\n", QJsonDocument(QJsonObject{{"bench", "friendpage"}, {"sizes", results}})
                            .toJson(QJsonDocument::Compact)
                            .constData());
    return 0;
}

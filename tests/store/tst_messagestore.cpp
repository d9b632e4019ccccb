// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "fakehttpserver.h"
#include "messaging/wscommunicationtesthook_p.h"
#include "platform/browserdialog.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"

#include <QApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString password = QStringLiteral("pw");

QString createAccount(const QString &prefix)
{
    return ReferenceServer::createAccount(prefix, password).value("username").toString();
}

QStringList storeConnections()
{
    return QSqlDatabase::connectionNames().filter(QStringLiteral("friend_connect_"));
}

class ShowCatcher : public QObject
{
public:
    explicit ShowCatcher(std::function<void(KvBrowserDialog *)> onShow) : m_onShow(std::move(onShow)) {}

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *dialog = qobject_cast<KvBrowserDialog *>(watched);
        if (dialog && event->type() == QEvent::Show) {
            m_onShow(dialog);
            return true;
        }
        return false;
    }

private:
    std::function<void(KvBrowserDialog *)> m_onShow;
};

} // namespace

class TestMessageStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void signInOpensTheUsersFile();
    void repeatedLoginReopensNothing();
    void tablesUseTheExactStatements();
    void ingest_data();
    void ingest();
    void ownMessagesFromOtherDevices();
    void groupMessageOncePerAddressee();
    void redelivery_data();
    void redelivery();
    void receivedFiles();
    void userDataIsPrivate_data();
    void userDataIsPrivate();
    void reads();
    void newestRowOfEveryConversation();
    void popUpNotice();
    void concurrentWriterLosesNoRow();
    void logoutClosesAndSwitchReopens();

private:
    QJsonObject push(const QString &type, const QJsonObject &data, const QString &from,
                     const QJsonArray &to = {}, bool group = false, const QString &platform = "phone");
    QList<QVariantMap> rows(const QString &table);
    QString mark();

    QTemporaryDir m_dir;
    QString m_me;
    QString m_friend;
    QString m_other;
    QString m_dbFile;
    KvFriendMessageManager *m_messages = nullptr;
};

void TestMessageStore::initTestCase()
{
    KvWSCommunicationTestHook::setTimeScale(0.01);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work/not/yet"));
    QVERIFY(ReferenceServer::useFixture());
    m_me = createAccount("store");
    m_friend = createAccount("peer");
    m_other = createAccount("other");
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_friend}});
    m_messages = KvUserCommManager::instance()->friendMessageManager();
    m_dbFile = m_dir.filePath(QStringLiteral("work/not/yet/UserInfo/%1/%1.db").arg(m_me));
}

void TestMessageStore::cleanupTestCase()
{
    QSqlDatabase::removeDatabase("reader");
}

QJsonObject TestMessageStore::push(const QString &type, const QJsonObject &data, const QString &from,
                                   const QJsonArray &to, bool group, const QString &platform)
{
    QJsonObject body{{"to", m_me}, {"type", type}, {"data", data}, {"from", from}, {"group", group},
                     {"platform", platform}};
    if (!to.isEmpty())
        body.insert("to_list", to);
    return ReferenceServer::adminPost("push", body).toObject().value("message").toObject();
}

QList<QVariantMap> TestMessageStore::rows(const QString &table)
{
    QSqlDatabase db = QSqlDatabase::contains("reader") ? QSqlDatabase::database("reader")
                                                       : QSqlDatabase::addDatabase("QSQLITE", "reader");
    db.setDatabaseName(m_dbFile);
    db.open();
    QSqlQuery query(db);
    QList<QVariantMap> result;
    if (!query.exec(QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(table)))
        return result;
    while (query.next()) {
        QVariantMap row;
        for (int i = 0; i < query.record().count(); ++i)
            row.insert(query.record().fieldName(i), query.value(i));
        result.append(row);
    }
    return result;
}

QString TestMessageStore::mark()
{
    const auto entries = rows("MateTable");
    return entries.isEmpty() ? QString() : entries.first().value("Value").toString();
}

void TestMessageStore::signInOpensTheUsersFile()
{
    QSignalSpy databases(KvUserCommManager::instance(), &KvUserCommManager::signalDatebasebChanged);
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, password));
    QCOMPARE(databases.count(), 1);
    QCOMPARE(databases.first().at(0).toString(), m_dbFile);
    QVERIFY(QFile::exists(m_dbFile));
    // The manager's own guard and the seven of the store objects.
    QTRY_COMPARE(storeConnections().size(), 8);
}

void TestMessageStore::repeatedLoginReopensNothing()
{
    QSignalSpy databases(KvUserCommManager::instance(), &KvUserCommManager::signalDatebasebChanged);
    QSignalSpy states(KvUserCommManager::instance(), &KvUserCommManager::signalCommLoginStateChanged);
    emit KvUserManager::instance()->signalUserLoginStateChanged(true);
    QCOMPARE(databases.count(), 0);
    QCOMPARE(states.count(), 1);
    QCOMPARE(storeConnections().size(), 8);
}

void TestMessageStore::tablesUseTheExactStatements()
{
    push("BBC", {{"text", "first"}}, m_friend, {m_me});
    QTRY_COMPARE(rows("FriendMessageTable_" + m_friend).size(), 1);
    QSqlQuery query(QSqlDatabase::database("reader"));
    QVERIFY(query.exec("SELECT name, sql FROM sqlite_master WHERE type='table'"));
    QMap<QString, QString> sql;
    while (query.next())
        sql.insert(query.value(0).toString(), query.value(1).toString());
    QCOMPARE(sql.value("FriendMessageTable_" + m_friend),
             QStringLiteral("CREATE TABLE FriendMessageTable_%1 (MessageServerId TEXT ,MessageLocalId TEXT UNIQUE,FromUserId TEXT ,ToUserId TEXT ,Type TEXT,Content TEXT,Time INTEGER,IsSend INTEGER,Status INTEGER)").arg(m_friend));
    QCOMPARE(sql.value("MateTable"), QStringLiteral("CREATE TABLE MateTable (Key TEXT UNIQUE,Value TEXT)"));
}

void TestMessageStore::ingest_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QJsonObject>("data");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("conversation");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("contentKept");
    QTest::newRow("text") << "BBC" << QJsonObject{{"text", QStringLiteral("你好")}, {"extra", 1}} << m_friend << m_friend << 0 << true;
    QTest::newRow("notice") << "ZZN" << QJsonObject{{"title", "t"}, {"url", "http://x/"}} << "kavora" << "kavora" << 1 << true;
    QTest::newRow("membership change") << "ZZG" << QJsonObject{{"member", 1}} << "kavora" << "kavora" << 1 << false;
    QTest::newRow("layer added") << "ZZH" << QJsonObject{{"version", 3}} << "kavora" << "kavora" << 1 << false;
    QTest::newRow("agent joined") << "BBK" << QJsonObject{{"customer_service", QJsonObject{{"username", "10000@a"}}}}
                                  << m_friend << m_friend << 0 << true;
    QTest::newRow("friend request goes to the system conversation")
        << "ZZA" << QJsonObject{{"fromUser", QJsonObject{{"username", m_other}}}} << m_other << "kavora" << 0 << true;
}

void TestMessageStore::ingest()
{
    QFETCH(QString, type);
    QFETCH(QJsonObject, data);
    QFETCH(QString, from);
    QFETCH(QString, conversation);
    QFETCH(int, status);
    QFETCH(bool, contentKept);
    const QString table = "FriendMessageTable_" + conversation;
    const int before = rows(table).size();
    QSignalSpy fresh(m_messages, &KvFriendMessageManager::signalNewMessage);
    const QJsonObject frame = push(type, data, from, {m_me});
    QTRY_COMPARE(rows(table).size(), before + 1);
    const QVariantMap row = rows(table).last();
    QCOMPARE(row.value("Type").toString(), type);
    QCOMPARE(row.value("Status").toInt(), status);
    QCOMPARE(row.value("FromUserId").toString(), from);
    QCOMPARE(row.value("ToUserId").toString(), m_me);
    QCOMPARE(row.value("IsSend").toInt(), 0);
    QCOMPARE(row.value("MessageServerId").toString(), frame.value("message_id").toVariant().toString());
    QCOMPARE(row.value("Time").toLongLong(), frame.value("create_time").toVariant().toLongLong() * 1000);
    if (contentKept)
        QCOMPARE(QJsonDocument::fromJson(row.value("Content").toByteArray()).object(), data);
    else
        QVERIFY(row.value("Content").toString().isEmpty());
    QTRY_COMPARE(mark(), row.value("MessageServerId").toString());
    const QString localId = row.value("MessageLocalId").toString();
    QTRY_VERIFY(std::any_of(fresh.cbegin(), fresh.cend(), [&](const QList<QVariant> &args) {
        return args.at(0).value<KvFriendMessageData>().messageLocalId == localId;
    }));
}

void TestMessageStore::ownMessagesFromOtherDevices()
{
    const QString table = "FriendMessageTable_" + m_friend;
    push("BBC", {{"text", "typed on my phone"}}, m_me, {m_friend});
    QTRY_VERIFY(!rows(table).isEmpty() && rows(table).last().value("Content").toString().contains("my phone"));
    QCOMPARE(rows(table).last().value("IsSend").toInt(), 1);

    const QString self = "FriendMessageTable_" + m_me;
    push("BBC", {{"text", "note from phone"}}, m_me, {m_me}, false, "phone");
    QTRY_COMPARE(rows(self).size(), 1);
    QCOMPARE(rows(self).last().value("IsSend").toInt(), 0);
    push("BBC", {{"text", "note from pc"}}, m_me, {m_me}, false, "pc-pro");
    QTRY_COMPARE(rows(self).size(), 2);
    QCOMPARE(rows(self).last().value("IsSend").toInt(), 1);
}

void TestMessageStore::groupMessageOncePerAddressee()
{
    push("BBC", {{"text", "team"}}, m_friend, {"900001", "900002"}, true);
    QTRY_COMPARE(rows("GroupMessageTable_900002").size(), 1);
    QCOMPARE(rows("GroupMessageTable_900001").size(), 1);
    QCOMPARE(rows("GroupMessageTable_900001").first().value("ToUserId").toString(), QStringLiteral("900001"));
}

void TestMessageStore::redelivery_data()
{
    QTest::addColumn<bool>("drop");
    QTest::addColumn<int>("rowsKept");
    QTest::newRow("stored twice by default") << false << 2;
    QTest::newRow("dropped when the host asks") << true << 1;
}

void TestMessageStore::redelivery()
{
    QFETCH(bool, drop);
    QFETCH(int, rowsKept);
    KvUserCommManager::setDropRedeliveredMessages(drop);
    const QString table = "FriendMessageTable_" + m_friend;
    const QString id = QString::number(990000 + rowsKept);
    const QJsonObject frame{{"type", "BBC"}, {"message_id", id}, {"create_time", 1700000000}, {"from", m_friend},
                            {"to", QJsonArray{m_me}}, {"group", false}, {"platform", "pc-pro"},
                            {"data", QJsonObject{{"content", "sent again after a cut " + id}}}};
    const QString raw = QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact));
    const auto copies = [&] {
        const auto all = rows(table);
        return std::count_if(all.cbegin(), all.cend(), [&](const QVariantMap &row) {
            return row.value("MessageServerId").toString() == id;
        });
    };
    ReferenceServer::adminPost("push", {{"to", m_me}, {"raw", raw}});
    QTRY_COMPARE(copies(), 1);
    ReferenceServer::adminPost("push", {{"to", m_me}, {"raw", raw}});
    // A later message proves the second copy has been handled.
    push("BBC", {{"text", "after " + id}}, m_friend, {m_me});
    QTRY_VERIFY(rows(table).last().value("Content").toString().contains("after " + id));
    KvUserCommManager::setDropRedeliveredMessages(false);
    QCOMPARE(copies(), rowsKept);
}

void TestMessageStore::receivedFiles()
{
    FakeHttpServer files;
    QVERIFY(files.listen());
    files.setResponse(200, "file body bytes");
    QSignalSpy updates(m_messages, &KvFriendMessageManager::signalMessageStateUpdate);
    const QJsonObject file{{"id", "f1"}, {"title", "report.final.pdf"}, {"src", files.baseUrl() + "f1"},
                           {"md5", "x"}, {"size", 15}};
    const QString table = "FriendMessageTable_" + m_friend;
    const int before = rows(table).size();
    push("BBA", file, m_friend, {m_me});
    QTRY_COMPARE(updates.count(), 1);
    QCOMPARE(rows(table).size(), before + 1);
    const QString folder = QFileInfo(m_dbFile).absolutePath();
    QFile saved(folder + "/report.pdf");
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), QByteArray("file body bytes"));
    const auto update = updates.first().at(0).value<KvFriendMessageData>();
    QCOMPARE(update.status, 9);
    QCOMPARE(update.fileInfo.filePath, folder + "/report.pdf");

    int finished = 1;
    for (const QString &copy : {QStringLiteral("report(1).pdf"), QStringLiteral("report(2).pdf")}) {
        push("BBA", file, m_friend, {m_me});
        ++finished;
        QTRY_COMPARE(updates.count(), finished);
        QCOMPARE(updates.last().at(0).value<KvFriendMessageData>().fileInfo.filePath, folder + "/" + copy);
        QVERIFY(QFile::exists(folder + "/" + copy));
    }

    files.setResponse(404, "");
    const QJsonObject missing{{"id", "f2"}, {"title", "missing.txt"}, {"src", files.baseUrl() + "f2"},
                              {"md5", "y"}, {"size", 1}};
    push("BBA", missing, m_friend, {m_me});
    QTRY_COMPARE(updates.count(), 4);
    QCOMPARE(updates.last().at(0).value<KvFriendMessageData>().status, 10);
    QVERIFY(!QFile::exists(folder + "/missing.txt"));
    QCOMPARE(rows(table).last().value("Status").toInt(), 10);
}

void TestMessageStore::userDataIsPrivate_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("mode");
    const QString folder = QFileInfo(m_dbFile).absolutePath();
    QTest::newRow("work folder made by the module") << m_dir.filePath("work/not/yet") << 0700;
    QTest::newRow("UserInfo") << QFileInfo(folder).absolutePath() << 0700;
    QTest::newRow("user folder") << folder << 0700;
    QTest::newRow("database") << m_dbFile << 0600;
    QTest::newRow("write-ahead log") << m_dbFile + "-wal" << 0600;
    QTest::newRow("shared memory") << m_dbFile + "-shm" << 0600;
    QTest::newRow("received file") << folder + "/report.pdf" << 0600;
    QTest::newRow("persisted login") << KvUserManager::openSettings()->fileName() << 0600;
}

void TestMessageStore::userDataIsPrivate()
{
#ifdef Q_OS_WIN
    QSKIP("the profile's own access rules apply");
#endif
    QFETCH(QString, path);
    QFETCH(int, mode);
    QVERIFY2(QFileInfo::exists(path), qPrintable(path));
    const int p = int(QFileInfo(path).permissions());
    const int actual = ((p >> 12) & 7) << 6 | ((p >> 4) & 7) << 3 | (p & 7);
    QCOMPARE(QString::number(actual, 8), QString::number(mode, 8));
}

void TestMessageStore::reads()
{
    QList<KvFriendMessageData> list;
    QVERIFY(m_messages->messages(m_friend, false, list));
    QVERIFY(list.size() >= 3);
    for (int i = 1; i < list.size(); ++i)
        QVERIFY(list.at(i - 1).time >= list.at(i).time);
    KvFriendMessageData last;
    QVERIFY(m_messages->lastMessage(m_friend, last));
    QCOMPARE(last.time, list.first().time);
    QVERIFY(!m_messages->lastMessage("nobody", last));
    QVERIFY(!m_messages->messages("nobody", false, list));
    QVERIFY(m_messages->lastMessages().size() >= 3);

    const QString id = list.last().messageLocalId;
    QVERIFY(m_messages->updateMessageStatus(m_friend, id, 2));
    list.clear();
    QVERIFY(m_messages->messages(m_friend, false, list));
    QCOMPARE(list.last().status, 2);
    QVERIFY(!m_messages->updateMessageStatus("nobody", id, 2));
}

void TestMessageStore::newestRowOfEveryConversation()
{
    // More conversations than one statement asks at once; one has two rows at
    // its newest time, and one is a team's.
    QSqlDatabase db = QSqlDatabase::contains("reader") ? QSqlDatabase::database("reader")
                                                       : QSqlDatabase::addDatabase("QSQLITE", "reader");
    db.setDatabaseName(m_dbFile);
    QVERIFY(db.open());
    QSqlQuery query(db);
    QVERIFY(query.exec("PRAGMA synchronous=OFF"));
    QStringList tables;
    for (int i = 0; i < 450; ++i)
        tables << QStringLiteral("FriendMessageTable_bulk%1").arg(i, 3, 10, QLatin1Char('0'));
    tables << QStringLiteral("GroupMessageTable_team9");
    for (int i = 0; i < tables.size(); ++i) {
        QVERIFY(query.exec(QStringLiteral("CREATE TABLE %1 (MessageServerId TEXT ,MessageLocalId TEXT UNIQUE,"
                                          "FromUserId TEXT ,ToUserId TEXT ,Type TEXT,Content TEXT,Time INTEGER,"
                                          "IsSend INTEGER,Status INTEGER)").arg(tables.at(i))));
        const QString insert = QStringLiteral("INSERT INTO %1 VALUES('s','%2','bulk','%3','AAA','{}',%4,0,0)");
        QVERIFY(query.exec(insert.arg(tables.at(i), QStringLiteral("old%1").arg(i), m_me).arg(100)));
        QVERIFY(query.exec(insert.arg(tables.at(i), QStringLiteral("new%1").arg(i), m_me).arg(200 + i)));
        if (i == 7)
            QVERIFY(query.exec(insert.arg(tables.at(i), QStringLiteral("tie%1").arg(i), m_me).arg(200 + i)));
        m_messages->slotCreateMessageTable(tables.at(i));
    }

    QString team;
    const auto newest = [&] {
        QStringList ids;
        for (const KvFriendMessageData &row : m_messages->lastMessages()) {
            if (!row.messageLocalId.contains(QRegularExpression("^(old|new|tie)")))
                continue;
            ids << row.messageLocalId;
            if (row.isGroup)
                team = row.toUserId;
        }
        return ids;
    };
    QStringList expected;
    for (int i = 0; i < tables.size(); ++i)
        expected << QStringLiteral("new%1").arg(i);
    QCOMPARE(newest(), expected);
    QCOMPARE(team, QStringLiteral("team9"));

    // A removed friend's conversation goes; the others stay.
    m_messages->slotFriendRemove(QStringLiteral("bulk005"));
    expected.removeAll(QStringLiteral("new5"));
    QCOMPARE(newest(), expected);
}

void TestMessageStore::popUpNotice()
{
    // Catch the dialog as it is shown, before its web view exists, and close it.
    QString seenUrl;
    QString seenTitle;
    ShowCatcher catcher([&](KvBrowserDialog *dialog) {
        seenUrl = dialog->url().toString();
        seenTitle = dialog->windowTitle();
        QMetaObject::invokeMethod(dialog, &QDialog::reject, Qt::QueuedConnection);
    });
    qApp->installEventFilter(&catcher);
    push("ZZO", {{"url", "http://notice.example/page"}, {"notice", QJsonObject{{"id", 42}}}}, "kavora", {m_me});
    QTRY_VERIFY_WITH_TIMEOUT(!seenUrl.isEmpty(), 20000);
    QCOMPARE(seenUrl, QStringLiteral("http://notice.example/page?token=%1&id=42")
                          .arg(KvUserManager::instance()->getUserLoginInfo().token));
    QCOMPARE(seenTitle, QStringLiteral("优惠"));
}

void TestMessageStore::concurrentWriterLosesNoRow()
{
    // Another connection holds the write lock, and writes, while a text of
    // five frames arrives: each row waits for it and none is lost or doubled.
    const QString table = "FriendMessageTable_" + m_friend;
    const int before = rows(table).size();
    QSignalSpy fresh(m_messages, &KvFriendMessageManager::signalNewMessage);
    {
        QSqlDatabase locker = QSqlDatabase::addDatabase("QSQLITE", "locker");
        locker.setDatabaseName(m_dbFile);
        QVERIFY(locker.open());
        QSqlQuery query(locker);
        QVERIFY(query.exec("BEGIN IMMEDIATE"));
        QVERIFY(query.exec("CREATE TABLE IF NOT EXISTS Probe (x INTEGER)"));
        QVERIFY(query.exec("INSERT INTO Probe VALUES (1)"));

        QJsonArray frames;
        for (int i = 0; i < 5; ++i) {
            const QString id = QString::number(8000000 + i);
            frames.append(QJsonObject{{"type", "BBC"}, {"data", QJsonObject{{"text", "batch"}}}, {"message_id", id},
                                      {"create_time", 1795000000 + i}, {"platform", "phone"}, {"from", m_friend},
                                      {"group", false}, {"to", QJsonArray{m_me}}, {"sid", "batch" + id}});
        }
        ReferenceServer::adminPost(
            "push", {{"to", m_me}, {"raw", QString::fromUtf8(QJsonDocument(frames).toJson(QJsonDocument::Compact))}});
        QTest::qWait(300);
        QCOMPARE(rows(table).size(), before);
        QVERIFY(query.exec("COMMIT"));
        locker.close();
    }
    QSqlDatabase::removeDatabase("locker");
    QTRY_COMPARE(rows(table).size(), before + 5);
    QTRY_COMPARE(fresh.count(), 5);
    QCOMPARE(mark(), QStringLiteral("8000004"));
}

void TestMessageStore::logoutClosesAndSwitchReopens()
{
    QSignalSpy databases(KvUserCommManager::instance(), &KvUserCommManager::signalDatebasebChanged);
    KvUserManager::instance()->logOut();
    QCOMPARE(databases.count(), 1);
    QCOMPARE(databases.first().at(0).toString(), QString());
    QTRY_COMPARE(storeConnections().size(), 0);

    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_other, password));
    QCOMPARE(databases.count(), 2);
    QVERIFY(databases.last().at(0).toString().endsWith(QStringLiteral("UserInfo/%1/%1.db").arg(m_other)));
    QTRY_COMPARE(storeConnections().size(), 8);

    // A name no folder can hold: the file cannot be opened, nothing is made for
    // it, and the session goes on without a store.
    const QString slashed = ReferenceServer::createAccount("bad/", password).value("username").toString();
    QVERIFY(slashed.startsWith("bad/"));
    KvUserManager::instance()->logOut();
    QSignalSpy comm(KvUserCommManager::instance(), &KvUserCommManager::signalCommLoginStateChanged);
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(slashed, password));
    QCOMPARE(databases.count(), 3);
    QTRY_COMPARE(storeConnections().size(), 0);
    QVERIFY(!comm.isEmpty() && comm.last().at(0).toBool());
    const QString userFolder = m_dir.filePath("work/not/yet/UserInfo/" + slashed);
    QVERIFY(QFileInfo(userFolder).isDir());
    QVERIFY(!QFileInfo::exists(userFolder + "/bad"));
}

QTEST_MAIN(TestMessageStore)
#include "tst_messagestore.moc"

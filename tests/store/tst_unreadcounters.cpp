#include "account/usermanager.h"
#include "referenceserver.h"
#include "storetestsupport.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace StoreTest;

namespace {

QStringList namesOf(const QSignalSpy &spy)
{
    QStringList names;
    for (const QList<QVariant> &args : spy)
        names.append(args.at(0).toString());
    names.sort();
    return names;
}

} // namespace

class TestUnreadCounters : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void signInLoadsTheCounts();
    void receivedMessagesCount();
    void sendingClearsTheConversation();
    void groupsAndNoticesHaveKeysOfTheirOwn();
    void setSubtractAndClear_data();
    void setSubtractAndClear();
    void clearAllKeepsNoticesApart();
    void countsSurviveASignOut();

private:
    // Waits until the message worker has passed `count` new messages on.
    bool waitForMessages(QSignalSpy &spy, int count) { return QTest::qWaitFor([&] { return spy.count() >= count; }, 10000); }
    QMap<QString, int> storedCounts();

    QTemporaryDir m_dir;
    QString m_me;
    QString m_friend;
    QString m_team;
    KvUnreadMessageManager *m_unread = nullptr;
    KvFriendMessageManager *m_messages = nullptr;
    std::unique_ptr<Reader> m_reader;
};

void TestUnreadCounters::initTestCase()
{
    QVERIFY(useFolderAndFixture(m_dir));
    m_me = createAccount("ume");
    m_friend = createAccount("upeer");
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_friend}});
    m_team = QStringLiteral("8%1").arg(QDateTime::currentMSecsSinceEpoch() % 100000000);
    ReferenceServer::adminPost("enterprises", {{"id", m_team}, {"members", QJsonArray{m_me, m_friend}}});
    m_unread = KvUserCommManager::instance()->userUnreadMessageManager();
    m_messages = KvUserCommManager::instance()->friendMessageManager();
}

QMap<QString, int> TestUnreadCounters::storedCounts()
{
    QMap<QString, int> counts;
    for (const QVariantMap &row : m_reader->rows("UnreadMessageTable"))
        counts.insert(row.value("User").toString(), row.value("UnreadCount").toInt());
    return counts;
}

void TestUnreadCounters::signInLoadsTheCounts()
{
    QSignalSpy changed(m_unread, &KvUnreadMessageManager::signalUnreadMessageChanged);
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "pw"));
    // An empty table is announced too, once.
    QCOMPARE(changed.count(), 1);
    QVERIFY(m_unread->allUnreadMessageInfo().isEmpty());
    m_reader = std::make_unique<Reader>(databaseFile(m_dir, m_me));
    QCOMPARE(m_reader->schema("UnreadMessageTable"),
             QStringLiteral("CREATE TABLE UnreadMessageTable (User TEXT UNIQUE,UnreadCount INTEGER)"));
}

void TestUnreadCounters::receivedMessagesCount()
{
    QSignalSpy changed(m_unread, &KvUnreadMessageManager::signalUnreadMessageChanged);
    QSignalSpy fresh(m_messages, &KvFriendMessageManager::signalNewMessage);
    push(m_me, "BBC", {{"text", "one"}}, m_friend, {m_me});
    push(m_me, "BBC", {{"text", "two"}}, m_friend, {m_me});
    QVERIFY(waitForMessages(fresh, 2));
    QCOMPARE(m_unread->userUnreadMessageCount(m_friend), 2);
    QCOMPARE(changed.count(), 2);
    QCOMPARE(storedCounts().value(m_friend), 2);
}

void TestUnreadCounters::sendingClearsTheConversation()
{
    QSignalSpy cleared(m_unread, &KvUnreadMessageManager::signalUserUnreadClear);
    QSignalSpy fresh(m_messages, &KvFriendMessageManager::signalNewMessage);
    // Written on another device of this user: a sent message of this conversation.
    push(m_me, "BBC", {{"text", "answer"}}, m_me, {m_friend});
    QVERIFY(waitForMessages(fresh, 1));
    QCOMPARE(m_unread->userUnreadMessageCount(m_friend), 0);
    QCOMPARE(namesOf(cleared), QStringList{m_friend});
    QCOMPARE(storedCounts().value(m_friend, -1), 0);

    // Already 0: nothing more to announce.
    push(m_me, "BBC", {{"text", "again"}}, m_me, {m_friend});
    QVERIFY(waitForMessages(fresh, 2));
    QCOMPARE(cleared.count(), 1);
}

void TestUnreadCounters::groupsAndNoticesHaveKeysOfTheirOwn()
{
    QSignalSpy fresh(m_messages, &KvFriendMessageManager::signalNewMessage);
    push(m_me, "BBC", {{"text", "team"}}, m_friend, {m_team}, true);
    push(m_me, "ZZN", {{"title", "t"}, {"url", "http://notice.invalid/"}}, "kavora", {m_me});
    push(m_me, "ZZN", {{"title", "u"}, {"url", "http://notice.invalid/"}}, "kavora", {m_me});
    QVERIFY(waitForMessages(fresh, 3));
    QCOMPARE(m_unread->userUnreadMessageCount(m_team), 1);
    QCOMPARE(m_unread->userUnreadMessageCount(m_friend), 0);
    QCOMPARE(m_unread->allUnreadNoticeCount(), 2);
    QCOMPARE(m_unread->allUnreadMesssageCount(true), 3);
    QCOMPARE(m_unread->allUnreadMesssageCount(false), 1);
    QCOMPARE(storedCounts().value("kavora"), 2);
}

void TestUnreadCounters::setSubtractAndClear_data()
{
    QTest::addColumn<int>("start"); // -1: no such key yet
    QTest::addColumn<QString>("operation");
    QTest::addColumn<int>("argument");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("changes");
    QTest::addColumn<int>("clears");
    QTest::addColumn<bool>("row");
    QTest::newRow("subtract below zero") << 3 << "sub" << 5 << 0 << 1 << 0 << true;
    QTest::newRow("subtract") << 3 << "sub" << 1 << 2 << 1 << 0 << true;
    QTest::newRow("set negative") << 2 << "set" << -4 << 0 << 1 << 0 << true;
    QTest::newRow("set the same count") << 2 << "set" << 2 << 2 << 0 << 0 << true;
    QTest::newRow("set an unknown key to 0") << -1 << "set" << 0 << 0 << 1 << 0 << true;
    QTest::newRow("clear a count") << 4 << "clear" << 0 << 0 << 1 << 1 << true;
    QTest::newRow("clear a count of 0") << 0 << "clear" << 0 << 0 << 0 << 0 << true;
    QTest::newRow("clear an unknown key") << -1 << "clear" << 0 << 0 << 0 << 0 << false;
}

void TestUnreadCounters::setSubtractAndClear()
{
    QFETCH(int, start);
    QFETCH(QString, operation);
    QFETCH(int, argument);
    QFETCH(int, count);
    QFETCH(int, changes);
    QFETCH(int, clears);
    QFETCH(bool, row);
    const QString key = QStringLiteral("key ") + QTest::currentDataTag();
    if (start >= 0)
        m_unread->setUserUnreadMessageCount(key, start);
    QSignalSpy changed(m_unread, &KvUnreadMessageManager::signalUnreadMessageChanged);
    QSignalSpy cleared(m_unread, &KvUnreadMessageManager::signalUserUnreadClear);
    if (operation == "sub")
        m_unread->subUserUnreadMessageCount(key, argument);
    else if (operation == "set")
        m_unread->setUserUnreadMessageCount(key, argument);
    else
        m_unread->clearUserUnreadMessage(key);
    QCOMPARE(m_unread->userUnreadMessageCount(key), count);
    QCOMPARE(changed.count(), changes);
    QCOMPARE(cleared.count(), clears);
    QCOMPARE(m_unread->allUnreadMessageInfo().contains(key), row);
    QCOMPARE(storedCounts().contains(key), row);
    if (row)
        QCOMPARE(storedCounts().value(key), count);
}

void TestUnreadCounters::clearAllKeepsNoticesApart()
{
    m_unread->setUserUnreadMessageCount("a", 1);
    m_unread->setUserUnreadMessageCount("b", 2);
    QStringList expected;
    const QMap<QString, int> counts = m_unread->allUnreadMessageInfo();
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        if (it.value() != 0 && it.key() != "kavora")
            expected.append(it.key());
    }
    QVERIFY(expected.contains(m_team));

    QSignalSpy cleared(m_unread, &KvUnreadMessageManager::signalUserUnreadClear);
    m_unread->clearAllUserUnreadMessage();
    QCOMPARE(namesOf(cleared), expected);
    QCOMPARE(m_unread->allUnreadMesssageCount(false), 0);
    QCOMPARE(m_unread->allUnreadNoticeCount(), 2);

    cleared.clear();
    m_unread->clearAllNoticeUnreadMessage();
    QCOMPARE(namesOf(cleared), QStringList{"kavora"});
    QCOMPARE(m_unread->allUnreadMesssageCount(true), 0);

    m_unread->setUserUnreadMessageCount("a", 5);
    m_unread->setUserUnreadMessageCount("kavora", 1);
    cleared.clear();
    m_unread->clearAllUnreadMessage();
    QCOMPARE(namesOf(cleared), (QStringList{"a", "kavora"}));
    // Rows stay, with 0.
    QCOMPARE(storedCounts().value("a", -1), 0);
    QCOMPARE(storedCounts().value("kavora", -1), 0);
}

void TestUnreadCounters::countsSurviveASignOut()
{
    m_unread->setUserUnreadMessageCount(m_friend, 4);
    m_unread->setUserUnreadMessageCount("kavora", 2);
    KvUserManager::instance()->logOut();
    QTRY_COMPARE(storeConnections().size(), 0);

    // Without a database the old user's counts stay readable and cannot change,
    // though a clear is still announced.
    QCOMPARE(m_unread->userUnreadMessageCount(m_friend), 4);
    m_unread->setUserUnreadMessageCount(m_friend, 9);
    QCOMPARE(m_unread->userUnreadMessageCount(m_friend), 4);
    QSignalSpy cleared(m_unread, &KvUnreadMessageManager::signalUserUnreadClear);
    m_unread->clearUserUnreadMessage(m_friend);
    QCOMPARE(namesOf(cleared), QStringList{m_friend});
    QCOMPARE(m_unread->userUnreadMessageCount(m_friend), 4);

    // What the next sign-in shows comes from the table.
    QVERIFY(m_reader->exec(QStringLiteral("UPDATE UnreadMessageTable SET UnreadCount=7 WHERE User='%1'").arg(m_friend)));
    QSignalSpy changed(m_unread, &KvUnreadMessageManager::signalUnreadMessageChanged);
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "pw"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(m_unread->userUnreadMessageCount(m_friend), 7);
    QCOMPARE(m_unread->allUnreadNoticeCount(), 2);
    QCOMPARE(m_unread->allUnreadMessageInfo(), storedCounts());
}

QTEST_MAIN(TestUnreadCounters)
#include "tst_unreadcounters.moc"

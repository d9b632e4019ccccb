// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "referenceserver.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/groupmanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"
#include "store/usertocustomerservicemanager.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

// The user names, enterprise ids or keys that a spy saw, sorted.
QStringList namesOf(const QSignalSpy &spy)
{
    QStringList names;
    for (const QList<QVariant> &args : spy) {
        const QVariant value = args.at(0);
        if (value.canConvert<KvUserInfoFriend>())
            names.append(value.value<KvUserInfoFriend>().userName);
        else if (value.canConvert<KvGroupInfo>())
            names.append(value.value<KvGroupInfo>().enterpriseId);
        else
            names.append(value.toString());
    }
    names.sort();
    return names;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

KvUserInfoFriend person(const QString &userName, const QString &nickName = {})
{
    KvUserInfoFriend info;
    info.userName = userName;
    info.nickName = nickName;
    info.sex = 0;
    return info;
}

QPixmap filled(QColor colour)
{
    QPixmap pixmap(6, 6);
    pixmap.fill(colour);
    return pixmap;
}

QString createAccount(const QString &prefix, const QJsonObject &fields = {})
{
    return ReferenceServer::createAccount(prefix, "pw", fields).value("username").toString();
}

void push(const QString &to, const QString &type, const QJsonObject &data, const QString &from,
          const QJsonArray &toList, bool group = false)
{
    ReferenceServer::adminPost("push", {{"to", to}, {"type", type}, {"data", data}, {"from", from}, {"group", group},
                                        {"platform", "phone"}, {"to_list", toList}});
}

// What one merge announced.
struct Spies
{
    template <typename Store, typename Added, typename Updated, typename Removed>
    Spies(Store *store, Added addedSignal, Updated updatedSignal, Removed removedSignal)
        : added(store, addedSignal), updated(store, updatedSignal), removed(store, removedSignal)
    {
    }
    int total() const { return added.count() + updated.count() + removed.count(); }

    QSignalSpy added;
    QSignalSpy updated;
    QSignalSpy removed;
};

} // namespace

class TestUserStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void signInMergesBothListsAndMakesTheSelfEntry();
    void friendMergeFollowsTheServer();
    void craftedFriendLists();
    void singleProfilesAndAgents();
    void enterpriseMerge();
    void storedMembersReadAlike();
    void memberInfoAnswersFromTheFirstInTableOrder();
    void titles_data();
    void titles();
    void unreadCountsFollowNewMessages();
    void sevenConnectionsOnTheirThreads();
    void concurrentMergesLoseNothing();
    void signOutKeepsCountsUntilTheNextLoad();

private:
    bool drainFriendWorker();
    bool fetchFriends();
    bool fetchEnterprises(int expectedSignals);
    void watchFriends()
    {
        m_friendSpies = std::make_unique<Spies>(m_friends, &KvFriendManager::signalFriendNew,
                                                &KvFriendManager::signalFriendUpdate, &KvFriendManager::signalFriendRemove);
    }
    void watchGroups()
    {
        m_groupSpies = std::make_unique<Spies>(m_groups, &KvGroupManager::signalEnterpriseNew,
                                               &KvGroupManager::signalEnterpriseUpdate, &KvGroupManager::signalEnterpriseRemove);
    }
    void befriend(const QString &other, bool remove = false)
    {
        ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", other}, {"remove", remove}});
    }
    QVariant value(const QString &statement);

    QTemporaryDir m_dir;
    QString m_me, m_plain, m_changing, m_leaving, m_pictured, m_bare, m_alice, m_bob;
    QString m_first, m_second;
    KvUserCommManager *m_store = nullptr;
    KvFriendManager *m_friends = nullptr;
    KvGroupManager *m_groups = nullptr;
    KvUnreadMessageManager *m_unread = nullptr;
    std::unique_ptr<Spies> m_friendSpies;
    std::unique_ptr<Spies> m_groupSpies;
};

void TestUserStore::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_me = createAccount("me");
    m_plain = createAccount("plain", {{"face", false}, {"nickname", QStringLiteral("平")}});
    m_changing = createAccount("chg", {{"face", false}});
    m_leaving = createAccount("leave", {{"face", false}});
    m_bare = createAccount("bare", {{"face", false}, {"nickname", ""}});
    m_pictured = createAccount("pic");
    m_alice = createAccount("alice", {{"nickname", QStringLiteral("爱丽丝")}});
    m_bob = createAccount("bob", {{"nickname", QStringLiteral("鲍勃")}, {"face", false}});
    for (const QString &other : {m_plain, m_changing, m_leaving, m_bare})
        befriend(other);
    m_first = QStringLiteral("7%1").arg(QDateTime::currentMSecsSinceEpoch() % 100000000);
    m_second = m_first + QLatin1Char('2');
    ReferenceServer::adminPost("enterprises", {{"id", m_first}, {"title", QStringLiteral("一号")},
                                               {"members", QJsonArray{m_me, m_alice, m_bob}}});
    ReferenceServer::adminPost("enterprises", {{"id", m_second}, {"members", QJsonArray{m_me, m_alice}}});
    m_store = KvUserCommManager::instance();
    m_friends = m_store->friendManager();
    m_groups = m_store->enterpriseManager();
    m_unread = m_store->userUnreadMessageManager();
}

QVariant TestUserStore::value(const QString &statement)
{
    if (!QSqlDatabase::contains("reader")) {
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "reader");
        db.setDatabaseName(m_dir.filePath(QStringLiteral("work/UserInfo/%1/%1.db").arg(m_me)));
        db.setConnectOptions("QSQLITE_BUSY_TIMEOUT=10000");
        db.open();
    }
    QSqlQuery query(QSqlDatabase::database("reader"));
    return query.exec(statement) && query.next() ? query.value(0) : QVariant();
}

// The worker takes its queue in order: once an agent's profile, which is never
// stored, has come back as a signal, everything queued before it is done.
bool TestUserStore::drainFriendWorker()
{
    static int serial = 0;
    const QString marker = QStringLiteral("10000@drain%1").arg(++serial);
    QSignalSpy seen(m_friends, &KvFriendManager::signalFriendToCustomerService);
    emit KvUserManager::instance()->signalReposeFriend(person(marker));
    return QTest::qWaitFor([&] { return namesOf(seen).contains(marker); }, 10000);
}

bool TestUserStore::fetchFriends()
{
    watchFriends();
    QSignalSpy lists(KvUserManager::instance(), &KvUserManager::signalReposeFriends);
    KvUserManager::instance()->requestFriends();
    return lists.wait(10000) && drainFriendWorker();
}

// Every enterprise merge signals once per enterprise listed or removed, the removals last.
bool TestUserStore::fetchEnterprises(int expectedSignals)
{
    watchGroups();
    KvUserManager::instance()->requestEnterprises();
    return QTest::qWaitFor([&] { return m_groupSpies->total() >= expectedSignals; }, 10000);
}

void TestUserStore::signInMergesBothListsAndMakesTheSelfEntry()
{
    watchFriends();
    watchGroups();
    QSignalSpy unreadLoaded(m_unread, &KvUnreadMessageManager::signalUnreadMessageChanged);
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "pw"));
    QCOMPARE(unreadLoaded.count(), 1); // an empty table is announced too
    QTRY_COMPARE(namesOf(m_friendSpies->added), sorted({m_plain, m_changing, m_leaving, m_bare}));
    QTRY_COMPARE(namesOf(m_groupSpies->added), sorted({m_first, m_second}));

    // The own entry is written without a signal, from the own profile.
    KvUserInfoFriend self;
    QVERIFY(m_friends->friendInfo(self, m_me));
    QCOMPARE(self.nickName, QStringLiteral("我的手机"));
    QVERIFY(!self.headPortrait.isNull());

    const QString schema = QStringLiteral("SELECT sql FROM sqlite_master WHERE name='%1'");
    QCOMPARE(value(schema.arg("FriendTable")).toString(),
             "CREATE TABLE FriendTable (UserName INTEGER UNIQUE,Phone TEXT ,HeadPortrait BLOB  ,NickName TEXT ,Sex INTEGER ,HomeTown TEXT ,Location TEXT ,Remark TEXT )");
    QCOMPARE(value(schema.arg("EnterpriseTable")).toString(),
             "CREATE TABLE EnterpriseTable (EnterpriseID TEXT UNIQUE,Name TEXT ,HeadPortrait BLOB  ,Staffs BLOB )");
    QCOMPARE(value(schema.arg("UnreadMessageTable")).toString(),
             "CREATE TABLE UnreadMessageTable (User TEXT UNIQUE,UnreadCount INTEGER)");
}

void TestUserStore::friendMergeFollowsTheServer()
{
    befriend(m_pictured);
    befriend(m_leaving, true);
    ReferenceServer::adminPost("profile", {{"username", m_changing}, {"nickname", QStringLiteral("改了")}});
    QVERIFY(fetchFriends());
    QCOMPARE(namesOf(m_friendSpies->added), QStringList{m_pictured});
    QCOMPARE(namesOf(m_friendSpies->updated), QStringList{m_changing});
    QCOMPARE(namesOf(m_friendSpies->removed), QStringList{m_leaving});
    KvUserInfoFriend changed;
    QVERIFY(m_friends->friendInfo(changed, m_changing));
    QCOMPARE(changed.nickName, QStringLiteral("改了"));
    QVERIFY(!m_friends->friendExists(m_leaving));

    // Unchanged, yet a friend with a picture is written again: a picture read
    // from the table never equals a downloaded one.
    QVERIFY(fetchFriends());
    QCOMPARE(m_friendSpies->added.count() + m_friendSpies->removed.count(), 0);
    QCOMPARE(namesOf(m_friendSpies->updated), QStringList{m_pictured});
}

void TestUserStore::craftedFriendLists()
{
    // A single profile of the system account is stored; a list skips it, so the
    // row goes as one the server no longer has.
    emit KvUserManager::instance()->signalReposeFriend(person("kavora"));
    const QString noPicture = "nopic" + m_me;
    const QList<KvUserInfoFriend> list{person("kavora", "sys"), person("0071234"), person(noPicture)};
    QVERIFY(drainFriendWorker());
    QVERIFY(m_friends->friendExists("kavora"));
    watchFriends();
    emit KvUserManager::instance()->signalReposeFriends(list);
    QVERIFY(drainFriendWorker());
    QCOMPARE(namesOf(m_friendSpies->added), sorted({"0071234", noPicture}));
    QCOMPARE(m_friendSpies->updated.count(), 0);
    QCOMPARE(namesOf(m_friendSpies->removed), sorted({"kavora", m_plain, m_changing, m_bare, m_pictured}));

    // Digits only: stored as a number, so the leading zeros are gone...
    QCOMPARE(value("SELECT typeof(UserName) FROM FriendTable WHERE UserName='71234'").toString(), "integer");
    // ...and a missing picture is an empty BLOB that reads back as no picture.
    const QString picture = QStringLiteral("SELECT %1(HeadPortrait) FROM FriendTable WHERE UserName='%2'");
    QCOMPARE(value(picture.arg("typeof", noPicture)).toString(), "blob");
    QCOMPARE(value(picture.arg("length", noPicture)).toInt(), 0);
    KvUserInfoFriend stored;
    QVERIFY(m_friends->friendInfo(stored, noPicture));
    QVERIFY(stored.headPortrait.isNull());

    // The next merge finds "0071234" by number, but "71234" is not listed and goes.
    watchFriends();
    emit KvUserManager::instance()->signalReposeFriends(list);
    QVERIFY(drainFriendWorker());
    QCOMPARE(m_friendSpies->added.count() + m_friendSpies->updated.count(), 0);
    QCOMPARE(namesOf(m_friendSpies->removed), QStringList{"71234"});

    // An empty list leaves the own entry alone.
    emit KvUserManager::instance()->signalReposeFriend(person("kavora"));
    emit KvUserManager::instance()->signalReposeFriends({});
    QVERIFY(drainFriendWorker());
    QList<KvUserInfoFriend> all;
    m_friends->allFriends(all);
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first().userName, m_me);
    QCOMPARE(all.first().nickName, QStringLiteral("我的手机"));

    QVERIFY(fetchFriends());
    QCOMPARE(namesOf(m_friendSpies->added), sorted({m_plain, m_changing, m_bare, m_pictured}));
}

void TestUserStore::singleProfilesAndAgents()
{
    const QString stranger = createAccount("str", {{"face", false}});
    watchFriends();
    KvUserManager::instance()->requestFriend(stranger);
    QTRY_COMPARE(namesOf(m_friendSpies->added), QStringList{stranger});
    QVERIFY(m_friends->friendExists(stranger));

    // An agent is passed on and cached, never stored.
    QSignalSpy toService(KvUserToCustomerServiceManager::instance(),
                         &KvUserToCustomerServiceManager::signalFriendToCustomerService);
    QString name = "untouched";
    QPixmap portrait;
    QVERIFY(!agentInfo("10000@agent1", name, portrait));
    QCOMPARE(name, QStringLiteral("untouched"));
    QTRY_VERIFY(namesOf(toService).contains("10000@agent1"));
    QVERIFY(agentInfo("10000@agent1", name, portrait));
    QCOMPARE(name, QStringLiteral("客服小美"));
    QVERIFY(!portrait.isNull());
    QVERIFY(!m_friends->friendExists("10000@agent1"));
    QCOMPARE(m_friendSpies->added.count(), 1);
}

void TestUserStore::enterpriseMerge()
{
    QList<KvGroupInfo> list;
    m_groups->enterprises(list);
    QCOMPARE(list.size(), 2);
    QCOMPARE(list.at(0).name, QStringLiteral("一号"));
    QCOMPARE(list.at(0).staffs.size(), 3);
    QCOMPARE(list.at(0).staffs.at(1).nickName, QStringLiteral("爱丽丝"));
    QVERIFY(!list.at(0).staffs.at(1).headPortrait.isNull());
    QVERIFY(list.at(0).staffs.at(2).headPortrait.isNull());

    // Members are compact JSON, their pictures PNG in Base64.
    const QByteArray staffs =
        value(QStringLiteral("SELECT Staffs FROM EnterpriseTable WHERE EnterpriseID='%1'").arg(m_first)).toByteArray();
    QVERIFY(!staffs.contains('\n'));
    const QJsonArray members = QJsonDocument::fromJson(staffs).array();
    const QJsonObject alice = members.at(1).toObject();
    QImage picture;
    QVERIFY(picture.loadFromData(QByteArray::fromBase64(alice.value("face").toString().toLatin1()), "PNG"));
    QCOMPARE(picture.size(), QSize(48, 48));
    QCOMPARE(members.at(2).toObject().value("face").toString(), QString());

    // Every merge rewrites every enterprise, changed or not.
    QVERIFY(fetchEnterprises(2));
    QCOMPARE(namesOf(m_groupSpies->updated), sorted({m_first, m_second}));

    // A removed enterprise leaves its messages behind.
    push(m_me, "BBC", {{"text", "team"}}, m_alice, {m_second}, true);
    const QString groupMessages = "SELECT COUNT(*) FROM GroupMessageTable_" + m_second;
    QTRY_COMPARE(value(groupMessages).toInt(), 1);
    ReferenceServer::adminPost("enterprises", {{"id", m_second}, {"members", QJsonArray{m_alice}}});
    QVERIFY(fetchEnterprises(2));
    QCOMPARE(namesOf(m_groupSpies->removed), QStringList{m_second});
    QCOMPARE(namesOf(m_groupSpies->updated), QStringList{m_first});
    QCOMPARE(value(groupMessages).toInt(), 1);
    ReferenceServer::adminPost("enterprises", {{"id", m_second}, {"members", QJsonArray{m_me, m_alice}}});
    QVERIFY(fetchEnterprises(2));
    QCOMPARE(namesOf(m_groupSpies->added), QStringList{m_second});
}

void TestUserStore::storedMembersReadAlike()
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    filled(Qt::green).save(&buffer, "png");
    const QJsonArray staffs{
        QJsonObject{{"user", QJsonObject{{"username", " wrapped "}, {"nickname", " w "}, {"sex", 2},
                                         {"face", QString::fromLatin1(png.toBase64())}}}},
        QJsonObject{{"username", "flat"}, {"nickname", "f"}, {"phone", " 1 "}, {"face", ""}},
    };
    value(QStringLiteral("INSERT INTO EnterpriseTable VALUES ('stored','s',x'','%1')")
              .arg(QString::fromUtf8(QJsonDocument(staffs).toJson(QJsonDocument::Compact))));
    value("INSERT INTO EnterpriseTable VALUES ('broken','b',x'','not an array')");

    QList<KvGroupInfo> list;
    m_groups->enterprises(list);
    QCOMPARE(list.size(), 4);
    const QList<KvUserInfoFriend> members = list.at(2).staffs;
    QCOMPARE(members.size(), 2);
    QCOMPARE(members.at(0).userName, QStringLiteral("wrapped"));
    QCOMPARE(members.at(0).nickName, QStringLiteral("w"));
    QCOMPARE(members.at(0).sex, 2);
    QCOMPARE(members.at(0).headPortrait.toImage().pixelColor(2, 2), QColor(Qt::green));
    QCOMPARE(members.at(1).phone, QStringLiteral(" 1 "));
    QVERIFY(members.at(1).headPortrait.isNull());
    QVERIFY(list.at(3).staffs.isEmpty());

    QVERIFY(fetchEnterprises(4));
    QCOMPARE(namesOf(m_groupSpies->removed), sorted({"stored", "broken"}));
}

void TestUserStore::memberInfoAnswersFromTheFirstInTableOrder()
{
    const KvGroupInfo b{"gB", "team B", filled(Qt::red), {person("shared", "from B"), person("blank")}};
    const KvGroupInfo a{"gA", "team A", {}, {person("shared", "from A")}};
    emit KvUserManager::instance()->signalReposeEnterprises({b});
    // gA comes first in this list but is stored after gB.
    emit KvUserManager::instance()->signalReposeEnterprises({a, b});
    watchGroups();
    QTRY_VERIFY(namesOf(m_groupSpies->added).contains("gA"));

    QString name;
    QPixmap portrait;
    QVERIFY(m_groups->memberInfo("shared", name, portrait));
    QCOMPARE(name, QStringLiteral("from B"));
    name = "untouched";
    QVERIFY(m_groups->memberInfo("blank", name, portrait));
    QCOMPARE(name, QString());
    QVERIFY(m_groups->memberInfo("gB", name, portrait));
    QCOMPARE(name, QStringLiteral("team B"));
    QCOMPARE(portrait.toImage().pixelColor(1, 1), QColor(Qt::red));
    name = "untouched";
    QVERIFY(!m_groups->memberInfo("nobody", name, portrait));
    QCOMPARE(name, QStringLiteral("untouched"));
    // A renamed enterprise answers with its new name, not the one read before.
    watchGroups();
    emit KvUserManager::instance()->signalReposeEnterprises(
        {a, KvGroupInfo{"gB", "team B renamed", filled(Qt::red), b.staffs}});
    QTRY_COMPARE(m_groupSpies->updated.count(), 2);
    QVERIFY(m_groups->memberInfo("gB", name, portrait));
    QCOMPARE(name, QStringLiteral("team B renamed"));

    QVERIFY(fetchEnterprises(4));
    QCOMPARE(namesOf(m_groupSpies->added), sorted({m_first, m_second}));
}

void TestUserStore::titles_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("portrait");
    QTest::newRow("system account") << "kavora" << QStringLiteral("系统消息") << QStringLiteral("系统消息") << false;
    QTest::newRow("friend") << m_plain << QStringLiteral("平") << QStringLiteral("平") << false;
    QTest::newRow("friend without a nick name") << m_bare << m_bare << m_bare << false;
    QTest::newRow("own entry") << m_me << QStringLiteral("我的手机") << QStringLiteral("我的手机") << true;
    QTest::newRow("enterprise member") << m_alice << QString() << QStringLiteral("爱丽丝") << true;
    QTest::newRow("enterprise") << m_first << QString() << QStringLiteral("一号") << false;
    QTest::newRow("agent") << "10000@agent1" << QString() << "untouched" << true;
    QTest::newRow("unknown user") << "nobody" << QString() << "untouched" << true;
}

void TestUserStore::titles()
{
    QFETCH(QString, user);
    QTEST(conversationTitle(user), "title");
    QString shownName = "untouched";
    QPixmap shownPortrait = filled(Qt::blue);
    userNameAndPortrait(user, shownName, shownPortrait);
    QTEST(shownName, "name");
    QTEST(!shownPortrait.isNull(), "portrait");
}

void TestUserStore::unreadCountsFollowNewMessages()
{
    QSignalSpy fresh(m_store->friendMessageManager(), &KvFriendMessageManager::signalNewMessage);
    QSignalSpy cleared(m_unread, &KvUnreadMessageManager::signalUserUnreadClear);
    push(m_me, "BBC", {{"text", "one"}}, m_plain, {m_me});
    push(m_me, "BBC", {{"text", "two"}}, m_plain, {m_me});
    push(m_me, "BBC", {{"text", "team"}}, m_alice, {m_first}, true);
    push(m_me, "ZZN", {{"title", "t"}, {"url", "http://notice.invalid/"}}, "kavora", {m_me});
    QTRY_COMPARE(fresh.count(), 4);
    QCOMPARE(m_unread->userUnreadMessageCount(m_plain), 2);
    QCOMPARE(m_unread->userUnreadMessageCount(m_first), 1);
    QCOMPARE(m_unread->allUnreadNoticeCount(), 1);
    QCOMPARE(m_unread->allUnreadMesssageCount(true) - m_unread->allUnreadMesssageCount(false), 1);
    QCOMPARE(value("SELECT UnreadCount FROM UnreadMessageTable WHERE User='" + m_plain + "'").toInt(), 2);

    // Written on another device of this user: a sent message clears the
    // conversation, and only a count that was not 0 is announced.
    push(m_me, "BBC", {{"text", "answer"}}, m_me, {m_plain});
    push(m_me, "BBC", {{"text", "again"}}, m_me, {m_plain});
    QTRY_COMPARE(fresh.count(), 6);
    QCOMPARE(m_unread->userUnreadMessageCount(m_plain), 0);
    QCOMPARE(namesOf(cleared), QStringList{m_plain});

    m_unread->setUserUnreadMessageCount(m_first, 3);
    m_unread->subUserUnreadMessageCount(m_first, 5);
    QCOMPARE(value("SELECT UnreadCount FROM UnreadMessageTable WHERE User='" + m_first + "'").toInt(), 0);
    m_unread->clearUserUnreadMessage(m_first);
    m_unread->clearUserUnreadMessage("nobody");
    QCOMPARE(cleared.count(), 1);
    m_unread->clearAllUserUnreadMessage();
    QCOMPARE(m_unread->allUnreadMesssageCount(false), 0);
    QCOMPARE(m_unread->allUnreadNoticeCount(), 1);
}

void TestUserStore::sevenConnectionsOnTheirThreads()
{
    QStringList names = QSqlDatabase::connectionNames().filter("friend_connect_");
    QCOMPARE(names.size(), 8);
    const QString prefix = QStringLiteral("friend_connect_%1_").arg(m_me);
    for (const QObject *owner : std::initializer_list<const QObject *>{
             m_store, m_friends, m_store->friendMessageManager(), m_groups, m_unread}) {
        const QString name = prefix + QString::number(quint64(quintptr(owner)));
        QVERIFY2(names.removeOne(name), qPrintable(name));
        QVERIFY(QSqlDatabase::database(name, false).isOpen());
    }
    // The other three belong to the worker threads and are refused here.
    for (const QString &name : qAsConst(names)) {
        QVERIFY(name.startsWith(prefix));
        QTest::ignoreMessage(QtWarningMsg,
                             "QSqlDatabasePrivate::database: requested database does not belong to the calling thread.");
        QVERIFY(!QSqlDatabase::database(name, false).isValid());
    }
}

void TestUserStore::concurrentMergesLoseNothing()
{
    constexpr int friendCount = 300, groupCount = 60, messageCount = 300;
    QList<KvUserInfoFriend> friends;
    for (int i = 0; i < friendCount; ++i)
        friends.append(person(QStringLiteral("load%1").arg(i), QStringLiteral("n%1").arg(i)));
    QList<KvGroupInfo> groups;
    for (int i = 0; i < groupCount; ++i)
        groups.append(KvGroupInfo{QStringLiteral("load%1").arg(i), "load", {}, friends.mid(i, 20)});
    const int unreadBefore = m_unread->allUnreadMesssageCount(true);
    watchFriends();
    watchGroups();
    QSignalSpy messagesNew(m_store->friendMessageManager(), &KvFriendMessageManager::signalNewMessage);

    emit KvUserManager::instance()->signalReposeFriends(friends);
    emit KvUserManager::instance()->signalReposeEnterprises(groups);
    for (int i = 0; i < messageCount; ++i) {
        KvFriendMessageData record;
        record.messageLocalId = QStringLiteral("load-%1").arg(i);
        record.fromUserId = QStringLiteral("peer%1").arg(i % 5);
        record.toUserId = m_me;
        record.type = "BBC";
        record.time = QDateTime::currentMSecsSinceEpoch();
        m_store->friendMessageManager()->addMessage(record);
    }
    // Read here while the three workers write; the counts are written here too.
    int reads = 0;
    QVERIFY(QTest::qWaitFor(
        [&] {
            QList<KvUserInfoFriend> all;
            m_friends->allFriends(all);
            QList<KvGroupInfo> enterprises;
            m_groups->enterprises(enterprises);
            QList<KvFriendMessageData> messages;
            m_store->friendMessageManager()->messages("peer0", false, messages);
            ++reads;
            return m_friendSpies->added.count() == friendCount && m_groupSpies->added.count() == groupCount
                && messagesNew.count() == messageCount;
        },
        60000));
    QVERIFY(reads > 1);
    QCOMPARE(value("SELECT COUNT(*) FROM FriendTable").toInt(), friendCount + 1);
    QCOMPARE(value("SELECT COUNT(*) FROM EnterpriseTable").toInt(), groupCount);
    int stored = 0;
    for (int i = 0; i < 5; ++i)
        stored += value(QStringLiteral("SELECT COUNT(*) FROM FriendMessageTable_peer%1").arg(i)).toInt();
    QCOMPARE(stored, messageCount);
    QCOMPARE(m_unread->allUnreadMesssageCount(true), unreadBefore + messageCount);
}

void TestUserStore::signOutKeepsCountsUntilTheNextLoad()
{
    m_unread->setUserUnreadMessageCount(m_plain, 4);
    KvUserManager::instance()->logOut();
    QTRY_COMPARE(QSqlDatabase::connectionNames().filter("friend_connect_").size(), 0);

    KvFriendMessageData record;
    record.isSend = true;
    KvUserInfoFriend info;
    QVERIFY(m_friends->friendOfMessage(info, record));
    QCOMPARE(info.nickName, QStringLiteral("我的手机"));
    record.isSend = false;
    record.fromUserId = m_plain;
    QVERIFY(!m_friends->friendOfMessage(info, record));

    // The old user's counts stay and cannot change, though a clear is announced.
    m_unread->setUserUnreadMessageCount(m_plain, 9);
    QSignalSpy cleared(m_unread, &KvUnreadMessageManager::signalUserUnreadClear);
    m_unread->clearUserUnreadMessage(m_plain);
    QCOMPARE(cleared.count(), 1);
    QCOMPARE(m_unread->userUnreadMessageCount(m_plain), 4);

    // The next sign-in shows what the table holds.
    value(QStringLiteral("UPDATE UnreadMessageTable SET UnreadCount=7 WHERE User='%1'").arg(m_plain));
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "pw"));
    QCOMPARE(m_unread->userUnreadMessageCount(m_plain), 7);
    QCOMPARE(m_unread->allUnreadMesssageCount(true), value("SELECT SUM(UnreadCount) FROM UnreadMessageTable").toInt());
}

QTEST_MAIN(TestUserStore)
#include "tst_userstore.moc"

#include "account/usermanager.h"
#include "referenceserver.h"
#include "storetestsupport.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/groupmanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"
#include "store/usertocustomerservicemanager.h"

#include <QBuffer>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace StoreTest;

namespace {

QStringList idsOf(const QSignalSpy &spy)
{
    QStringList ids;
    for (const QList<QVariant> &args : spy) {
        const QVariant value = args.at(0);
        ids.append(value.canConvert<KvGroupInfo>() ? value.value<KvGroupInfo>().enterpriseId : value.toString());
    }
    ids.sort();
    return ids;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

KvUserInfoFriend member(const QString &userName, const QString &nickName)
{
    KvUserInfoFriend info;
    info.userName = userName;
    info.nickName = nickName;
    info.sex = 0;
    return info;
}

KvGroupInfo group(const QString &id, const QList<KvUserInfoFriend> &staffs, const QPixmap &portrait = {})
{
    return KvGroupInfo{id, QStringLiteral("team ") + id, portrait, staffs};
}

QPixmap filled(QColor colour)
{
    QPixmap pixmap(6, 6);
    pixmap.fill(colour);
    return pixmap;
}

QString pngBase64(QColor colour)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    filled(colour).save(&buffer, "png");
    return QString::fromLatin1(bytes.toBase64());
}

} // namespace

class TestGroupStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void signInMergesTheEnterprises();
    void tablesUseTheExactStatements_data();
    void tablesUseTheExactStatements();
    void membersAreStoredAsJsonWithBase64Pictures();
    void everyMergeRewritesEveryEnterprise();
    void removalKeepsTheGroupsMessages();
    void titles_data();
    void titles();
    void agentTitleArrivesLater();
    void storedMembersReadAlike();
    void memberInfoAnswersFromTheFirstInTableOrder();
    void sevenConnectionsOnTheirThreads();
    void concurrentMergesLoseNothing();

private:
    bool fetchEnterprises(int expectedSignals);
    void resetSpies();

    QTemporaryDir m_dir;
    QString m_me;
    QString m_alice;
    QString m_bob;
    QString m_friend;
    QString m_bare;
    QString m_first;
    QString m_second;
    KvGroupManager *m_groups = nullptr;
    std::unique_ptr<Reader> m_reader;
    std::unique_ptr<QSignalSpy> m_new;
    std::unique_ptr<QSignalSpy> m_updated;
    std::unique_ptr<QSignalSpy> m_removed;
};

void TestGroupStore::initTestCase()
{
    QVERIFY(useFolderAndFixture(m_dir));
    m_me = createAccount("gme");
    m_alice = createAccount("alice", {{"nickname", QStringLiteral("爱丽丝")}});
    m_bob = createAccount("bob", {{"nickname", QStringLiteral("鲍勃")}, {"face", false}});
    m_friend = createAccount("mate", {{"nickname", QStringLiteral("朋友")}, {"face", false}});
    m_bare = createAccount("bare", {{"nickname", ""}, {"face", false}});
    for (const QString &other : {m_friend, m_bare})
        ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", other}});
    // Enterprise ids are ordered like the server lists them.
    m_first = QStringLiteral("7%1").arg(QDateTime::currentMSecsSinceEpoch() % 100000000);
    m_second = m_first + QLatin1Char('2');
    ReferenceServer::adminPost("enterprises", {{"id", m_first}, {"title", QStringLiteral("一号")},
                                               {"members", QJsonArray{m_me, m_alice, m_bob}}});
    ReferenceServer::adminPost("enterprises", {{"id", m_second}, {"title", QStringLiteral("二号")},
                                               {"members", QJsonArray{m_me, m_alice}}});
    m_groups = KvUserCommManager::instance()->enterpriseManager();
}

void TestGroupStore::resetSpies()
{
    m_new = std::make_unique<QSignalSpy>(m_groups, &KvGroupManager::signalEnterpriseNew);
    m_updated = std::make_unique<QSignalSpy>(m_groups, &KvGroupManager::signalEnterpriseUpdate);
    m_removed = std::make_unique<QSignalSpy>(m_groups, &KvGroupManager::signalEnterpriseRemove);
}

// Every merge signals once per enterprise listed or removed, the removals last.
bool TestGroupStore::fetchEnterprises(int expectedSignals)
{
    resetSpies();
    KvUserManager::instance()->requestEnterprises();
    return QTest::qWaitFor(
        [&] { return m_new->count() + m_updated->count() + m_removed->count() >= expectedSignals; }, 10000);
}

void TestGroupStore::signInMergesTheEnterprises()
{
    resetSpies();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "pw"));
    QTRY_COMPARE(idsOf(*m_new), sorted({m_first, m_second}));
    m_reader = std::make_unique<Reader>(databaseFile(m_dir, m_me));

    QList<KvGroupInfo> list;
    m_groups->enterprises(list);
    QCOMPARE(list.size(), 2);
    QCOMPARE(list.at(0).enterpriseId, m_first);
    QCOMPARE(list.at(0).name, QStringLiteral("一号"));
    const QList<KvUserInfoFriend> staffs = list.at(0).staffs;
    QCOMPARE(staffs.size(), 3);
    QCOMPARE(staffs.at(1).userName, m_alice);
    QCOMPARE(staffs.at(1).nickName, QStringLiteral("爱丽丝"));
    QVERIFY(!staffs.at(1).headPortrait.isNull());
    QCOMPARE(staffs.at(2).nickName, QStringLiteral("鲍勃"));
    QVERIFY(staffs.at(2).headPortrait.isNull());
    QCOMPARE(list.at(1).staffs.size(), 2);
}

void TestGroupStore::tablesUseTheExactStatements_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("statement");
    QTest::newRow("enterprises") << "EnterpriseTable"
                                 << "CREATE TABLE EnterpriseTable (EnterpriseID TEXT UNIQUE,Name TEXT ,HeadPortrait BLOB  ,Staffs BLOB )";
    QTest::newRow("friends") << "FriendTable"
                             << "CREATE TABLE FriendTable (UserName INTEGER UNIQUE,Phone TEXT ,HeadPortrait BLOB  ,NickName TEXT ,Sex INTEGER ,HomeTown TEXT ,Location TEXT ,Remark TEXT )";
    QTest::newRow("unread counts") << "UnreadMessageTable"
                                   << "CREATE TABLE UnreadMessageTable (User TEXT UNIQUE,UnreadCount INTEGER)";
}

void TestGroupStore::tablesUseTheExactStatements()
{
    QFETCH(QString, table);
    QFETCH(QString, statement);
    QCOMPARE(m_reader->schema(table), statement);
}

void TestGroupStore::membersAreStoredAsJsonWithBase64Pictures()
{
    const QList<QVariantMap> rows = m_reader->rows("EnterpriseTable");
    QCOMPARE(rows.size(), 2);
    const QByteArray staffs = rows.first().value("Staffs").toByteArray();
    QVERIFY(!staffs.contains('\n') && !staffs.contains(", "));
    const QJsonArray array = QJsonDocument::fromJson(staffs).array();
    QCOMPARE(array.size(), 3);
    const QJsonObject alice = array.at(1).toObject();
    QCOMPARE(sorted(alice.keys()),
             sorted({"username", "phone", "nickname", "sex", "hometown", "location", "signature", "face"}));
    QCOMPARE(alice.value("username").toString(), m_alice);
    QVERIFY(alice.value("sex").isDouble());
    const QByteArray png = QByteArray::fromBase64(alice.value("face").toString().toLatin1());
    QVERIFY(png.startsWith("\x89PNG"));
    QImage picture;
    QVERIFY(picture.loadFromData(png));
    QCOMPARE(picture.size(), QSize(48, 48));
    QCOMPARE(array.at(2).toObject().value("face").toString(), QString());
    // The server's enterprise picture is not kept: the column holds an empty array.
    QVERIFY(rows.first().value("HeadPortrait").toByteArray().isEmpty());
}

void TestGroupStore::everyMergeRewritesEveryEnterprise()
{
    QVERIFY(fetchEnterprises(2));
    QCOMPARE(m_new->count(), 0);
    QCOMPARE(idsOf(*m_updated), sorted({m_first, m_second}));

    ReferenceServer::adminPost("enterprises", {{"id", m_second}, {"title", QStringLiteral("二号改")},
                                               {"members", QJsonArray{m_me, m_alice, m_bob}}});
    QVERIFY(fetchEnterprises(2));
    QCOMPARE(idsOf(*m_updated), sorted({m_first, m_second}));
    QList<KvGroupInfo> list;
    m_groups->enterprises(list);
    QCOMPARE(list.at(1).name, QStringLiteral("二号改"));
    QCOMPARE(list.at(1).staffs.size(), 3);
}

void TestGroupStore::removalKeepsTheGroupsMessages()
{
    push(m_me, "BBC", {{"text", "team"}}, m_alice, {m_second}, true);
    QTRY_COMPARE(m_reader->rows("GroupMessageTable_" + m_second).size(), 1);

    ReferenceServer::adminPost("enterprises", {{"id", m_second}, {"title", QStringLiteral("二号")},
                                               {"members", QJsonArray{m_alice, m_bob}}});
    QVERIFY(fetchEnterprises(2));
    QTRY_COMPARE(idsOf(*m_removed), QStringList{m_second});
    QCOMPARE(idsOf(*m_updated), QStringList{m_first});
    QList<KvGroupInfo> list;
    m_groups->enterprises(list);
    QCOMPARE(list.size(), 1);
    QCOMPARE(m_reader->rows("GroupMessageTable_" + m_second).size(), 1);

    ReferenceServer::adminPost("enterprises", {{"id", m_second}, {"title", QStringLiteral("二号")},
                                               {"members", QJsonArray{m_me, m_alice}}});
    QVERIFY(fetchEnterprises(2));
    QCOMPARE(idsOf(*m_new), QStringList{m_second});
}

void TestGroupStore::titles_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("portrait");
    const QString untouched = QStringLiteral("untouched");
    QTest::newRow("system account") << "kavora" << QStringLiteral("系统消息") << QStringLiteral("系统消息") << false;
    QTest::newRow("friend") << m_friend << QStringLiteral("朋友") << QStringLiteral("朋友") << false;
    QTest::newRow("friend without a nick name") << m_bare << m_bare << m_bare << false;
    QTest::newRow("own entry") << m_me << QStringLiteral("我的手机") << QStringLiteral("我的手机") << true;
    QTest::newRow("enterprise member") << m_alice << QString() << QStringLiteral("爱丽丝") << true;
    QTest::newRow("enterprise") << m_first << QString() << QStringLiteral("一号") << false;
    QTest::newRow("agent") << "10000@agent2" << QString() << untouched << true;
    QTest::newRow("unknown user") << "nobody" << QString() << untouched << true;
}

void TestGroupStore::titles()
{
    QFETCH(QString, user);
    QFETCH(QString, title);
    QFETCH(QString, name);
    QFETCH(bool, portrait);
    QCOMPARE(conversationTitle(user), title);
    QString shownName = QStringLiteral("untouched");
    QPixmap shownPortrait = filled(Qt::blue);
    userNameAndPortrait(user, shownName, shownPortrait);
    QCOMPARE(shownName, name);
    QCOMPARE(!shownPortrait.isNull(), portrait);
    if (name == QLatin1String("untouched"))
        QCOMPARE(shownPortrait.toImage().pixelColor(1, 1), QColor(Qt::blue));
}

void TestGroupStore::agentTitleArrivesLater()
{
    QSignalSpy arrived(KvUserToCustomerServiceManager::instance(),
                       &KvUserToCustomerServiceManager::signalFriendToCustomerService);
    QString name;
    QPixmap portrait;
    QVERIFY(!agentInfo("10000@agent2", name, portrait));
    QVERIFY(arrived.wait(10000));
    QVERIFY(agentInfo("10000@agent2", name, portrait));
    QCOMPARE(name, QStringLiteral("客服小强"));
    QVERIFY(!portrait.isNull());
    QCOMPARE(conversationTitle("10000@agent2"), QString());
}

void TestGroupStore::storedMembersReadAlike()
{
    const QJsonArray staffs{
        QJsonObject{{"user", QJsonObject{{"username", " wrapped "}, {"nickname", QStringLiteral(" 包 ")},
                                         {"sex", 2}, {"location", " here "}, {"face", pngBase64(Qt::green)}}}},
        QJsonObject{{"username", "flat"}, {"nickname", "flat one"}, {"phone", " 1 "}, {"face", ""}},
        QJsonObject{{"username", "nopicture"}},
    };
    const QString staffsText = QString::fromUtf8(QJsonDocument(staffs).toJson(QJsonDocument::Compact));
    QVERIFY(m_reader->exec(QStringLiteral("INSERT INTO EnterpriseTable VALUES ('stored','s',x'','%1')")
                               .arg(staffsText)));
    QVERIFY(m_reader->exec("INSERT INTO EnterpriseTable VALUES ('broken','b',x'','not an array')"));

    QList<KvGroupInfo> list;
    m_groups->enterprises(list);
    QCOMPARE(list.size(), 4);
    const QList<KvUserInfoFriend> members = list.at(2).staffs;
    QCOMPARE(members.size(), 3);
    QCOMPARE(members.at(0).userName, QStringLiteral("wrapped"));
    QCOMPARE(members.at(0).nickName, QStringLiteral("包"));
    QCOMPARE(members.at(0).sex, 2);
    QCOMPARE(members.at(0).location, QStringLiteral("here"));
    QCOMPARE(members.at(0).headPortrait.toImage().pixelColor(2, 2), QColor(Qt::green));
    QCOMPARE(members.at(1).phone, QStringLiteral(" 1 "));
    QVERIFY(members.at(1).headPortrait.isNull());
    QVERIFY(members.at(2).headPortrait.isNull());
    QCOMPARE(members.at(2).sex, 0);
    QVERIFY(list.at(3).staffs.isEmpty());
    QCOMPARE(list.at(3).name, QStringLiteral("b"));

    // The next merge removes what the server does not list.
    QVERIFY(fetchEnterprises(4));
    QCOMPARE(idsOf(*m_removed), sorted({"stored", "broken"}));
}

void TestGroupStore::memberInfoAnswersFromTheFirstInTableOrder()
{
    const QString shared = QStringLiteral("shared");
    resetSpies();
    emit KvUserManager::instance()->signalReposeEnterprises(
        {group("gB", {member(shared, "from B"), member("blank", "")}, filled(Qt::red))});
    QTRY_COMPARE(idsOf(*m_removed), sorted({m_first, m_second}));
    // gA comes first in the list but is stored after gB.
    emit KvUserManager::instance()->signalReposeEnterprises(
        {group("gA", {member(shared, "from A")}), group("gB", {member(shared, "from B"), member("blank", "")},
                                                                filled(Qt::red))});
    QTRY_VERIFY(idsOf(*m_new).contains("gA"));

    QString name;
    QPixmap portrait;
    QVERIFY(m_groups->memberInfo(shared, name, portrait));
    QCOMPARE(name, QStringLiteral("from B"));
    name = "untouched";
    QVERIFY(m_groups->memberInfo("blank", name, portrait));
    QCOMPARE(name, QString());
    QVERIFY(m_groups->memberInfo("gB", name, portrait));
    QCOMPARE(name, QStringLiteral("team gB"));
    QCOMPARE(portrait.toImage().pixelColor(1, 1), QColor(Qt::red));
    name = "untouched";
    QVERIFY(!m_groups->memberInfo("nobody", name, portrait));
    QCOMPARE(name, QStringLiteral("untouched"));

    QVERIFY(fetchEnterprises(4));
    QCOMPARE(idsOf(*m_new), sorted({m_first, m_second}));
}

void TestGroupStore::sevenConnectionsOnTheirThreads()
{
    KvUserCommManager *store = KvUserCommManager::instance();
    const QStringList names = storeConnections();
    QCOMPARE(names.size(), 8);
    const QString prefix = QStringLiteral("friend_connect_%1_").arg(m_me);
    QStringList onWorkers = names;
    for (const QObject *owner : std::initializer_list<const QObject *>{
             store, store->friendManager(), store->friendMessageManager(), store->enterpriseManager(),
             store->userUnreadMessageManager()}) {
        const QString name = prefix + QString::number(quint64(quintptr(owner)));
        QVERIFY2(onWorkers.removeOne(name), qPrintable(name));
        QVERIFY(QSqlDatabase::database(name, false).isOpen());
    }
    // The other three belong to the worker threads and are refused here.
    QCOMPARE(onWorkers.size(), 3);
    for (const QString &name : qAsConst(onWorkers)) {
        QVERIFY(name.startsWith(prefix));
        QTest::ignoreMessage(QtWarningMsg,
                             "QSqlDatabasePrivate::database: requested database does not belong to the calling thread.");
        QVERIFY(!QSqlDatabase::database(name, false).isValid());
    }
}

void TestGroupStore::concurrentMergesLoseNothing()
{
    constexpr int friendCount = 300;
    constexpr int groupCount = 60;
    constexpr int messageCount = 300;
    KvUserCommManager *store = KvUserCommManager::instance();
    QList<KvUserInfoFriend> friends;
    for (int i = 0; i < friendCount; ++i)
        friends.append(member(QStringLiteral("load%1").arg(i), QStringLiteral("n%1").arg(i)));
    QList<KvGroupInfo> groups;
    for (int i = 0; i < groupCount; ++i)
        groups.append(group(QStringLiteral("load%1").arg(i), friends.mid(i, 20)));
    const int unreadBefore = store->userUnreadMessageManager()->allUnreadMesssageCount(true);

    QSignalSpy friendsNew(store->friendManager(), &KvFriendManager::signalFriendNew);
    resetSpies();
    QSignalSpy messagesNew(store->friendMessageManager(), &KvFriendMessageManager::signalNewMessage);
    emit KvUserManager::instance()->signalReposeFriends(friends);
    emit KvUserManager::instance()->signalReposeEnterprises(groups);
    for (int i = 0; i < messageCount; ++i) {
        KvFriendMessageData record;
        record.messageLocalId = QStringLiteral("load-%1").arg(i);
        record.fromUserId = QStringLiteral("peer%1").arg(i % 5);
        record.toUserId = m_me;
        record.type = QStringLiteral("BBC");
        record.content = R"({"text":"load"})";
        record.time = QDateTime::currentMSecsSinceEpoch();
        store->friendMessageManager()->addMessage(record);
    }

    // Read on this thread while the three workers write.
    int reads = 0;
    QVERIFY(QTest::qWaitFor(
        [&] {
            QList<KvUserInfoFriend> all;
            store->friendManager()->allFriends(all);
            QList<KvGroupInfo> enterprises;
            m_groups->enterprises(enterprises);
            QList<KvFriendMessageData> messages;
            store->friendMessageManager()->messages(QStringLiteral("peer0"), false, messages);
            ++reads;
            return friendsNew.count() == friendCount && m_new->count() == groupCount
                && messagesNew.count() == messageCount;
        },
        60000));
    QVERIFY(reads > 1);

    QList<KvUserInfoFriend> all;
    store->friendManager()->allFriends(all);
    QCOMPARE(all.size(), friendCount + 1);
    QList<KvGroupInfo> enterprises;
    m_groups->enterprises(enterprises);
    QCOMPARE(enterprises.size(), groupCount);
    QCOMPARE(enterprises.last().staffs.size(), 20);
    int stored = 0;
    for (int i = 0; i < 5; ++i)
        stored += m_reader->rows(QStringLiteral("FriendMessageTable_peer%1").arg(i)).size();
    QCOMPARE(stored, messageCount);
    QCOMPARE(store->userUnreadMessageManager()->allUnreadMesssageCount(true), unreadBefore + messageCount);
}

QTEST_MAIN(TestGroupStore)
#include "tst_groupstore.moc"

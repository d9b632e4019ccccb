#include "account/usermanager.h"
#include "referenceserver.h"
#include "storetestsupport.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"
#include "store/usertocustomerservicemanager.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace StoreTest;

namespace {

QStringList namesOf(const QSignalSpy &spy)
{
    QStringList names;
    for (const QList<QVariant> &args : spy) {
        const QVariant value = args.at(0);
        names.append(value.canConvert<KvUserInfoFriend>() ? value.value<KvUserInfoFriend>().userName
                                                          : value.toString());
    }
    names.sort();
    return names;
}

KvUserInfoFriend profile(const QString &userName, const QString &nickName = {}, const QPixmap &portrait = {})
{
    KvUserInfoFriend info;
    info.userName = userName;
    info.nickName = nickName;
    info.headPortrait = portrait;
    info.sex = 0;
    return info;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

class TestFriendStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void signInMergesTheListAndMakesTheSelfEntry();
    void mergeFollowsTheServer();
    void systemAccountIsNeverAFriend();
    void digitNamesLoseLeadingZeros();
    void duplicatesAndMissingPictures();
    void emptyListKeepsOnlyTheSelfEntry();
    void singleProfiles();
    void agentsAreCachedNotStored();
    void removalThroughTheMessageStore();
    void friendOfMessage_data();
    void friendOfMessage();
    void withoutADatabase();

private:
    bool drainFriendWorker();
    bool fetchFriends();
    void resetSpies();
    void befriend(const QString &other, bool remove = false);

    QTemporaryDir m_dir;
    QString m_me;
    QString m_plain;
    QString m_changing;
    QString m_leaving;
    QString m_pictured;
    KvFriendManager *m_friends = nullptr;
    std::unique_ptr<Reader> m_reader;
    std::unique_ptr<QSignalSpy> m_new;
    std::unique_ptr<QSignalSpy> m_updated;
    std::unique_ptr<QSignalSpy> m_removed;
};

void TestFriendStore::initTestCase()
{
    QVERIFY(useFolderAndFixture(m_dir));
    m_me = createAccount("fme");
    m_plain = createAccount("plain", {{"face", false}, {"nickname", QStringLiteral("平")}});
    m_changing = createAccount("chg", {{"face", false}});
    m_leaving = createAccount("leave", {{"face", false}});
    m_pictured = createAccount("pic");
    for (const QString &other : {m_plain, m_changing, m_leaving})
        befriend(other);
    m_friends = KvUserCommManager::instance()->friendManager();
}

void TestFriendStore::befriend(const QString &other, bool remove)
{
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", other}, {"remove", remove}});
}

void TestFriendStore::resetSpies()
{
    m_new = std::make_unique<QSignalSpy>(m_friends, &KvFriendManager::signalFriendNew);
    m_updated = std::make_unique<QSignalSpy>(m_friends, &KvFriendManager::signalFriendUpdate);
    m_removed = std::make_unique<QSignalSpy>(m_friends, &KvFriendManager::signalFriendRemove);
}

// The worker handles its queue in order: once an agent's profile, which is
// never stored, has come back as a signal, everything queued before it is done.
bool TestFriendStore::drainFriendWorker()
{
    static int serial = 0;
    const QString marker = QStringLiteral("10000@drain%1").arg(++serial);
    QSignalSpy seen(m_friends, &KvFriendManager::signalFriendToCustomerService);
    emit KvUserManager::instance()->signalReposeFriend(profile(marker));
    return QTest::qWaitFor([&] { return namesOf(seen).contains(marker); }, 10000);
}

bool TestFriendStore::fetchFriends()
{
    QSignalSpy lists(KvUserManager::instance(), &KvUserManager::signalReposeFriends);
    KvUserManager::instance()->requestFriends();
    return lists.wait(10000) && drainFriendWorker();
}

void TestFriendStore::signInMergesTheListAndMakesTheSelfEntry()
{
    resetSpies();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "pw"));
    QTRY_COMPARE(namesOf(*m_new), sorted({m_plain, m_changing, m_leaving}));
    QVERIFY(drainFriendWorker());
    QCOMPARE(m_updated->count(), 0);
    QCOMPARE(m_removed->count(), 0);

    // The own entry is written without a signal, with the own profile and picture.
    KvUserInfoFriend self;
    QVERIFY(m_friends->friendInfo(self, m_me));
    QCOMPARE(self.nickName, QStringLiteral("我的手机"));
    QCOMPARE(self.userName, m_me);
    QVERIFY(!self.headPortrait.isNull());

    m_reader = std::make_unique<Reader>(databaseFile(m_dir, m_me));
    QCOMPARE(m_reader->schema("FriendTable"),
             QStringLiteral("CREATE TABLE FriendTable (UserName INTEGER UNIQUE,Phone TEXT ,HeadPortrait BLOB  ,"
                            "NickName TEXT ,Sex INTEGER ,HomeTown TEXT ,Location TEXT ,Remark TEXT )"));
    QCOMPARE(m_reader->rows("FriendTable").size(), 4);
}

void TestFriendStore::mergeFollowsTheServer()
{
    befriend(m_pictured);
    befriend(m_leaving, true);
    ReferenceServer::adminPost("profile", {{"username", m_changing}, {"nickname", QStringLiteral("改了")},
                                           {"signature", "new"}});
    resetSpies();
    QVERIFY(fetchFriends());
    QCOMPARE(namesOf(*m_new), QStringList{m_pictured});
    QCOMPARE(namesOf(*m_updated), QStringList{m_changing});
    QCOMPARE(namesOf(*m_removed), QStringList{m_leaving});

    KvUserInfoFriend changed;
    QVERIFY(m_friends->friendInfo(changed, m_changing));
    QCOMPARE(changed.nickName, QStringLiteral("改了"));
    QCOMPARE(changed.signature, QStringLiteral("new"));
    QVERIFY(!m_friends->friendExists(m_leaving));
    KvUserInfoFriend pictured;
    QVERIFY(m_friends->friendInfo(pictured, m_pictured));
    QVERIFY(!pictured.headPortrait.isNull());

    // Nothing changed: only the friend with a picture is written again, since a
    // stored picture never equals a downloaded one.
    resetSpies();
    QVERIFY(fetchFriends());
    QCOMPARE(m_new->count(), 0);
    QCOMPARE(namesOf(*m_updated), QStringList{m_pictured});
    QCOMPARE(m_removed->count(), 0);
    QVERIFY(m_friends->friendExists(m_me));
}

void TestFriendStore::systemAccountIsNeverAFriend()
{
    // A single profile of the system account does land in the table...
    resetSpies();
    emit KvUserManager::instance()->signalReposeFriend(profile("kavora", "sys"));
    QVERIFY(drainFriendWorker());
    QCOMPARE(namesOf(*m_new), QStringList{"kavora"});

    // ...and a list skips it, so the row goes as one the server no longer has.
    KvUserInfoFriend plain;
    QVERIFY(m_friends->friendInfo(plain, m_plain));
    resetSpies();
    emit KvUserManager::instance()->signalReposeFriends({profile("kavora", "changed"), plain});
    QVERIFY(drainFriendWorker());
    QCOMPARE(m_new->count(), 0);
    QCOMPARE(m_updated->count(), 0);
    QCOMPARE(namesOf(*m_removed), sorted({"kavora", m_changing, m_pictured}));
    QVERIFY(!m_friends->friendExists("kavora"));
}

void TestFriendStore::digitNamesLoseLeadingZeros()
{
    const QList<KvUserInfoFriend> list{profile("0071234", "zeros"), profile("4455667", "digits")};
    resetSpies();
    emit KvUserManager::instance()->signalReposeFriends(list);
    QVERIFY(drainFriendWorker());
    QCOMPARE(namesOf(*m_new), sorted({"0071234", "4455667"}));
    QStringList stored;
    for (const QVariantMap &row : m_reader->rows("FriendTable"))
        stored.append(row.value("UserName").toString());
    QVERIFY(stored.contains("71234"));
    QVERIFY(stored.contains("4455667"));
    QVERIFY(!stored.contains("0071234"));
    KvUserInfoFriend digits;
    QVERIFY(m_friends->friendInfo(digits, "4455667"));
    QCOMPARE(digits.nickName, QStringLiteral("digits"));

    // The next merge finds "0071234" by number, but the stored name "71234" is
    // not in the list, so the row goes; the merge after that makes it anew.
    resetSpies();
    emit KvUserManager::instance()->signalReposeFriends(list);
    QVERIFY(drainFriendWorker());
    QCOMPARE(m_new->count(), 0);
    QCOMPARE(m_updated->count(), 0);
    QCOMPARE(namesOf(*m_removed), QStringList{"71234"});
    resetSpies();
    emit KvUserManager::instance()->signalReposeFriends(list);
    QVERIFY(drainFriendWorker());
    QCOMPARE(namesOf(*m_new), QStringList{"0071234"});
}

void TestFriendStore::duplicatesAndMissingPictures()
{
    QPixmap red(8, 8);
    red.fill(Qt::red);
    const KvUserInfoFriend bare = profile("bare" + m_me, "bare");
    const KvUserInfoFriend pictured = profile("shown" + m_me, "shown", red);
    resetSpies();
    emit KvUserManager::instance()->signalReposeFriends({bare, bare, pictured, pictured});
    QVERIFY(drainFriendWorker());
    // The second occurrence finds the row: equal without a picture, changed with one.
    QCOMPARE(namesOf(*m_new), sorted({bare.userName, pictured.userName}));
    QCOMPARE(namesOf(*m_updated), QStringList{pictured.userName});

    KvUserInfoFriend stored;
    QVERIFY(m_friends->friendInfo(stored, bare.userName));
    QVERIFY(stored.headPortrait.isNull());
    QVERIFY(m_friends->friendInfo(stored, pictured.userName));
    QCOMPARE(stored.headPortrait.size(), QSize(8, 8));
    QCOMPARE(stored.headPortrait.toImage().pixelColor(3, 3), QColor(Qt::red));
    const QString picture = QStringLiteral("SELECT %1 FROM FriendTable WHERE UserName='%2'");
    QCOMPARE(m_reader->value(picture.arg("typeof(HeadPortrait)", bare.userName)).toString(), QStringLiteral("blob"));
    QCOMPARE(m_reader->value(picture.arg("length(HeadPortrait)", bare.userName)).toInt(), 0);
    QVERIFY(m_reader->value(picture.arg("HeadPortrait", pictured.userName)).toByteArray().startsWith("\x89PNG"));
}

void TestFriendStore::emptyListKeepsOnlyTheSelfEntry()
{
    emit KvUserManager::instance()->signalReposeFriend(profile("kavora"));
    befriend(m_plain, true);
    befriend(m_changing, true);
    befriend(m_pictured, true);
    resetSpies();
    QVERIFY(fetchFriends());
    QCOMPARE(m_new->count(), 0);
    QVERIFY(namesOf(*m_removed).contains("kavora"));
    QList<KvUserInfoFriend> all;
    m_friends->allFriends(all);
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first().userName, m_me);
    QCOMPARE(all.first().nickName, QStringLiteral("我的手机"));

    for (const QString &other : {m_plain, m_changing, m_pictured})
        befriend(other);
    resetSpies();
    QVERIFY(fetchFriends());
    QCOMPARE(namesOf(*m_new), sorted({m_plain, m_changing, m_pictured}));
}

void TestFriendStore::singleProfiles()
{
    const QString stranger = createAccount("str", {{"face", false}});
    resetSpies();
    KvUserManager::instance()->requestFriend(stranger);
    QTRY_COMPARE(namesOf(*m_new), QStringList{stranger});
    QVERIFY(m_friends->friendExists(stranger));

    // A known friend whose profile did not change is left alone.
    ReferenceServer::adminPost("profile", {{"username", stranger}, {"nickname", "renamed"}});
    QSignalSpy replies(KvUserManager::instance(), &KvUserManager::signalReposeFriend);
    KvUserManager::instance()->requestFriend(m_plain);
    KvUserManager::instance()->requestFriend(stranger);
    QTRY_COMPARE(replies.count(), 2);
    QVERIFY(drainFriendWorker());
    QCOMPARE(namesOf(*m_updated), QStringList{stranger});
    QCOMPARE(m_new->count(), 1);
}

void TestFriendStore::agentsAreCachedNotStored()
{
    KvUserToCustomerServiceManager *agents = KvUserToCustomerServiceManager::instance();
    QSignalSpy toService(agents, &KvUserToCustomerServiceManager::signalFriendToCustomerService);
    resetSpies();
    QString name = "untouched";
    QPixmap portrait;
    QVERIFY(!agentInfo("10000@agent1", name, portrait));
    QCOMPARE(name, QStringLiteral("untouched"));
    QTRY_VERIFY(namesOf(toService).contains("10000@agent1"));
    QVERIFY(agentInfo("10000@agent1", name, portrait));
    QCOMPARE(name, QStringLiteral("客服小美"));
    QVERIFY(!portrait.isNull());
    QVERIFY(!m_friends->friendExists("10000@agent1"));
    QCOMPARE(m_new->count(), 0);

    // An agent that a list brought in as a friend takes the update path and
    // never reaches the cache.
    KvUserInfoFriend plain;
    QVERIFY(m_friends->friendInfo(plain, m_plain));
    QList<KvUserInfoFriend> all;
    m_friends->allFriends(all);
    all.append(profile("10000@agent2", "listed"));
    emit KvUserManager::instance()->signalReposeFriends(all);
    QTRY_VERIFY(namesOf(*m_new).contains("10000@agent2"));
    toService.clear();
    QVERIFY(!agentInfo("10000@agent2", name, portrait));
    QTRY_VERIFY(namesOf(*m_updated).contains("10000@agent2"));
    QVERIFY(drainFriendWorker());
    QVERIFY(!namesOf(toService).contains("10000@agent2"));
    QVERIFY(!agentInfo("10000@agent2", name, portrait));
    KvUserInfoFriend agent;
    QVERIFY(m_friends->friendInfo(agent, "10000@agent2"));
    QCOMPARE(agent.nickName, QStringLiteral("客服小强"));
}

void TestFriendStore::removalThroughTheMessageStore()
{
    KvFriendMessageManager *messages = KvUserCommManager::instance()->friendMessageManager();
    resetSpies();
    messages->slotFriendRemove(m_plain);
    QCOMPARE(namesOf(*m_removed), QStringList{m_plain});
    QVERIFY(!m_friends->friendExists(m_plain));
    // The row is gone, yet the statement succeeds and is announced again.
    messages->slotFriendRemove(m_plain);
    QCOMPARE(m_removed->count(), 2);
}

void TestFriendStore::friendOfMessage_data()
{
    QTest::addColumn<bool>("isSend");
    QTest::addColumn<QString>("from");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QString>("nickName");
    QTest::newRow("sent") << true << "anyone" << true << QStringLiteral("我的手机");
    QTest::newRow("from a friend") << false << "changing" << true << QStringLiteral("改了");
    QTest::newRow("from a stranger") << false << "nobody" << false << QString();
}

void TestFriendStore::friendOfMessage()
{
    QFETCH(bool, isSend);
    QFETCH(QString, from);
    QFETCH(bool, found);
    QFETCH(QString, nickName);
    KvFriendMessageData record;
    record.isSend = isSend;
    record.fromUserId = from == "changing" ? m_changing : from;
    KvUserInfoFriend info;
    QCOMPARE(m_friends->friendOfMessage(info, record), found);
    if (!found)
        return;
    QCOMPARE(info.nickName, nickName);
    QCOMPARE(info.userName, isSend ? m_me : m_changing);
}

void TestFriendStore::withoutADatabase()
{
    m_reader.reset();
    KvUserManager::instance()->logOut();
    QTRY_COMPARE(storeConnections().size(), 0);

    KvFriendMessageData sent;
    sent.isSend = true;
    KvUserInfoFriend info;
    QVERIFY(m_friends->friendOfMessage(info, sent));
    QCOMPARE(info.nickName, QStringLiteral("我的手机"));
    KvFriendMessageData received;
    received.fromUserId = m_changing;
    QVERIFY(!m_friends->friendOfMessage(info, received));
    QList<KvUserInfoFriend> all;
    m_friends->allFriends(all);
    QVERIFY(all.isEmpty());

    // A list without a database changes nothing and says nothing.
    resetSpies();
    emit KvUserManager::instance()->signalReposeFriends({profile("late")});
    QVERIFY(drainFriendWorker());
    QCOMPARE(m_new->count() + m_updated->count() + m_removed->count(), 0);
}

QTEST_MAIN(TestFriendStore)
#include "tst_friendstore.moc"

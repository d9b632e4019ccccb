// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "fakehttpserver.h"
#include "platform/encrypter.h"
#include "platform/selfservermanager.h"
#include "platform/syshelper.h"
#include "referenceserver.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString password = QStringLiteral("pw-123456");

// The newest logged request to a path that carries `mark` (by default the
// session's token): other tests use the same server at the same time.
QJsonObject lastRequest(const QString &path, QString mark = {})
{
    if (mark.isEmpty())
        mark = KvUserManager::instance()->getUserLoginInfo().token;
    const QJsonArray entries = ReferenceServer::adminGet(QStringLiteral("requests?path=/%1").arg(path)).toArray();
    for (int i = entries.size() - 1; i >= 0; --i) {
        if (QJsonDocument(entries.at(i).toObject()).toJson().contains(mark.toUtf8()))
            return entries.at(i).toObject();
    }
    return {};
}

QString header(const QJsonObject &entry, const QString &name)
{
    for (const QJsonValue &pair : entry.value("headers").toArray()) {
        if (pair.toArray().at(0).toString().compare(name, Qt::CaseInsensitive) == 0)
            return pair.toArray().at(1).toString();
    }
    return {};
}

// "<method> <body keys in order>" of a logged request.
QString methodAndKeys(const QJsonObject &entry)
{
    return entry.value("method").toString() + ' ' + entry.value("body").toObject().keys().join(',');
}

// The first argument of a spy's only signal; invalid unless exactly one came.
QVariant onlyValue(const QSignalSpy &spy)
{
    return spy.count() == 1 ? spy.first().value(0) : QVariant();
}

bool connectedWith(const QString &token)
{
    const QJsonArray connections = ReferenceServer::adminGet("connections").toObject().value("connections").toArray();
    for (const QJsonValue &connection : connections) {
        if (connection.toObject().value("token").toString() == token)
            return true;
    }
    return false;
}

QByteArray envelope(const QJsonObject &reply)
{
    return KvEncrypter::encrypt(QJsonDocument(reply).toJson(QJsonDocument::Compact), false);
}

// Points the account service somewhere else for one scope.
class AccountServiceAt
{
public:
    explicit AccountServiceAt(const QString &url)
        : m_previous(qEnvironmentVariable("KVMESS_ACCOUNT_URL"))
    {
        qputenv("KVMESS_ACCOUNT_URL", url.toUtf8());
        KvSelfServerManager::instance()->reload();
    }
    ~AccountServiceAt()
    {
        qputenv("KVMESS_ACCOUNT_URL", m_previous.toUtf8());
        KvSelfServerManager::instance()->reload();
    }

private:
    QString m_previous;
};

QString closedPortUrl()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return QStringLiteral("http://127.0.0.1:%1/").arg(probe.serverPort());
}

} // namespace

class TestUserManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void passwordSignIn();
    void signInAgainRestartsTheLinkWithoutAStateChange();
    void signInFailures_data();
    void signInFailures();
    void phoneCodeSignIn();
    void scanSignIn();
    void tokenRefresh();
    void friendRequests();
    void friendRequestsFailOnlyOnTheNetwork();
    void profileChangeSendsOnlyChangedFields();
    void headPortraitChange();
    void listsArriveWithPortraits();
    void logoutDropsToTheVisitor();

private:
    QVariant setting(const QString &key) { return KvUserManager::openSettings()->value(key); }
    QString storedToken() { return QString::fromLatin1(KvEncrypter::decrypt(setting("Token").toByteArray(), false)); }

    QTemporaryDir m_settingsDir;
    QJsonObject m_alice;
    QJsonObject m_bob;
    QJsonObject m_carol;
    KvUserManager *m_manager = nullptr;
};

void TestUserManager::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settingsDir.path());
    QVERIFY2(ReferenceServer::useFixture(), "the reference server fixture is not running");
    const auto createAccount = [](const QString &prefix) {
        return ReferenceServer::createAccount(prefix, password, {{"nickname", QStringLiteral(" 测试%1 ").arg(prefix)},
                                                                 {"location", QStringLiteral("北京")}});
    };
    m_alice = createAccount("alice");
    m_bob = createAccount("bob");
    m_carol = createAccount("carol");
    QVERIFY(!m_alice.isEmpty() && !m_bob.isEmpty() && !m_carol.isEmpty());
    m_manager = KvUserManager::instance();
}

void TestUserManager::passwordSignIn()
{
    QSignalSpy replies(m_manager, &KvUserManager::signalReposeLogin);
    QSignalSpy states(m_manager, &KvUserManager::signalUserLoginStateChanged);
    QSignalSpy infos(m_manager, &KvUserManager::signalUpdateLoginInfo);
    QVERIFY(m_manager->requestLoginByPassword(m_alice.value("username").toString(), password));
    QCOMPARE(onlyValue(replies), QVariant(true));
    QCOMPARE(onlyValue(states), QVariant(true));
    QCOMPARE(infos.count(), 1);
    QVERIFY(m_manager->isLogin());

    const KvLoginUser &user = m_manager->getUserLoginInfo();
    QCOMPARE(user.username, m_alice.value("username").toString());
    QCOMPARE(user.password, password);
    QVERIFY(!user.token.isEmpty());
    QVERIFY(user.deviceFlags & KvLoginUser::DevicePcPro);
    QCOMPARE(m_manager->getUserInfo().nickName, QStringLiteral("测试alice")); // trimmed
    QVERIFY(!m_manager->getUserInfo().headPortrait.isNull());

    QCOMPARE(storedToken(), user.token);
    QCOMPARE(setting("UserName").toString(), user.username);
    QCOMPARE(setting("UserPhone").toString(), m_alice.value("phone").toString());
    QFile file(KvUserManager::openSettings()->fileName());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray stored = file.readAll();
    QVERIFY2(!stored.contains(password.toUtf8()) && !stored.contains(user.token.toLatin1()),
             "neither the password nor the plain token may be persisted");

    const QJsonObject request = lastRequest("pro/login/login", user.username);
    QCOMPARE(header(request, "platform"), QStringLiteral("PC-PRO"));
    QCOMPARE(header(request, "content-type"), QStringLiteral("application/x-www-form-urlencoded"));
    QCOMPARE(methodAndKeys(request), QStringLiteral("POST client_id,password,platform,username"));
    const QJsonObject body = request.value("body").toObject();
    QCOMPARE(body.value("platform").toString() + ' ' + body.value("client_id").toString(),
             "PC-PRO " + KvSysHelper::kvClientUniqueId());
    QTRY_VERIFY(connectedWith(user.token));
}

void TestUserManager::signInAgainRestartsTheLinkWithoutAStateChange()
{
    const QString oldToken = m_manager->getUserLoginInfo().token;
    QSignalSpy states(m_manager, &KvUserManager::signalUserLoginStateChanged);
    QVERIFY(m_manager->requestLoginByPassword(m_alice.value("username").toString(), password));
    const QString newToken = m_manager->getUserLoginInfo().token;
    QVERIFY(newToken != oldToken);
    QCOMPARE(states.count(), 0);
    QTRY_VERIFY(connectedWith(newToken));
    QTRY_VERIFY(!connectedWith(oldToken));
}

void TestUserManager::signInFailures_data()
{
    QTest::addColumn<QString>("where");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("recordCleared");
    const QJsonObject userData{{"username", "faked"}, {"phone", "1"}};
    QTest::newRow("wrong password") << "server" << QByteArray() << false;
    QTest::newRow("network error") << "closed" << QByteArray() << false;
    QTest::newRow("code not 200")
        << "fake" << envelope({{"code", 500}, {"msg", "no"}, {"data", QJsonObject{{"token", "t"}, {"userData", userData}}}})
        << false;
    QTest::newRow("empty data") << "fake" << envelope({{"code", 200}, {"msg", "ok"}, {"data", QJsonObject()}}) << false;
    QTest::newRow("undecipherable") << "fake" << QByteArray(R"({"code":200})") << false;
    QTest::newRow("missing userData")
        << "fake" << envelope({{"code", 200}, {"data", QJsonObject{{"token", "partial"}, {"platform", QJsonArray{"pad"}}}}})
        << true;
}

void TestUserManager::signInFailures()
{
    QFETCH(QString, where);
    QFETCH(QByteArray, reply);
    QFETCH(bool, recordCleared);
    const KvLoginUser before = m_manager->getUserLoginInfo();
    const QString persisted = storedToken();
    QVERIFY(m_manager->isLogin());

    FakeHttpServer fake;
    QVERIFY(fake.listen());
    fake.setResponse(200, reply);
    std::unique_ptr<AccountServiceAt> redirect;
    if (where == "closed")
        redirect = std::make_unique<AccountServiceAt>(closedPortUrl());
    else if (where == "fake")
        redirect = std::make_unique<AccountServiceAt>(fake.baseUrl());

    QSignalSpy replies(m_manager, &KvUserManager::signalReposeLogin);
    QSignalSpy states(m_manager, &KvUserManager::signalUserLoginStateChanged);
    QVERIFY(!m_manager->requestLoginByPassword(m_alice.value("username").toString(), "wrong"));
    QCOMPARE(onlyValue(replies), QVariant(false));
    QCOMPARE(states.count(), 0);
    QVERIFY(m_manager->isLogin());
    QCOMPARE(storedToken(), persisted);
    if (recordCleared) {
        QCOMPARE(m_manager->getUserLoginInfo().token, QStringLiteral("partial"));
        QVERIFY(m_manager->getUserLoginInfo().username.isEmpty());
        QCOMPARE(m_manager->getUserLoginInfo().deviceFlags, int(KvLoginUser::DevicePad));
    } else {
        QCOMPARE(m_manager->getUserLoginInfo().token, before.token);
        QCOMPARE(m_manager->getUserLoginInfo().username, before.username);
    }
}

void TestUserManager::phoneCodeSignIn()
{
    QSignalSpy codes(m_manager, &KvUserManager::signalReposePhoneVerifyCode);
    const QString phone = m_bob.value("phone").toString();
    m_manager->requestPhoneVerifyCode(phone);
    QTRY_COMPARE(onlyValue(codes), QVariant(true));
    const QString code = ReferenceServer::adminGet("sms?phone=" + phone).toObject().value("code").toString();
    QVERIFY(!code.isEmpty());

    QVERIFY(!m_manager->requestLoginByVerifyCode(phone, "000000x"));
    QVERIFY(m_manager->requestLoginByVerifyCode(phone, code));
    QCOMPARE(m_manager->getUserLoginInfo().username, m_bob.value("username").toString());
    QVERIFY2(m_manager->getUserLoginInfo().password.isEmpty(), "a code sign-in keeps no password");
    QCOMPARE(m_manager->loginUserPhone(), phone);

    m_manager->requestPhoneVerifyCode("10000000000"); // no such account
    QTRY_COMPARE(codes.count(), 2);
    QCOMPARE(codes.last().at(0).toBool(), false);
    QVERIFY(!codes.last().at(1).toString().isEmpty());
}

void TestUserManager::scanSignIn()
{
    const QString scene = ReferenceServer::adminPost("scan", {{"username", m_carol.value("username")}})
                              .toObject().value("scene").toString();
    QVERIFY(!scene.isEmpty());
    QSignalSpy replies(m_manager, &KvUserManager::signalReposeLogin);
    QSignalSpy infos(m_manager, &KvUserManager::signalUpdateLoginInfo);
    QVERIFY(!m_manager->requestLoginByWeChat("no-such-scene"));
    QCOMPARE(infos.count(), 0);
    QVERIFY(m_manager->requestLoginByWeChat(scene));
    QCOMPARE(m_manager->getUserLoginInfo().username, m_carol.value("username").toString());
    QCOMPARE(infos.count(), 1);
    QCOMPARE(replies.count(), 0);
}

void TestUserManager::tokenRefresh()
{
    const QString before = m_manager->getUserLoginInfo().token;
    m_manager->requestUpdateLogin();
    const QString after = m_manager->getUserLoginInfo().token;
    QVERIFY(!after.isEmpty() && after != before);
    QCOMPARE(storedToken(), after);
    QCOMPARE(header(lastRequest("pro/user/auth", before), "auth"), before);
    QTRY_VERIFY(connectedWith(after));
}

void TestUserManager::friendRequests()
{
    const QString bob = m_bob.value("username").toString();
    const QString carol = m_carol.value("username").toString();
    // Signed in as carol: ask bob.
    QVERIFY(m_manager->requestAddFriend(m_bob.value("phone").toString()));
    QCOMPARE(methodAndKeys(lastRequest("app/friend/add")), QStringLiteral("POST auth,client_id,phone,platform"));
    QCOMPARE(header(lastRequest("app/friend/add"), "auth"), m_manager->getUserLoginInfo().token);
    QVERIFY2(m_manager->requestAddFriend("10000000000"), "a refusal by the service is still a success");

    QVERIFY(m_manager->requestLoginByPassword(bob, password));
    QVERIFY(m_manager->agreeAddFriend(carol));
    QCOMPARE(methodAndKeys(lastRequest("app/friend/mate")), QStringLiteral("POST client_id,platform,username"));
    QVERIFY(m_manager->removeFriend(carol));
    QCOMPARE(methodAndKeys(lastRequest("app/friend/mate")), QStringLiteral("DELETE auth,client_id,platform,username"));
    QVERIFY(m_manager->refuseAddFriend(carol));
    const QJsonObject refusal = lastRequest("app/friend/add");
    QCOMPARE(refusal.value("method").toString(), QStringLiteral("DELETE"));
    QCOMPARE(refusal.value("body").toObject().value("username").toString(), carol);
}

void TestUserManager::friendRequestsFailOnlyOnTheNetwork()
{
    AccountServiceAt closed(closedPortUrl());
    QVERIFY(!m_manager->requestAddFriend("13900000000"));
    QVERIFY(!m_manager->agreeAddFriend("x"));
    QVERIFY(!m_manager->refuseAddFriend("x"));
    QVERIFY(!m_manager->removeFriend("x"));
}

void TestUserManager::profileChangeSendsOnlyChangedFields()
{
    const QJsonValue before = lastRequest("app/user/profile").value("seq");
    KvUserInfoSelf info = m_manager->getUserInfo();
    QVERIFY(m_manager->modifyUserInfoToServer(info));
    info.location = QStringLiteral("上海");
    QVERIFY(m_manager->modifyUserInfoToServer(info));
    QCOMPARE(lastRequest("app/user/profile").value("seq"), before);

    info.nickName = QStringLiteral("新名字");
    info.signature = QStringLiteral("新签名");
    QVERIFY(m_manager->modifyUserInfoToServer(info));
    const QJsonObject request = lastRequest("app/user/profile");
    QCOMPARE(methodAndKeys(request), QStringLiteral("PUT nickname,signature"));
    QCOMPARE(header(request, "platform"), QString());
    QCOMPARE(m_manager->getUserInfo().nickName, QStringLiteral("新名字"));
    QCOMPARE(m_manager->getUserInfo().location, QStringLiteral("北京")); // the service's echo, not ours
}

void TestUserManager::headPortraitChange()
{
    QImage image(24, 24, QImage::Format_ARGB32);
    image.fill(QColor(10, 200, 30));
    QSignalSpy pictures(m_manager, &KvUserManager::signalUpdateHeadPortrait);
    QVERIFY(m_manager->modifyHeadPortraitToServer(QPixmap::fromImage(image), "me.png"));
    QCOMPARE(pictures.count(), 1);
    const QPixmap shown = pictures.first().at(0).value<QPixmap>();
    QCOMPARE(shown.size(), QSize(24, 24));
    QCOMPARE(shown.toImage().pixelColor(3, 3), QColor(10, 200, 30));

    const QJsonObject upload = lastRequest("app/upload/face");
    const QJsonArray parts = upload.value("parts").toArray();
    QCOMPARE(parts.size(), 1);
    QVERIFY(QJsonDocument(parts.first().toObject()).toJson().contains(R"(form-data; name=face; filename=\"me.png\")"));
    const QJsonObject stored = lastRequest("app/user/face");
    QVERIFY(stored.value("body").toObject().value("face").toString().startsWith("http"));
}

void TestUserManager::listsArriveWithPortraits()
{
    // bob's friends in the service's graph: make one.
    const QString bob = m_manager->getUserLoginInfo().username;
    ReferenceServer::adminPost("friends", {{"a", bob}, {"b", m_alice.value("username")}});
    QSignalSpy friends(m_manager, &KvUserManager::signalReposeFriends);
    m_manager->requestFriends();
    QTRY_COMPARE(friends.count(), 1);
    const auto list = friends.first().at(0).value<QList<KvUserInfoFriend>>();
    QCOMPARE(list.size(), 1);
    QCOMPARE(list.first().userName, m_alice.value("username").toString());
    QVERIFY(!list.first().headPortrait.isNull());
    QCOMPARE(lastRequest("app/friend/mate").value("query").toObject().value("version").toString(), QStringLiteral("2"));

    QSignalSpy one(m_manager, &KvUserManager::signalReposeFriend);
    m_manager->requestFriend(m_alice.value("username").toString());
    QTRY_COMPARE(one.count(), 1);
    QCOMPARE(one.first().at(0).value<KvUserInfoFriend>().userName, m_alice.value("username").toString());
    QCOMPARE(lastRequest("app/friend/mate").value("method").toString(), QStringLiteral("PUT"));

    const QJsonArray agents = ReferenceServer::adminGet("accounts?kind=agent").toArray();
    QVERIFY(!agents.isEmpty());
    const QString agent = agents.first().toObject().value("username").toString();
    m_manager->requestFriend(agent);
    QTRY_COMPARE(one.count(), 2);
    QCOMPARE(one.last().at(0).value<KvUserInfoFriend>().userName, agent);
    QCOMPARE(lastRequest("app/user/info").value("method").toString(), QStringLiteral("POST"));
}

void TestUserManager::logoutDropsToTheVisitor()
{
    QSignalSpy states(m_manager, &KvUserManager::signalUserLoginStateChanged);
    QSignalSpy visitors(m_manager, &KvUserManager::signalVisitorLogin);
    m_manager->logOut();
    QCOMPARE(onlyValue(states), QVariant(false));
    QCOMPARE(visitors.count(), 1);
    QVERIFY(!m_manager->isLogin());
    QVERIFY(!KvUserManager::openSettings()->contains("Token"));
    QCOMPARE(setting("UserName").toString(), m_bob.value("username").toString());
    const QString visitor = m_manager->getUserLoginInfo().username;
    QVERIFY(!visitor.isEmpty());
    QCOMPARE(m_manager->visitorUserName(), visitor);
    QTRY_VERIFY(connectedWith(m_manager->getUserLoginInfo().token));
}

QTEST_MAIN(TestUserManager)
#include "tst_usermanager.moc"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "chat/newfriendrequestwidget.h"
#include "chat/noticetextwidget.h"
#include "messaging/wscommunicationmanager.h"
#include "platform/messagebox.h"
#include "platform/selfservermanager.h"
#include "referenceserver.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString password = QStringLiteral("pw");

KvFriendMessageData systemMessage(const QString &type, const QString &user, int status, const QString &id = "e1")
{
    KvFriendMessageData data;
    data.messageLocalId = id;
    data.fromUserId = systemUserName;
    data.type = type;
    data.status = status;
    data.time = QDateTime::currentMSecsSinceEpoch();
    data.content = QStringLiteral(R"({"fromUser":{"username":"%1"}})").arg(user).toUtf8();
    return data;
}

bool shown(QWidget *row, const char *name)
{
    return !row->findChild<QWidget *>(name)->isHidden();
}

QString text(QWidget *row, const char *name)
{
    return row->findChild<QLabel *>(name)->text();
}

bool looksRead(QWidget *row, const char *name)
{
    return row->findChild<QWidget *>(name)->property("read").toBool();
}

} // namespace

class TestSystemItems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void friendEvents_data();
    void friendEvents();
    void answers_data();
    void answers();
    void alreadyAFriend();
    void failedAgreeKeepsTheButtons();
    void noticeTexts_data();
    void noticeTexts();
    void readingANotice();

private:
    QList<KvFriendMessageData> systemRows();
    KvFriendMessageData systemRow(const QString &type, const QString &user);
    int unread() const;

    QTemporaryDir m_dir;
    QString m_me;
    QString m_asksAgree;
    QString m_asksRefuse;
    QStringList m_boxes;
    KvFriendMessageManager *m_messages = nullptr;
};

void TestSystemItems::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    KvMessageBox::setTestInterceptor([this](const QString &, const QString &text) { m_boxes << text; });
    QVERIFY(ReferenceServer::useFixture());
    const QJsonObject me = ReferenceServer::createAccount("rowme", password);
    m_me = me.value("username").toString();
    m_asksAgree = ReferenceServer::createAccount("rowa", password).value("username").toString();
    m_asksRefuse = ReferenceServer::createAccount("rowr", password).value("username").toString();
    KvUserManager *users = KvUserManager::instance();
    for (const QString &asker : {m_asksAgree, m_asksRefuse}) {
        QVERIFY(users->requestLoginByPassword(asker, password));
        QVERIFY(users->requestAddFriend(me.value("phone").toString()));
    }
    // Signing in over another user keeps that user's file open: log out first.
    users->logOut();
    m_messages = KvUserCommManager::instance()->friendMessageManager();
    // Connected after the unread counters: when this sees a row, they have counted it.
    QSignalSpy arrived(m_messages, &KvFriendMessageManager::signalNewMessage);
    QVERIFY(users->requestLoginByPassword(m_me, password));
    QTRY_COMPARE(arrived.count(), 2);
    QCOMPARE(systemRows().size(), 2);
}

void TestSystemItems::cleanup()
{
    m_boxes.clear();
}

QList<KvFriendMessageData> TestSystemItems::systemRows()
{
    QList<KvFriendMessageData> list;
    m_messages->messages(systemUserName, false, list);
    return list;
}

KvFriendMessageData TestSystemItems::systemRow(const QString &type, const QString &user)
{
    for (const KvFriendMessageData &data : systemRows())
        if (data.type == type && data.content.contains(user.toUtf8()))
            return data;
    return {};
}

int TestSystemItems::unread() const
{
    return KvUserCommManager::instance()->userUnreadMessageManager()->userUnreadMessageCount(systemUserName);
}

void TestSystemItems::friendEvents_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("sentence");
    QTest::addColumn<bool>("buttons");
    QTest::addColumn<QString>("outcome");

    QTest::newRow("request") << "ZZA" << 0 << "用户 li 向你发送了好友请求" << true << "";
    QTest::newRow("confirmed") << "ZZB" << 0 << "用户 li 确认了您的好友请求" << false << "";
    QTest::newRow("refused") << "ZZC" << 0 << "用户 li 拒绝了您的好友请求" << false << "";
    QTest::newRow("removed") << "ZZD" << 0 << "用户 li 解除了和您的好友关系" << false << "";
    QTest::newRow("agreed before") << "ZZA" << 3 << "用户 li 向你发送了好友请求" << false << "已同意";
    QTest::newRow("refused before") << "ZZA" << 4 << "用户 li 向你发送了好友请求" << false << "已拒绝";
    QTest::newRow("ignored before") << "ZZA" << 5 << "用户 li 向你发送了好友请求" << false << "已忽略";
}

void TestSystemItems::friendEvents()
{
    QFETCH(QString, type);
    QFETCH(int, status);
    QFETCH(QString, sentence);
    QFETCH(bool, buttons);
    QFETCH(QString, outcome);

    KvNewFriendRequestWidget row(systemMessage(type, "li", status));
    QCOMPARE(text(&row, "labelPhone"), sentence);
    QCOMPARE(shown(&row, "pushButtonAgree"), buttons);
    QCOMPARE(shown(&row, "pushButtonRefuse"), buttons);
    QCOMPARE(shown(&row, "labelStatus"), !outcome.isEmpty());
    if (!outcome.isEmpty())
        QCOMPARE(text(&row, "labelStatus"), outcome);
    QCOMPARE(looksRead(&row, "labelPhone"), status != 0);
    QVERIFY(looksRead(&row, "labelTime"));
}

void TestSystemItems::answers_data()
{
    QTest::addColumn<bool>("agree");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("agree") << true << 3 << "已同意";
    QTest::newRow("refuse") << false << 4 << "已拒绝";
}

void TestSystemItems::answers()
{
    QFETCH(bool, agree);
    QFETCH(int, status);
    QFETCH(QString, outcome);

    const QString asker = agree ? m_asksAgree : m_asksRefuse;
    const KvFriendMessageData request = systemRow("ZZA", asker);
    QCOMPARE(request.status, 0);
    const int before = unread();
    QVERIFY(before > 0);

    KvNewFriendRequestWidget row(request);
    QTest::mouseClick(row.findChild<QPushButton *>(agree ? "pushButtonAgree" : "pushButtonRefuse"), Qt::LeftButton);
    QVERIFY(m_boxes.isEmpty());
    QVERIFY(!shown(&row, "pushButtonAgree"));
    QVERIFY(!shown(&row, "pushButtonRefuse"));
    QCOMPARE(text(&row, "labelStatus"), outcome);
    QVERIFY(looksRead(&row, "labelPhone"));
    QCOMPARE(systemRow("ZZA", asker).status, status);
    QCOMPARE(unread(), before - 1);
}

void TestSystemItems::alreadyAFriend()
{
    // The agreed request's new friend arrives in the friend store.
    KvFriendManager *friendsStore = KvUserCommManager::instance()->friendManager();
    QTRY_VERIFY(friendsStore->friendExists(m_asksAgree));
    KvFriendMessageData request = systemRow("ZZA", m_asksAgree);
    m_messages->updateMessageStatus(systemUserName, request.messageLocalId, 0);
    request.status = 0;
    const int before = unread();

    KvNewFriendRequestWidget row(request);
    QTest::mouseClick(row.findChild<QPushButton *>("pushButtonRefuse"), Qt::LeftButton);
    QCOMPARE(m_boxes, QStringList{"你们已经是好友关系。"});
    QVERIFY(!shown(&row, "pushButtonAgree"));
    QCOMPARE(text(&row, "labelStatus"), QStringLiteral("已同意"));
    QCOMPARE(systemRow("ZZA", m_asksAgree).status, 3);
    QCOMPARE(unread(), before);
}

void TestSystemItems::failedAgreeKeepsTheButtons()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const QByteArray service = qgetenv("KVMESS_ACCOUNT_URL");
    qputenv("KVMESS_ACCOUNT_URL", QStringLiteral("http://127.0.0.1:%1/").arg(probe.serverPort()).toUtf8());
    probe.close();
    KvSelfServerManager::instance()->reload();
    KvUserCommManager::instance()->userUnreadMessageManager()->setUserUnreadMessageCount(systemUserName, 5);

    KvNewFriendRequestWidget row(systemMessage("ZZA", "nobody", 0));
    QTest::mouseClick(row.findChild<QPushButton *>("pushButtonAgree"), Qt::LeftButton);
    QTest::mouseClick(row.findChild<QPushButton *>("pushButtonRefuse"), Qt::LeftButton);
    qputenv("KVMESS_ACCOUNT_URL", service);
    KvSelfServerManager::instance()->reload();

    QCOMPARE(m_boxes, (QStringList{"同意好友请求失败。", "拒绝好友请求失败。"}));
    QVERIFY(shown(&row, "pushButtonAgree"));
    QVERIFY(shown(&row, "pushButtonRefuse"));
    QVERIFY(looksRead(&row, "labelPhone"));
    QCOMPARE(unread(), 3);
}

void TestSystemItems::noticeTexts_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("membership") << "ZZG" << "您的会员信息已更新。";
    QTest::newRow("layer added") << "ZZH" << "您在其他终端新增了账号下的地图配置，已为您同步配置。";
    QTest::newRow("layer updated") << "ZZI" << "您在其他终端更新了账号下的地图配置，已为您同步配置。";
    QTest::newRow("layer deleted") << "ZZJ" << "您在其他终端删除了账号下的地图配置，已为您同步配置。";
    QTest::newRow("offer, never its title") << "ZZN" << "您有新的优惠可领(双击查看)。";
    QTest::newRow("other") << "ZZA" << "";
}

void TestSystemItems::noticeTexts()
{
    QFETCH(QString, type);
    QFETCH(QString, sentence);
    KvFriendMessageData notice = systemMessage(type, "li", 1, "n-text");
    notice.content = R"({"title":"双十一","url":"http://x/"})";
    KvNoticeTextWidget row(notice);
    QCOMPARE(text(&row, "labelMsg"), sentence);
    QCOMPARE(text(&row, "labelNotice"), QStringLiteral("系统通知："));
    QVERIFY(!looksRead(&row, "labelMsg"));
}

void TestSystemItems::readingANotice()
{
    QSignalSpy arrived(m_messages, &KvFriendMessageManager::signalNewMessage);
    ReferenceServer::adminPost("push", {{"to", m_me}, {"type", "ZZH"}, {"data", QJsonObject{{"version", 3}}},
                                        {"from", systemUserName}});
    QTRY_COMPARE(arrived.count(), 1);
    const KvFriendMessageData notice = systemRow("ZZH", QString());
    QCOMPARE(notice.status, 1);
    KvUserCommManager::instance()->userUnreadMessageManager()->setUserUnreadMessageCount(systemUserName, 4);

    KvNoticeTextWidget row(notice);
    QVERIFY(!looksRead(&row, "labelNotice"));
    QVERIFY(!looksRead(&row, "labelMsg"));
    QVERIFY(looksRead(&row, "labelTime"));
    QCOMPARE(systemRow("ZZH", QString()).status, 1);
    QCOMPARE(unread(), 4);

    row.setRead(true);
    QVERIFY(looksRead(&row, "labelNotice"));
    QVERIFY(looksRead(&row, "labelMsg"));
    QCOMPARE(systemRow("ZZH", QString()).status, 2);
    QCOMPARE(unread(), 3);

    // A notice read before is counted off again each time its row is built.
    KvNoticeTextWidget again(systemRow("ZZH", QString()));
    QVERIFY(looksRead(&again, "labelMsg"));
    QCOMPARE(unread(), 2);
}

QTEST_MAIN(TestSystemItems)
#include "tst_systemitems.moc"

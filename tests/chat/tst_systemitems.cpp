// SPDX-License-Identifier: MIT
#include "account/accountnames.h"
#include "account/usermanager.h"
#include "chat/newfriendrequestwidget.h"
#include "chat/noticetextwidget.h"
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

KvFriendMessageData systemMessage(const QString &type, int status)
{
    KvFriendMessageData data;
    data.fromUserId = systemUserName;
    data.type = type;
    data.status = status;
    data.content = R"({"fromUser":{"username":"li"}})";
    return data;
}

bool shown(QWidget *row, const char *name) { return !row->findChild<QWidget *>(name)->isHidden(); }
QString text(QWidget *row, const char *name) { return row->findChild<QLabel *>(name)->text(); }
bool looksRead(QWidget *row, const char *name) { return row->findChild<QWidget *>(name)->property("read").toBool(); }
void click(QWidget *row, const char *button) { QTest::mouseClick(row->findChild<QPushButton *>(button), Qt::LeftButton); }

KvUnreadMessageManager *unreadCounts() { return KvUserCommManager::instance()->userUnreadMessageManager(); }
int unread() { return unreadCounts()->userUnreadMessageCount(systemUserName); }

} // namespace

class TestSystemItems : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_me, m_asksAgree, m_asksRefuse;
    QStringList m_boxes;
    KvFriendMessageManager *m_messages = nullptr;

    // The stored row of the system conversation with this type whose content names `user`.
    KvFriendMessageData stored(const QString &type, const QString &user = QString())
    {
        QList<KvFriendMessageData> list;
        m_messages->messages(systemUserName, false, list);
        for (const KvFriendMessageData &data : list)
            if (data.type == type && data.content.contains(user.toUtf8()))
                return data;
        return {};
    }

private Q_SLOTS:
    void initTestCase()
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
        KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
        KvMessageBox::setTestInterceptor([this](const QString &, const QString &text) { m_boxes << text; });
        QVERIFY(ReferenceServer::useFixture());
        const QJsonObject me = ReferenceServer::createAccount("rowme", "pw");
        m_me = me.value("username").toString();
        m_asksAgree = ReferenceServer::createAccount("rowa", "pw").value("username").toString();
        m_asksRefuse = ReferenceServer::createAccount("rowr", "pw").value("username").toString();
        KvUserManager *users = KvUserManager::instance();
        for (const QString &asker : {m_asksAgree, m_asksRefuse}) {
            QVERIFY(users->requestLoginByPassword(asker, "pw"));
            QVERIFY(users->requestAddFriend(me.value("phone").toString()));
        }
        // Signing in over another user keeps that user's file open.
        users->logOut();
        m_messages = KvUserCommManager::instance()->friendMessageManager();
        // Connected after the unread counters: once this sees the rows, they are counted.
        QSignalSpy arrived(m_messages, &KvFriendMessageManager::signalNewMessage);
        QVERIFY(users->requestLoginByPassword(m_me, "pw"));
        QTRY_COMPARE(arrived.count(), 2);
    }
    void cleanup() { m_boxes.clear(); }

    void friendEvents_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("request") << "ZZA" << 0 << "用户 li 向你发送了好友请求" << "";
        QTest::newRow("confirmed") << "ZZB" << 0 << "用户 li 确认了您的好友请求" << "";
        QTest::newRow("refused") << "ZZC" << 0 << "用户 li 拒绝了您的好友请求" << "";
        QTest::newRow("removed") << "ZZD" << 0 << "用户 li 解除了和您的好友关系" << "";
        QTest::newRow("agreed before") << "ZZA" << 3 << "用户 li 向你发送了好友请求" << "已同意";
        QTest::newRow("refused before") << "ZZA" << 4 << "用户 li 向你发送了好友请求" << "已拒绝";
        QTest::newRow("ignored before") << "ZZA" << 5 << "用户 li 向你发送了好友请求" << "已忽略";
    }
    void friendEvents()
    {
        QFETCH(QString, type);
        QFETCH(int, status);
        QFETCH(QString, sentence);
        QFETCH(QString, outcome);
        KvNewFriendRequestWidget row(systemMessage(type, status));
        QCOMPARE(text(&row, "labelPhone"), sentence);
        const bool buttons = type == "ZZA" && status == 0;
        QCOMPARE(shown(&row, "pushButtonAgree"), buttons);
        QCOMPARE(shown(&row, "pushButtonRefuse"), buttons);
        QCOMPARE(shown(&row, "labelStatus"), !outcome.isEmpty());
        QCOMPARE(text(&row, "labelStatus"), outcome);
        QCOMPARE(looksRead(&row, "labelPhone"), status != 0);
    }

    void answers_data()
    {
        QTest::addColumn<bool>("agree");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("agree") << true << 3 << "已同意";
        QTest::newRow("refuse") << false << 4 << "已拒绝";
    }
    void answers()
    {
        QFETCH(bool, agree);
        QFETCH(int, status);
        QFETCH(QString, outcome);
        const QString asker = agree ? m_asksAgree : m_asksRefuse;
        const int before = unread();
        QVERIFY(before > 0);
        KvNewFriendRequestWidget row(stored("ZZA", asker));
        click(&row, agree ? "pushButtonAgree" : "pushButtonRefuse");
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(!shown(&row, "pushButtonAgree") && !shown(&row, "pushButtonRefuse"));
        QCOMPARE(text(&row, "labelStatus"), outcome);
        QVERIFY(looksRead(&row, "labelPhone"));
        QCOMPARE(stored("ZZA", asker).status, status);
        QCOMPARE(unread(), before - 1);
    }

    void alreadyAFriend()
    {
        // The agreed requester's record arrives in the friend store.
        QTRY_VERIFY(KvUserCommManager::instance()->friendManager()->friendExists(m_asksAgree));
        KvFriendMessageData request = stored("ZZA", m_asksAgree);
        m_messages->updateMessageStatus(systemUserName, request.messageLocalId, 0);
        request.status = 0;
        const int before = unread();
        KvNewFriendRequestWidget row(request);
        click(&row, "pushButtonRefuse");
        QCOMPARE(m_boxes, QStringList{"你们已经是好友关系。"});
        QVERIFY(!shown(&row, "pushButtonAgree"));
        QCOMPARE(text(&row, "labelStatus"), QStringLiteral("已同意"));
        QCOMPARE(stored("ZZA", m_asksAgree).status, 3);
        QCOMPARE(unread(), before);
    }

    void failedAnswersKeepTheButtons()
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost);
        const QByteArray service = qgetenv("KVMESS_ACCOUNT_URL");
        qputenv("KVMESS_ACCOUNT_URL", QStringLiteral("http://127.0.0.1:%1/").arg(probe.serverPort()).toUtf8());
        probe.close();
        KvSelfServerManager::instance()->reload();
        unreadCounts()->setUserUnreadMessageCount(systemUserName, 5);

        KvNewFriendRequestWidget row(systemMessage("ZZA", 0));
        click(&row, "pushButtonAgree");
        click(&row, "pushButtonRefuse");
        qputenv("KVMESS_ACCOUNT_URL", service);
        KvSelfServerManager::instance()->reload();
        QCOMPARE(m_boxes, (QStringList{"同意好友请求失败。", "拒绝好友请求失败。"}));
        QVERIFY(shown(&row, "pushButtonAgree") && shown(&row, "pushButtonRefuse"));
        QVERIFY(looksRead(&row, "labelPhone"));
        QCOMPARE(unread(), 3);
    }

    void noticeTexts_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("membership") << "ZZG" << "您的会员信息已更新。";
        QTest::newRow("layer added") << "ZZH" << "您在其他终端新增了账号下的地图配置，已为您同步配置。";
        QTest::newRow("layer updated") << "ZZI" << "您在其他终端更新了账号下的地图配置，已为您同步配置。";
        QTest::newRow("layer deleted") << "ZZJ" << "您在其他终端删除了账号下的地图配置，已为您同步配置。";
        QTest::newRow("offer, not its title") << "ZZN" << "您有新的优惠可领(双击查看)。";
        QTest::newRow("other") << "ZZA" << "";
    }
    void noticeTexts()
    {
        QFETCH(QString, type);
        QFETCH(QString, sentence);
        KvFriendMessageData notice = systemMessage(type, 1);
        notice.content = R"({"title":"双十一","url":"http://x/"})";
        KvNoticeTextWidget row(notice);
        QCOMPARE(text(&row, "labelMsg"), sentence);
        QVERIFY(!looksRead(&row, "labelMsg"));
    }

    void readingANotice()
    {
        QSignalSpy arrived(m_messages, &KvFriendMessageManager::signalNewMessage);
        ReferenceServer::adminPost("push", {{"to", m_me}, {"type", "ZZH"}, {"data", QJsonObject{{"version", 3}}},
                                            {"from", systemUserName}});
        QTRY_COMPARE(arrived.count(), 1);
        QCOMPARE(stored("ZZH").status, 1);
        unreadCounts()->setUserUnreadMessageCount(systemUserName, 4);

        KvNoticeTextWidget row(stored("ZZH"));
        QVERIFY(!looksRead(&row, "labelNotice") && !looksRead(&row, "labelMsg"));
        QCOMPARE(unread(), 4);
        row.setRead(true);
        QVERIFY(looksRead(&row, "labelNotice") && looksRead(&row, "labelMsg"));
        QCOMPARE(stored("ZZH").status, 2);
        QCOMPARE(unread(), 3);
        // A notice read before counts off again each time its row is built.
        KvNoticeTextWidget again(stored("ZZH"));
        QVERIFY(looksRead(&again, "labelMsg"));
        QCOMPARE(unread(), 2);
    }
};

QTEST_MAIN(TestSystemItems)
#include "tst_systemitems.moc"

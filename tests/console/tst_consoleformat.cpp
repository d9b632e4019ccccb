// SPDX-License-Identifier: MIT
#include "account/groupinfo.h"
#include "consoleformat.h"
#include "store/friendmessagedata.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {

KvFriendMessageData row(const QString &from, const QString &to, bool isSend, bool isGroup = false)
{
    KvFriendMessageData data;
    data.fromUserId = from;
    data.toUserId = to;
    data.isSend = isSend;
    data.isGroup = isGroup;
    data.type = QStringLiteral("BBC");
    data.content = R"({"content":"hi"})";
    return data;
}

} // namespace

class TestConsoleFormat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void conversationKey_data();
    void conversationKey();
    void textMessage();
    void fileMessage();
    void contentThatIsNoJson();
    void enterprise();
    void progressBar_data();
    void progressBar();
};

void TestConsoleFormat::conversationKey_data()
{
    QTest::addColumn<KvFriendMessageData>("message");
    QTest::addColumn<QString>("key");

    QTest::newRow("received") << row("lina", "me", false) << "lina";
    QTest::newRow("sent") << row("me", "lina", true) << "lina";
    QTest::newRow("received in a group") << row("lina", "100001", false, true) << "100001";
    QTest::newRow("sent to a group") << row("me", "100001", true, true) << "100001";
    QTest::newRow("own phone") << row("me", "me", false) << "me";
    // An agent gets the user's words addressed to the entry; the user is the conversation.
    QTest::newRow("agent") << row("user1", "10000", false) << "user1";
}

void TestConsoleFormat::conversationKey()
{
    QFETCH(KvFriendMessageData, message);
    QFETCH(QString, key);
    const QJsonObject object = KvConsoleFormat::message(message);
    QCOMPARE(object.value("conversation").toString(), key);
    QCOMPARE(object.value("group").toBool(), message.isGroup);
    QCOMPARE(object.contains("group"), message.isGroup);
}

void TestConsoleFormat::textMessage()
{
    KvFriendMessageData data = row("lina", "me", false);
    data.messageLocalId = QStringLiteral("0123456789abcdef0123456789abcdef");
    data.messageServerId = QStringLiteral("42");
    data.time = 1795000000123;
    data.status = 0;
    const QJsonObject object = KvConsoleFormat::message(data);
    QCOMPARE(object.value("text").toString(), QStringLiteral("hi"));
    QCOMPARE(object.value("content").toObject().value("content").toString(), QStringLiteral("hi"));
    QCOMPARE(object.value("time").toDouble(), 1795000000123.0);
    QCOMPARE(object.value("id").toString(), data.messageLocalId);
    QCOMPARE(object.value("serverId").toString(), QStringLiteral("42"));
    QVERIFY(!object.contains("file"));
    QVERIFY(!object.contains("group"));
}

void TestConsoleFormat::fileMessage()
{
    KvFriendMessageData data = row("lina", "me", false);
    data.type = QStringLiteral("BBA");
    data.status = 9;
    data.content = R"({"id":"f1","title":"a.bin","size":3,"src":"http://x/a.bin","md5":"m"})";
    data.fileInfo.fileName = QStringLiteral("a.bin");
    data.fileInfo.filePath = QStringLiteral("/work/UserInfo/me/a.bin");
    data.fileInfo.fileMD5 = QStringLiteral("m");
    data.fileInfo.fileSize = 3;
    const QJsonObject file = KvConsoleFormat::message(data).value("file").toObject();
    QCOMPARE(file.value("path").toString(), data.fileInfo.filePath);
    QCOMPARE(file.value("size").toInt(), 3);
    // Rows read back from the store carry no source; only signalled ones do.
    QVERIFY(!file.contains("src"));
    data.fileInfo.downloadSrc = QStringLiteral("http://x/a.bin");
    QCOMPARE(KvConsoleFormat::message(data).value("file").toObject().value("src").toString(),
             data.fileInfo.downloadSrc);
    QVERIFY(!KvConsoleFormat::message(data).contains("text"));
}

void TestConsoleFormat::contentThatIsNoJson()
{
    KvFriendMessageData data = row("lina", "me", false);
    data.content = "not json";
    QCOMPARE(KvConsoleFormat::message(data).value("content").toString(), QStringLiteral("not json"));
    data.content.clear();
    QVERIFY(!KvConsoleFormat::message(data).contains("content"));
}

void TestConsoleFormat::enterprise()
{
    KvGroupInfo info;
    info.enterpriseId = QStringLiteral("100001");
    info.name = QStringLiteral("星图测绘有限公司");
    KvUserInfoFriend member;
    member.userName = QStringLiteral("lina");
    member.sex = 2;
    info.staffs = {member};
    const QJsonObject object = KvConsoleFormat::enterprise(info);
    QCOMPARE(object.value("id").toString(), info.enterpriseId);
    QCOMPARE(object.value("members").toArray().size(), 1);
    QCOMPARE(object.value("members").toArray().first().toObject().value("username").toString(), QStringLiteral("lina"));
    QCOMPARE(object.value("members").toArray().first().toObject().value("portrait").toBool(), false);
}

void TestConsoleFormat::progressBar_data()
{
    QTest::addColumn<double>("fraction");
    QTest::addColumn<QString>("bar");

    QTest::newRow("start") << 0.0 << "[----------]   0%  f.bin";
    QTest::newRow("a third") << 1.0 / 3 << "[###-------]  33%  f.bin";
    QTest::newRow("last block") << 0.99 << "[#########-]  99%  f.bin";
    QTest::newRow("done") << 1.0 << "[##########] 100%  f.bin";
    QTest::newRow("above") << 1.5 << "[##########] 100%  f.bin";
    QTest::newRow("below") << -0.5 << "[----------]   0%  f.bin";
}

void TestConsoleFormat::progressBar()
{
    QFETCH(double, fraction);
    QFETCH(QString, bar);
    QCOMPARE(KvConsoleFormat::progressBar(fraction, 10, QStringLiteral("f.bin")), bar);
}

QTEST_GUILESS_MAIN(TestConsoleFormat)
#include "tst_consoleformat.moc"

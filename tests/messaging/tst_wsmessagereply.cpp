// SPDX-License-Identifier: MIT
#include "fakemessageserver.h"

#include "messaging/wscommunicationtesthook_p.h"

#include <QJsonObject>
#include <QSignalSpy>
#include <QtTest>

using Hook = KvWSCommunicationTestHook;

namespace {

QJsonObject acknowledgement(const QString &sid, const char *messageId, qint64 createTime)
{
    return QJsonObject{{"type", "SSS"}, {"sid", sid}, {"message_id", messageId}, {"create_time", createTime}};
}

} // namespace

class TestWSMessageReply : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        Hook::setNetworkWatcherEnabled(false);
    }

    void cleanup()
    {
        Hook::setTimeScale(1.0);
    }

    void acknowledgedBySss()
    {
        MessageLink link;
        QVERIFY(link.open());
        const auto reply = link.manager.chatForText({"u"}, QStringLiteral("hi"), false);
        QVERIFY(reply->isRunning());
        QCOMPARE(reply->error(), KvWSMessageReply::NoError);
        QVERIFY(reply->message()->messageID().isEmpty());
        QVERIFY(!reply->message()->datetime().isValid());
        QSignalSpy finished(reply.data(), &KvWSMessageReply::finished);

        QVERIFY(link.server.waitForTexts(1));
        link.server.send(acknowledgement(QStringLiteral("0123456789abcdef0123456789abcdef"), "other", 1));
        link.server.send(acknowledgement(reply->message()->sid(), "srv-1", 1700000000));
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(reply->error(), KvWSMessageReply::NoError);
        QVERIFY(!reply->isRunning());
        QCOMPARE(reply->message()->messageID(), QStringLiteral("srv-1"));
        QCOMPARE(reply->message()->datetime(), QDateTime::fromSecsSinceEpoch(1700000000));
        QCOMPARE(Hook::pendingReplyCount(&link.manager), 0);

        // The acknowledgement is not acknowledged in turn, and the time-out
        // that was stopped never fires.
        link.server.send(chatFrame("s1"));
        QVERIFY(link.server.waitForTexts(2));
        QCOMPARE(acknowledgedIds(link.server.frames().at(1)), QStringList{"s1"});
        QCOMPARE(finished.count(), 1);
    }

    void timeOutThenLateAcknowledgement()
    {
        Hook::setTimeScale(0.002); // 30 s -> 60 ms
        MessageLink link;
        QVERIFY(link.open());
        const auto reply = link.manager.chatForText({"u"}, QStringLiteral("hi"), false);
        QSignalSpy finished(reply.data(), &KvWSMessageReply::finished);
        QVERIFY(finished.wait(2000));
        QCOMPARE(reply->error(), KvWSMessageReply::SocketTimeoutError);
        QVERIFY(reply->isRunning());
        QTRY_COMPARE(Hook::pendingReplyCount(&link.manager), 0);

        QVERIFY(link.server.waitForTexts(1));
        link.server.send(acknowledgement(reply->message()->sid(), "late", 1700000000));
        link.server.send(chatFrame("s1"));
        QVERIFY(link.server.waitForTexts(2));
        QTest::qWait(100);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(reply->error(), KvWSMessageReply::SocketTimeoutError);
        QVERIFY(reply->message()->messageID().isEmpty());
        QVERIFY(!reply->message()->datetime().isValid());
    }

    void socketErrorEndsEveryPendingReply()
    {
        MessageLink link;
        QSignalSpy errors(&link.manager, &KvWSCommunicationManager::onError);
        QVERIFY(link.open());
        const auto first = link.manager.chatForText({"u"}, QStringLiteral("a"), false);
        const auto second = link.manager.chatForPicture({"u"}, "p", "p.png", 1, "s", "m", false);
        QSignalSpy firstFinished(first.data(), &KvWSMessageReply::finished);
        QSignalSpy secondFinished(second.data(), &KvWSMessageReply::finished);
        QVERIFY(link.server.waitForTexts(2));

        link.server.dropClient();
        QTRY_COMPARE(firstFinished.count(), 1);
        QTRY_COMPARE(secondFinished.count(), 1);
        QCOMPARE(errors.count(), 1);
        const int code = int(errors.first().first().value<QAbstractSocket::SocketError>());
        QCOMPARE(code, int(QAbstractSocket::RemoteHostClosedError));
        QCOMPARE(int(first->error()), code);
        QCOMPARE(int(second->error()), code);
        QVERIFY(!first->isRunning());
        QVERIFY(!second->isRunning());
        QCOMPARE(Hook::pendingReplyCount(&link.manager), 0);
        QVERIFY(first->message()->messageID().isEmpty());
    }

    // Also a send without a connection: the frame is dropped and the reply times out.
    void replyOutlivesItsConnection()
    {
        Hook::setTimeScale(0.002);
        QSharedPointer<KvWSMessageReply> reply;
        {
            KvWSCommunicationManager manager;
            reply = manager.chatForText({"u"}, QStringLiteral("hi"), false);
        }
        QSignalSpy finished(reply.data(), &KvWSMessageReply::finished);
        QVERIFY(finished.wait(2000));
        QCOMPARE(reply->error(), KvWSMessageReply::SocketTimeoutError);
    }
};

QTEST_GUILESS_MAIN(TestWSMessageReply)

#include "tst_wsmessagereply.moc"

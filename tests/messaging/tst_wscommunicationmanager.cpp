// SPDX-License-Identifier: MIT
#include "fakemessageserver.h"

#include "messaging/msgcontentchattext.h"
#include "messaging/msgcontentuserinfo.h"
#include "messaging/wscommunicationtesthook_p.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <atomic>

using Hook = KvWSCommunicationTestHook;

namespace {

// The manager's message signals as "TYPE:id" and "chat:id,id" entries, in the
// order they arrive on the test's thread.
class SignalLog : public QObject
{
public:
    explicit SignalLog(KvWSCommunicationManager *manager)
    {
        using M = KvWSCommunicationManager;
        connect(manager, &M::onChatMsgReceived, this, [this](const QList<KvWSMessagePtr> &messages) {
            QStringList ids;
            for (const KvWSMessagePtr &message : messages) {
                ids << message->messageID();
                this->messages << message;
            }
            entries << QStringLiteral("chat:") + ids.join(QLatin1Char(','));
        });
        for (auto signal : {&M::onApplyforFriendMsgReceived, &M::onConfirmedFriendMsgReceived,
                            &M::onRefusedFriendMsgReceived, &M::onRemovedFriendMsgReceived, &M::onPCOffline,
                            &M::onProMemberChanged, &M::onMapLayerAdded, &M::onMapLayerUpdated, &M::onMapLayerDeleted,
                            &M::onDevicesLightUpChanged, &M::onNoticeReceived, &M::onPopNoticeReceived}) {
            connect(manager, signal, this, [this](const KvWSMessagePtr &message) {
                entries << message->type() + QLatin1Char(':') + message->messageID();
                messages << message;
            });
        }
    }

    QStringList entries;
    QList<KvWSMessagePtr> messages;
};

bool isSid(const QString &sid)
{
    static const QRegularExpression pattern(QStringLiteral("^[0-9a-f]{32}$"));
    return pattern.match(sid).hasMatch();
}

} // namespace

class TestWSCommunicationManager : public QObject
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
        Hook::setClock({});
    }

    // The same token again, or a start, leaves a link alone; a new token
    // closes it normally and opens the next.
    void tokenDecidesTheConnection()
    {
        MessageLink link;
        QSignalSpy connected(&link.manager, &KvWSCommunicationManager::onConnected);
        link.manager.setToken(QStringLiteral("a"));
        link.manager.setToken(QStringLiteral("a"));
        link.manager.start();
        QVERIFY(link.open(QStringLiteral("a")));
        const QUrl url = link.server.requestUrls.first();
        QCOMPARE(url.scheme() + url.path(), QStringLiteral("ws/wsmessage"));
        QCOMPARE(url.query(), QStringLiteral("auth=a&platform=pc-pro"));
        QTRY_COMPARE(connected.count(), 1);
        QTest::qWait(200);
        QCOMPARE(link.server.requestUrls.size(), 1);

        link.manager.setToken(QStringLiteral("b"));
        QVERIFY(link.server.waitForCloseCodes(1));
        QCOMPARE(link.server.closeCodes.first(), QWebSocketProtocol::CloseCodeNormal);
        QVERIFY(link.server.waitForConnections(2));
        QCOMPARE(link.server.requestUrls.at(1).query(), QStringLiteral("auth=b&platform=pc-pro"));
    }

    // The expected frames are written compact and without their sid; the
    // text itself must be the indented form.
    void outgoingFrames_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("expected");
        QTest::newRow("text to two in a group")
            << 0 << R"({"data":{"content":"hi"},"group":true,"to":["u1","u2"],"type":"BBC"})";
        QTest::newRow("picture without addressees")
            << 1 << R"({"data":{"id":"p1","md5":"m","size":5000000000,"src":"s","title":"a.png"},"group":false,)"
                    R"("type":"BBB"})";
        QTest::newRow("file to one")
            << 2 << R"({"data":{"id":"f1","md5":"m","size":12,"src":"s","title":"a.txt"},"group":false,)"
                    R"("to":["u"],"type":"BBA"})";
        QTest::newRow("catch-up request") << 3 << R"({"data":{"message_id":""},"group":false,"type":"QQQ"})";
    }

    void outgoingFrames()
    {
        QFETCH(int, kind);
        QFETCH(QString, expected);

        MessageLink link;
        QVERIFY(link.open());
        KvWSCommunicationManager &manager = link.manager;
        QSharedPointer<KvWSMessageReply> reply;
        switch (kind) {
        case 0:
            reply = manager.chatForText({"u1", "u2"}, QStringLiteral("hi"), true);
            break;
        case 1:
            reply = manager.chatForPicture({}, "p1", "a.png", Q_INT64_C(5000000000), "s", "m", false);
            break;
        case 2:
            reply = manager.chatForFile({"u"}, "f1", "a.txt", 12, "s", "m", false);
            break;
        default:
            manager.requestUpdateMessages(QString());
        }
        QVERIFY(link.server.waitForTexts(1));
        const QString text = link.server.texts.first();
        QJsonObject frame = QJsonDocument::fromJson(text.toUtf8()).object();
        QCOMPARE(text, QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Indented)));
        const QString sid = frame.take("sid").toString();
        QVERIFY2(isSid(sid), qPrintable(sid));
        QVERIFY2(!m_sids.contains(sid), "a sid was used twice");
        m_sids.insert(sid);
        if (reply)
            QCOMPARE(reply->message()->sid(), sid);
        QCOMPARE(QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact)), expected);
    }

    void receivedText()
    {
        MessageLink link;
        SignalLog log(&link.manager);
        QVERIFY(link.open());

        link.server.send(QStringLiteral(R"([
            {"type":"BBC","message_id":"m1","sid":"server-sid","data":{"content":"a"},"from":"alice",
             "to":["bob","","carol"],"platform":"pc-pro","create_time":1700000000},
            7,
            {"type":"ZZN","message_id":"m2","data":{"url":"n","notice":{"id":1}}},
            {"type":"BBA","message_id":"m3","data":{"id":"f"},"group":true,"to":[]},
            "text",
            {"type":"ZZA","message_id":"m4","data":{"fromUser":{"username":"dave"}}},
            {"type":"XYZ","message_id":"m5"},
            {"type":"SSS","sid":"nobody","message_id":"m6"},
            {"type":"bbc","message_id":"m7","data":{}}
        ])"));
        QVERIFY(link.server.waitForTexts(1));
        QTRY_COMPARE(log.entries, (QStringList{"ZZN:m2", "ZZA:m4", "chat:m1,m3"}));

        const QJsonObject rrr = link.server.frames().first();
        QCOMPARE(rrr.value("type").toString(), QStringLiteral("RRR"));
        QCOMPARE(acknowledgedIds(rrr), (QStringList{"m1", "m2", "m3", "m4"}));
        QCOMPARE(rrr.value("group"), QJsonValue(false));
        QVERIFY(!rrr.contains("to"));
        QVERIFY(isSid(rrr.value("sid").toString()));

        const KvWSMessagePtr text = log.messages.at(2);
        QCOMPARE(text->fromUser(), QStringLiteral("alice"));
        QCOMPARE(text->toUsers(), (QStringList{"bob", "carol"}));
        QCOMPARE(text->platform(), QStringLiteral("pc-pro"));
        QCOMPARE(text->datetime(), QDateTime::fromSecsSinceEpoch(1700000000));
        QVERIFY(!text->isGroup());
        QVERIFY(isSid(text->sid()));
        QCOMPARE(text->content().dynamicCast<KvMsgContentChatText>()->text(), QStringLiteral("a"));

        const KvWSMessagePtr file = log.messages.at(3);
        QVERIFY(file->isGroup());
        QCOMPARE(file->platform(), QString());
        QVERIFY(file->toUsers().isEmpty());
        QCOMPARE(log.messages.at(1)->content().dynamicCast<KvMsgContentUserInfo>()->user(), QStringLiteral("dave"));

        // One acknowledgement per text: the next text brings the next one.
        link.server.send(chatFrame("s1"));
        QVERIFY(link.server.waitForTexts(2));
        QCOMPARE(link.server.texts.size(), 2);
        QCOMPARE(acknowledgedIds(link.server.frames().at(1)), QStringList{"s1"});
    }

    void droppedText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("expectedSignals");
        QTest::newRow("invalid JSON") << R"({"type":"BBC","message_id":"x")" << QStringList();
        QTest::newRow("number") << "7" << QStringList();
        QTest::newRow("no type") << R"({"message_id":"x","data":{}})" << QStringList();
        QTest::newRow("chat without id: shown, not acknowledged") << R"({"type":"BBC","data":{"content":"c"}})"
                                                                  << QStringList{"chat:"};
    }

    // Each text is followed by a good one: its acknowledgement must be the
    // first and hold that one's id alone. Elements dropped inside an array
    // (unknown, lower-case, non-objects, SSS of nothing) are in receivedText.
    void droppedText()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, expectedSignals);

        MessageLink link;
        SignalLog log(&link.manager);
        QVERIFY(link.open());
        link.server.send(text);
        link.server.send(chatFrame("s1"));
        QVERIFY(link.server.waitForTexts(1));
        QCOMPARE(acknowledgedIds(link.server.frames().first()), QStringList{"s1"});
        QTRY_COMPARE(log.entries, expectedSignals + QStringList{"chat:s1"});
        QVERIFY(link.manager.isConnected());
    }

    void startWithoutTokenDoesNothing()
    {
        MessageLink link;
        link.manager.start();
        link.manager.forceStart();
        QTest::qWait(100);
        QVERIFY(!Hook::thread(&link.manager)->isRunning());
        QVERIFY(!link.manager.isConnected());
        QVERIFY(link.server.requestUrls.isEmpty());
        Hook::raiseError(&link.manager, QAbstractSocket::RemoteHostClosedError);
        QCOMPARE(Hook::reconnectTimerInterval(&link.manager), -1);
    }

    void stopThenStartDoesNotReconnect()
    {
        MessageLink link;
        KvWSCommunicationManager &manager = link.manager;
        QSignalSpy disconnected(&manager, &KvWSCommunicationManager::onDisconnected);
        QVERIFY(link.open());
        QTRY_VERIFY(Hook::heartbeatActive(&manager));

        manager.stop();
        QVERIFY(link.server.waitForCloseCodes(1));
        QCOMPARE(link.server.closeCodes.first(), QWebSocketProtocol::CloseCodeNormal);
        QTRY_COMPARE(disconnected.count(), 1);
        QVERIFY(!Hook::heartbeatActive(&manager));

        manager.start();
        manager.setToken(QStringLiteral("t"));
        QTest::qWait(200);
        QCOMPARE(link.server.requestUrls.size(), 1);
        QCOMPARE(Hook::reconnectTimerInterval(&manager), -1);

        manager.forceStart();
        QVERIFY(link.server.waitForConnections(2));
        QTRY_VERIFY(manager.isConnected());

        // After quit the thread has ended, and a plain start brings it back.
        manager.quit();
        QVERIFY(Hook::thread(&manager)->wait(5000));
        QVERIFY(link.server.waitForCloseCodes(2));
        manager.start();
        QVERIFY(link.server.waitForConnections(3));
    }

    void errorArmsReconnect_data()
    {
        QTest::addColumn<QAbstractSocket::SocketError>("error");
        QTest::addColumn<bool>("armed");
        QTest::newRow("refused") << QAbstractSocket::ConnectionRefusedError << true;
        QTest::newRow("remote closed") << QAbstractSocket::RemoteHostClosedError << true;
        QTest::newRow("host not found") << QAbstractSocket::HostNotFoundError << true;
        QTest::newRow("network") << QAbstractSocket::NetworkError << true;
        QTest::newRow("socket time-out") << QAbstractSocket::SocketTimeoutError << false;
        QTest::newRow("TLS handshake") << QAbstractSocket::SslHandshakeFailedError << false;
        QTest::newRow("proxy refused") << QAbstractSocket::ProxyConnectionRefusedError << false;
        QTest::newRow("unknown") << QAbstractSocket::UnknownSocketError << false;
    }

    void errorArmsReconnect()
    {
        QFETCH(QAbstractSocket::SocketError, error);
        QFETCH(bool, armed);

        MessageLink link;
        QSignalSpy errors(&link.manager, &KvWSCommunicationManager::onError);
        QVERIFY(link.open());
        Hook::raiseError(&link.manager, error);
        QCOMPARE(errors.count(), 1);
        QCOMPARE(errors.first().first().value<QAbstractSocket::SocketError>(), error);
        QCOMPARE(Hook::reconnectTimerInterval(&link.manager), armed ? 30000 : -1);
    }

    // The connection's thread never calls the message handler: QtTest's own
    // handler is torn down at the end of a run while that thread may still
    // be reporting a closing link, and a host's handler may not expect it.
    void linkReportsOnTheManagersThread()
    {
        static QThread *mainThread = nullptr;
        static QStringList lines;
        static std::atomic<int> fromOtherThreads{0};
        static QtMessageHandler previous = nullptr;
        mainThread = QThread::currentThread();
        lines.clear();
        fromOtherThreads = 0;
        previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
            if (QThread::currentThread() != mainThread) {
                ++fromOtherThreads;
                return;
            }
            lines << text;
            previous(type, context, text);
        });
        const auto restore = qScopeGuard([] { qInstallMessageHandler(previous); });

        {
            MessageLink link;
            QVERIFY(link.open());
            Hook::raiseError(&link.manager, QAbstractSocket::RemoteHostClosedError);
            link.manager.stop();
            QTRY_VERIFY(lines.contains(QStringLiteral("message server disconnected")) || fromOtherThreads > 2);
        }
        QCOMPARE(fromOtherThreads.load(), 0);
        QVERIFY(lines.contains(QStringLiteral("message server connected")));
        QVERIFY(lines.contains(QStringLiteral("message server disconnected")));
        QVERIFY(!lines.filter(QStringLiteral("message server socket error QAbstractSocket::RemoteHostClosedError")).isEmpty());
    }

    // Offline closes the link and keeps trying at the long delay; back online
    // the retries come at the short one until a link holds, then the long one
    // is back for the next failure, a drop by the server, which also stops
    // the heartbeat.
    void networkGoesAndComesBack()
    {
        // 2 s -> 200 ms, 30 s -> 3 s: QTRY's 5 s hold several short retries
        // but not several long ones.
        Hook::setTimeScale(0.1);
        MessageLink link;
        KvWSCommunicationManager &manager = link.manager;
        QSignalSpy errors(&manager, &KvWSCommunicationManager::onError);
        QSignalSpy disconnected(&manager, &KvWSCommunicationManager::onDisconnected);
        QVERIFY(link.open());
        link.server.stopListening();
        Hook::setOnline(&manager, false);
        QVERIFY(link.server.waitForCloseCodes(1));
        QCOMPARE(link.server.closeCodes.first(), QWebSocketProtocol::CloseCodeNormal);
        QCOMPARE(Hook::reconnectTimerInterval(&manager), 3000);

        Hook::setOnline(&manager, true);
        QCOMPARE(Hook::reconnectTimerInterval(&manager), 200);
        QTRY_VERIFY(errors.count() >= 3); // refused each time

        QVERIFY(link.server.listen());
        QVERIFY(link.server.waitForConnections(2));
        QTRY_VERIFY(manager.isConnected());
        QTRY_VERIFY(Hook::heartbeatActive(&manager));
        const int errorsBefore = errors.count();
        const int downsBefore = disconnected.count();
        link.server.dropClient();
        // Emitted on the connection's thread, perhaps before a wait() could begin.
        QTRY_COMPARE(errors.count(), errorsBefore + 1);
        QCOMPARE(errors.last().first().value<QAbstractSocket::SocketError>(), QAbstractSocket::RemoteHostClosedError);
        QTRY_COMPARE(disconnected.count(), downsBefore + 1);
        QVERIFY(!Hook::heartbeatActive(&manager));
        QCOMPARE(Hook::reconnectTimerInterval(&manager), 3000);
    }

    void heartbeatDateTest()
    {
        QDate today(2024, 3, 1);
        Hook::setClock([&today] { return today; });
        MessageLink link;
        KvWSCommunicationManager &manager = link.manager;
        QSignalSpy refresh(&manager, &KvWSCommunicationManager::onReqRefreshAuth);
        QVERIFY(link.open());

        for (int i = 0; i < 20; ++i)
            Hook::heartbeat(&manager);
        QCOMPARE(Hook::heartbeatCount(&manager), 20);
        today = today.addDays(1);
        Hook::heartbeat(&manager);
        QCOMPARE(refresh.count(), 1);
        QCOMPARE(Hook::heartbeatCount(&manager), 0);

        // The same day does not ask again; a later day does, on its 21st tick.
        for (int i = 0; i < 21; ++i)
            Hook::heartbeat(&manager);
        QCOMPARE(refresh.count(), 1);
        today = today.addDays(1);
        for (int i = 0; i < 20; ++i)
            Hook::heartbeat(&manager);
        QCOMPARE(refresh.count(), 1);
        Hook::heartbeat(&manager);
        QCOMPARE(refresh.count(), 2);
    }

private:
    QSet<QString> m_sids;
};

QTEST_GUILESS_MAIN(TestWSCommunicationManager)

#include "tst_wscommunicationmanager.moc"

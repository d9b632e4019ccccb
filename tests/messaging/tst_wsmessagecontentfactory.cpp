// SPDX-License-Identifier: MIT
#include "messaging/msgcontentchatfile.h"
#include "messaging/msgcontentchatpic.h"
#include "messaging/msgcontentchattext.h"
#include "messaging/msgcontentclientofflineinfo.h"
#include "messaging/msgcontentmaplayer.h"
#include "messaging/msgcontentnotice.h"
#include "messaging/msgcontenttip.h"
#include "messaging/msgcontentuserinfo.h"
#include "messaging/msgdevicelightup.h"
#include "messaging/msgnewcustomerservice.h"
#include "messaging/wscommunicationmanager.h"
#include "messaging/wscommunicationtesthook_p.h"
#include "messaging/wsmessagecontentfactory.h"
#include "messaging/wssignalsfilterformgr.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QtTest>

#include <typeinfo>

namespace {

QJsonValue json(const char *text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text);
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

} // namespace

class TestWSMessageContentFactory : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        KvWSCommunicationTestHook::setNetworkWatcherEnabled(false);
    }

    void typeTable_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("className");
        QTest::addColumn<int>("dispatchKind");
        QTest::addColumn<QByteArray>("signal");

        const QByteArray file = typeid(KvMsgContentChatFile).name();
        const QByteArray userInfo = typeid(KvMsgContentUserInfo).name();
        const QByteArray maplayer = typeid(KvMsgContentMaplayer).name();
        const QByteArray notice = typeid(KvMsgContentNotice).name();
        const QByteArray tip = typeid(KvMsgContentTip).name();
        QTest::newRow("BBA") << "BBA" << file << 1 << QByteArray();
        QTest::newRow("BBB") << "BBB" << QByteArray(typeid(KvMsgContentChatPic).name()) << 1 << QByteArray();
        QTest::newRow("BBC") << "BBC" << QByteArray(typeid(KvMsgContentChatText).name()) << 1 << QByteArray();
        QTest::newRow("BBI") << "BBI" << tip << 1 << QByteArray();
        QTest::newRow("BBJ") << "BBJ" << tip << 1 << QByteArray();
        QTest::newRow("BBK") << "BBK" << QByteArray(typeid(KvMsgNewCustomerService).name()) << 1 << QByteArray();
        QTest::newRow("ZZA") << "ZZA" << userInfo << 2 << QByteArray("onApplyforFriendMsgReceived");
        QTest::newRow("ZZB") << "ZZB" << userInfo << 2 << QByteArray("onConfirmedFriendMsgReceived");
        QTest::newRow("ZZC") << "ZZC" << userInfo << 2 << QByteArray("onRefusedFriendMsgReceived");
        QTest::newRow("ZZD") << "ZZD" << userInfo << 2 << QByteArray("onRemovedFriendMsgReceived");
        QTest::newRow("ZZE") << "ZZE" << QByteArray(typeid(KvMsgContentClientOfflineInfo).name()) << 2
                             << QByteArray("onPCOffline");
        QTest::newRow("ZZG") << "ZZG" << userInfo << 2 << QByteArray("onProMemberChanged");
        QTest::newRow("ZZH") << "ZZH" << maplayer << 2 << QByteArray("onMapLayerAdded");
        QTest::newRow("ZZI") << "ZZI" << maplayer << 2 << QByteArray("onMapLayerUpdated");
        QTest::newRow("ZZJ") << "ZZJ" << maplayer << 2 << QByteArray("onMapLayerDeleted");
        QTest::newRow("ZZK") << "ZZK" << QByteArray(typeid(KvMsgDeviceLightUp).name()) << 2
                             << QByteArray("onDevicesLightUpChanged");
        QTest::newRow("ZZN") << "ZZN" << notice << 2 << QByteArray("onNoticeReceived");
        QTest::newRow("ZZO") << "ZZO" << notice << 2 << QByteArray("onPopNoticeReceived");
    }

    // Each type gets its class, its dispatch, and its own signal.
    void typeTable()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, className);
        QFETCH(int, dispatchKind);
        QFETCH(QByteArray, signal);

        KvWSCommunicationManager manager;
        KvWSSignalsFilterForMgr filter(&manager);
        const QSharedPointer<KvWSMessageContent> content =
            KvWSMessageContentFactory::createMessageContent(type, QJsonObject(), &filter);
        QVERIFY(content);
        QCOMPARE(QByteArray(typeid(*content).name()), className);
        QCOMPARE(content->type(), type);
        QCOMPARE(filter.dispatchKind, dispatchKind);
        QCOMPARE(bool(filter.handler), !signal.isEmpty());

        // A wrong entry leaves the row's own signal silent.
        if (signal.isEmpty())
            return;
        QSignalSpy spy(&manager, QByteArray("2" + signal + "(KvWSMessagePtr)").constData());
        QVERIFY(spy.isValid());
        const KvWSMessagePtr message = KvWSMessage::create(content, false);
        filter.callHandler(message);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.first().first().value<KvWSMessagePtr>(), message);
    }

    void notInTable_data()
    {
        QTest::addColumn<QString>("type");
        QTest::newRow("unknown") << "ZZZ";
        QTest::newRow("lower case") << "bba";
        QTest::newRow("acknowledgement") << "SSS";
        QTest::newRow("catch-up request") << "QQQ";
        QTest::newRow("auto response") << "RRR";
        QTest::newRow("empty") << "";
        QTest::newRow("padded") << " BBC";
    }

    void notInTable()
    {
        QFETCH(QString, type);
        KvWSCommunicationManager manager;
        KvWSSignalsFilterForMgr filter(&manager);
        QVERIFY(!KvWSMessageContentFactory::createMessageContent(type, json(R"({"content":"x"})"), &filter));
        QCOMPARE(filter.dispatchKind, -1);
        QVERIFY(!filter.handler);
    }

    // What comes back out of a parsed content: chats and notices give the
    // received value unchanged, the others rebuild their own keys.
    void serialisedValue_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("text keeps unknown keys") << "BBC" << QByteArray(R"({"content":"hi","font":{"b":1}})")
                                                 << QByteArray(R"({"content":"hi","font":{"b":1}})");
        QTest::newRow("file keeps unknown keys") << "BBA" << QByteArray(R"({"id":"1","size":1,"x":[1]})")
                                                 << QByteArray(R"({"id":"1","size":1,"x":[1]})");
        QTest::newRow("notice") << "ZZO" << QByteArray(R"({"url":"u","notice":{"id":7}})")
                                << QByteArray(R"({"url":"u","notice":{"id":7}})");
        QTest::newRow("agent") << "BBK" << QByteArray(R"({"customer_service":{"username":"a"},"x":1})")
                               << QByteArray(R"({"customer_service":{"username":"a"},"x":1})");
        QTest::newRow("user info") << "ZZA" << QByteArray(R"({"fromUser":{"username":"u","age":3},"x":1})")
                                   << QByteArray(R"({"fromUser":{"username":"u"}})");
        QTest::newRow("offline") << "ZZE" << QByteArray(R"({"uuid":"u","client_id":"c","token":"t","x":1})")
                                 << QByteArray(R"({"uuid":"u","client_id":"c","token":"t"})");
        QTest::newRow("map layer drops its time") << "ZZH" << QByteArray(R"({"layer_id":["a","",3],"update_time":9})")
                                                  << QByteArray(R"({"layer_id":["a","",""]})");
        QTest::newRow("devices") << "ZZK" << QByteArray(R"({"list":["d1",""],"current":"d1","x":1})")
                                 << QByteArray(R"({"list":["d1",""],"current":"d1"})");
    }

    void serialisedValue()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, expected);
        const auto content = KvWSMessageContentFactory::createMessageContent(type, json(data.constData()), nullptr);
        QVERIFY(content);
        QCOMPARE(content->toJsonValue(), json(expected.constData()));
    }

    void parsedFields()
    {
        const auto pic = KvWSMessageContentFactory::createMessageContent(
                             QStringLiteral("BBB"), json(R"({"id":"i","title":"p","src":"s","md5":"m","size":5000000000})"),
                             nullptr)
                             .dynamicCast<KvMsgContentChatFile>();
        QVERIFY(pic);
        QCOMPARE(pic->id() + pic->title() + pic->src() + pic->md5(), QStringLiteral("ipsm"));
        QCOMPARE(pic->size(), Q_INT64_C(5000000000));

        KvMsgNewCustomerService agent(QStringLiteral("BBK"));
        agent.parseJsonValue(json(R"({"customer_service":{"username":"10000@a","nickname":"Ann"}})"));
        QCOMPARE(agent.userName(), QStringLiteral("10000@a"));
        QCOMPARE(agent.nikeName(), QStringLiteral("Ann"));
    }

    void maplayerVersion_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("version");
        QTest::newRow("milliseconds") << QByteArray(R"({"update_time":1600000000000})") << "1600000000000";
        QTest::newRow("fraction dropped") << QByteArray(R"({"update_time":12.75})") << "12";
        QTest::newRow("exponent form") << QByteArray(R"({"update_time":1.5e12})") << "1500000000000";
        QTest::newRow("missing") << QByteArray(R"({})") << "0";
        QTest::newRow("string is not read") << QByteArray(R"({"update_time":"77"})") << "0";
        QTest::newRow("negative") << QByteArray(R"({"update_time":-5})") << "0";
    }

    void maplayerVersion()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, version);
        KvMsgContentMaplayer maplayer(QStringLiteral("ZZI"));
        maplayer.parseJsonValue(json(data.constData()));
        QCOMPARE(maplayer.version(), version);
    }
};

QTEST_GUILESS_MAIN(TestWSMessageContentFactory)

#include "tst_wsmessagecontentfactory.moc"

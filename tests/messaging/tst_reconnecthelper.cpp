// SPDX-License-Identifier: MIT
#include "fakemessageserver.h"
#include "messaging/reconnecthelper.h"
#include "messaging/wscommunicationmanager.h"
#include "messaging/wscommunicationtesthook_p.h"

#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

using Hook = KvWSCommunicationTestHook;

// Delays are a hundredth of the real ones: the first about 10 ms, the longest 600 ms.
class TestReconnectHelper : public QObject
{
    Q_OBJECT
private:
    KvWSCommunicationManager *link() const { return KvWSCommunicationManager::getDefault(); }
    static QTimer *timerOf(KvReconnectHelper &helper) { return helper.findChild<QTimer *>(); }

    FakeMessageServer m_server;

private Q_SLOTS:
    void initTestCase()
    {
        Hook::setTimeScale(0.01);
        link()->setToken(QStringLiteral("t"));
        QTRY_VERIFY(link()->isConnected());
    }

    void cleanup()
    {
        if (!m_server.isListening())
            m_server.listen();
    }

    void delaysGrowWhileTheServerIsAwayAndStartOverAfter()
    {
        KvReconnectHelper helper;
        QTimer *timer = timerOf(helper);
        // Each delay as it is armed: the first at the loss, the others as each try goes out.
        QList<int> delays;
        connect(link(), &KvWSCommunicationManager::onDisconnected, &helper, [&] {
            if (delays.isEmpty())
                delays.append(timer->interval());
        });
        connect(timer, &QTimer::timeout, &helper, [&] { delays.append(timer->interval()); });
        m_server.stopListening();
        m_server.closeClient(QWebSocketProtocol::CloseCodeGoingAway);
        QTRY_VERIFY_WITH_TIMEOUT(delays.size() >= 8, 10000);
        QVERIFY2(delays.first() <= 10, qPrintable(QString::number(delays.first())));
        for (int i = 1; i < 7; ++i)
            QVERIFY(delays.at(i) > delays.at(i - 1));
        QVERIFY(delays.at(7) >= 450 && delays.at(7) <= 600);

        QVERIFY(m_server.listen());
        QTRY_VERIFY_WITH_TIMEOUT(link()->isConnected(), 5000);
        QTRY_VERIFY(!timer->isActive()); // the connect reaches the helper queued
        delays.clear();
        m_server.closeClient(QWebSocketProtocol::CloseCodeGoingAway);
        QTRY_VERIFY(!delays.isEmpty());
        QVERIFY(delays.first() <= 10);
        QTRY_VERIFY(link()->isConnected());
    }

    void suspendedWhileTheSessionEnds()
    {
        KvReconnectHelper helper;
        const int before = m_server.requestUrls.size();
        helper.setSuspended(true);
        m_server.closeClient(QWebSocketProtocol::CloseCodeGoingAway);
        QTRY_VERIFY(!link()->isConnected());
        // Resumed while the link is down: it waits for the next connect.
        helper.setSuspended(false);
        QTest::qWait(200);
        QCOMPARE(m_server.requestUrls.size(), before);

        link()->forceStart();
        QTRY_VERIFY(link()->isConnected());
        m_server.closeClient(QWebSocketProtocol::CloseCodeGoingAway);
        QVERIFY(m_server.waitForConnections(before + 2));
        QTRY_VERIFY(link()->isConnected());

        QVERIFY(QMetaObject::invokeMethod(qApp, "aboutToQuit"));
        QVERIFY(helper.isSuspended());
    }
};

QTEST_MAIN(TestReconnectHelper)
#include "tst_reconnecthelper.moc"

// SPDX-License-Identifier: MIT
#include "fakehttpserver.h"
#include "platform/synchronetworkaccessmanger.h"

#include <QNetworkReply>
#include <QPointer>
#include <QtTest>

// The server lives on the test's thread: every blocking call below only ends
// because the wait keeps that thread's event loop turning.
class TestSynchroNetworkAccessManger : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void eachVerbReturnsAFinishedReply_data();
    void eachVerbReturnsAFinishedReply();
    void replyLivesAsLongAsTheManager();
    void refusedConnection();

private:
    QUrl url(const QString &path) const { return QUrl(m_server.baseUrl() + path); }
    // "<verb> <path> <body>" of the last request the server received.
    QByteArray lastRequest() const
    {
        const FakeHttpServer::Request &request = m_server.requests.last();
        return request.verb + ' ' + request.path + ' ' + request.body;
    }

    FakeHttpServer m_server;
};

void TestSynchroNetworkAccessManger::initTestCase()
{
    QVERIFY(m_server.listen());
    m_server.setResponse(200, "answer");
}

void TestSynchroNetworkAccessManger::eachVerbReturnsAFinishedReply_data()
{
    QTest::addColumn<QByteArray>("verb");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("post") << QByteArray("POST") << QByteArray("hello");
    QTest::newRow("get") << QByteArray("GET") << QByteArray();
    QTest::newRow("put") << QByteArray("PUT") << QByteArray("hello");
    QTest::newRow("custom DELETE with body") << QByteArray("DELETE") << QByteArray("hello");
}

void TestSynchroNetworkAccessManger::eachVerbReturnsAFinishedReply()
{
    QFETCH(QByteArray, verb);
    QFETCH(QByteArray, body);
    QNetworkRequest request(url(QStringLiteral("call")));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("text/plain"));
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = nullptr;
    if (verb == "POST")
        reply = manager.post(request, "hello");
    else if (verb == "GET")
        reply = manager.get(request);
    else if (verb == "PUT")
        reply = manager.put(request, "hello");
    else
        reply = manager.sendCustomRequest(request, verb, "hello");
    QVERIFY(reply->isFinished());
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QCOMPARE(reply->readAll(), QByteArray("answer"));
    QCOMPARE(lastRequest(), verb + " /call " + body);
    QCOMPARE(m_server.requests.last().headers.value("content-type"), QByteArray("text/plain"));
}

void TestSynchroNetworkAccessManger::replyLivesAsLongAsTheManager()
{
    QPointer<QNetworkReply> reply;
    {
        KvSynchroNetworkAccessManger manager;
        reply = manager.get(QNetworkRequest(url(QStringLiteral("a"))));
        QCoreApplication::processEvents();
        QTest::qWait(20);
        QVERIFY(reply);
        QCOMPARE(reply->readAll(), QByteArray("answer"));
    }
    QVERIFY(!reply);
}

void TestSynchroNetworkAccessManger::refusedConnection()
{
    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    const quint16 port = closed.serverPort();
    closed.close();
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port))));
    QVERIFY(reply->isFinished());
    QCOMPARE(reply->error(), QNetworkReply::ConnectionRefusedError);
    QVERIFY(reply->readAll().isEmpty());
}

QTEST_GUILESS_MAIN(TestSynchroNetworkAccessManger)
#include "tst_synchronetworkaccessmanger.moc"

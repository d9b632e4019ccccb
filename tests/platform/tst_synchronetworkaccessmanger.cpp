#include "platform/synchronetworkaccessmanger.h"

#include <QHttpMultiPart>
#include <QNetworkReply>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <QtConcurrent>
#include <QtTest>

// A one-request-per-connection HTTP responder that echoes what it received:
// "<verb> <path> <body size> <content type>".
class EchoServer : public QObject
{
    Q_OBJECT
public:
    int delayMs = 0;

    bool listen() { return m_server.listen(QHostAddress::LocalHost); }
    QUrl url(const QString &path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
    }

    EchoServer()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection())
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        });
    }

private:
    void read(QTcpSocket *socket)
    {
        QByteArray &buffer = m_buffers[socket];
        buffer += socket->readAll();
        const int headerEnd = buffer.indexOf("\r\n\r\n");
        if (headerEnd < 0)
            return;
        const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
        int contentLength = 0;
        QByteArray contentType;
        for (const QByteArray &line : lines) {
            const QByteArray lower = line.toLower();
            if (lower.startsWith("content-length:"))
                contentLength = line.mid(15).trimmed().toInt();
            if (lower.startsWith("content-type:"))
                contentType = line.mid(13).trimmed().split(';').first();
        }
        if (buffer.size() < headerEnd + 4 + contentLength)
            return;
        const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
        const QByteArray body = requestLine.value(0) + ' ' + requestLine.value(1) + ' '
            + QByteArray::number(contentLength) + ' ' + contentType;
        m_buffers.remove(socket);
        const QByteArray response = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: "
            + QByteArray::number(body.size()) + "\r\n\r\n" + body;
        QTimer::singleShot(delayMs, socket, [socket, response] {
            socket->write(response);
            socket->disconnectFromHost();
        });
    }

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_buffers;
};

class TestSynchroNetworkAccessManger : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void eachVerbReturnsAFinishedReply_data();
    void eachVerbReturnsAFinishedReply();
    void multiPartPost();
    void replyLivesAsLongAsTheManager();
    void eventLoopKeepsTurningWhileWaiting();
    void worksOnAPoolThread();
    void refusedConnection();

private:
    EchoServer m_server;
};

void TestSynchroNetworkAccessManger::initTestCase()
{
    QVERIFY(m_server.listen());
}

void TestSynchroNetworkAccessManger::eachVerbReturnsAFinishedReply_data()
{
    QTest::addColumn<QByteArray>("verb");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("post") << QByteArray("POST") << QByteArray("POST /call 5 text/plain");
    QTest::newRow("get") << QByteArray("GET") << QByteArray("GET /call 0 text/plain");
    QTest::newRow("put") << QByteArray("PUT") << QByteArray("PUT /call 5 text/plain");
    QTest::newRow("custom DELETE with body") << QByteArray("DELETE") << QByteArray("DELETE /call 5 text/plain");
}

void TestSynchroNetworkAccessManger::eachVerbReturnsAFinishedReply()
{
    QFETCH(QByteArray, verb);
    QFETCH(QByteArray, expected);
    QNetworkRequest request(m_server.url(QStringLiteral("/call")));
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
    QVERIFY(reply);
    QVERIFY(reply->isFinished());
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QCOMPARE(reply->readAll(), expected);
}

void TestSynchroNetworkAccessManger::multiPartPost()
{
    KvSynchroNetworkAccessManger manager;
    auto *multiPart = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, QStringLiteral("form-data;  name=\"md5\""));
    part.setBody("0123456789abcdef0123456789abcdef");
    multiPart->append(part);
    QNetworkReply *reply = manager.post(QNetworkRequest(m_server.url(QStringLiteral("/upload"))), multiPart);
    multiPart->setParent(reply);
    QVERIFY(reply->isFinished());
    QVERIFY(reply->readAll().startsWith("POST /upload "));
}

void TestSynchroNetworkAccessManger::replyLivesAsLongAsTheManager()
{
    QPointer<QNetworkReply> reply;
    {
        KvSynchroNetworkAccessManger manager;
        reply = manager.get(QNetworkRequest(m_server.url(QStringLiteral("/a"))));
        QCoreApplication::processEvents();
        QTest::qWait(20);
        QVERIFY(reply);
        QCOMPARE(reply->readAll(), QByteArray("GET /a 0 "));
    }
    QVERIFY(!reply);
}

void TestSynchroNetworkAccessManger::eventLoopKeepsTurningWhileWaiting()
{
    m_server.delayMs = 300;
    int ticks = 0;
    QTimer timer;
    timer.setInterval(10);
    connect(&timer, &QTimer::timeout, this, [&ticks] { ++ticks; });
    timer.start();
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.get(QNetworkRequest(m_server.url(QStringLiteral("/slow"))));
    m_server.delayMs = 0;
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QVERIFY2(ticks >= 5, qPrintable(QStringLiteral("only %1 timer ticks while waiting").arg(ticks)));
}

void TestSynchroNetworkAccessManger::worksOnAPoolThread()
{
    const QUrl url = m_server.url(QStringLiteral("/pool"));
    QThread *mainThread = QThread::currentThread();
    QFuture<QByteArray> future = QtConcurrent::run([url, mainThread]() -> QByteArray {
        if (QThread::currentThread() == mainThread)
            return "ran on the main thread";
        KvSynchroNetworkAccessManger manager;
        QNetworkRequest request(url);
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
        QNetworkReply *reply = manager.post(request, "12345678");
        return reply->isFinished() ? reply->readAll() : QByteArray("not finished");
    });
    // The server lives on this thread, so keep its loop turning while the pool works.
    QTRY_VERIFY_WITH_TIMEOUT(future.isFinished(), 10000);
    QCOMPARE(future.result(), QByteArray("POST /pool 8 application/octet-stream"));
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

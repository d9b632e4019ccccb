// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "messaging/wscommunicationmanager.h"
#include "messaging/wscommunicationtesthook_p.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/usuallyutils.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "transfer/sendmessagehelper.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QtTest>

namespace {

constexpr qint64 MiB = 1024 * 1024;
constexpr qint64 Block = 5 * MiB;
const QString password = QStringLiteral("pw");

QString createAccount(const QString &prefix)
{
    return ReferenceServer::createAccount(prefix, password).value("username").toString();
}

// A logged multi-part request's parts by name; `names` gets their order.
QMap<QString, QJsonObject> partsOf(const QJsonValue &request, QStringList *names = nullptr)
{
    QMap<QString, QJsonObject> parts;
    for (const QJsonValue &part : request.toObject().value("parts").toArray()) {
        parts.insert(part.toObject().value("name").toString(), part.toObject());
        if (names)
            names->append(part.toObject().value("name").toString());
    }
    return parts;
}

// The value of a header of a logged request or of one of its parts.
QString headerOf(const QJsonObject &entry, const QString &name)
{
    for (const QJsonValue &pair : entry.value("headers").toArray()) {
        if (pair.toArray().at(0).toString().compare(name, Qt::CaseInsensitive) == 0)
            return pair.toArray().at(1).toString();
    }
    return {};
}

// File-service requests that carried this MD5, oldest first, from the
// `skip`-th on.
QJsonArray fileRequests(const QString &md5, int skip = 0)
{
    QJsonArray mine;
    for (const QJsonValue &request : ReferenceServer::adminGet("requests?service=file&n=200").toArray()) {
        if (partsOf(request).value("md5").value("text") == md5 && skip-- <= 0)
            mine.append(request);
    }
    return mine;
}

QStringList paths(const QJsonArray &requests)
{
    QStringList result;
    for (const QJsonValue &request : requests)
        result << request.toObject().value("path").toString().section('/', -1);
    return result;
}

QVariantList blockIndexes(const QJsonArray &requests)
{
    QVariantList result;
    for (const QJsonValue &request : requests) {
        const QMap<QString, QJsonObject> parts = partsOf(request);
        if (parts.contains("index"))
            result << parts.value("index").value("text").toString().toInt();
    }
    return result;
}

// What one upload gave back.
struct Upload
{
    QStringList fields() const { return {id, title, src, md5, QString::number(size)}; }

    QString id, title, src, md5;
    qint64 size = 0;
    bool ok = false;
};

// Collects "file.send.upload" as it is submitted, with the submitting thread.
struct ProgressLog : QObject
{
    ProgressLog()
    {
        Mc::eventDispatcher()->connectToEventImpl(
            QStringLiteral("file.send.upload"), this,
            McSlotObjectWrapper::fromFunctor<QString, double>([this](const QString &id, double value) {
                if (id == messageId) {
                    values.append(value);
                    threads.insert(QThread::currentThread());
                }
            }),
            Qt::DirectConnection);
    }
    QString messageId;
    QList<double> values;
    QSet<QThread *> threads;
};

} // namespace

class KvSendMessageHelperTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void decodeUploadResp_data();
    void decodeUploadResp();
    void blocks_data();
    void blocks();
    void blockRequestParts();
    void knownFileEndsAfterTheCheck();
    void resumeReadsFromTheFilesStart();
    void failedBlockStops();
    void sendsReachTheirStatus_data();
    void sendsReachTheirStatus();
    void textWithoutLinkFails();
    void failedUploads();
    void preparedFileForTheOwnAccount();
    void asyncFileRunsOnThePool();
    void unacknowledgedAsyncFileFails();

private:
    static Upload upload(const QString &path, const QString &messageId = QString());
    QString makeFile(qint64 size, const QString &name = QString());
    bool row(const QString &localId, KvFriendMessageData &found, const QString &user = QString());
    // The rows that are not in `before`.
    QList<KvFriendMessageData> added(const QList<KvFriendMessageData> &before);
    QList<KvFriendMessageData> conversation(const QString &user = QString());

    QTemporaryDir m_dir;
    QString m_me;
    QString m_peer;
    KvFriendMessageManager *m_messages = nullptr;
};

void KvSendMessageHelperTest::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_me = createAccount("send");
    m_peer = createAccount("recv");
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_peer}});
    m_messages = KvUserCommManager::instance()->friendMessageManager();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, password));
    QTRY_VERIFY(KvWSCommunicationManager::getDefault()->isConnected());
}

void KvSendMessageHelperTest::cleanup()
{
    // The shared server's switches and the link's clock go back also when a
    // check failed while they were set.
    ReferenceServer::adminPost("hold_sss", {{"on", false}});
    ReferenceServer::adminPost("fail_block", {{"index", QJsonValue()}});
    KvWSCommunicationTestHook::setTimeScale(1);
}

QString KvSendMessageHelperTest::makeFile(qint64 size, const QString &name)
{
    static int serial = 0;
    const QString path = m_dir.filePath(name.isEmpty() ? QStringLiteral("file%1.bin").arg(++serial) : name);
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    QByteArray chunk(int(qMin<qint64>(size, MiB)), Qt::Uninitialized);
    for (qint64 written = 0; written < size;) {
        const int n = int(qMin<qint64>(chunk.size(), size - written));
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(chunk.data()), chunk.size() / 4);
        file.write(chunk.constData(), n);
        written += n;
    }
    return path;
}

Upload KvSendMessageHelperTest::upload(const QString &path, const QString &messageId)
{
    Upload result;
    result.ok = KvSendMessageHelper::uploadToServer(path, result.id, result.title, result.size, result.src, result.md5,
                                                    messageId);
    return result;
}

QList<KvFriendMessageData> KvSendMessageHelperTest::conversation(const QString &user)
{
    QList<KvFriendMessageData> list;
    m_messages->messages(user.isEmpty() ? m_peer : user, false, list);
    return list;
}

QList<KvFriendMessageData> KvSendMessageHelperTest::added(const QList<KvFriendMessageData> &before)
{
    QSet<QString> known;
    for (const KvFriendMessageData &data : before)
        known.insert(data.messageLocalId);
    QList<KvFriendMessageData> result;
    for (const KvFriendMessageData &data : conversation())
        if (!known.contains(data.messageLocalId))
            result.append(data);
    return result;
}

bool KvSendMessageHelperTest::row(const QString &localId, KvFriendMessageData &found, const QString &user)
{
    for (const KvFriendMessageData &data : conversation(user)) {
        if (data.messageLocalId == localId) {
            found = data;
            return true;
        }
    }
    return false;
}

void KvSendMessageHelperTest::decodeUploadResp_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("id");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<int>("index");

    QTest::newRow("complete") << QByteArray(R"({"data":{"id":"f1","title":"a.txt","src":"http://x/a","md5":"m","size":12}})")
                              << true << "f1" << qint64(12) << -1;
    QTest::newRow("size past 32 bits") << QByteArray(R"({"data":{"id":"f2","size":5000000000}})")
                                       << true << "f2" << qint64(0) << -1;
    QTest::newRow("resume point") << QByteArray(R"({"data":{"index":3}})") << false << "" << qint64(-1) << 3;
    QTest::newRow("neither key") << QByteArray(R"({"data":{"other":1}})") << true << "" << qint64(-1) << -1;
    QTest::newRow("empty data") << QByteArray(R"({"code":100,"data":{}})") << false << "" << qint64(-1) << -1;
    QTest::newRow("not json") << QByteArray("<html>") << false << "" << qint64(-1) << -1;
    QTest::newRow("empty body") << QByteArray() << false << "" << qint64(-1) << -1;
}

void KvSendMessageHelperTest::decodeUploadResp()
{
    QFETCH(QByteArray, body);
    QString id, title, src, md5;
    qint64 size = -1;
    int index = -1;
    QTEST(KvSendMessageHelper::decodeUploadResp(body, id, title, size, src, md5, &index), "result");
    QTEST(id, "id");
    QTEST(size, "size");
    QTEST(index, "index");
    // Without a place for the index a resume point is just a success.
    if (body.contains("index"))
        QVERIFY(KvSendMessageHelper::decodeUploadResp(body, id, title, size, src, md5, nullptr));
}

void KvSendMessageHelperTest::blocks_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QVariantList>("indexes");
    QTest::addColumn<QList<double>>("progress");

    QTest::newRow("empty") << qint64(0) << QVariantList{} << QList<double>{1.0};
    QTest::newRow("exactly one block") << Block << QVariantList{0} << QList<double>{0.99, 1.0};
    QTest::newRow("one byte more") << Block + 1 << QVariantList{0, 1} << QList<double>{0.5, 0.99, 1.0};
}

void KvSendMessageHelperTest::blocks()
{
    QFETCH(qint64, size);
    QFETCH(QVariantList, indexes);
    QFETCH(QList<double>, progress);
    const QString path = makeFile(size);
    const QString md5 = KvUsuallyUtils::calculateFileMD5(path);
    const int before = fileRequests(md5).size();
    ProgressLog log;
    log.messageId = QStringLiteral("blocks-%1").arg(QTest::currentDataTag());

    QVERIFY(KvSendMessageHelper::sendFileMessage(path, m_peer, false, false, log.messageId));

    const QJsonArray requests = fileRequests(md5, before);
    QStringList expected{"fsfa", "fsfa"};
    for (int i = 0; i < indexes.size(); ++i)
        expected << "fsf";
    QCOMPARE(paths(requests), expected);
    QCOMPARE(blockIndexes(requests), indexes);
    QCOMPARE(log.values, progress);
    KvFriendMessageData data;
    QTRY_VERIFY(row(log.messageId, data) && data.status == 6);
}

void KvSendMessageHelperTest::blockRequestParts()
{
    const QString path = makeFile(Block + 3, QStringLiteral("报告.final.pdf"));
    const QString md5 = KvUsuallyUtils::calculateFileMD5(path);
    const Upload sent = upload(path);
    QVERIFY(sent.ok);
    QCOMPARE(sent.title, QStringLiteral("报告.final.pdf"));
    QCOMPARE(sent.md5, md5);
    QCOMPARE(sent.size, Block + 3);
    QVERIFY(!sent.id.isEmpty() && !sent.src.isEmpty());

    const QJsonArray requests = fileRequests(md5);
    QCOMPARE(requests.size(), 4);
    QStringList names;
    partsOf(requests.at(0), &names);
    QCOMPARE(names, QStringList({"md5", "block"}));
    names.clear();
    const QMap<QString, QJsonObject> parts = partsOf(requests.at(3), &names);
    QCOMPARE(names, QStringList({"file", "index", "count", "title", "md5", "extension", "total", "block"}));
    QCOMPARE(headerOf(parts["index"], "Content-Disposition"), QStringLiteral("form-data;  name=\"index\""));
    QCOMPARE(headerOf(parts["file"], "Content-Disposition"),
             QStringLiteral("form-data; name=\"file\"; filename=\"报告.final.pdf\""));
    QCOMPARE(headerOf(parts["file"], "Content-Type"), QStringLiteral("application/octet-stream"));
    QCOMPARE(parts["file"].value("size").toInt(), 3);
    QStringList texts;
    for (const char *name : {"index", "count", "extension", "total", "block"})
        texts << parts[name].value("text").toString();
    QCOMPARE(texts, QStringList({"1", "2", "pdf", QString::number(Block + 3), "5242880"}));
    QCOMPARE(headerOf(requests.at(3).toObject(), "auth"), KvUserManager::instance()->getUserLoginInfo().token);
    QVERIFY(!headerOf(requests.at(3).toObject(), "platform").isEmpty());
}

void KvSendMessageHelperTest::knownFileEndsAfterTheCheck()
{
    const QString path = makeFile(Block + 1);
    const QString md5 = KvUsuallyUtils::calculateFileMD5(path);
    const Upload first = upload(path);
    QVERIFY(first.ok);
    const int before = fileRequests(md5).size();

    const Upload again = upload(path, QStringLiteral("known"));
    QVERIFY(again.ok);
    QCOMPARE(fileRequests(md5).size(), before + 1);
    QCOMPARE(again.fields(), first.fields());
}

void KvSendMessageHelperTest::resumeReadsFromTheFilesStart()
{
    // The service keeps block 0; the resumed upload sends index 1 but reads
    // from the file's first byte, so that block is a full 5 MiB, not the tail.
    const QString path = makeFile(Block + 10);
    const QString md5 = KvUsuallyUtils::calculateFileMD5(path);
    ReferenceServer::adminPost("fail_block", {{"index", 1}});
    QVERIFY(!upload(path).ok);
    const int before = fileRequests(md5).size();

    upload(path); // only its requests matter
    const QJsonArray resumed = fileRequests(md5, before);
    QCOMPARE(paths(resumed), QStringList({"fsfa", "fsfa", "fsf"}));
    QCOMPARE(blockIndexes(resumed), QVariantList{1});
    QCOMPARE(partsOf(resumed.at(2)).value("file").value("size").toInt(), int(Block));
}

void KvSendMessageHelperTest::failedBlockStops()
{
    const QString path = makeFile(12 * MiB);
    ProgressLog log;
    log.messageId = QStringLiteral("fails-at-1");
    ReferenceServer::adminPost("fail_block", {{"index", 1}});
    const Upload failed = upload(path, log.messageId);
    QVERIFY(!failed.ok);
    QCOMPARE(log.values, QList<double>{1.0 / 3});
    QCOMPARE(blockIndexes(fileRequests(KvUsuallyUtils::calculateFileMD5(path))), (QVariantList{0, 1}));
    QVERIFY(failed.id.isEmpty());
}

void KvSendMessageHelperTest::sendsReachTheirStatus_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("text") << "BBC";
    QTest::newRow("picture") << "BBB";
    QTest::newRow("file") << "BBA";
}

void KvSendMessageHelperTest::sendsReachTheirStatus()
{
    QFETCH(QString, kind);
    QSignalSpy updates(m_messages, &KvFriendMessageManager::signalMessageStateUpdate);
    const QList<KvFriendMessageData> before = conversation();
    const QString path = makeFile(1000, kind == "BBB" ? QStringLiteral("pic%1.png").arg(before.size()) : QString());
    if (kind == "BBC")
        QVERIFY(KvSendMessageHelper::sendTextMessage(QStringLiteral("你好 %1").arg(before.size()), m_peer, false));
    else if (kind == "BBB")
        QVERIFY(KvSendMessageHelper::sendPicMessage(path, m_peer, false));
    else
        QVERIFY(KvSendMessageHelper::sendFileMessage(path, m_peer, false, false, QString()));

    QTRY_COMPARE(added(before).size(), 1);
    QTRY_COMPARE(added(before).first().status, 6);
    const KvFriendMessageData sent = added(before).first();
    QCOMPARE(sent.type, kind);
    QVERIFY(sent.isSend);
    QCOMPARE(sent.fromUserId, m_me);
    const QJsonArray server = ReferenceServer::adminGet("messages?user=" + m_me).toArray();
    QCOMPARE(sent.messageServerId, server.last().toObject().value("message_id").toString());
    if (kind != "BBC") {
        QCOMPARE(sent.fileInfo.fileMD5, KvUsuallyUtils::calculateFileMD5(path));
        QCOMPARE(sent.fileInfo.fileSize, 1000);
        QCOMPARE(sent.fileInfo.filePath, path);
    }
}

void KvSendMessageHelperTest::textWithoutLinkFails()
{
    // Short acknowledgement time-out and reconnect delay for this case only.
    KvWSCommunicationTestHook::setTimeScale(0.05);
    ReferenceServer::adminPost("close", {{"username", m_me}, {"mode", "abort"}});
    QTRY_VERIFY(!KvWSCommunicationManager::getDefault()->isConnected());
    const QList<KvFriendMessageData> before = conversation();
    QVERIFY(KvSendMessageHelper::sendTextMessage(QStringLiteral("lost"), m_peer, false));
    QTRY_COMPARE(added(before).size(), 1);
    QCOMPARE(added(before).first().status, 7);
    QVERIFY(added(before).first().content.contains("lost"));
    QTRY_VERIFY_WITH_TIMEOUT(KvWSCommunicationManager::getDefault()->isConnected(), 15000);
}

void KvSendMessageHelperTest::failedUploads()
{
    const QList<KvFriendMessageData> before = conversation();
    ReferenceServer::adminPost("fail_block", {{"index", 0}});
    QVERIFY(!KvSendMessageHelper::sendPicMessage(makeFile(100, "lost.png"), m_peer, false));

    ReferenceServer::adminPost("fail_block", {{"index", 0}});
    QVERIFY(!KvSendMessageHelper::sendFileMessage(makeFile(100), m_peer, false, false, QStringLiteral("stuck")));
    const QString missing = m_dir.filePath("no-such-file");
    QVERIFY(!KvSendMessageHelper::sendFileMessage(missing, m_peer, false, false, QStringLiteral("missing")));

    KvFriendMessageData stuck, gone;
    QTRY_VERIFY(row("stuck", stuck) && row("missing", gone));
    QCOMPARE(stuck.status, 12);
    QCOMPARE(gone.status, 12);
    QCOMPARE(gone.fileInfo.fileSize, 0);
    QCOMPARE(conversation().size(), before.size() + 2); // nothing for the picture
}

void KvSendMessageHelperTest::preparedFileForTheOwnAccount()
{
    const QString path = makeFile(2000);
    ReferenceServer::adminPost("hold_sss", {{"on", true}});
    const QString id = KvSendMessageHelper::prepareToSendFile(path);
    QCOMPARE(id.size(), 32);
    KvFriendMessageData data;
    QTRY_VERIFY(row(id, data, m_me));
    QCOMPARE(data.status, 11);
    QCOMPARE(data.toUserId, m_me);

    ProgressLog log;
    log.messageId = id;
    QVERIFY(KvSendMessageHelper::sendFileMessageToSelf(path, id));
    QCOMPARE(log.values, (QList<double>{0.99, 1.0}));
    QTRY_VERIFY(row(id, data, m_me) && data.status == 12);
    ReferenceServer::adminPost("hold_sss", {{"on", false}});
    QTRY_VERIFY(row(id, data, m_me) && data.status == 6);
    const QList<KvFriendMessageData> own = conversation(m_me);
    QCOMPARE(std::count_if(own.cbegin(), own.cend(), [&](const auto &m) { return m.messageLocalId == id; }), 1);
}

void KvSendMessageHelperTest::asyncFileRunsOnThePool()
{
    const QString path = makeFile(50 * MiB);
    ProgressLog log;
    log.messageId = QStringLiteral("async-50");
    QVERIFY(KvSendMessageHelper::sendFileMessage(path, m_peer, false, true, log.messageId));

    // The GUI thread's loop keeps turning while the pool uploads.
    int ticks = 0, poolThreadsBusy = 0;
    QTimer timer;
    timer.setInterval(5);
    connect(&timer, &QTimer::timeout, [&] {
        ++ticks;
        poolThreadsBusy = qMax(poolThreadsBusy, QThreadPool::globalInstance()->activeThreadCount());
    });
    timer.start();
    KvFriendMessageData data;
    QTRY_VERIFY_WITH_TIMEOUT(row(log.messageId, data) && data.status == 6, 120000);
    timer.stop();

    QVERIFY(ticks > 10);
    QCOMPARE(log.values.size(), 11);
    QCOMPARE(log.threads.size(), 1);
    QVERIFY(!log.threads.contains(QThread::currentThread()));
    QCOMPARE(poolThreadsBusy, 1);
}

void KvSendMessageHelperTest::unacknowledgedAsyncFileFails()
{
    // The acknowledgement's 30 s become 1.5 s; its timer must not sit on the
    // pool thread, which turns no event loop.
    KvWSCommunicationTestHook::setTimeScale(0.05);
    ReferenceServer::adminPost("hold_sss", {{"on", true}});
    const QString id = QStringLiteral("unacknowledged");
    QVERIFY(KvSendMessageHelper::sendFileMessage(makeFile(1000), m_peer, false, true, id));
    KvFriendMessageData data;
    QTRY_VERIFY_WITH_TIMEOUT(row(id, data) && data.status == 7, 15000);
}

QTEST_MAIN(KvSendMessageHelperTest)
#include "tst_sendmessagehelper.moc"

// SPDX-License-Identifier: MIT
#include "platform/jsonhelper.h"
#include "platform/selfservermanager.h"
#include "platform/syshelper.h"
#include "platform/usuallyutils.h"

#include <QCryptographicHash>
#include <QSettings>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

class LeaveCounter : public QWidget
{
public:
    int leaves = 0;

protected:
    void leaveEvent(QEvent *) override { ++leaves; }
};

class TestUtilities : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void fileMd5_data();
    void fileMd5();
    void jsonDecodingKeepsOutputOnFailure();
    void clientIdIsStable();
    void serverAddresses();
    void leaveEvent();

private:
    QTemporaryDir m_dir;
};

void TestUtilities::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.filePath("settings"));
    qunsetenv("KVMESS_ACCOUNT_URL");
    qunsetenv("KVMESS_MESSAGE_HOST");
    qunsetenv("KVMESS_FILE_HOST");
}

void TestUtilities::fileMd5_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("abc") << QByteArray("abc");
    QByteArray large(12 * 1024 * 1024 + 7, Qt::Uninitialized);
    for (int i = 0; i < large.size(); ++i)
        large[i] = char(i * 31 + (i >> 13));
    QTest::newRow("12 MiB and a bit") << large;
}

void TestUtilities::fileMd5()
{
    QFETCH(QByteArray, content);
    const QString path = m_dir.filePath("md5.bin");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
    file.close();
    const QString expected = QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex());
    QCOMPARE(KvUsuallyUtils::calculateFileMD5(path), expected);
    QVERIFY(KvUsuallyUtils::calculateFileMD5(m_dir.filePath("missing.bin")).isEmpty());
}

void TestUtilities::jsonDecodingKeepsOutputOnFailure()
{
    QJsonArray array{1};
    QJsonObject object{{"kept", true}};
    QVERIFY(!KvJsonHelper::decodeToJsonArray(array, R"({"a":1})"));
    QVERIFY(!KvJsonHelper::decodeToJsonArray(array, "[1,"));
    QVERIFY(!KvJsonHelper::decodeToJsonObj(object, "[1]"));
    QVERIFY(!KvJsonHelper::decodeToJsonObj(object, QByteArray()));
    QCOMPARE(array, QJsonArray{1});
    QCOMPARE(object, (QJsonObject{{"kept", true}}));

    const QJsonArray staffs{QJsonObject{{"username", "张三"}}, QJsonObject{{"username", "b"}}};
    const QByteArray compact = KvJsonHelper::encodeJsonToByteArray(staffs, QJsonDocument::Compact);
    QCOMPARE(compact, QStringLiteral(R"([{"username":"张三"},{"username":"b"}])").toUtf8());
    QVERIFY(KvJsonHelper::decodeToJsonArray(array, compact));
    QCOMPARE(array, staffs);
    QVERIFY(KvJsonHelper::decodeToJsonObj(object, KvJsonHelper::encodeJsonToByteArray(QJsonObject{{"x", 1}})));
    QCOMPARE(object.value("x").toInt(), 1);
}

void TestUtilities::clientIdIsStable()
{
    const QString id = KvSysHelper::kvClientUniqueId();
    QVERIFY(!id.isEmpty());
    QCOMPARE(KvSysHelper::kvClientUniqueId(), id);
    QVERIFY(!id.contains(QLatin1Char('\n')));
}

void TestUtilities::serverAddresses()
{
    KvSelfServerManager *servers = KvSelfServerManager::instance();
    servers->reload();
    QCOMPARE(servers->joinProUserLoginRelatedServer("pro/user/login"), QStringLiteral("http://127.0.0.1:30080/pro/user/login"));
    QCOMPARE(servers->messageServerHost(), QStringLiteral("127.0.0.1:30082"));
    QCOMPARE(servers->fileServerHost(), QStringLiteral("127.0.0.1"));

    {
        QSettings settings(QSettings::NativeFormat, QSettings::UserScope, "KavoraPro", "Servers");
        settings.setValue("AccountUrl", "http://accounts.example:8080/api");
        settings.setValue("FileHost", "files.example");
    }
    qputenv("KVMESS_FILE_HOST", "127.0.0.9");
    servers->reload();
    QCOMPARE(servers->joinProUserLoginRelatedServer("/app/friend"), QStringLiteral("http://accounts.example:8080/api/app/friend"));
    QCOMPARE(servers->fileServerHost(), QStringLiteral("127.0.0.9"));
    qunsetenv("KVMESS_FILE_HOST");
    servers->reload();
    QCOMPARE(servers->fileServerHost(), QStringLiteral("files.example"));
}

void TestUtilities::leaveEvent()
{
    LeaveCounter widget;
    widget.setAttribute(Qt::WA_UnderMouse, true);
    KvUsuallyUtils::emulateLeaveEvent(&widget);
    QCOMPARE(widget.leaves, 1);
    QVERIFY(!widget.testAttribute(Qt::WA_UnderMouse));
    KvUsuallyUtils::emulateLeaveEvent(nullptr);
}

QTEST_MAIN(TestUtilities)
#include "tst_utilities.moc"

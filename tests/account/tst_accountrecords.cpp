// SPDX-License-Identifier: MIT
#include "account/loginuser.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class TestAccountRecords : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void snapshotRoundTrip();
    void snapshotOfBadBytesClearsTheRecord_data();
    void snapshotOfBadBytesClearsTheRecord();
};

static KvLoginUser sampleUser()
{
    KvLoginUser user;
    user.token = "tok";
    user.username = "zhangsan";
    user.mailPassword = "mp";
    user.phone = "13800000001";
    user.nickname = QStringLiteral("张三");
    user.password = "secret";
    user.unionid = "u1";
    user.serialExtra = "old extra";
    user.sessionId = "s1";
    user.deviceFlags = KvLoginUser::DevicePcPro | KvLoginUser::DevicePhone;
    user.used = 7;
    user.auth.fromJson(QJsonObject{{"level", "pro"}});
    user.customerService = true;
    return user;
}

// Every field of the record, to compare records as a whole.
static QStringList fields(const KvLoginUser &user)
{
    return {user.token, user.username, user.mailPassword, user.phone, user.nickname, user.password, user.unionid,
            user.serialExtra, user.sessionId, QString::number(user.deviceFlags), QString::number(user.used),
            QString::fromUtf8(QJsonDocument(user.auth.toJson()).toJson(QJsonDocument::Compact)),
            user.customerService ? "customer service" : "user"};
}

// What clear() leaves of sampleUser(): the role stays until the next sign-in.
static QStringList clearedFields()
{
    KvLoginUser cleared;
    cleared.customerService = true;
    return fields(cleared);
}

void TestAccountRecords::snapshotRoundTrip()
{
    const KvLoginUser user = sampleUser();
    const QByteArray snapshot = user.serialize(QStringLiteral("host extra"));
    QVERIFY(!snapshot.contains("zhangsan")); // enciphered
    KvLoginUser back;
    back.used = 99;
    QVERIFY(back.deserialize(snapshot));
    KvLoginUser expected = user;
    expected.serialExtra = QStringLiteral("host extra");
    expected.used = 0;
    QCOMPARE(fields(back), fields(expected));
}

void TestAccountRecords::snapshotOfBadBytesClearsTheRecord_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("not compressed") << QByteArray("plain bytes that are no snapshot");
    QTest::newRow("compressed nothing") << qCompress(QByteArray());
}

void TestAccountRecords::snapshotOfBadBytesClearsTheRecord()
{
    QFETCH(QByteArray, bytes);
    KvLoginUser user = sampleUser();
    QVERIFY(!user.deserialize(bytes));
    QCOMPARE(fields(user), clearedFields());
}

QTEST_MAIN(TestAccountRecords)
#include "tst_accountrecords.moc"

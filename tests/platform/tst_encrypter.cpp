// SPDX-License-Identifier: MIT
#include "platform/encrypter.h"

#include <QtTest>

class TestEncrypter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void rejectsDamagedInput_data();
    void rejectsDamagedInput();
    void wrongKey();
    void readsReferenceServerLayout();
};

void TestEncrypter::roundTrip_data()
{
    QTest::addColumn<QByteArray>("plain");
    QTest::addColumn<bool>("base64");
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("json") << QByteArray(R"({"phone":"13800000000","password":"x"})") << false;
    QTest::newRow("binary 1 MiB") << QByteArray(1 << 20, '\xA5') << false;
    QTest::newRow("base64 text") << QByteArray("token-0123") << true;
}

void TestEncrypter::roundTrip()
{
    QFETCH(QByteArray, plain);
    QFETCH(bool, base64);
    const QByteArray cipher = KvEncrypter::encrypt(plain, base64);
    if (base64)
        QCOMPARE(QByteArray::fromBase64(cipher).toBase64(), cipher);
    else
        QCOMPARE(cipher.size(), 12 + plain.size() + 16);
    QCOMPARE(KvEncrypter::decrypt(cipher, base64), plain);
    QVERIFY2(KvEncrypter::encrypt(plain, base64) != cipher, "each call takes a fresh nonce");
}

void TestEncrypter::rejectsDamagedInput_data()
{
    const QByteArray cipher = KvEncrypter::encrypt("a body worth protecting", false);
    QTest::addColumn<QByteArray>("input");
    auto flipped = [&](int index) {
        QByteArray copy = cipher;
        copy[index] = char(copy.at(index) ^ 0x01);
        return copy;
    };
    QTest::newRow("nonce changed") << flipped(0);
    QTest::newRow("ciphertext changed") << flipped(14);
    QTest::newRow("tag changed") << flipped(cipher.size() - 1);
    QTest::newRow("tag cut") << cipher.left(cipher.size() - 1);
    QTest::newRow("shorter than nonce and tag") << cipher.left(27);
}

void TestEncrypter::rejectsDamagedInput()
{
    QFETCH(QByteArray, input);
    QVERIFY(KvEncrypter::decrypt(input, false).isEmpty());
}

void TestEncrypter::wrongKey()
{
    const QByteArray otherKey(32, 'k');
    const QByteArray cipher = KvEncrypter::encryptWithKey("secret", otherKey);
    QCOMPARE(KvEncrypter::decryptWithKey(cipher, otherKey), QByteArray("secret"));
    QVERIFY(KvEncrypter::decrypt(cipher, false).isEmpty());
    QVERIFY(KvEncrypter::encryptWithKey("secret", QByteArray(31, 'k')).isEmpty());
}

void TestEncrypter::readsReferenceServerLayout()
{
    // Made by the reference server's cipher with the development key and the nonce 00..0b.
    const QByteArray fromServer = QByteArray::fromHex(
        "000102030405060708090a0b249a4a438af50b262625169a6f3cbb985672a6fbcae80665b411b99b46f720a69b7bdb5e07023a3a84eacb");
    QCOMPARE(QString::fromUtf8(KvEncrypter::decrypt(fromServer, false)),
             QStringLiteral("{\"code\":200,\"msg\":\"成功\"}"));
}

QTEST_GUILESS_MAIN(TestEncrypter)
#include "tst_encrypter.moc"

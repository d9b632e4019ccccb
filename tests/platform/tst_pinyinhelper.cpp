// SPDX-License-Identifier: MIT
#include "platform/pinyinhelper.h"

#include <QtTest>

class TestPinYinHelper : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initial_data();
    void initial();
};

void TestPinYinHelper::initial_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("common Chinese Z") << QStringLiteral("张三") << "Z";
    QTest::newRow("common Chinese L") << QStringLiteral("李四") << "L";
    QTest::newRow("first of A") << QStringLiteral("阿明") << "A";
    QTest::newRow("O") << QStringLiteral("欧阳") << "O";
    QTest::newRow("last common character") << QStringLiteral("座") << "Z";
    QTest::newRow("W after T") << QStringLiteral("王") << "W";
    QTest::newRow("rare character") << QStringLiteral("亓官") << "Q";
    QTest::newRow("rare character X") << QStringLiteral("鑫") << "X";
    QTest::newRow("Latin upper") << QStringLiteral("Alice") << "A";
    QTest::newRow("Latin lower") << QStringLiteral("bob") << "B";
    QTest::newRow("leading blanks") << QStringLiteral("  王五") << "W";
    QTest::newRow("punctuation") << QStringLiteral("_x") << "#";
    QTest::newRow("emoji") << QStringLiteral("😀") << "#";
    QTest::newRow("accented Latin") << QStringLiteral("Émile") << "#";
    QTest::newRow("blank") << QStringLiteral("   ") << "#";
}

void TestPinYinHelper::initial()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(KvPinYinHelper::getChineseFirst(text), expected);
}

QTEST_GUILESS_MAIN(TestPinYinHelper)
#include "tst_pinyinhelper.moc"

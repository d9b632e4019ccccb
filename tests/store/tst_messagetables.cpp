// SPDX-License-Identifier: MIT
#include "store/friendmessagedata.h"
#include "store/friendmessagemanager.h"

#include <QDateTime>
#include <QtTest>

class TestMessageTables : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tableNames_data();
    void tableNames();
    void messageKinds();
    void timeText();
};

void TestMessageTables::tableNames_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<bool>("isSend");
    QTest::addColumn<bool>("isGroup");
    QTest::addColumn<QString>("conversation");
    QTest::addColumn<QString>("table");
    QTest::newRow("received from a friend") << "lina" << "me" << false << false << "lina" << "FriendMessageTable_lina";
    QTest::newRow("sent to a friend") << "me" << "lina" << true << false << "lina" << "FriendMessageTable_lina";
    QTest::newRow("agent") << "10000@agent1" << "me" << false << false << "10000@agent1" << "FriendMessageTable_10000_agent1";
    QTest::newRow("not an agent keeps its @") << "x10000@a" << "me" << false << false << "x10000@a" << "FriendMessageTable_x10000@a";
    QTest::newRow("group received") << "lina" << "100001" << false << true << "100001" << "GroupMessageTable_100001";
    QTest::newRow("system account") << "kavora" << "me" << false << false << "kavora" << "FriendMessageTable_kavora";
}

void TestMessageTables::tableNames()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(bool, isSend);
    QFETCH(bool, isGroup);
    KvFriendMessageData record;
    record.fromUserId = from;
    record.toUserId = to;
    record.isSend = isSend;
    record.isGroup = isGroup;
    QTEST(conversationUser(record), "conversation");
    QTEST(messageTableName(record), "table");
}

void TestMessageTables::messageKinds()
{
    const QStringList types{"BBC", "BBA", "BBB", "ZZG", "ZZH", "ZZI", "ZZJ", "ZZA", "ZZB", "ZZC", "ZZD", "BBK", "BBJ", "BBI", "ZZN"};
    const QList<int> kinds{1, 2, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    for (int i = 0; i < types.size(); ++i)
        QCOMPARE(KvFriendMessageManager::messageKind(types.at(i)), kinds.at(i));
    QCOMPARE(KvFriendMessageManager::messageKind("bbc"), 0);
    QCOMPARE(KvFriendMessageManager::messageKind("ZZO"), 0);
}

void TestMessageTables::timeText()
{
    const QDateTime now = QDateTime::currentDateTime();
    QDateTime today = now;
    today.setTime(QTime(0, 0, 1));
    QCOMPARE(KvFriendMessageManager::messageTimeText(today.toMSecsSinceEpoch()), QStringLiteral("00:00:01"));
    const QDateTime yesterday = now.addDays(-1);
    QCOMPARE(KvFriendMessageManager::messageTimeText(yesterday.toMSecsSinceEpoch()),
             yesterday.toString("yyyy/MM/dd hh:mm:ss"));
    const QDateTime future = now.addDays(3);
    QCOMPARE(KvFriendMessageManager::messageTimeText(future.toMSecsSinceEpoch()), future.toString("yyyy/MM/dd hh:mm:ss"));
}

QTEST_GUILESS_MAIN(TestMessageTables)
#include "tst_messagetables.moc"

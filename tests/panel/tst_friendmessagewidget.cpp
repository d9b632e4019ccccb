// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "panel/friendmessagewidget.h"
#include "panel/listwidgetsortitem.h"
#include "platform/elidedlabel.h"
#include "platform/menu.h"
#include "referenceserver.h"
#include "widgetdriver.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QSettings>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QUuid>
#include <QtTest>

#include <cmath>

using WidgetDriver::hoverText;

namespace {

QStringList contextMenu(QListWidget *list, const QPoint &pos, const QString &choice = {})
{
    return WidgetDriver::contextMenu(list->viewport(), pos, choice);
}

} // namespace

class TestFriendMessageWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void sortModes_data();
    void sortModes();
    void loadsNewestFirstWithoutTheSystemAccount();
    void newMessageMovesItsConversationToTheTop();
    void contextMenu();

private:
    KvFriendMessageData store(const QString &peer, const QString &text, qint64 time, bool isSend = false,
                              bool isGroup = false);
    static QStringList keys(const QListWidget &list);
    static QWidget *row(const QListWidget &list, const QString &key);
    static QLabel *badge(const QListWidget &list, const QString &key)
    {
        return row(list, key)->findChild<QLabel *>("msgCntLabel");
    }

    QTemporaryDir m_dir;
    QString m_me;
    KvFriendMessageManager *m_messages = nullptr;
};

void TestFriendMessageWidget::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    const QJsonObject account = ReferenceServer::createAccount("list", "kv123456");
    m_me = account.value("username").toString();
    KvUserCommManager::instance();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "kv123456"));
    m_messages = KvUserCommManager::instance()->friendMessageManager();
}

// Stores a text of (or, with isSend, to) `peer` and waits until the store announces it.
KvFriendMessageData TestFriendMessageWidget::store(const QString &peer, const QString &text, qint64 time,
                                                   bool isSend, bool isGroup)
{
    KvFriendMessageData message;
    message.messageLocalId = QUuid::createUuid().toString(QUuid::Id128);
    message.fromUserId = isSend ? m_me : isGroup ? QStringLiteral("member") : peer;
    message.toUserId = isSend || isGroup ? peer : m_me;
    message.type = "BBC";
    message.content = QJsonDocument(QJsonObject{{"content", text}}).toJson(QJsonDocument::Compact);
    message.time = time;
    message.isSend = isSend;
    message.isGroup = isGroup;
    QSignalSpy announced(m_messages, &KvFriendMessageManager::signalNewMessage);
    m_messages->addMessage(message);
    [&] { QTRY_COMPARE(announced.count(), 1); }();
    return message;
}

QStringList TestFriendMessageWidget::keys(const QListWidget &list)
{
    QStringList result;
    for (int i = 0; i < list.count(); ++i)
        result << list.item(i)->data(Qt::UserRole + 2).toString();
    return result;
}

QWidget *TestFriendMessageWidget::row(const QListWidget &list, const QString &key)
{
    for (int i = 0; i < list.count(); ++i) {
        if (list.item(i)->data(Qt::UserRole + 2).toString() == key)
            return list.itemWidget(list.item(i));
    }
    return nullptr;
}

void TestFriendMessageWidget::sortModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QVariant>("a");
    QTest::addColumn<QVariant>("b");
    QTest::addColumn<bool>("less");
    QTest::newRow("1 text") << 1 << QVariant("apple") << QVariant("banana") << true;
    QTest::newRow("1 text reversed") << 1 << QVariant("banana") << QVariant("apple") << false;
    QTest::newRow("2 numbers inside names") << 2 << QVariant("item2") << QVariant("item10") << true;
    QTest::newRow("2 ignores case") << 2 << QVariant("b") << QVariant("A") << false;
    QTest::newRow("3 signed") << 3 << QVariant(qint64(-5)) << QVariant(qint64(3)) << true;
    QTest::newRow("3 beyond 32 bits") << 3 << QVariant(qint64(1) << 40) << QVariant(qint64(1) << 33) << false;
    QTest::newRow("3 not as text") << 3 << QVariant("9") << QVariant("10") << true;
    QTest::newRow("4 reals") << 4 << QVariant(1.5) << QVariant(2.25) << true;
    QTest::newRow("4 NaN first") << 4 << QVariant(std::nan("")) << QVariant(1.0) << false;
    QTest::newRow("4 NaN second") << 4 << QVariant(1.0) << QVariant(std::nan("")) << false;
}

void TestFriendMessageWidget::sortModes()
{
    QFETCH(int, mode);
    QFETCH(QVariant, a);
    QFETCH(QVariant, b);
    const int role = Qt::UserRole + 7;
    KvListWidgetSortItem first(mode, role), second(mode, role);
    first.setData(role, a);
    second.setData(role, b);
    QTEST(first < second, "less");
}

void TestFriendMessageWidget::loadsNewestFirstWithoutTheSystemAccount()
{
    store("peerA", "oldest", 1000);
    store("peerB", "newest", 5000);
    store("peerC", "middle", 3000, true);
    store("kavora", "notice", 9000);

    KvFriendMessageWidget list;
    list.show();
    QCOMPARE(keys(list), (QStringList{"peerB", "peerC", "peerA"}));
    QCOMPARE(row(list, "peerB")->findChild<QLabel *>("labelMessage")->text(), "newest");
    QVERIFY(badge(list, "peerB")->isVisible());
    QVERIFY(!badge(list, "peerC")->isVisible()); // sent by this side
}

void TestFriendMessageWidget::newMessageMovesItsConversationToTheTop()
{
    KvFriendMessageWidget list;
    list.show();
    // Older than everything shown: a sort would put it last.
    store("peerA", "late arrival", 10);
    QCOMPARE(keys(list).first(), "peerA");
    QCOMPARE(keys(list).count("peerA"), 1);
    QCOMPARE(row(list, "peerA")->findChild<QLabel *>("labelMessage")->text(), "late arrival");
    QCOMPARE(badge(list, "peerA")->text(), "2");

    store("peerC", "my answer", 20, true);
    QCOMPARE(keys(list).mid(0, 2), (QStringList{"peerC", "peerA"}));

    store("900100", "team", 25, false, true);
    QCOMPARE(keys(list).first(), "900100");
    QVERIFY(list.item(0)->data(Qt::UserRole + 3).toBool());

    const int rows = list.count();
    store("kavora", "another notice", 30);
    QCOMPARE(list.count(), rows);
    QCOMPARE(keys(list).first(), "900100");

    // Longer than the row: the label keeps the whole text and paints it cut with
    // an ellipsis, whole in the tooltip; a short one is painted whole.
    const QString longText = QString("一二三四五六七八九十").repeated(8);
    store("peerD", longText, 40);
    auto *message = row(list, "peerD")->findChild<KvElidedLabel *>("labelMessage");
    QCOMPARE(message->text(), longText);
    QVERIFY(message->shownText().endsWith(QChar(0x2026)));
    QVERIFY(longText.startsWith(message->shownText().chopped(1)));
    QCOMPARE(hoverText(message), longText);
    // The conversation on top takes its next message into the same row.
    const QPointer<QWidget> topRow = row(list, "peerD");
    store("peerD", "王芳发来一条", 41);
    QCOMPARE(row(list, "peerD"), topRow.data());
    QCOMPARE(badge(list, "peerD")->text(), "2");
    QCOMPARE(list.count(), rows + 1);
    message = row(list, "peerD")->findChild<KvElidedLabel *>("labelMessage");
    QCOMPARE(message->text(), "王芳发来一条");
    QCOMPARE(message->shownText(), "王芳发来一条");
    // The long text's tip, shown over this same label just before, goes after Qt's delay.
    QTRY_COMPARE(hoverText(message), QString());
}

void TestFriendMessageWidget::contextMenu()
{
    KvFriendMessageWidget list;
    list.resize(300, 600);
    list.show();
    const QPoint free(10, list.viewport()->height() - 5);
    QCOMPARE(::contextMenu(&list, free), QStringList{"标记为全部已读"});

    const QPoint top = list.visualItemRect(list.item(0)).center();
    const QString first = keys(list).first();
    QCOMPARE(::contextMenu(&list, top, "从会话列表移除"), (QStringList{"从会话列表移除", "标记为全部已读"}));
    QVERIFY(!keys(list).contains(first));

    // The store still has the conversation: its next message brings the row back, on top.
    store(first, "back again", 40);
    QCOMPARE(keys(list).first(), first);

    QVERIFY(badge(list, "peerA")->isVisible());
    ::contextMenu(&list, free, "标记为全部已读");
    QVERIFY(!badge(list, "peerA")->isVisible());
    QCOMPARE(KvUserCommManager::instance()->userUnreadMessageManager()->allUnreadMesssageCount(false), 0);
}

QTEST_MAIN(TestFriendMessageWidget)
#include "tst_friendmessagewidget.moc"

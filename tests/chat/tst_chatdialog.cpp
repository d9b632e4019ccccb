// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "chat/chatdialog.h"
#include "chat/chatitemwidget.h"
#include "chat/chatwidget.h"
#include "panel/friendmessagewidget.h"
#include "panel/usercommwidget.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QUuid>
#include <QtTest>

class TestChatDialog : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void createChatSelectsAnOpenConversation();
    void closing_data();
    void closing();
    void openAllUnreadMessage();
    void messagesReachOnlyOpenConversations();
    void badgesStayStillForTheCurrentConversation();
    void maxButtonTooltips();
    void tabTakesTheNameOfAFriendWhoArrivesLater();

private:
    void receive(const QString &peer, const QString &text);
    static KvChatDialog *dialog();
    static QListWidget *list() { return dialog()->findChild<QListWidget *>("listWidget"); }
    static QStringList keys();
    static QWidget *tab(const QString &key);
    static KvChatWidget *page(const QString &key);
    static int rows(KvChatWidget *page) { return page->findChildren<KvChatItemWidget *>().size(); }
    static int unread(const QString &key)
    {
        return KvUserCommManager::instance()->userUnreadMessageManager()->userUnreadMessageCount(key);
    }

    QTemporaryDir m_dir;
    QString m_me;
};

void TestChatDialog::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_me = ReferenceServer::createAccount("dialog", "kv123456").value("username").toString();
    KvUserCommManager::instance();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "kv123456"));
}

void TestChatDialog::cleanup()
{
    KvChatDialog::clostChat();
    QTRY_VERIFY(!dialog());
    KvUserCommManager::instance()->userUnreadMessageManager()->clearAllUserUnreadMessage();
}

// An incoming text of `peer`, stored and announced.
void TestChatDialog::receive(const QString &peer, const QString &text)
{
    KvFriendMessageData message;
    message.messageLocalId = QUuid::createUuid().toString(QUuid::Id128);
    message.fromUserId = peer;
    message.toUserId = m_me;
    message.type = "BBC";
    message.content = QJsonDocument(QJsonObject{{"content", text}}).toJson(QJsonDocument::Compact);
    message.time = QDateTime::currentMSecsSinceEpoch();
    KvFriendMessageManager *store = KvUserCommManager::instance()->friendMessageManager();
    QSignalSpy announced(store, &KvFriendMessageManager::signalNewMessage);
    store->addMessage(message);
    QTRY_COMPARE(announced.count(), 1);
}

KvChatDialog *TestChatDialog::dialog()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *found = qobject_cast<KvChatDialog *>(widget))
            return found;
    }
    return nullptr;
}

QStringList TestChatDialog::keys()
{
    QStringList result;
    for (int i = 0; i < list()->count(); ++i)
        result << list()->item(i)->data(Qt::UserRole + 2).toString();
    return result;
}

QWidget *TestChatDialog::tab(const QString &key)
{
    return list()->itemWidget(list()->item(keys().indexOf(key)));
}

KvChatWidget *TestChatDialog::page(const QString &key)
{
    return reinterpret_cast<KvChatWidget *>(
        quintptr(list()->item(keys().indexOf(key))->data(Qt::UserRole + 1).toLongLong()));
}

void TestChatDialog::createChatSelectsAnOpenConversation()
{
    receive("peerA", "one");
    receive("peerA", "two");
    receive("peerB", "three");
    KvChatDialog::createChat("peerA", nullptr, false);
    KvChatDialog::createChat("peerB", nullptr, false);
    QVERIFY(dialog()->isVisible());
    QCOMPARE(keys(), (QStringList{"peerB", "peerA"}));
    QCOMPARE(KvChatDialog::currentChatUser(), "peerB");
    QCOMPARE(rows(page("peerA")), 2);

    receive("peerA", "while away");
    receive("peerA", "and again");
    QCOMPARE(unread("peerA"), 2);
    QCOMPARE(tab("peerA")->findChild<QLabel *>("msgCntLabel")->text(), "2");

    KvChatDialog::createChat("peerA", nullptr, true);
    QCOMPARE(keys(), (QStringList{"peerB", "peerA"}));
    QCOMPARE(dialog()->findChild<QStackedWidget *>("stackedWidget")->count(), 2);
    QCOMPARE(KvChatDialog::currentChatUser(), "peerA");
    QCOMPARE(unread("peerA"), 0);
    QVERIFY(!tab("peerA")->findChild<QLabel *>("msgCntLabel")->isVisible());
    QCOMPARE(rows(page("peerA")), 4);
}

void TestChatDialog::closing_data()
{
    QTest::addColumn<QString>("closed");
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<QString>("shown");
    QTest::newRow("the newest, current at once") << "closeC" << QStringList{"closeB", "closeA"} << "closeB";
    QTest::newRow("the middle one, chosen first") << "closeB" << QStringList{"closeC", "closeA"} << "closeA";
    QTest::newRow("the oldest, chosen first") << "closeA" << QStringList{"closeC", "closeB"} << "closeB";
}

// Each conversation holds as many messages as its place, so the page on screen
// tells which conversation it is.
void TestChatDialog::closing()
{
    QFETCH(QString, closed);
    QFETCH(QStringList, left);
    QFETCH(QString, shown);
    // Fresh peers for each row: their stores start empty.
    static int run = 0;
    const QString suffix = QString::number(++run);
    closed += suffix;
    shown += suffix;
    for (QString &key : left)
        key += suffix;
    const QStringList peers{"closeA" + suffix, "closeB" + suffix, "closeC" + suffix};
    for (int i = 0; i < peers.size(); ++i) {
        for (int n = 0; n <= i; ++n)
            receive(peers.at(i), QString::number(n));
        KvChatDialog::createChat(peers.at(i), nullptr, false);
    }
    QPointer<KvChatDialog> window = dialog();
    auto *stack = window->findChild<QStackedWidget *>("stackedWidget");
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                      list()->visualItemRect(list()->item(keys().indexOf(closed))).center());
    QPointer<KvChatWidget> gone = page(closed);
    QCOMPARE(stack->currentWidget(), gone.data());
    QTest::mouseClick(gone->findChild<QPushButton *>("pushButtonClose"), Qt::LeftButton);

    QCOMPARE(keys(), left);
    QCOMPARE(stack->count(), 2);
    QCOMPARE(stack->indexOf(gone), -1);
    QTRY_VERIFY(!gone); // a closed page does not live on beside the one a reopening builds
    for (const QString &key : left)
        QVERIFY(stack->indexOf(page(key)) >= 0);
    QCOMPARE(KvChatDialog::currentChatUser(), shown);
    QCOMPARE(rows(static_cast<KvChatWidget *>(stack->currentWidget())), peers.indexOf(shown) + 1);

    // Closing what is left closes the window.
    for (int i = 0; i < left.size(); ++i)
        QTest::mouseClick(static_cast<KvChatWidget *>(stack->currentWidget())->findChild<QPushButton *>("pushButtonClose"),
                          Qt::LeftButton);
    QVERIFY(!window->isVisible());
    QCOMPARE(KvChatDialog::currentChatUser(), QString());
    QTRY_VERIFY(!window);
}

void TestChatDialog::openAllUnreadMessage()
{
    QWidget host;
    KvUserCommWidget panel(&host);
    panel.openAllUnreadMessage();
    QVERIFY(!dialog());

    receive("unreadC", "c");
    receive("unreadA", "a");
    receive("unreadB", "b");
    receive("unreadB", "b again");
    panel.openAllUnreadMessage();
    QVERIFY(dialog());
    QCOMPARE(keys(), (QStringList{"unreadC", "unreadB", "unreadA"}));
    QCOMPARE(KvChatDialog::currentChatUser(), "unreadC");
    QCOMPARE(unread("unreadC"), 0);
    QCOMPARE(unread("unreadA"), 1);
    QCOMPARE(unread("unreadB"), 2);
    QCOMPARE(tab("unreadB")->findChild<QLabel *>("msgCntLabel")->text(), "2");
}

void TestChatDialog::messagesReachOnlyOpenConversations()
{
    KvChatDialog::createChat("peerA", nullptr, false);
    KvChatDialog::createChat("peerB", nullptr, false);
    QPointer<KvChatWidget> removed = page("peerB");
    QTest::mouseClick(removed->findChild<QPushButton *>("pushButtonClose"), Qt::LeftButton);
    const int open = rows(page("peerA"));

    receive("peerB", "nobody is looking");
    receive("peerA", "seen");
    // The closed page is gone and no page came back for its conversation.
    QVERIFY(!removed);
    QCOMPARE(dialog()->findChildren<KvChatWidget *>().size(), 1);
    QCOMPARE(rows(page("peerA")), open + 1);
    QCOMPARE(tab("peerA")->findChild<QLabel *>("labelMessage")->text(), "seen");
}

void TestChatDialog::badgesStayStillForTheCurrentConversation()
{
    KvFriendMessageWidget conversations;
    conversations.show();
    KvChatDialog::createChat("peerB", nullptr, false);
    KvChatDialog::createChat("peerA", nullptr, false);
    receive("peerA", "read at once");
    receive("peerB", "waits");

    const auto badge = [&](const QString &key) {
        for (int i = 0; i < conversations.count(); ++i) {
            if (conversations.item(i)->data(Qt::UserRole + 2).toString() == key)
                return conversations.itemWidget(conversations.item(i))->findChild<QLabel *>("msgCntLabel");
        }
        return static_cast<QLabel *>(nullptr);
    };
    QVERIFY(!badge("peerA")->isVisible());
    QVERIFY(!tab("peerA")->findChild<QLabel *>("msgCntLabel")->isVisible());
    QCOMPARE(badge("peerB")->text(), "1");
    QCOMPARE(tab("peerB")->findChild<QLabel *>("msgCntLabel")->text(), "1");
}

void TestChatDialog::maxButtonTooltips()
{
    KvChatDialog::createChat("peerA", nullptr, false);
    auto *maxButton = dialog()->findChild<QPushButton *>("maxButton");
    QCOMPARE(maxButton->toolTip(), "关闭");
    QCOMPARE(dialog()->findChild<QPushButton *>("closeButton")->toolTip(), QString());
    QVERIFY(!dialog()->findChild<QPushButton *>("minButton")->isVisible());
    QTest::mouseClick(maxButton, Qt::LeftButton);
    QVERIFY(dialog()->isMaximized());
    QCOMPARE(maxButton->toolTip(), "最大化");
    QTest::mouseClick(maxButton, Qt::LeftButton);
    QVERIFY(!dialog()->isMaximized());
    QCOMPARE(maxButton->toolTip(), "恢复");
}

// Opened by name before the friend list has come: the tab and the title show
// the friend's nickname once the friend is stored.
void TestChatDialog::tabTakesTheNameOfAFriendWhoArrivesLater()
{
    const QString later = ReferenceServer::createAccount("later", "kv123456", {{"nickname", QStringLiteral("晚到")}})
                              .value("username")
                              .toString();
    KvChatDialog::createChat(later, nullptr, false);
    auto *name = tab(later)->findChild<QLabel *>("labelName");
    QCOMPARE(name->text(), QString());
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", later}});
    KvUserManager::instance()->requestFriends();
    QTRY_COMPARE(name->text(), QStringLiteral("晚到"));
    QCOMPARE(dialog()->findChild<QLabel *>("labelNikeName")->text(), QStringLiteral("晚到"));
}

QTEST_MAIN(TestChatDialog)
#include "tst_chatdialog.moc"

// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "panel/msgheaderbutton.h"
#include "panel/usercommwidget.h"
#include "referenceserver.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QtTest>

class TestUserCommWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void headerButtonBadge_data();
    void headerButtonBadge();
    void firstPanelKeepsTheMainWindow();
    void pageButtons();
    void badgesFollowUnreadCounts();

private:
    static QLabel *badge(QWidget *panel, const char *button)
    {
        return panel->findChild<QPushButton *>(button)->findChild<QLabel *>("msgCntLabel");
    }
    QTemporaryDir m_dir;
};

void TestUserCommWidget::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    KvUserCommManager::instance();
}

void TestUserCommWidget::headerButtonBadge_data()
{
    // Each step: 's' set, 'a' add, 'c' clear, followed by its number.
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("count");
    QTest::newRow("zero hides") << QStringList{"s0"} << false << "0" << 0;
    QTest::newRow("then three shows") << QStringList{"s0", "s3"} << true << "3" << 3;
    QTest::newRow("adding nothing shows 0") << QStringList{"a0"} << true << "0" << 0;
    QTest::newRow("adds up") << QStringList{"s2", "a1", "a4"} << true << "7" << 7;
    QTest::newRow("clear keeps the old text hidden") << QStringList{"s5", "c"} << false << "5" << 0;
    QTest::newRow("add after clear starts at 0") << QStringList{"s5", "c", "a1"} << true << "1" << 1;
}

void TestUserCommWidget::headerButtonBadge()
{
    QFETCH(QStringList, steps);
    QWidget window;
    auto *button = new KvMsgHeaderButton(KvIconButton::Round, &window);
    window.show();
    for (const QString &step : steps) {
        const int n = step.mid(1).toInt();
        if (step.startsWith('s'))
            button->setMsgCount(n);
        else if (step.startsWith('a'))
            button->addMsgCount(n);
        else
            button->clearMsgCount();
    }
    const auto *label = button->findChild<QLabel *>("msgCntLabel");
    QVERIFY(label);
    QTEST(label->isVisible(), "visible");
    QTEST(label->text(), "text");
    QTEST(button->msgCount(), "count");
}

void TestUserCommWidget::firstPanelKeepsTheMainWindow()
{
    // The first panel of this process is made here, with a parent.
    QWidget first, second;
    new KvUserCommWidget(&first);
    new KvUserCommWidget(&second);
    QCOMPARE(KvUserCommWidget::mainWidow(), &first);
}

void TestUserCommWidget::pageButtons()
{
    QWidget window;
    auto *panel = new KvUserCommWidget(&window);
    window.show();
    auto *stack = panel->findChild<QStackedWidget *>("stackedWidget");
    QCOMPARE(stack->count(), 4);
    QCOMPARE(stack->currentWidget()->objectName(), "messageWidget");
    QVERIFY(!panel->findChild<QPushButton *>("pushButtonAllRead")->isVisible());

    QTest::mouseClick(panel->findChild<QPushButton *>("pushButtonFriend"), Qt::LeftButton);
    QCOMPARE(stack->currentWidget()->objectName(), "friendWidget");
    QTest::mouseClick(panel->findChild<QPushButton *>("pushButtonNotice"), Qt::LeftButton);
    QCOMPARE(stack->currentWidget()->objectName(), "noticeWidget");

    // A button the panel does not know changes nothing.
    QPushButton stranger;
    QMetaObject::invokeMethod(panel, "slotButtonClicked", Q_ARG(QAbstractButton *, &stranger));
    QCOMPARE(stack->currentWidget()->objectName(), "noticeWidget");
}

void TestUserCommWidget::badgesFollowUnreadCounts()
{
    const QJsonObject account = ReferenceServer::createAccount("panel", "kv123456");
    QVERIFY(!account.isEmpty());
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(account.value("username").toString(), "kv123456"));
    KvUnreadMessageManager *unread = KvUserCommManager::instance()->userUnreadMessageManager();

    QWidget window;
    auto *panel = new KvUserCommWidget(&window);
    window.show();
    QLabel *messages = badge(panel, "pushButtonMessage");
    QLabel *notices = badge(panel, "pushButtonNotice");
    QVERIFY(!messages->isVisible());
    QVERIFY(!notices->isVisible());

    unread->setUserUnreadMessageCount("friendA", 2);
    unread->setUserUnreadMessageCount("friendB", 3);
    unread->setUserUnreadMessageCount("kavora", 4);
    QVERIFY(messages->isVisible());
    QCOMPARE(messages->text(), "5"); // the notices are not messages
    QCOMPARE(notices->text(), "4");

    unread->clearAllUserUnreadMessage();
    QVERIFY(!messages->isVisible());
    QVERIFY(notices->isVisible());
    unread->clearAllNoticeUnreadMessage();
    QVERIFY(!notices->isVisible());
    KvUserManager::instance()->logOut();
}

QTEST_MAIN(TestUserCommWidget)
#include "tst_usercommwidget.moc"

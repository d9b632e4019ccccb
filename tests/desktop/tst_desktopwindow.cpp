// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "desktopwindow.h"
#include "panel/usercommwidget.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "referenceserver.h"
#include "signindialog.h"
#include "store/usercommmanager.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QtTest>

// The desktop host against the reference server: the start as a visitor, a
// sign-in through its dialog, and the panel's badges as messages arrive.
class TestDesktopWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void startsAsVisitor();
    void refusedSignInStaysInTheDialog();
    void signInShowsUserLinkAndLiveBadges();
    void titleFollowsTheLink_data();
    void titleFollowsTheLink();
    void showsWhatTheModuleHandsItsHost();
    void cleanupTestCase();

private:
    static QLabel *badge(QWidget *panel, const char *button)
    {
        return panel->findChild<QPushButton *>(button)->findChild<QLabel *>("msgCntLabel");
    }
    QTemporaryDir m_dir;
    QString m_me, m_friend;
    KvDesktopWindow *m_window = nullptr;
};

void TestDesktopWindow::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_me = ReferenceServer::createAccount("desk", "kv123456", {{"nickname", QStringLiteral("桌面用户")}})
               .value("username").toString();
    m_friend = ReferenceServer::createAccount("deskpal", "kv123456").value("username").toString();
    QVERIFY(!m_me.isEmpty() && !m_friend.isEmpty());
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_friend}});
    m_window = new KvDesktopWindow;
    m_window->show();
}

void TestDesktopWindow::startsAsVisitor()
{
    m_window->startSession();
    QVERIFY(!KvUserManager::instance()->isLogin());
    QVERIFY2(m_window->windowTitle().contains(QStringLiteral("访客")), qPrintable(m_window->windowTitle()));
}

void TestDesktopWindow::refusedSignInStaysInTheDialog()
{
    KvSignInDialog dialog(m_window);
    dialog.show();
    dialog.setAccount(m_me, "wrong-password");
    QTest::mouseClick(dialog.findChild<QPushButton *>("pushButtonSignIn"), Qt::LeftButton);
    QVERIFY(dialog.isVisible());
    QVERIFY(dialog.findChild<QLabel *>("labelError")->isVisible());
    QVERIFY(!KvUserManager::instance()->isLogin());
}

void TestDesktopWindow::signInShowsUserLinkAndLiveBadges()
{
    KvSignInDialog dialog(m_window);
    dialog.show();
    dialog.setAccount(m_me, "kv123456");
    QTest::mouseClick(dialog.findChild<QPushButton *>("pushButtonSignIn"), Qt::LeftButton);
    QVERIFY(!dialog.isVisible());
    QVERIFY(KvUserManager::instance()->isLogin());
    QTRY_VERIFY_WITH_TIMEOUT(m_window->windowTitle().contains(QStringLiteral("消息已连接")), 10000);
    QVERIFY(m_window->windowTitle().contains(QStringLiteral("桌面用户")));

    QLabel *messages = badge(m_window->panel(), "pushButtonMessage");
    QLabel *notices = badge(m_window->panel(), "pushButtonNotice");
    QVERIFY(!messages->isVisible());
    for (int i = 0; i < 2; ++i) {
        ReferenceServer::adminPost("push", {{"to", m_me}, {"from", m_friend}, {"type", "BBC"},
                                            {"data", QJsonObject{{"content", QStringLiteral("你好 %1").arg(i)}}}});
    }
    ReferenceServer::adminPost("push", {{"to", m_me}, {"type", "ZZG"}, {"data", QJsonObject{}}});
    QTRY_COMPARE_WITH_TIMEOUT(messages->text(), QStringLiteral("2"), 10000);
    QVERIFY(messages->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(notices->isVisible(), 10000);
    QCOMPARE(notices->text(), QStringLiteral("1"));
}

void TestDesktopWindow::titleFollowsTheLink_data()
{
    QTest::addColumn<QString>("mode");
    QTest::newRow("the server closes the link") << "clean";
    QTest::newRow("the connection is reset") << "abort";
}

void TestDesktopWindow::titleFollowsTheLink()
{
    QFETCH(QString, mode);
    QTRY_VERIFY_WITH_TIMEOUT(m_window->windowTitle().contains(QStringLiteral("消息已连接")), 10000);
    // Kept out long enough to see the title while the link is down.
    ReferenceServer::adminPost("refuse", {{"seconds", 2}, {"mode", "http"}});
    ReferenceServer::adminPost("close", {{"username", m_me}, {"mode", mode}, {"code", 1001}});
    QTRY_VERIFY_WITH_TIMEOUT(m_window->windowTitle().contains(QStringLiteral("消息未连接")), 5000);
    QVERIFY(m_window->windowTitle().contains(QStringLiteral("桌面用户")));
    QTRY_VERIFY_WITH_TIMEOUT(m_window->windowTitle().contains(QStringLiteral("消息已连接")), 15000);
}

void TestDesktopWindow::showsWhatTheModuleHandsItsHost()
{
    emit KvUserCommManager::instance()->signalLaodFile(QStringLiteral("/data/路线.kml"));
    QVERIFY(m_window->statusBar()->currentMessage().contains(QStringLiteral("/data/路线.kml")));
    Mc::eventDispatcher()->submitEvent_helper(QStringLiteral("task.file.prepare"));
    QVERIFY(m_window->statusBar()->currentMessage().contains(QStringLiteral("下载任务")));

    m_window->slotSignOut();
    QVERIFY(!KvUserManager::instance()->isLogin());
    QVERIFY(m_window->windowTitle().contains(QStringLiteral("访客")));
}

void TestDesktopWindow::cleanupTestCase()
{
    delete m_window;
}

QTEST_MAIN(TestDesktopWindow)
#include "tst_desktopwindow.moc"

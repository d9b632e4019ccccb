// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "desktopwindow.h"
#include "platform/selfservermanager.h"
#include "referenceserver.h"

#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QtTest>

// What the desktop host says after its start: the module answers a refused
// password and a server that cannot be reached alike, the host must not.
// The rows run in order on one session.
class TestStartState : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void start_data();
    void start();
    void retryReachesTheServerOnceItIsBack();
    void cleanupTestCase();

private:
    void useAccountService(const QByteArray &url);
    QTemporaryDir m_dir;
    QByteArray m_accountUrl;
    QString m_me;
    KvDesktopWindow *m_window = nullptr;
};

void TestStartState::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_accountUrl = qgetenv("KVMESS_ACCOUNT_URL");
    m_me = ReferenceServer::createAccount("starter", "kv123456").value("username").toString();
    QVERIFY(!m_me.isEmpty());
    m_window = new KvDesktopWindow;
    m_window->show();
}

void TestStartState::useAccountService(const QByteArray &url)
{
    qputenv("KVMESS_ACCOUNT_URL", url);
    KvSelfServerManager::instance()->reload();
}

void TestStartState::start_data()
{
    QTest::addColumn<bool>("serverUp");
    QTest::addColumn<QString>("password");
    QTest::addColumn<KvDesktopWindow::StartState>("state");
    QTest::addColumn<QString>("status");
    QTest::newRow("no sign-in asked") << true << QString() << KvDesktopWindow::StartState::Visitor
                                      << QStringLiteral("访客模式：登录后可收发消息");
    QTest::newRow("wrong password") << true << "wrong" << KvDesktopWindow::StartState::PasswordRefused
                                    << QStringLiteral("登录被拒绝：ME 的密码不对");
    QTest::newRow("server down, right password") << false << "kv123456" << KvDesktopWindow::StartState::Unreachable
                                                 << QStringLiteral("无法连接服务器 http://127.0.0.1:9/");
    QTest::newRow("right password") << true << "kv123456" << KvDesktopWindow::StartState::SignedIn
                                    << QStringLiteral("已登录：ME");
}

void TestStartState::start()
{
    QFETCH(bool, serverUp);
    QFETCH(QString, password);
    QFETCH(KvDesktopWindow::StartState, state);
    QFETCH(QString, status);
    useAccountService(serverUp ? m_accountUrl : QByteArray("http://127.0.0.1:9/"));
    QCOMPARE(m_window->startSession(password.isEmpty() ? QString() : m_me, password), state);
    QCOMPARE(m_window->statusBar()->currentMessage(), status.replace("ME", m_me));
    QCOMPARE(m_window->findChild<QPushButton *>("pushButtonRetry")->isVisible(), !serverUp);
}

void TestStartState::retryReachesTheServerOnceItIsBack()
{
    KvUserManager::instance()->logOut();
    useAccountService("http://127.0.0.1:9/");
    QCOMPARE(m_window->startSession(m_me, "kv123456"), KvDesktopWindow::StartState::Unreachable);
    QPushButton *retry = m_window->findChild<QPushButton *>("pushButtonRetry");
    useAccountService(m_accountUrl);
    QTest::mouseClick(retry, Qt::LeftButton);
    QCOMPARE(m_window->startState(), KvDesktopWindow::StartState::SignedIn);
    QVERIFY(!retry->isVisible());
    QVERIFY(KvUserManager::instance()->isLogin());
}

void TestStartState::cleanupTestCase()
{
    delete m_window;
}

QTEST_MAIN(TestStartState)
#include "tst_startstate.moc"

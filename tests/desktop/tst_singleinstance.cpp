// SPDX-License-Identifier: MIT
#include "chat/chatdialog.h"
#include "desktopwindow.h"
#include "singleinstance.h"

#include <QAbstractButton>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

// The first host is this process; a second kvmess-desktop with the same
// profile hands over what it was asked for and exits 0.
class TestSingleInstance : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void secondStartHandsOver_data();
    void secondStartHandsOver();
    void otherProfileStartsItsOwn();
    void socketLeftByACrashIsTakenOver();
    void cleanupTestCase();

private:
    QTemporaryDir m_dir;
    KvSingleInstance *m_instance = nullptr;
    KvDesktopWindow *m_window = nullptr;
};

void TestSingleInstance::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.filePath("settings"));
    m_window = new KvDesktopWindow;
    m_instance = new KvSingleInstance(m_dir.filePath("profile"), m_window);
    QVERIFY(m_instance->listen());
    connect(m_instance, &KvSingleInstance::signalActivate, m_window, &KvDesktopWindow::slotActivate);
}

void TestSingleInstance::secondStartHandsOver_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("chat");
    QTest::addColumn<QString>("pageButton");
    QTest::newRow("--chat") << QStringList{"--chat", "lina"} << "lina" << "pushButtonMessage";
    QTest::newRow("--page") << QStringList{"--page", "friend"} << "lina" << "pushButtonFriend";
    QTest::newRow("both") << QStringList{"--page", "team", "--chat", "wangfang"} << "wangfang"
                          << "pushButtonEnterprise";
}

void TestSingleInstance::secondStartHandsOver()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, chat);
    QFETCH(QString, pageButton);
    m_window->hide();
    QProcess second;
    second.setProcessChannelMode(QProcess::ForwardedChannels);
    second.start(KVMESS_DESKTOP, QStringList{"--profile", m_dir.filePath("profile")} + arguments);
    QDeadlineTimer deadline(20000);
    while (second.state() != QProcess::NotRunning && !deadline.hasExpired())
        QTest::qWait(20);
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);
    QTRY_COMPARE(KvChatDialog::currentChatUser(), chat);
    QVERIFY(m_window->isVisible());
    QVERIFY(m_window->findChild<QAbstractButton *>(pageButton)->isChecked());
}

void TestSingleInstance::otherProfileStartsItsOwn()
{
    QVERIFY(KvSingleInstance::serverName(m_dir.filePath("profile"))
            != KvSingleInstance::serverName(m_dir.filePath("other")));
    KvSingleInstance other(m_dir.filePath("other"));
    QVERIFY(!other.handOver("lina", QString(), 500));
}

void TestSingleInstance::socketLeftByACrashIsTakenOver()
{
    const QString profile = m_dir.filePath("crashed");
    QFile left(QDir::temp().filePath(KvSingleInstance::serverName(profile)));
    QVERIFY(left.open(QIODevice::WriteOnly));
    left.close();
    KvSingleInstance next(profile);
    QVERIFY(!next.handOver(QString(), QString(), 500));
    QVERIFY(next.listen());
    QSignalSpy activated(&next, &KvSingleInstance::signalActivate);
    QProcess second;
    second.setProcessChannelMode(QProcess::ForwardedChannels);
    second.start(KVMESS_DESKTOP, {"--profile", profile, "--page", "message"});
    QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 20000);
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(activated.size(), 1);
    QCOMPARE(activated.at(0).at(1).toString(), QStringLiteral("message"));
}

void TestSingleInstance::cleanupTestCase()
{
    KvChatDialog::clostChat();
    delete m_window;
}

QTEST_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"

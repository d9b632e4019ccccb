// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "chat/chatdialog.h"
#include "desktopnotifier.h"
#include "desktoptray.h"
#include "desktopwindow.h"
#include "panel/usercommwidget.h"
#include "consolehost.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"

#include <QAbstractButton>
#include <QAction>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QHBoxLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QSettings>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QtTest>

// The desktop host in this process, signed in against the reference server,
// while console hosts write to it; a recording notification service on a
// private session bus (dbus-run-session) keeps what the host shows.
class TestDesktopNotifier : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void shownPerContent_data();
    void shownPerContent();
    void burstReplacesOneNotification();
    void notShown_data();
    void notShown();
    void clickOpensTheConversation();
    void trayCarriesTheUnreadCount();
    void closingHidesToTheTray();
    void cleanupTestCase();

private:
    QJsonArray recorded() const;
    QDBusMessage recorder(const QString &method, const QVariantList &arguments = {}) const;
    // Runs a console host signed in as `user` with `commands`; true when every command succeeded.
    bool console(const QString &user, const QStringList &commands);
    QString file(const QString &name);
    void renderScreenshots();

    QTemporaryDir m_dir;
    QProcess m_recorder;
    QString m_me, m_mePhone, m_peer, m_stranger;
    KvDesktopWindow *m_window = nullptr;
};

void TestDesktopNotifier::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"), "run under dbus-run-session");
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());

    m_recorder.setProcessChannelMode(QProcess::ForwardedChannels);
    m_recorder.start(KVMESS_NOTIFICATION_RECORDER, QStringList());
    QTRY_VERIFY(QDBusConnection::sessionBus().interface()->isServiceRegistered("org.freedesktop.Notifications"));

    const QJsonObject me = ReferenceServer::createAccount("notify", "kv123456");
    m_me = me.value("username").toString();
    m_mePhone = me.value("phone").toString();
    m_peer = ReferenceServer::createAccount("notifypal", "kv123456", {{"nickname", QStringLiteral("陈静")}})
                 .value("username").toString();
    m_stranger = ReferenceServer::createAccount("stranger", "kv123456").value("username").toString();
    QVERIFY(!m_me.isEmpty() && !m_peer.isEmpty() && !m_stranger.isEmpty());
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_peer}});

    m_window = new KvDesktopWindow;
    m_window->show();
    QCOMPARE(m_window->startSession(m_me, "kv123456"), KvDesktopWindow::StartState::SignedIn);
    QTRY_COMPARE_WITH_TIMEOUT(conversationTitle(m_peer), QStringLiteral("陈静"), 10000);
}

void TestDesktopNotifier::init()
{
    // Each case starts with nothing on screen and no burst under way.
    recorder("DismissAll");
    m_window->notifier()->setBurstMs(0);
}

QDBusMessage TestDesktopNotifier::recorder(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.Notifications", "/recorder",
                                                       "org.kvmess.test.Recorder", method);
    call.setArguments(arguments);
    // Block with the event loop running: the host must see the signals it answers with.
    return QDBusConnection::sessionBus().call(call, QDBus::BlockWithGui);
}

QJsonArray TestDesktopNotifier::recorded() const
{
    const QDBusMessage reply = recorder("Recorded");
    return QJsonDocument::fromJson(reply.arguments().value(0).toString().toUtf8()).array();
}

bool TestDesktopNotifier::console(const QString &user, const QStringList &commands)
{
    bool ok = false;
    runConsoleHost(KVMESS_CONSOLE, m_dir.filePath("console-" + user), user, commands, &ok);
    return ok;
}

QString TestDesktopNotifier::file(const QString &name)
{
    QFile out(m_dir.filePath(name));
    if (!out.open(QIODevice::WriteOnly))
        return {};
    if (name.endsWith(".png")) {
        QImage image(40, 30, QImage::Format_RGB32);
        image.fill(Qt::darkGreen);
        image.save(&out, "PNG");
    } else {
        out.write("route data");
    }
    return out.fileName();
}

void TestDesktopNotifier::shownPerContent_data()
{
    QTest::addColumn<QString>("sender");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<QString>("body");
    QTest::newRow("text") << "peer" << QStringLiteral("send text ME 晚上<b>七点</b>见") << QStringLiteral("陈静")
                          << QStringLiteral("晚上&lt;b&gt;七点&lt;/b&gt;见");
    QTest::newRow("picture") << "peer" << "send pic ME PIC" << QStringLiteral("陈静") << QStringLiteral("[图片]");
    QTest::newRow("file") << "peer" << "send file ME FILE" << QStringLiteral("陈静") << QStringLiteral("[文件]");
    QTest::newRow("friend request") << "stranger" << "friend add PHONE" << QStringLiteral("系统消息")
                                    << QStringLiteral("新的好友请求");
}

void TestDesktopNotifier::shownPerContent()
{
    QFETCH(QString, sender);
    QFETCH(QString, command);
    QFETCH(QString, summary);
    QFETCH(QString, body);
    command.replace("ME", m_me).replace("PIC", file("route.png")).replace("FILE", file("route.kml"))
        .replace("PHONE", m_mePhone);
    const int before = recorded().size();
    QVERIFY(console(sender == "peer" ? m_peer : m_stranger, {command}));
    QTRY_COMPARE_WITH_TIMEOUT(recorded().size(), before + 1, 10000);
    const QJsonObject shown = recorded().last().toObject();
    QCOMPARE(shown.value("summary").toString(), summary);
    QCOMPARE(shown.value("body").toString(), body);
    QCOMPARE(shown.value("replaces_id").toInt(), 0);
    QCOMPARE(shown.value("desktop_entry").toString(), QStringLiteral("kvmess-desktop"));
    QVERIFY(shown.value("actions").toArray().contains(QStringLiteral("default")));
}

void TestDesktopNotifier::burstReplacesOneNotification()
{
    m_window->notifier()->setBurstMs(60000);
    const int before = recorded().size();
    QVERIFY(console(m_peer, {"send text " + m_me + QStringLiteral(" 一"), "send text " + m_me + QStringLiteral(" 二"),
                             "send text " + m_me + QStringLiteral(" 三")}));
    QTRY_COMPARE_WITH_TIMEOUT(recorded().size(), before + 3, 10000);
    const QJsonArray shown = recorded();
    const int first = shown.at(before).toObject().value("id").toInt();
    QCOMPARE(shown.at(before).toObject().value("replaces_id").toInt(), 0);
    QCOMPARE(shown.at(before + 1).toObject().value("replaces_id").toInt(), first);
    QCOMPARE(shown.at(before + 2).toObject().value("replaces_id").toInt(), first);
    QCOMPARE(shown.at(before + 2).toObject().value("summary").toString(), QStringLiteral("陈静（3 条新消息）"));
    QCOMPARE(shown.at(before + 2).toObject().value("body").toString(), QStringLiteral("三"));
}

void TestDesktopNotifier::notShown_data()
{
    QTest::addColumn<bool>("lookingAtIt");
    QTest::addColumn<bool>("switchedOff");
    QTest::newRow("the conversation is the active one") << true << false;
    QTest::newRow("notifications switched off") << false << true;
}

void TestDesktopNotifier::notShown()
{
    QFETCH(bool, lookingAtIt);
    QFETCH(bool, switchedOff);
    auto *toggle = m_window->findChild<QAction *>("actionNotifications");
    if (switchedOff)
        toggle->trigger();
    QVERIFY(toggle->isChecked() != switchedOff);
    QWidget *chat = nullptr;
    if (lookingAtIt) {
        KvChatDialog::createChat(m_peer, KvUserCommWidget::mainWidow(), false);
        for (QWidget *top : QApplication::topLevelWidgets())
            chat = qobject_cast<KvChatDialog *>(top) ? top : chat;
        QVERIFY(chat);
        chat->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(chat));
    }
    const int before = recorded().size();
    QSignalSpy arrived(KvUserCommManager::instance()->friendMessageManager(), &KvFriendMessageManager::signalNewMessage);
    QVERIFY(console(m_peer, {"send text " + m_me + QStringLiteral(" 在吗")}));
    QTRY_VERIFY_WITH_TIMEOUT(!arrived.isEmpty(), 10000);
    QTest::qWait(200);
    QCOMPARE(recorded().size(), before);

    if (switchedOff) {
        toggle->trigger();
        // The choice is the host's setting, kept for the next start.
        QSettings settings(QSettings::IniFormat, QSettings::UserScope, "kvmess", "kvmess-desktop");
        QCOMPARE(settings.value("desktop/notifications").toBool(), true);
    }
    KvChatDialog::clostChat();
}

void TestDesktopNotifier::clickOpensTheConversation()
{
    KvChatDialog::clostChat();
    QTRY_COMPARE(KvChatDialog::currentChatUser(), QString());
    const int before = recorded().size();
    QVERIFY(console(m_peer, {"send text " + m_me + QStringLiteral(" 看地图")}));
    QTRY_COMPARE_WITH_TIMEOUT(recorded().size(), before + 1, 10000);
    renderScreenshots();
    recorder("Invoke", {uint(recorded().last().toObject().value("id").toInt()), QStringLiteral("default")});
    QTRY_COMPARE(KvChatDialog::currentChatUser(), m_peer);
}

void TestDesktopNotifier::trayCarriesTheUnreadCount()
{
    const int unread = KvDesktopTray::unreadCount();
    QVERIFY(unread > 0);
    QSystemTrayIcon *tray = m_window->tray()->trayIcon();
    QCOMPARE(tray->toolTip(), QStringLiteral("KvMess：%1 条未读").arg(unread));
    const QImage plain = KvDesktopTray::iconWithCount(0).pixmap(32, 32).toImage();
    const QImage counted = tray->icon().pixmap(32, 32).toImage();
    // Our picture is drawn (opaque in the middle), and the count's badge changes its corner.
    QCOMPARE(qAlpha(plain.pixel(16, 16)), 255);
    QVERIFY(plain.pixel(28, 3) != counted.pixel(28, 3));
    QCOMPARE(counted, KvDesktopTray::iconWithCount(unread).pixmap(32, 32).toImage());
    KvUserCommManager::instance()->userUnreadMessageManager()->clearAllUnreadMessage();
    QCOMPARE(tray->icon().pixmap(32, 32).toImage(), plain);
    QCOMPARE(tray->toolTip(), QStringLiteral("KvMess"));
}

void TestDesktopNotifier::closingHidesToTheTray()
{
    QSystemTrayIcon *tray = m_window->tray()->trayIcon();
    QMenu *menu = m_window->tray()->menu();
    tray->show();
    QVERIFY(!m_window->close());
    QVERIFY(!m_window->isVisible());
    menu->findChild<QAction *>("actionTrayPage_friend")->trigger();
    QVERIFY(m_window->isVisible());
    QVERIFY(m_window->findChild<QAbstractButton *>("pushButtonFriend")->isChecked());
    m_window->hide();
    menu->findChild<QAction *>("actionTrayOpen")->trigger();
    QVERIFY(m_window->isVisible());
    // Without a tray, closing closes.
    tray->hide();
    QVERIFY(m_window->close());
}

// With KVMESS_SCREENSHOT_DIR set: the tray menu, the tray icon with its
// count, and the last notification as a desktop would draw it.
void TestDesktopNotifier::renderScreenshots()
{
    const QString folder = qEnvironmentVariable("KVMESS_SCREENSHOT_DIR");
    if (folder.isEmpty())
        return;
    QMenu *menu = m_window->tray()->menu();
    menu->popup(QPoint(0, 0));
    QVERIFY(QTest::qWaitForWindowExposed(menu));
    QVERIFY(menu->grab().save(folder + "/desktop-tray-menu.png"));
    menu->hide();
    QVERIFY(m_window->tray()->trayIcon()->icon().pixmap(64, 64).save(folder + "/desktop-tray-icon.png"));

    const QJsonObject shown = recorded().last().toObject();
    QFrame popup;
    popup.setStyleSheet("QFrame { background: #2b2f36; border-radius: 8px; } QLabel { color: #f0f0f0; }");
    auto *layout = new QHBoxLayout(&popup);
    auto *icon = new QLabel(&popup);
    icon->setPixmap(KvDesktopTray::iconWithCount(KvDesktopTray::unreadCount()).pixmap(48, 48));
    auto *text = new QLabel(QStringLiteral("<b>%1</b><br>%2").arg(shown.value("summary").toString().toHtmlEscaped(),
                                                               shown.value("body").toString()),
                            &popup);
    layout->addWidget(icon);
    layout->addWidget(text, 1);
    popup.resize(360, 80);
    QVERIFY(popup.grab().save(folder + "/desktop-notification.png"));
}

void TestDesktopNotifier::cleanupTestCase()
{
    delete m_window;
    m_recorder.kill();
    m_recorder.waitForFinished();
}

QTEST_MAIN(TestDesktopNotifier)
#include "tst_desktopnotifier.moc"

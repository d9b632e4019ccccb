// SPDX-License-Identifier: MIT
#include "desktopwindow.h"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "chat/chatdialog.h"
#include "desktopnotifier.h"
#include "desktoptray.h"
#include "mapcanvas.h"
#include "messaging/reconnecthelper.h"
#include "messaging/wscommunicationmanager.h"
#include "panel/selfinfoeditdialog.h"
#include "panel/usercommwidget.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "serverprobe.h"
#include "signindialog.h"
#include "store/usercommmanager.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QSystemTrayIcon>

#include <cstdio>

namespace {
constexpr int StatusMs = 8000;
}

// The host's resources live in a static library: they must be pulled in by name.
static void initDesktopResources()
{
    Q_INIT_RESOURCE(desktop);
}

KvDesktopWindow::KvDesktopWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("desktopWindow"));
    initDesktopResources();
    // The store listens before the first sign-in, as it does in the application.
    KvUserCommManager *store = KvUserCommManager::instance();

    m_canvas = new KvMapCanvas(this);
    setCentralWidget(m_canvas);

    // Made with the main window as parent, so chat windows opened from any
    // panel know the application's window.
    m_panel = new KvUserCommWidget(this);
    m_dock = new QDockWidget(tr("消息"), this);
    m_dock->setObjectName(QStringLiteral("dockMessages"));
    // The panel has its own header row; the dock needs none.
    m_dock->setFeatures(QDockWidget::NoDockWidgetFeatures);
    m_dock->setTitleBarWidget(new QWidget(m_dock));
    m_dock->setWidget(m_panel);
    m_dock->setMinimumWidth(340);
    addDockWidget(Qt::RightDockWidgetArea, m_dock);

    m_retryButton = new QPushButton(tr("重试"), this);
    m_retryButton->setObjectName(QStringLiteral("pushButtonRetry"));
    m_retryButton->hide();
    connect(m_retryButton, &QPushButton::clicked, this, &KvDesktopWindow::slotRetry);
    statusBar()->addPermanentWidget(m_retryButton);
    m_linkLabel = new QLabel(this);
    m_linkLabel->setObjectName(QStringLiteral("labelLink"));
    statusBar()->addPermanentWidget(m_linkLabel);

    setWindowIcon(QIcon(QStringLiteral(":/desktop/kvmess-desktop.svg")));
    m_tray = new KvDesktopTray(this);
    // Where the desktop has a tray, closing the window leaves the host running there.
    if (QSystemTrayIcon::isSystemTrayAvailable())
        m_tray->trayIcon()->show();
    m_notifier = new KvDesktopNotifier(this);
    m_notifier->setFallbackTray(m_tray->trayIcon());
    connect(m_notifier, &KvDesktopNotifier::signalOpenConversation, this, &KvDesktopWindow::slotOpenConversation);
    buildMenus();

    KvUserManager *users = KvUserManager::instance();
    connect(users, &KvUserManager::signalUserLoginStateChanged, this, &KvDesktopWindow::slotUpdateTitle);
    connect(users, &KvUserManager::signalVisitorLogin, this, &KvDesktopWindow::slotUpdateTitle);
    connect(users, &KvUserManager::signalUpdateLoginInfo, this, &KvDesktopWindow::slotUpdateTitle);
    KvWSCommunicationManager *link = KvWSCommunicationManager::getDefault();
    connect(link, &KvWSCommunicationManager::onConnected, this, &KvDesktopWindow::slotUpdateTitle);
    connect(link, &KvWSCommunicationManager::onDisconnected, this, &KvDesktopWindow::slotUpdateTitle);

    // The module waits for a socket error before it reconnects; after a clean
    // close by the server (a restart, a deployment) the host brings it back.
    m_reconnect = new KvReconnectHelper(this);
    // A catch-up cut by the link is sent again whole: keep one row a message.
    KvUserCommManager::setDropRedeliveredMessages(true);

    connect(store, &KvUserCommManager::signalLaodFile, this, &KvDesktopWindow::slotLoadFile);
    Mc::eventDispatcher()->connectToEventImpl(QStringLiteral("task.file.prepare"), this,
                                              McSlotObjectWrapper(&KvDesktopWindow::slotFilePrepare));
    resize(1180, 760);
    slotUpdateTitle();
}

void KvDesktopWindow::buildMenus()
{
    QMenu *account = menuBar()->addMenu(tr("账号(&A)"));
    account->addAction(tr("登录..."), this, &KvDesktopWindow::slotSignIn)->setObjectName(QStringLiteral("actionSignIn"));
    account->addAction(tr("退出登录"), this, &KvDesktopWindow::slotSignOut)->setObjectName(QStringLiteral("actionSignOut"));
    account->addAction(tr("编辑资料..."), this, &KvDesktopWindow::slotEditProfile)
        ->setObjectName(QStringLiteral("actionEditProfile"));
    account->addSeparator();
    account->addAction(tr("退出(&Q)"), this, &KvDesktopWindow::slotQuit, QKeySequence::Quit)
        ->setObjectName(QStringLiteral("actionQuit"));

    QMenu *messages = menuBar()->addMenu(tr("消息(&M)"));
    messages->addAction(tr("打开全部未读消息"), this, [this] { m_panel->openAllUnreadMessage(); });
    messages->addAction(tr("联系客服"), this, [this] {
        // The module opens the customer-service conversation on this event.
        Mc::eventDispatcher()->submitEvent_helper(QStringLiteral("user.openCustomerServiceChat"));
        statusBar()->showMessage(tr("已请求客服会话"), StatusMs);
    });
    messages->addAction(m_dock->toggleViewAction());
    QAction *notify = messages->addAction(tr("桌面通知"));
    notify->setObjectName(QStringLiteral("actionNotifications"));
    notify->setCheckable(true);
    notify->setChecked(m_notifier->isEnabled());
    connect(notify, &QAction::toggled, m_notifier, &KvDesktopNotifier::setEnabled);
}

KvDesktopWindow::StartState KvDesktopWindow::startSession(const QString &user, const QString &password)
{
    m_startUser = user;
    m_startPassword = password;
    m_retryButton->hide();
    statusBar()->showMessage(tr("正在登录..."));
    KvUserManager *users = KvUserManager::instance();
    users->init();
    const bool switchUser = !user.isEmpty()
        && !(users->isLogin() && (users->loginUserName() == user || users->loginUserPhone() == user));
    bool refused = false;
    if (switchUser) {
        if (users->isLogin())
            logOut();
        refused = !users->requestLoginByPassword(user, password);
    }
    if (users->isLogin() && !refused)
        m_startState = StartState::SignedIn;
    // Both a refusal and a silent server end the module's calls with false;
    // only an answer from the server tells them apart.
    else if (!KvServerProbe::answers(KvServerProbe::accountServiceUrl()))
        m_startState = StartState::Unreachable;
    else if (refused)
        m_startState = StartState::PasswordRefused;
    else
        m_startState = StartState::Visitor;
    showStartState();
    slotUpdateTitle();
    return m_startState;
}

void KvDesktopWindow::showStartState()
{
    QString shown;
    QByteArray line;
    switch (m_startState) {
    case StartState::SignedIn:
        shown = tr("已登录：%1").arg(sessionText());
        line = "signed in as " + sessionText().toUtf8();
        break;
    case StartState::Visitor:
        shown = tr("访客模式：登录后可收发消息");
        line = "visitor mode (" + KvUserManager::instance()->getUserLoginInfo().username.toUtf8() + ")";
        break;
    case StartState::PasswordRefused:
        shown = tr("登录被拒绝：%1 的密码不对").arg(m_startUser);
        line = "password refused for " + m_startUser.toUtf8();
        break;
    case StartState::Unreachable:
        shown = tr("无法连接服务器 %1").arg(KvServerProbe::accountServiceUrl());
        line = "server unreachable: " + KvServerProbe::accountServiceUrl().toUtf8();
        break;
    }
    statusBar()->showMessage(shown, m_startState == StartState::SignedIn ? StatusMs : 0);
    m_retryButton->setVisible(m_startState == StartState::Unreachable);
    std::fprintf(stderr, "kvmess-desktop: %s\n", line.constData());
}

void KvDesktopWindow::slotRetry()
{
    startSession(m_startUser, m_startPassword);
}

void KvDesktopWindow::slotShowWindow()
{
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void KvDesktopWindow::slotActivate(const QString &chat, const QString &page)
{
    slotShowWindow();
    if (!page.isEmpty())
        showPage(page);
    if (!chat.isEmpty())
        KvChatDialog::createChat(chat, KvUserCommWidget::mainWidow(), false);
}

void KvDesktopWindow::slotOpenConversation(const QString &key, bool isGroup)
{
    // Notices have no chat of their own: they are read on the notice page.
    if (key == systemUserName) {
        slotActivate(QString(), QStringLiteral("notice"));
        return;
    }
    KvChatDialog::createChat(key, KvUserCommWidget::mainWidow(), isGroup);
    for (QWidget *top : QApplication::topLevelWidgets()) {
        if (qobject_cast<KvChatDialog *>(top))
            top->activateWindow();
    }
}

void KvDesktopWindow::slotQuit()
{
    m_quitting = true;
    close();
    QCoreApplication::quit();
}

void KvDesktopWindow::closeEvent(QCloseEvent *event)
{
    if (!m_quitting && m_tray->trayIcon()->isVisible()) {
        hide();
        event->ignore();
        return;
    }
    QMainWindow::closeEvent(event);
}

QString KvDesktopWindow::sessionText() const
{
    const KvUserManager *users = KvUserManager::instance();
    const QString user = users->getUserLoginInfo().username;
    if (users->isLogin()) {
        const QString nick = users->getUserInfo().nickName;
        return nick.isEmpty() || nick == user ? user : QStringLiteral("%1 (%2)").arg(nick, user);
    }
    return user.isEmpty() ? tr("未登录") : tr("访客 %1").arg(user);
}

bool KvDesktopWindow::showPage(const QString &page)
{
    static const QMap<QString, QString> buttons = {
        {QStringLiteral("notice"), QStringLiteral("pushButtonNotice")},
        {QStringLiteral("message"), QStringLiteral("pushButtonMessage")},
        {QStringLiteral("friend"), QStringLiteral("pushButtonFriend")},
        {QStringLiteral("team"), QStringLiteral("pushButtonEnterprise")},
    };
    auto *button = m_panel->findChild<QAbstractButton *>(buttons.value(page));
    if (!button || buttons.value(page).isEmpty())
        return false;
    button->click();
    return true;
}

void KvDesktopWindow::slotUpdateTitle()
{
    const bool connected = KvWSCommunicationManager::getDefault()->isConnected();
    const QString link = connected ? tr("消息已连接") : tr("消息未连接");
    setWindowTitle(tr("KvMess 桌面 - %1 - %2").arg(sessionText(), link));
    m_linkLabel->setText(link);
    m_linkLabel->setProperty("connected", connected);
}

void KvDesktopWindow::slotSignIn()
{
    KvSignInDialog dialog(this, m_reconnect);
    if (dialog.exec() == QDialog::Accepted)
        statusBar()->showMessage(tr("已登录：%1").arg(sessionText()), StatusMs);
    slotUpdateTitle();
}

void KvDesktopWindow::logOut()
{
    m_reconnect->setSuspended(true);
    KvUserManager::instance()->logOut();
    m_reconnect->setSuspended(false);
}

void KvDesktopWindow::slotSignOut()
{
    KvUserManager *users = KvUserManager::instance();
    if (!users->isLogin())
        return;
    logOut();
    statusBar()->showMessage(tr("已退出登录"), StatusMs);
    slotUpdateTitle();
}

void KvDesktopWindow::slotEditProfile()
{
    if (!KvUserManager::instance()->isLogin()) {
        statusBar()->showMessage(tr("请先登录"), StatusMs);
        return;
    }
    KvSelfInfoEditDialog dialog(this);
    dialog.exec();
    slotUpdateTitle();
}

void KvDesktopWindow::slotLoadFile(QString filePath)
{
    statusBar()->showMessage(tr("主程序加载文件：%1").arg(filePath), StatusMs);
}

void KvDesktopWindow::slotFilePrepare()
{
    statusBar()->showMessage(tr("下载任务：准备文件"), StatusMs);
}

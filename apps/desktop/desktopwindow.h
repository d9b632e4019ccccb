// SPDX-License-Identifier: MIT
#pragma once

#include <QMainWindow>

class KvDesktopNotifier;
class KvDesktopTray;
class KvMapCanvas;
class KvReconnectHelper;
class KvUserCommWidget;
class QDockWidget;
class QLabel;
class QPushButton;

// The host application's stand-in: a map area with the module's panel docked
// at its side, an account menu, and a status bar that shows what the module
// hands its host (files to load, file tasks, the message link).
class KvDesktopWindow : public QMainWindow
{
    Q_OBJECT
public:
    // What the start came to, told apart for the person: the module answers a
    // refused password and a server that cannot be reached alike.
    enum class StartState { SignedIn, Visitor, PasswordRefused, Unreachable };
    Q_ENUM(StartState)

    explicit KvDesktopWindow(QWidget *parent = nullptr);

    // Runs the module's start: signs in by the stored token or as a visitor,
    // then as `user` when given and not signed in as that user already.
    // Blocks until the account service answered or gave up. The state shows
    // in the status bar and on standard error; when unreachable a retry is offered.
    StartState startSession(const QString &user = QString(), const QString &password = QString());
    StartState startState() const { return m_startState; }

    KvUserCommWidget *panel() const { return m_panel; }
    QString sessionText() const;
    // notice, message, friend or team; false for another name.
    bool showPage(const QString &page);
    // Signs out on purpose: the link is not brought back meanwhile.
    void logOut();
    KvReconnectHelper *reconnectHelper() const { return m_reconnect; }
    KvDesktopNotifier *notifier() const { return m_notifier; }
    KvDesktopTray *tray() const { return m_tray; }

public Q_SLOTS:
    void slotSignIn();
    void slotSignOut();
    void slotUpdateTitle();
    void slotEditProfile();
    void slotShowWindow();
    // Brings the window up on `page` and opens the conversation with `chat`;
    // empty arguments leave that part alone.
    void slotActivate(const QString &chat, const QString &page);
    void slotOpenConversation(const QString &key, bool isGroup);
    void slotQuit();
    void slotRetry();

protected:
    void closeEvent(QCloseEvent *event) override;

private Q_SLOTS:
    void slotLoadFile(QString filePath);
    void slotFilePrepare();

private:
    void buildMenus();
    void showStartState();

    KvMapCanvas *m_canvas = nullptr;
    QDockWidget *m_dock = nullptr;
    KvUserCommWidget *m_panel = nullptr;
    QLabel *m_linkLabel = nullptr;
    KvReconnectHelper *m_reconnect = nullptr;
    KvDesktopNotifier *m_notifier = nullptr;
    KvDesktopTray *m_tray = nullptr;
    QPushButton *m_retryButton = nullptr;
    StartState m_startState = StartState::Visitor;
    QString m_startUser, m_startPassword;
    bool m_quitting = false;
};

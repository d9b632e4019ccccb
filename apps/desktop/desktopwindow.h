#pragma once

#include <QMainWindow>

class KvMapCanvas;
class KvReconnectHelper;
class KvUserCommWidget;
class QDockWidget;
class QLabel;

// The host application's stand-in: a map area with the module's panel docked
// at its side, an account menu, and a status bar that shows what the module
// hands its host (files to load, file tasks, the message link).
class KvDesktopWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit KvDesktopWindow(QWidget *parent = nullptr);

    // Runs the module's start: signs in by the stored token or as a visitor.
    // Blocks until the account service answered or gave up.
    void startSession();

    KvUserCommWidget *panel() const { return m_panel; }
    QString sessionText() const;
    // notice, message, friend or team; false for another name.
    bool showPage(const QString &page);
    // Signs out on purpose: the link is not brought back meanwhile.
    void logOut();
    KvReconnectHelper *reconnectHelper() const { return m_reconnect; }

public Q_SLOTS:
    void slotSignIn();
    void slotSignOut();
    void slotUpdateTitle();
    void slotEditProfile();

private Q_SLOTS:
    void slotLoadFile(QString filePath);
    void slotFilePrepare();

private:
    void buildMenus();

    KvMapCanvas *m_canvas = nullptr;
    QDockWidget *m_dock = nullptr;
    KvUserCommWidget *m_panel = nullptr;
    QLabel *m_linkLabel = nullptr;
    KvReconnectHelper *m_reconnect = nullptr;
};

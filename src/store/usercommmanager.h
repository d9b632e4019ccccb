// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QObject>
#include <QString>

class KvDataAdapter;
class KvFriendManager;
class KvFriendMessageManager;
class KvGroupManager;
class KvUnreadMessageManager;

// Everything kept per signed-in user: one SQLite file,
// "<work folder>/UserInfo/<user>/<user>.db", and the store objects working on
// it, each with a connection of its own. A sign-in opens the file for all of
// them through signalDatebasebChanged(file); a logout closes every connection
// with signalDatebasebChanged("").
//
// The work folder is the settings value "userWorkPath", or ".KavoraPro" in the
// user's home folder. GUI thread.
class KVMESS_EXPORT KvUserCommManager : public QObject
{
    Q_OBJECT
public:
    static KvUserCommManager *instance();
    ~KvUserCommManager() override;

    // A new connection to the signed-in user's file, named after `id`; null
    // when nobody is signed in or the file cannot be opened.
    static KvDataAdapter *initDb(quint64 id);
    static void closeDb(KvDataAdapter *adapter);
    static QString userWorkPath();

    // Off by default: a received message carries no identity of its own but its
    // server id, so one that the server sends again (its "RRR" was lost with the
    // link) is stored a second time. When on, a received message whose server id
    // its conversation already holds is dropped. Any thread.
    static void setDropRedeliveredMessages(bool on);
    static bool dropsRedeliveredMessages();

    KvFriendManager *friendManager() const { return m_friendManager; }
    KvFriendMessageManager *friendMessageManager() const { return m_friendMessageManager; }
    KvGroupManager *enterpriseManager() const { return m_enterpriseManager; }
    KvUnreadMessageManager *userUnreadMessageManager() const { return m_userUnreadMessageManager; }

    // Ends the friend, message and group workers, in that order, and waits for each.
    void clearMgrThread();
    void openCustomerServiceChat();
    // At application shutdown: ends the workers and closes every connection.
    void shutdown();

Q_SIGNALS:
    void signalDatebasebChanged(QString dbName);
    void signalCommLoginStateChanged(bool state);
    void signalLaodFile(QString filePath);

private Q_SLOTS:
    void slotLoginStateChanged(bool state);

private:
    KvUserCommManager();
    void init();
    void clear();

    KvFriendManager *m_friendManager = nullptr;
    KvFriendMessageManager *m_friendMessageManager = nullptr;
    KvGroupManager *m_enterpriseManager = nullptr;
    KvUnreadMessageManager *m_userUnreadMessageManager = nullptr;
    KvDataAdapter *dataAdapter = nullptr;
};

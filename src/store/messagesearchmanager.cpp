// SPDX-License-Identifier: MIT
#include "messagesearchmanager.h"

#include "platform/mc.h"
#include "store/friendmanager.h"
#include "store/messagesearchmanagersync.h"
#include "store/usercommmanager.h"

namespace {

bool g_instanceMade = false;

const bool g_registered = [] {
    Mc::addPostRoutine(0, [] {
        if (g_instanceMade)
            KvMessageSearchManager::instance()->shutdown();
    });
    return true;
}();

} // namespace

KvMessageSearchManager *KvMessageSearchManager::instance()
{
    static KvMessageSearchManager manager;
    return &manager;
}

KvMessageSearchManager::KvMessageSearchManager()
{
    Q_UNUSED(g_registered);
    g_instanceMade = true;
    qRegisterMetaType<KvSearchResult>();
    qRegisterMetaType<QList<KvSearchResult>>();
    qRegisterMetaType<QMap<QString, QString>>();

    m_sync = new KvMessageSearchManagerSync(KvUserCommManager::instance());
    m_sync->moveToThread(&workThread);
    connect(&workThread, &QThread::finished, m_sync, &QObject::deleteLater);
    connect(this, &KvMessageSearchManager::signalSearchRequested, m_sync, &KvMessageSearchManagerSync::slotSearch);
    connect(m_sync, &KvMessageSearchManagerSync::signalResults, this, &KvMessageSearchManager::slotResults);
    workThread.start(QThread::InheritPriority);
    // Made after the sign-in, the worker has missed the file's opening.
    QMetaObject::invokeMethod(m_sync, &KvMessageSearchManagerSync::slotOpen, Qt::QueuedConnection);
}

KvMessageSearchManager::~KvMessageSearchManager()
{
    if (workThread.isRunning()) {
        workThread.quit();
        workThread.wait();
    }
}

void KvMessageSearchManager::shutdown()
{
    if (!workThread.isRunning())
        return;
    QMetaObject::invokeMethod(m_sync, &KvMessageSearchManagerSync::slotClose, Qt::BlockingQueuedConnection);
    workThread.quit();
    workThread.wait(QDeadlineTimer(QDeadlineTimer::Forever));
}

void KvMessageSearchManager::search(const QString &query, const QMap<QString, QString> &openTitles)
{
    ++m_lastId;
    m_query = query.trimmed();
    if (m_query.isEmpty())
        return;
    KvUserInfoFriend self;
    KvFriendMessageData sent;
    sent.isSend = true;
    KvUserCommManager::instance()->friendManager()->friendOfMessage(self, sent);
    emit signalSearchRequested(m_lastId, m_query, self.nickName.isEmpty() ? self.userName : self.nickName,
                               openTitles);
}

void KvMessageSearchManager::slotResults(quint64 id, QString query, QList<KvSearchResult> results)
{
    if (id != m_lastId)
        return;
    emit signalSearchFinished(query, results);
}

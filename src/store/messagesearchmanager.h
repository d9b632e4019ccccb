// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "store/searchresult.h"

#include <QMap>
#include <QObject>
#include <QThread>

class KvMessageSearchManagerSync;

// Finds conversations by name, nick name, user name or the pinyin initials of
// a Chinese name, and messages by their text or file name, in the signed-in
// user's store. The search runs on a worker thread of its own with its own
// connection; the GUI thread only posts the query and receives the results.
// GUI thread.
class KVMESS_EXPORT KvMessageSearchManager : public QObject
{
    Q_OBJECT
public:
    // Made on first use; its worker ends at application shutdown.
    static KvMessageSearchManager *instance();
    ~KvMessageSearchManager() override;

    // Starts a search and returns at once. Only the newest search is answered:
    // signalSearchFinished never carries the results of an older one. An
    // empty query answers nothing and drops whatever is still running.
    // `openTitles`: key to title of the conversations open in the chat window.
    void search(const QString &query, const QMap<QString, QString> &openTitles = {});
    // The query of the newest search; empty after an empty one.
    QString currentQuery() const { return m_query; }
    // Ends the worker and closes its connection; searches answer nothing after.
    void shutdown();

Q_SIGNALS:
    // Conversations first, by title; then messages, newest first, at most 200.
    void signalSearchFinished(QString query, QList<KvSearchResult> results);
    // To the worker; not for windows.
    void signalSearchRequested(quint64 id, QString query, QString selfName, QMap<QString, QString> openTitles);

private Q_SLOTS:
    void slotResults(quint64 id, QString query, QList<KvSearchResult> results);

private:
    KvMessageSearchManager();

    QThread workThread;
    KvMessageSearchManagerSync *m_sync = nullptr;
    quint64 m_lastId = 0;
    QString m_query;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "store/commmanagerinterface.h"
#include "store/searchresult.h"

#include <QHash>
#include <QMap>

// The worker of the local search: reads the friend, enterprise and message
// tables on a connection of its own, on KvMessageSearchManager's thread. A
// burst of requests runs once, for the newest of them.
class KvMessageSearchManagerSync : public KvCommManagerInterface
{
    Q_OBJECT
public:
    explicit KvMessageSearchManagerSync(KvUserCommManager *commManager, QObject *parent = nullptr);

    // At most this many messages, the newest, and as many conversations.
    static constexpr int maxResults = 200;

    // The pinyin initials of the Chinese characters of `name`, other letters
    // and digits kept, upper case: "张三" gives "ZS". Empty without a Chinese character.
    static QString nameInitials(const QString &name);

Q_SIGNALS:
    void signalResults(quint64 id, QString query, QList<KvSearchResult> results);

public Q_SLOTS:
    // `openTitles` maps the keys of the conversations open in the chat window
    // to their titles; `selfName` names the sender of what this side sent.
    void slotSearch(quint64 id, QString query, QString selfName, QMap<QString, QString> openTitles);
    void slotOpen();
    void slotClose();

protected Q_SLOTS:
    void slotDatebasebChanged(QString dbName) override;

private:
    struct Request
    {
        quint64 id = 0;
        QString query;
        QString selfName;
        QMap<QString, QString> openTitles;
    };
    struct Candidate
    {
        QString title;
        bool isGroup = false;
    };

    void runPending();
    QList<KvSearchResult> search(const Request &request);
    QMap<QString, Candidate> candidates(const Request &request, QHash<QString, QString> &friendNames,
                                        QStringList &tables);
    const QString &initialsOf(const QString &name);

    Request m_pending;
    bool m_scheduled = false;
    QHash<QString, QString> m_initials;
};

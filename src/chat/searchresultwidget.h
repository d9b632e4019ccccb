// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "store/searchresult.h"

#include <QListWidget>

// The results of a search in the chat window, in place of its conversation
// list: a row per conversation or message, painted by KvSearchResultDelegate,
// or the one row "无结果". A click opens the result. GUI thread.
class KVMESS_EXPORT KvSearchResultWidget : public QListWidget
{
    Q_OBJECT
public:
    // Item data roles of a row.
    enum Role {
        ResultRole = Qt::UserRole,   // the KvSearchResult
        TitleRole,                   // first line: the conversation
        TimeRole,                    // first line, right: the time text of a message
        DetailRole,                  // second line: sender and text, or the user name
        TitleMatchRole,              // QPoint(start, length) of the match in the title; x -1 for none
        DetailMatchRole,             // the same for the second line
    };

    explicit KvSearchResultWidget(QWidget *parent = nullptr);

    // Replaces the rows with `results` of `query`.
    void setResults(const QString &query, const QList<KvSearchResult> &results);

Q_SIGNALS:
    void signalResultActivated(KvSearchResult result);
};

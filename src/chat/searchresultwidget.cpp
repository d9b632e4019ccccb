// SPDX-License-Identifier: MIT
#include "searchresultwidget.h"

#include "chat/searchresultdelegate.h"
#include "store/friendmessagemanager.h"

#include <QPoint>

namespace {

// Text of at most one line, starting a little before the match so that a
// match deep in a long text stays in sight.
QString excerpt(QString text, const QString &query, int &matchStart)
{
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    matchStart = query.isEmpty() ? -1 : text.indexOf(query, 0, Qt::CaseInsensitive);
    constexpr int lead = 12;
    if (matchStart > lead) {
        text = QStringLiteral("…") + text.mid(matchStart - lead + 1);
        matchStart = lead;
    }
    return text;
}

QPoint matchIn(const QString &text, const QString &query)
{
    const int start = text.indexOf(query, 0, Qt::CaseInsensitive);
    return QPoint(start, start < 0 ? 0 : query.size());
}

} // namespace

KvSearchResultWidget::KvSearchResultWidget(QWidget *parent)
    : QListWidget(parent)
{
    setItemDelegate(new KvSearchResultDelegate(this));
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setUniformItemSizes(true);
    connect(this, &QListWidget::itemClicked, this, [this](QListWidgetItem *item) {
        const QVariant result = item->data(ResultRole);
        if (result.isValid())
            emit signalResultActivated(result.value<KvSearchResult>());
    });
}

void KvSearchResultWidget::setResults(const QString &query, const QList<KvSearchResult> &results)
{
    clear();
    if (results.isEmpty()) {
        auto *item = new QListWidgetItem(tr("无结果"), this);
        item->setFlags(Qt::NoItemFlags);
        return;
    }
    for (const KvSearchResult &result : results) {
        auto *item = new QListWidgetItem(this);
        item->setData(ResultRole, QVariant::fromValue(result));
        item->setData(TitleRole, result.title);
        item->setData(TitleMatchRole, matchIn(result.title, query));
        QString detail;
        QPoint detailMatch(-1, 0);
        if (result.kind == KvSearchResult::Message) {
            item->setData(TimeRole, KvFriendMessageManager::messageTimeText(result.time));
            QString prefix = result.sender + QStringLiteral(": ");
            if (result.type == QLatin1String("BBA"))
                prefix += tr("[文件]") + QLatin1Char(' ');
            else if (result.type == QLatin1String("BBB"))
                prefix += tr("[图片]") + QLatin1Char(' ');
            int start = -1;
            detail = prefix + excerpt(result.text, query, start);
            if (start >= 0)
                detailMatch = QPoint(prefix.size() + start, query.size());
        } else {
            detail = result.text;
            detailMatch = matchIn(detail, query);
        }
        item->setData(DetailRole, detail);
        item->setData(DetailMatchRole, detailMatch);
        item->setData(Qt::ToolTipRole, result.kind == KvSearchResult::Message ? result.text : QString());
    }
}

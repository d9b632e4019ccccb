// SPDX-License-Identifier: MIT
#include "searchresultdelegate.h"

#include "chat/searchresultwidget.h"
#include "platform/theme.h"

#include <QApplication>
#include <QPainter>

namespace {

constexpr int margin = 10;
constexpr int spacing = 4;

// One line of `text`, elided at the right, with the part `match` (start,
// length) laid on a marked background while it is still visible.
void drawLine(QPainter *painter, const QRect &rect, const QString &text, const QPoint &match, const QColor &color)
{
    const QFontMetrics metrics(painter->font());
    const QString shown = metrics.elidedText(text, Qt::ElideRight, rect.width());
    if (match.x() >= 0 && match.y() > 0) {
        const int visible = shown == text ? text.size() : shown.size() - 1;
        const int end = qMin(match.x() + match.y(), visible);
        if (match.x() < end) {
            const int left = metrics.horizontalAdvance(shown.left(match.x()));
            const int width = metrics.horizontalAdvance(shown.mid(match.x(), end - match.x()));
            QColor mark = KvTheme::color(KvTheme::Accent);
            mark.setAlpha(70);
            painter->fillRect(QRect(rect.left() + left, rect.top(), width, rect.height()), mark);
        }
    }
    painter->setPen(color);
    painter->drawText(rect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

} // namespace

void KvSearchResultDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QString empty = opt.text;
    opt.text.clear();
    const QWidget *widget = option.widget;
    QStyle *style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);

    painter->save();
    painter->setFont(option.font);
    const QRect area = option.rect.adjusted(margin, spacing, -margin, -spacing);
    if (!index.data(KvSearchResultWidget::ResultRole).isValid()) {
        painter->setPen(KvTheme::color(KvTheme::TextFaded));
        painter->drawText(area, Qt::AlignCenter, empty);
        painter->restore();
        return;
    }
    const int lineHeight = area.height() / 2;
    QRect first(area.left(), area.top(), area.width(), lineHeight);
    const QRect second(area.left(), area.top() + lineHeight, area.width(), lineHeight);

    const QString time = index.data(KvSearchResultWidget::TimeRole).toString();
    if (!time.isEmpty()) {
        painter->setPen(KvTheme::color(KvTheme::TextFaded));
        const int width = painter->fontMetrics().horizontalAdvance(time);
        painter->drawText(first, Qt::AlignRight | Qt::AlignVCenter, time);
        first.setRight(first.right() - width - margin);
    }
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    drawLine(painter, first, index.data(KvSearchResultWidget::TitleRole).toString(),
             index.data(KvSearchResultWidget::TitleMatchRole).toPoint(), KvTheme::color(KvTheme::Text));
    painter->setFont(option.font);
    drawLine(painter, second, index.data(KvSearchResultWidget::DetailRole).toString(),
             index.data(KvSearchResultWidget::DetailMatchRole).toPoint(), KvTheme::color(KvTheme::TextFaded));
    painter->restore();
}

QSize KvSearchResultDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return QSize(option.rect.width(), 2 * option.fontMetrics.height() + 2 * spacing + 6);
}

// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

// Paints a row of KvSearchResultWidget in two lines with the match marked.
// Every text is drawn as plain text: what a peer wrote never becomes markup.
class KvSearchResultDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QListWidgetItem>

// A list item that orders by one of its data roles. Modes: 1 locale-aware
// text, 2 natural text order for Chinese names, 3 signed 64-bit numbers,
// 4 reals (a NaN on either side is never less); any other mode falls back to
// QListWidgetItem's own order.
class KVMESS_EXPORT KvListWidgetSortItem : public QListWidgetItem
{
public:
    KvListWidgetSortItem(int sortMode, int sortRole, QListWidget *listview = nullptr);

    bool operator<(const QListWidgetItem &other) const override;

private:
    qint32 sortMode;
    qint32 sortRole;
};

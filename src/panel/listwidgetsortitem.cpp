// SPDX-License-Identifier: MIT
#include "listwidgetsortitem.h"

#include <QCollator>
#include <QLocale>

KvListWidgetSortItem::KvListWidgetSortItem(int sortMode, int sortRole, QListWidget *listview)
    : QListWidgetItem(listview)
    , sortMode(sortMode)
    , sortRole(sortRole)
{
}

bool KvListWidgetSortItem::operator<(const QListWidgetItem &other) const
{
    const QVariant a = data(sortRole);
    const QVariant b = other.data(sortRole);
    switch (sortMode) {
    case 1:
        return a.toString().localeAwareCompare(b.toString()) < 0;
    case 2: {
        // Built once: a sort of a thousand friends makes some ten thousand comparisons.
        static const QCollator *collator = [] {
            auto *made = new QCollator(QLocale(QLocale::Chinese, QLocale::AnyCountry));
            made->setNumericMode(true);
            made->setCaseSensitivity(Qt::CaseInsensitive);
            return made;
        }();
        return collator->compare(a.toString(), b.toString()) < 0;
    }
    case 3:
        return a.toLongLong() < b.toLongLong();
    case 4:
        return b.toReal() > a.toReal();
    default:
        return QListWidgetItem::operator<(other);
    }
}

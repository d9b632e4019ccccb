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
        QCollator collator(QLocale(QLocale::Chinese, QLocale::AnyCountry));
        collator.setNumericMode(true);
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        return collator.compare(a.toString(), b.toString()) < 0;
    }
    case 3:
        return a.toLongLong() < b.toLongLong();
    case 4:
        return b.toReal() > a.toReal();
    default:
        return QListWidgetItem::operator<(other);
    }
}

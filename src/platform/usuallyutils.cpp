// SPDX-License-Identifier: MIT
#include "usuallyutils.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QEvent>
#include <QFile>
#include <QWidget>

QString KvUsuallyUtils::calculateFileMD5(const QString &filePath)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QCryptographicHash hash(QCryptographicHash::Md5);
    // addData(QIODevice*) reads in small blocks, never the whole file.
    if (!hash.addData(&file))
        return {};
    return QString::fromLatin1(hash.result().toHex());
}

void KvUsuallyUtils::emulateLeaveEvent(QWidget *widget)
{
    if (!widget)
        return;
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(widget, &leave);
    widget->setAttribute(Qt::WA_UnderMouse, false);
    widget->update();
}

// SPDX-License-Identifier: MIT
#include "syshelper.h"

#include <QSettings>
#include <QSysInfo>
#include <QUuid>

QString KvSysHelper::kvClientUniqueId()
{
    static const QString id = [] {
        const QByteArray machineId = QSysInfo::machineUniqueId();
        if (!machineId.isEmpty())
            return QString::fromLatin1(machineId).trimmed();
        QSettings settings(QSettings::NativeFormat, QSettings::UserScope,
                           QStringLiteral("KavoraPro"), QStringLiteral("Machine"));
        QString stored = settings.value(QStringLiteral("ClientId")).toString();
        if (stored.isEmpty()) {
            stored = QUuid::createUuid().toString(QUuid::Id128);
            settings.setValue(QStringLiteral("ClientId"), stored);
        }
        return stored;
    }();
    return id;
}

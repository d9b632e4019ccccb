// SPDX-License-Identifier: MIT
#include "hostprofile.h"

#include "account/usermanager.h"

#include <QDir>
#include <QSettings>

void useHostProfile(const QString &folder)
{
    const QString absolute = QDir(folder).absolutePath();
    QDir().mkpath(absolute);
    const QString config = QDir(absolute).filePath(QStringLiteral("config"));
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, config);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config);
    const auto settings = KvUserManager::openSettings();
    if (!settings->contains(QStringLiteral("userWorkPath")))
        settings->setValue(QStringLiteral("userWorkPath"), QDir(absolute).filePath(QStringLiteral("work")));
}

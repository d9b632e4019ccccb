// SPDX-License-Identifier: MIT
#include "privatefiles_p.h"

#include <QFile>
#include <QFileInfo>

void KvPrivateFiles::restrictFolder(const QString &path)
{
#ifdef Q_OS_WIN
    Q_UNUSED(path)
#else
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
#endif
}

void KvPrivateFiles::restrictFile(const QString &path)
{
#ifdef Q_OS_WIN
    Q_UNUSED(path)
#else
    if (QFileInfo::exists(path))
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
#endif
}

void KvPrivateFiles::createFile(const QString &path)
{
#ifdef Q_OS_WIN
    Q_UNUSED(path)
#else
    if (!QFileInfo::exists(path)) {
        QFile file(path);
        // Empty while its mode is not yet narrowed.
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        return;
    }
    restrictFile(path);
#endif
}

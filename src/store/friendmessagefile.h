// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QString>

// The file part of a message record, one row of FileTable.
class KVMESS_EXPORT KvFriendMessageFile
{
public:
    QString messageLocalId;
    QString fileName;
    QString filePath;
    QString fileMD5;
    qint64 fileSize = 0;
    QString downloadSrc;
};

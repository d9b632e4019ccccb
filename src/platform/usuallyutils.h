// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QString>

class QWidget;

class KVPLATFORM_EXPORT KvUsuallyUtils
{
public:
    // Lower-case hex MD5 of a file, read in blocks so that memory stays
    // constant for any size. Empty when the file cannot be read.
    static QString calculateFileMD5(const QString &filePath);

    // Makes a widget drop its hover look as if the mouse had left it.
    static void emulateLeaveEvent(QWidget *widget);
};

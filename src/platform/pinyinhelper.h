// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QString>

class KVPLATFORM_EXPORT KvPinYinHelper
{
public:
    // One upper-case sort initial for any text: the pinyin initial of a leading
    // Chinese character, the letter itself (upper-cased) for a leading Latin
    // letter, and "#" for anything else, empty text included. Leading blanks
    // are skipped.
    static QString getChineseFirst(const QString &text);
};

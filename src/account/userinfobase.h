// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QPixmap>
#include <QString>

// The profile everybody has. Values are copied freely, also across threads.
class KVMESS_EXPORT KvUserInfoBase
{
public:
    QString userName;
    QString phone;
    QPixmap headPortrait;
    QString nickName;
    // Deliberately without a default: every value shown has been parsed, and parsing writes it.
    qint32 sex;
    QString hometown;
    QString location;
    QString signature;

    // Pixmaps compare by cacheKey(), so a portrait loaded again counts as a change.
    bool operator==(const KvUserInfoBase &other) const;
    bool operator!=(const KvUserInfoBase &other) const { return !(*this == other); }
};

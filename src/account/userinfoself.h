// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfobase.h"

#include <QDateTime>

class KVMESS_EXPORT KvUserInfoSelf : public KvUserInfoBase
{
public:
    bool member = false;
    // Read only while `member` is set; otherwise it keeps what it had.
    QDateTime memberTime;
};

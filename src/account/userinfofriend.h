// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfobase.h"

#include <QList>
#include <QMetaType>

class KVMESS_EXPORT KvUserInfoFriend : public KvUserInfoBase
{
};

Q_DECLARE_METATYPE(KvUserInfoFriend)

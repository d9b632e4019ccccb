// SPDX-License-Identifier: MIT
#include "userinfobase.h"

bool KvUserInfoBase::operator==(const KvUserInfoBase &other) const
{
    return userName == other.userName && phone == other.phone
        && headPortrait.cacheKey() == other.headPortrait.cacheKey() && nickName == other.nickName
        && sex == other.sex && hometown == other.hometown && location == other.location
        && signature == other.signature;
}

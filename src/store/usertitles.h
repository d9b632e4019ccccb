// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfofriend.h"
#include "kvmess_export.h"

#include <QPixmap>
#include <QString>

// How a user name becomes a title and a picture in the windows. GUI thread:
// these read the friend and group stores on their own connections.

// An agent's name and picture from the cache of agents. A miss asks the server
// for the profile and answers false; the answer arrives later by
// KvUserToCustomerServiceManager::signalFriendToCustomerService. Two misses in
// a row send two requests.
KVMESS_EXPORT bool agentInfo(const QString &userName, QString &name, QPixmap &portrait);
// The nick name, or the user name when that is empty.
KVMESS_EXPORT QString displayName(const KvUserInfoFriend &info);
// "系统消息" for the system account, a stored friend's display name, else empty.
KVMESS_EXPORT QString conversationTitle(const QString &userName);
// As conversationTitle with the picture, and for anyone else what the
// enterprises know; `name` and `portrait` stay untouched when nobody matches.
KVMESS_EXPORT void userNameAndPortrait(const QString &userName, QString &name, QPixmap &portrait);

// SPDX-License-Identifier: MIT
#include "wsmessagecontent.h"

KvWSMessageContent::~KvWSMessageContent() = default;

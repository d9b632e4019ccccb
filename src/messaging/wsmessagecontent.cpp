#include "wsmessagecontent.h"

KvWSMessageContent::~KvWSMessageContent() = default;

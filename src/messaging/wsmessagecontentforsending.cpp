#include "wsmessagecontentforsending.h"

void KvWSMessageContentForSending::parseJsonValue(const QJsonValue &)
{
}

#include "windowlinks_p.h"

namespace KvWindowLinks {

void closeChat()
{
}

void createChat(const QString &, QWidget *, bool)
{
}

QString currentChatUser()
{
    return {};
}

QWidget *mainWidget()
{
    return nullptr;
}

} // namespace KvWindowLinks

#include "windowlinks_p.h"

#include "panel/usercommwidget.h"

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
    return KvUserCommWidget::mainWidow();
}

void openAllUnreadMessage()
{
}

} // namespace KvWindowLinks

// SPDX-License-Identifier: MIT
#include "windowlinks_p.h"

#include "chat/chatdialog.h"
#include "panel/usercommwidget.h"

namespace KvWindowLinks {

void closeChat()
{
    KvChatDialog::clostChat();
}

void createChat(const QString &userName, QWidget *parent, bool flag)
{
    KvChatDialog::createChat(userName, parent, flag);
}

QString currentChatUser()
{
    return KvChatDialog::currentChatUser();
}

QWidget *mainWidget()
{
    return KvUserCommWidget::mainWidow();
}

void openAllUnreadMessage()
{
    KvChatDialog::openAllUnreadMessage();
}

} // namespace KvWindowLinks

// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QWidget;

// The few calls the store and the panel make up into the chat window. Until
// the chat window exists they do nothing and the current chat is nobody.
namespace KvWindowLinks {

void closeChat();
void createChat(const QString &userName, QWidget *parent, bool flag);
QString currentChatUser();
QWidget *mainWidget();
void openAllUnreadMessage();

} // namespace KvWindowLinks

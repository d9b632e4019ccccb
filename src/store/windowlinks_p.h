#pragma once

#include <QString>

class QWidget;

// The few calls the store makes up into the windows. Until the windows
// exist they do nothing and the current chat is nobody.
namespace KvWindowLinks {

void closeChat();
void createChat(const QString &userName, QWidget *parent, bool flag);
QString currentChatUser();
QWidget *mainWidget();

} // namespace KvWindowLinks

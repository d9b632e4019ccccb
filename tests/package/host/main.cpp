// SPDX-License-Identifier: MIT
// Names only classes of libKvMess: libKvPlatform, which they rest on, must be
// found from the installed libKvMess itself.
#include <account/loginuser.h>
#include <messaging/wsmessage.h>

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    KvLoginUser user;
    user.username = QStringLiteral("host");
    KvLoginUser back;
    const bool snapshotWorks = back.deserialize(user.serialize(QString())) && back.username == user.username;
    const KvWSMessagePtr message = KvWSMessage::create({}, false);
    const bool messageWorks = message && message->sid().size() == 32;
    std::printf("host: snapshot %s, message %s\n", snapshotWorks ? "works" : "broken", messageWorks ? "works" : "broken");
    return snapshotWorks && messageWorks ? 0 : 1;
}

#include <account/loginuser.h>
#include <messaging/wsmessage.h>
#include <platform/encrypter.h>
#include <platform/mc.h>
#include <platform/mceventdispatcher.h>

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    bool heard = false;
    QObject receiver;
    Mc::eventDispatcher()->connectToEventImpl(QStringLiteral("host.ping"), &receiver,
                                              McSlotObjectWrapper::fromFunctor<>([&heard] { heard = true; }));
    Mc::eventDispatcher()->submitEvent_helper(QStringLiteral("host.ping"));
    const bool cipherWorks = KvEncrypter::decrypt(KvEncrypter::encrypt("host", false), false) == "host";
    KvLoginUser user;
    user.username = QStringLiteral("host");
    KvLoginUser back;
    const bool snapshotWorks = back.deserialize(user.serialize(QString())) && back.username == user.username;
    const KvWSMessagePtr message = KvWSMessage::create({}, false);
    const bool messageWorks = message && message->sid().size() == 32;
    std::printf("host: event %s, cipher %s, snapshot %s, message %s\n", heard ? "heard" : "lost",
                cipherWorks ? "works" : "broken", snapshotWorks ? "works" : "broken", messageWorks ? "works" : "broken");
    return heard && cipherWorks && snapshotWorks && messageWorks ? 0 : 1;
}

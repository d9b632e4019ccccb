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
    std::printf("host: event %s, cipher %s\n", heard ? "heard" : "lost", cipherWorks ? "works" : "broken");
    return heard && cipherWorks ? 0 : 1;
}

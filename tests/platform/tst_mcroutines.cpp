// SPDX-License-Identifier: MIT
#include "platform/mc.h"

#include <QCoreApplication>
#include <QtTest>

#include <cstdio>

// Routines are added from static initialisers, as a library does at load.
namespace {

QStringList &log()
{
    static QStringList entries;
    return entries;
}

struct AtLoad
{
    AtLoad()
    {
        Mc::addPreRoutine(2, [] { log() << QStringLiteral("pre 2"); });
        Mc::addPreRoutine(0, [] {
            log() << (QCoreApplication::instance() ? QStringLiteral("pre 0a") : QStringLiteral("pre 0a early"));
        });
        Mc::addPreRoutine(1, [] { log() << QStringLiteral("pre 1"); });
        Mc::addPreRoutine(0, [] { log() << QStringLiteral("pre 0b"); });
        Mc::addPostRoutine(1, [] { log() << QStringLiteral("post 1"); });
        Mc::addPostRoutine(0, [] { log() << QStringLiteral("post 0a"); });
        Mc::addPostRoutine(0, [] { log() << QStringLiteral("post 0b"); });
    }
} atLoad;


} // namespace

class TestMcRoutines : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void preRoutinesRanWithTheApplicationInPriorityOrder()
    {
        QCOMPARE(log(), (QStringList{"pre 0a", "pre 0b", "pre 1", "pre 2"}));
    }

    void lateRoutineRunsAtOnce()
    {
        bool ran = false;
        Mc::addPreRoutine(5, [&ran] { ran = true; });
        QVERIFY(ran);
    }
};

int main(int argc, char **argv)
{
    int result = 0;
    {
        QCoreApplication app(argc, argv);
        TestMcRoutines test;
        result = QTest::qExec(&test, argc, argv);
        if (log().contains(QStringLiteral("post 0a")))
            return 1;
    }
    const QStringList tail = log().mid(log().size() - 3);
    if (tail != QStringList{"post 0b", "post 0a", "post 1"}) {
        std::fprintf(stderr, "post routines did not run at shutdown: %s\n", qPrintable(log().join(", ")));
        return 1;
    }
    return result;
}

#include "tst_mcroutines.moc"

// SPDX-License-Identifier: MIT
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"

#include <QThread>
#include <QtConcurrent>
#include <QtTest>

class Receiver : public QObject
{
    Q_OBJECT
public:
    QStringList ids;
    QList<double> progress;
    QList<QThread *> threads;
    int *deliveries = nullptr;

    void slotProgress(const QString &id, double value)
    {
        ids << id;
        progress << value;
        threads << QThread::currentThread();
        if (deliveries)
            ++*deliveries;
    }
};

class TestMcEventDispatcher : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void namesAreKeptApart();
    void queuedFromAPoolThreadToAWorkerInOrder();
    void notDeliveredToADestroyedReceiver();
    void argumentsMustFitTheDeclaredTypes_data();
    void argumentsMustFitTheDeclaredTypes();
    void functorSubscription();
};

void TestMcEventDispatcher::namesAreKeptApart()
{
    Receiver receiver;
    Mc::eventDispatcher()->connectToEventImpl("a", &receiver, McSlotObjectWrapper(&Receiver::slotProgress));
    Mc::eventDispatcher()->submitEvent_helper("b", {QStringLiteral("x"), 1.0});
    Mc::eventDispatcher()->submitEvent_helper("A", {QStringLiteral("x"), 1.0});
    QVERIFY(receiver.ids.isEmpty());
}

void TestMcEventDispatcher::queuedFromAPoolThreadToAWorkerInOrder()
{
    QThread worker;
    worker.start();
    auto *receiver = new Receiver;
    receiver->moveToThread(&worker);
    Mc::eventDispatcher()->connectToEventImpl("ordered", receiver, McSlotObjectWrapper(&Receiver::slotProgress));
    const int count = 2000;
    QtConcurrent::run([] {
        for (int i = 0; i < count; ++i)
            Mc::eventDispatcher()->submitEvent_helper("ordered", {QString::number(i), double(i)});
    }).waitForFinished();
    // Read the result on the worker, behind every queued event.
    QStringList ids;
    QList<QThread *> threads;
    QMetaObject::invokeMethod(receiver, [&] { ids = receiver->ids; threads = receiver->threads; },
                              Qt::BlockingQueuedConnection);
    QCOMPARE(ids.size(), count);
    for (int i = 0; i < count; ++i)
        QCOMPARE(ids.at(i), QString::number(i));
    QVERIFY(std::all_of(threads.cbegin(), threads.cend(), [&](QThread *t) { return t == &worker; }));
    receiver->deleteLater();
    worker.quit();
    worker.wait();
}

void TestMcEventDispatcher::notDeliveredToADestroyedReceiver()
{
    int deliveries = 0;
    auto *queued = new Receiver;
    queued->deliveries = &deliveries;
    Mc::eventDispatcher()->connectToEventImpl("gone", queued, McSlotObjectWrapper(&Receiver::slotProgress),
                                              Qt::QueuedConnection);
    Mc::eventDispatcher()->submitEvent_helper("gone", {QStringLiteral("x"), 1.0});
    delete queued; // its queued event is still pending
    auto *direct = new Receiver;
    direct->deliveries = &deliveries;
    Mc::eventDispatcher()->connectToEventImpl("gone", direct, McSlotObjectWrapper(&Receiver::slotProgress));
    delete direct;
    Mc::eventDispatcher()->submitEvent_helper("gone", {QStringLiteral("y"), 1.0});
    QCoreApplication::processEvents();
    QCOMPARE(deliveries, 0);
}

void TestMcEventDispatcher::argumentsMustFitTheDeclaredTypes_data()
{
    QTest::addColumn<QVariantList>("args");
    QTest::addColumn<bool>("delivered");
    QTest::newRow("exact") << QVariantList{QStringLiteral("id"), 0.25} << true;
    QTest::newRow("int converts to double") << QVariantList{QStringLiteral("id"), 1} << true;
    QTest::newRow("extra argument ignored") << QVariantList{QStringLiteral("id"), 0.5, true} << true;
    QTest::newRow("too few") << QVariantList{QStringLiteral("id")} << false;
    QTest::newRow("no conversion") << QVariantList{QStringLiteral("id"), QVariant::fromValue(QPoint(1, 2))} << false;
}

void TestMcEventDispatcher::argumentsMustFitTheDeclaredTypes()
{
    QFETCH(QVariantList, args);
    QFETCH(bool, delivered);
    Receiver receiver;
    Mc::eventDispatcher()->connectToEventImpl("typed", &receiver, McSlotObjectWrapper(&Receiver::slotProgress));
    if (!delivered)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("event dropped"));
    Mc::eventDispatcher()->submitEvent_helper("typed", args);
    // On the receiver's own thread delivery is synchronous.
    QCOMPARE(receiver.ids, delivered ? QStringList{"id"} : QStringList());
    if (delivered)
        QCOMPARE(receiver.progress.first(), args.at(1).toDouble());
}

void TestMcEventDispatcher::functorSubscription()
{
    QObject context;
    QStringList seen;
    Mc::eventDispatcher()->connectToEventImpl(
        "user.openCustomerServiceChat", &context,
        McSlotObjectWrapper::fromFunctor<>([&seen] { seen << QStringLiteral("open"); }));
    Mc::eventDispatcher()->submitEvent_helper("user.openCustomerServiceChat");
    QCOMPARE(seen, QStringList{"open"});
}

QTEST_GUILESS_MAIN(TestMcEventDispatcher)
#include "tst_mceventdispatcher.moc"

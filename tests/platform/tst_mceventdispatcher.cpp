#include "platform/mc.h"
#include "platform/mceventdispatcher.h"

#include <QPointer>
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
    void directDeliveryIsSynchronous();
    void namesAreKeptApart();
    void queuedToAnotherThreadInOrder();
    void fromAPoolThreadInOrder();
    void notDeliveredToADestroyedReceiver();
    void argumentsMustFitTheDeclaredTypes_data();
    void argumentsMustFitTheDeclaredTypes();
    void functorSubscription();
};

void TestMcEventDispatcher::directDeliveryIsSynchronous()
{
    Receiver receiver;
    McEventDispatcher *dispatcher = Mc::eventDispatcher();
    dispatcher->connectToEventImpl("file.send.upload", &receiver, McSlotObjectWrapper(&Receiver::slotProgress),
                                   Qt::AutoConnection);
    dispatcher->submitEvent_helper("file.send.upload", {QStringLiteral("m1"), 0.5});
    QCOMPARE(receiver.ids, QStringList{"m1"});
    QCOMPARE(receiver.progress, QList<double>{0.5});
}

void TestMcEventDispatcher::namesAreKeptApart()
{
    Receiver receiver;
    Mc::eventDispatcher()->connectToEventImpl("a", &receiver, McSlotObjectWrapper(&Receiver::slotProgress));
    Mc::eventDispatcher()->submitEvent_helper("b", {QStringLiteral("x"), 1.0});
    Mc::eventDispatcher()->submitEvent_helper("A", {QStringLiteral("x"), 1.0});
    QVERIFY(receiver.ids.isEmpty());
}

void TestMcEventDispatcher::queuedToAnotherThreadInOrder()
{
    QThread worker;
    worker.start();
    auto *receiver = new Receiver;
    receiver->moveToThread(&worker);
    Mc::eventDispatcher()->connectToEventImpl("ordered", receiver, McSlotObjectWrapper(&Receiver::slotProgress),
                                              Qt::AutoConnection);
    const int count = 2000;
    for (int i = 0; i < count; ++i)
        Mc::eventDispatcher()->submitEvent_helper("ordered", {QString::number(i), double(i)});
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

void TestMcEventDispatcher::fromAPoolThreadInOrder()
{
    Receiver receiver;
    Mc::eventDispatcher()->connectToEventImpl("pool", &receiver, McSlotObjectWrapper(&Receiver::slotProgress),
                                              Qt::QueuedConnection);
    QtConcurrent::run([] {
        for (int i = 1; i <= 100; ++i)
            Mc::eventDispatcher()->submitEvent_helper("pool", {QStringLiteral("file"), i / 100.0});
    }).waitForFinished();
    QVERIFY(receiver.progress.isEmpty());
    QTRY_COMPARE(receiver.progress.size(), 100);
    for (int i = 1; i <= 100; ++i)
        QCOMPARE(receiver.progress.at(i - 1), i / 100.0);
    QCOMPARE(receiver.threads.first(), QThread::currentThread());
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
    QTest::newRow("none") << QVariantList{} << false;
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
    QCOMPARE(receiver.ids.size(), delivered ? 1 : 0);
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

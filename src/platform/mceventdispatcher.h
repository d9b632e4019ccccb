// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"
#include "mcslotobjectwrapper.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVariant>

// Named publish and subscribe.
//
// Delivery rides on Qt's own connections, so the connection type means what
// it means for a signal emitted on the submitting thread: AutoConnection calls
// a receiver of the same thread at once and queues to any other; queued events
// reach each receiver in submission order; a receiver that has been destroyed
// gets nothing. Submitting and subscribing are safe from any thread.
class KVPLATFORM_EXPORT McEventDispatcher : public QObject
{
    Q_OBJECT
public:
    explicit McEventDispatcher(QObject *parent = nullptr);

    void submitEvent_helper(const QString &name, const QList<QVariant> &args = {});

    // Subscribes `receiver` to `name` until the receiver is destroyed.
    QMetaObject::Connection connectToEventImpl(const QString &name, QObject *receiver,
                                               const McSlotObjectWrapper &slot,
                                               Qt::ConnectionType type = Qt::AutoConnection);

Q_SIGNALS:
    void signalEvent(const QString &name, const QList<QVariant> &args);
};

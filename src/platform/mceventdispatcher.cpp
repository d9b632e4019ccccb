// SPDX-License-Identifier: MIT
#include "mceventdispatcher.h"

McEventDispatcher::McEventDispatcher(QObject *parent)
    : QObject(parent)
{
    qRegisterMetaType<QList<QVariant>>("QList<QVariant>");
}

void McEventDispatcher::submitEvent_helper(const QString &name, const QList<QVariant> &args)
{
    emit signalEvent(name, args);
}

QMetaObject::Connection McEventDispatcher::connectToEventImpl(const QString &name, QObject *receiver,
                                                              const McSlotObjectWrapper &slot,
                                                              Qt::ConnectionType type)
{
    if (!receiver)
        return {};
    // One signal carries every event; each subscription keeps its own name.
    return connect(this, &McEventDispatcher::signalEvent, receiver,
                   [name, receiver, slot](const QString &eventName, const QList<QVariant> &args) {
                       if (eventName == name)
                           slot.call(receiver, args);
                   },
                   type);
}

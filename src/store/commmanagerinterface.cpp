// SPDX-License-Identifier: MIT
#include "commmanagerinterface.h"

#include "store/usercommmanager.h"

KvCommManagerInterface::KvCommManagerInterface(KvUserCommManager *commManager, QObject *parent)
    : QObject(parent)
{
    connect(commManager, &KvUserCommManager::signalDatebasebChanged, this,
            &KvCommManagerInterface::slotDatebasebChanged);
}

KvCommManagerInterface::~KvCommManagerInterface()
{
    KvUserCommManager::closeDb(dataAdapter);
}

void KvCommManagerInterface::slotDatebasebChanged(QString dbName)
{
    if (dbName.isEmpty()) {
        KvUserCommManager::closeDb(dataAdapter);
        dataAdapter = nullptr;
    } else {
        dataAdapter = KvUserCommManager::initDb(quint64(quintptr(this)));
    }
}

// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QObject>
#include <QString>

class KvDataAdapter;
class KvUserCommManager;

// Base of every store object: a database connection of its own, opened and
// closed as the signed-in user changes, on the thread the object lives on.
class KVMESS_EXPORT KvCommManagerInterface : public QObject
{
    Q_OBJECT
public:
    KvCommManagerInterface(KvUserCommManager *commManager, QObject *parent = nullptr);
    ~KvCommManagerInterface() override;

    QString lastErrorText() const { return lastError; }

protected Q_SLOTS:
    // An empty name closes the connection; any other opens the signed-in user's file.
    virtual void slotDatebasebChanged(QString dbName);

protected:
    KvDataAdapter *dataAdapter = nullptr;
    // The text of the last failed statement; overwritten, never cleared.
    QString lastError;
};

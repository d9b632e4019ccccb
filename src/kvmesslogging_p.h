// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>

// One category per subsystem, so that a host can filter what the module logs.
Q_DECLARE_LOGGING_CATEGORY(kvMessaging)
Q_DECLARE_LOGGING_CATEGORY(kvAccount)
Q_DECLARE_LOGGING_CATEGORY(kvStore)
Q_DECLARE_LOGGING_CATEGORY(kvTransfer)
Q_DECLARE_LOGGING_CATEGORY(kvUi)

// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

// Runs the console host `program` in the profile folder `profile`, signed in
// as `user` (password kv123456), then `commands`, one command line each. This
// process's event loop runs meanwhile, for the hosts it holds. Returns the
// JSON lines the host wrote; `ok`, when given, tells whether it exited with 0.
QList<QJsonObject> runConsoleHost(const QString &program, const QString &profile, const QString &user,
                                  const QStringList &commands, bool *ok = nullptr);

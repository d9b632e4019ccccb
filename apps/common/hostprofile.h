// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// A profile folder is a user of its own for a host: persisted login, server
// settings and the work folder. Two hosts with two profiles run side by side.
void useHostProfile(const QString &folder);

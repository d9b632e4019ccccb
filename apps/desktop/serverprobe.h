// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// Tells "the server cannot be reached" from "the server said no": the module
// answers both with a false sign-in.
class KvServerProbe
{
public:
    // True when anything at `url` answers HTTP, whatever the status. Blocks
    // with a local event loop for at most `timeoutMs`.
    static bool answers(const QString &url, int timeoutMs = 3000);
    // The account service the module signs in with.
    static QString accountServiceUrl();
};

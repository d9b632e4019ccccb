// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// One user's messages, received files and persisted login are kept from the
// machine's other accounts: folders rwx for the owner only, files rw. Where
// nothing lies is changed. On Windows these do nothing: the profile's own
// access rules apply there.
class KvPrivateFiles
{
public:
    static void restrictFolder(const QString &path);
    // An existing file; a missing one is left missing.
    static void restrictFile(const QString &path);
    // Makes the file empty and private before anyone writes to it, or
    // restricts the one that exists. No folder is made: in a missing one
    // nothing is created, and whoever opens the file next fails as before.
    static void createFile(const QString &path);
};

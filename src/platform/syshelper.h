// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QString>

class KVPLATFORM_EXPORT KvSysHelper
{
public:
    // The machine's identity: the system's machine id as hex text. Where the
    // system has none, a random id made once and kept in the settings store
    // ("KavoraPro/Machine", "ClientId"). Stable across runs and never empty.
    static QString kvClientUniqueId();
};

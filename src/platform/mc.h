// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <functional>

class McEventDispatcher;

// Load and shutdown routines, and the process-wide named-event dispatcher.
//
// Routines are meant to be handed over from static initialisers when a library
// is loaded.
// - Pre routines run once the application object exists: at its construction,
//   or at once when it exists already.
// - Post routines run once, while the application object is being destroyed,
//   before the process destroys its static objects.
// Both kinds run in ascending priority (0 before 1 before 2...). Pre routines of
// equal priority run in the order they were added; post routines of equal
// priority in the reverse order, so that what was set up last is torn down first.
namespace Mc {

using Routine = std::function<void()>;

KVPLATFORM_EXPORT void addPreRoutine(int priority, const Routine &routine);
KVPLATFORM_EXPORT void addPostRoutine(int priority, const Routine &routine);

KVPLATFORM_EXPORT McEventDispatcher *eventDispatcher();

} // namespace Mc

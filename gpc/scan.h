// What the compiler learns about the whole source before it generates code: top-level items, signatures,
// combos; then, body by body, locals and switches. The scan forgives: what it cannot read, the pass that
// compiles the place reports.
#pragma once

#include "gpc/compiler_state.h"

namespace Vantor::gpc {

/// Fills items, functions and combos; false for what no pass would report.
bool scanTopLevel(CompilerState& state);

/// Records and allocates the locals of one body, places its strings, and records its switches.
bool scanBody(CompilerState& state, const TopLevelItem& item);

/// Allocates static locals, combo states, wait tables and jump tables.
bool allocatePersistent(CompilerState& state);

} // namespace Vantor::gpc

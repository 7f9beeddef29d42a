// Declarations: the global pass, and the local declarations inside bodies.
#pragma once

#include "gpc/compiler_state.h"

namespace Vantor::gpc {

/// Walks the top level once: allocates every variable, fills the data image, generates no code.
bool declareGlobals(CompilerState& state);

/// Lays the initial values of storage into the image; state.startCopies says what the init section copies.
void placeInitialValues(CompilerState& state);

/// The local declaration at the current token, with its initialisers and its ';'.
bool compileLocalDeclaration(CompilerState& state);

/// Whether the current token begins a local declaration.
bool atLocalDeclaration(const CompilerState& state);

} // namespace Vantor::gpc

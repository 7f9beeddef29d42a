// Declarations: the global pass, and the local declarations inside bodies.
#pragma once

#include "gpc/compiler_state.h"

namespace Vantor::gpc {

/// Walks the top level once: allocates every variable, fills the data image, generates no code.
bool declareGlobals(CompilerState& state);

/// Lays the initial values of storage into the image; returns what the init section has to copy.
struct StorageCopy {
    std::uint32_t imageAddress = 0;
    std::uint16_t operand = 0;
    std::uint32_t size = 0;
};
std::vector<StorageCopy> placeInitialValues(CompilerState& state);

/// The local declaration at the current token, with its initialisers and its ';'.
bool compileLocalDeclaration(CompilerState& state);

/// Whether the current token begins a local declaration.
bool atLocalDeclaration(const CompilerState& state);

} // namespace Vantor::gpc

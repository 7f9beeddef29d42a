// Statements and bodies: what init, main, combos and functions are made of.
#pragma once

#include "gpc/compiler_state.h"

#include <string_view>

namespace Vantor::gpc {

/// One statement at the current token.
bool compileStatement(CompilerState& state);
/// Statements up to the matching '}', which it takes. The '{' is behind.
bool compileBlockStatements(CompilerState& state, std::string_view closeMessage);

bool compileSwitch(CompilerState& state);
bool compileCase(CompilerState& state);
bool compileDefault(CompilerState& state);
bool compileWait(CompilerState& state);
bool compileComboCall(CompilerState& state);

/// The condition of an if or a loop: on the stack afterwards.
bool compileCondition(CompilerState& state);

/// The body of init or main.
bool compileTopBlock(CompilerState& state, const TopLevelItem& item, BodyKind kind);
bool compileCombo(CompilerState& state, const TopLevelItem& item);
bool compileFunction(CompilerState& state, const TopLevelItem& item);

/// Every label that was used must have been defined by the end of its body. Forgets the labels.
bool finishLabels(CompilerState& state);

} // namespace Vantor::gpc

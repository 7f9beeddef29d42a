// String literals: from tokens to bytes to addresses in the data image. Adjacent literals are one string.
#pragma once

#include "gpc/compiler_state.h"

#include <optional>
#include <string>

namespace Vantor::gpc {

/// The bytes of the literals that begin at a token, without the closing zero; nullopt for an escape that does
/// not exist. `end` becomes the token behind them.
std::optional<std::string> stringContent(const CompilerState& state, std::uint32_t token, std::uint32_t& end);

/// Gives the string at a token its place in the image, unless it has one. Later passes find it there.
void placeString(CompilerState& state, std::uint32_t token);

/// The image address of the string at the current token, moving behind it.
bool takeString(CompilerState& state, std::uint32_t& address);

} // namespace Vantor::gpc

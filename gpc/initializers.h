// Initial values: constant expressions, converted to the destination's type and checked against it. Shared by
// globals, const and static locals, and local arrays, which differ only in what they call a fault.
#pragma once

#include "gpc/compiler_state.h"
#include "gpc/expression.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace Vantor::gpc {

/// How the faults of one kind of declaration are called.
struct InitializerMessages {
    std::string_view constant;     ///< a scalar that is no constant
    std::string_view element;      ///< an element that is no constant
    std::string_view fraction;     ///< a fraction for an integer
    std::string_view range;        ///< a number that does not fit
    std::string_view mismatch;     ///< another class of type
    std::string_view open;         ///< no '{' or '('
    std::string_view close;        ///< neither ',' nor the closing delimiter
    std::string_view unterminated; ///< the declaration ends inside the values
    std::string_view excess;       ///< more values than the declared length
};

/// The bits that a variable of the type holds for a constant; false with a message at `token`.
bool convertInitializer(CompilerState& state, const Operand& value, Type type, std::uint32_t token,
                        const InitializerMessages& messages, std::uint32_t& bits);

/// The constant at the current token.
bool readScalarInitializer(CompilerState& state, Type type, const InitializerMessages& messages,
                           std::uint32_t& bits);

/// The values at the current token, in braces or parentheses, or a string for 8-bit elements. `limit` is the
/// declared length, 0 when the values decide it.
bool readArrayInitializer(CompilerState& state, Type element, std::uint32_t limit,
                          const InitializerMessages& messages, std::vector<std::uint32_t>& values);

/// Big-endian bytes of `count` elements, zeros behind the values.
std::vector<std::uint8_t> encodeValues(const std::vector<std::uint32_t>& values, std::uint32_t count,
                                       std::uint32_t width);

/// Tells whether two readings of an initialiser gave the same bytes.
std::uint32_t hashOfBytes(const std::vector<std::uint8_t>& bytes);

/// An array length at the current token, in front of the ']'.
bool readArrayLength(CompilerState& state, std::string_view message, std::uint32_t& length);

} // namespace Vantor::gpc

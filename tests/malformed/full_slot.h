// A script whose bytecode fills a memory slot to its last byte and uses most of what bytecode can express.
// Entry point: fullSlotBytecode().

#pragma once

#include <cstdint>
#include <vector>

namespace Vantor::test {

/// 8192 bytes, or fewer when the script cannot be made to fit any more.
std::vector<std::uint8_t> fullSlotBytecode();

} // namespace Vantor::test

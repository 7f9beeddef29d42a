// Errors and storage.

#include "gpc/compiler_state.h"

namespace Vantor::gpc {

namespace {

constexpr std::uint64_t kMaxStorage = 65532;
/// Offsets below the frame pointer that still have the operand's top bit set.
constexpr std::uint64_t kMaxFrame = 0x8000;

constexpr std::uint64_t roundUp(std::uint64_t value, std::uint64_t step) {
    return (value + step - 1) / step * step;
}

} // namespace

bool CompilerState::fail(std::uint32_t tokenIndex, std::string_view message, std::string_view detail) {
    if (quiet == 0 && !error) {
        error = CompileError{tokenIndex, std::string(message)};
        error->message += detail;
    }
    return false;
}

bool CompilerState::named(bool good, std::string_view step) {
    if (!good && !error) {
        fail(at, "internal compiler error: ", step);
        error->message += " failed without a diagnostic";
    }
    return good;
}

bool CompilerState::allocateStorage(std::uint32_t index, std::uint32_t tokenIndex, std::string_view message) {
    Variable& variable = variables[index];
    // A combo's state slot is the one variable that is aligned to less than its width.
    const std::uint64_t step = variable.storage == StorageClass::ComboState ? 2 : variable.type.width();
    const std::uint64_t used = roundUp(storageUsed, step) + variable.byteSize();
    if (used > kMaxStorage)
        return fail(tokenIndex, message);
    storageUsed = static_cast<std::uint32_t>(used);
    variable.address = static_cast<std::uint16_t>(0U - storageUsed);
    return true;
}

bool CompilerState::allocateFrame(Function& owner, std::uint32_t index, std::uint32_t tokenIndex) {
    Variable& variable = variables[index];
    const std::uint64_t used = roundUp(owner.frameSize, variable.type.width()) + variable.byteSize();
    if (used > kMaxFrame)
        return fail(tokenIndex, "function frame exceeds the GPC2 call limit");
    owner.frameSize = static_cast<std::uint32_t>(used);
    variable.address = static_cast<std::uint16_t>(0U - owner.frameSize);
    return true;
}

std::uint32_t CompilerState::addVariable(const Variable& variable) {
    variables.push_back(variable);
    return static_cast<std::uint32_t>(variables.size() - 1);
}

} // namespace Vantor::gpc

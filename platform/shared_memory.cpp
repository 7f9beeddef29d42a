// The part of SharedMemory that is the same on every system.

#include "platform/shared_memory.h"

#include <utility>

namespace Vantor::platform {

SharedMemory::SharedMemory(SharedMemory&& other) noexcept
    : address(std::exchange(other.address, nullptr)),
      length(std::exchange(other.length, 0)),
      mappingHandle(std::exchange(other.mappingHandle, nullptr)),
      errorText(std::move(other.errorText)) {}

SharedMemory& SharedMemory::operator=(SharedMemory&& other) noexcept {
    if (this != &other) {
        close();
        address = std::exchange(other.address, nullptr);
        length = std::exchange(other.length, 0);
        mappingHandle = std::exchange(other.mappingHandle, nullptr);
        errorText = std::move(other.errorText);
    }
    return *this;
}

SharedMemory::~SharedMemory() {
    close();
}

} // namespace Vantor::platform

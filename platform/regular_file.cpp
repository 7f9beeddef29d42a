// What an open file owns, the same on every system.

#include "platform/regular_file.h"

#include <utility>

namespace Vantor::platform {

RegularFile::RegularFile(RegularFile&& other) noexcept
    : native(std::exchange(other.native, kNone)), openedSize(other.openedSize) {}

RegularFile& RegularFile::operator=(RegularFile&& other) noexcept {
    if (this != &other) {
        close();
        native = std::exchange(other.native, kNone);
        openedSize = other.openedSize;
    }
    return *this;
}

RegularFile::~RegularFile() {
    close();
}

} // namespace Vantor::platform

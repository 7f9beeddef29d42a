// POSIX has no text mode.

#include "platform/binary_streams.h"

namespace Vantor::platform {

void makeStandardStreamsBinary() noexcept {}

} // namespace Vantor::platform

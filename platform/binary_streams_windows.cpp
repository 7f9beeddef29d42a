// The C runtime translates line ends unless it is told otherwise.

#include "platform/binary_streams.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace Vantor::platform {

void makeStandardStreamsBinary() noexcept {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

} // namespace Vantor::platform

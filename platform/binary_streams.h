// Standard input and output as streams of bytes. Entry point: makeStandardStreamsBinary(), once, before
// either is used.

#pragma once

namespace Vantor::platform {

/// No line feed is changed on its way in or out from here on. Does nothing where nothing is changed anyway.
void makeStandardStreamsBinary() noexcept;

} // namespace Vantor::platform

// What the process holds of the system: it grows when something is not given back. Any thread.

#pragma once

namespace Vantor::campaign {

struct Footprint {
    int descriptors = 0; ///< on Windows, handles
    int threads = 0;
    long residentKb = 0;
    static Footprint now();
};

} // namespace Vantor::campaign

// A hidapi handle that closes itself, opening one, and writing an output report to it.
// A handle belongs to one thread at a time: the one that does its input and output, which also closes it.

#pragma once

#include "device/hid_library_lock.h"
#include "device/report.h"

#include <QString>
#include <hidapi/hidapi.h>

#include <memory>

namespace Vantor {

struct HidCloser {
    void operator()(hid_device* device) const noexcept { hid_close(device); }
};

using HidHandle = std::unique_ptr<hid_device, HidCloser>;

/// Opens the adapter at `path`; null when that is empty or cannot be opened.
inline HidHandle openHid(const QString& path) {
    if (path.isEmpty())
        return nullptr;
    const HidLibraryLock lock;
    return HidHandle(hid_open_path(path.toLocal8Bit().constData()));
}

/// Writes one 65-byte report. False when no device is open or the write failed.
inline bool writeReport(const HidHandle& device, const OutputReport& report) noexcept {
    return device != nullptr && hid_write(device.get(), report.data(), report.size()) >= 0;
}

} // namespace Vantor

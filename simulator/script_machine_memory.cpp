#include "simulator/script_machine_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace Vantor::simulator {

namespace {

constexpr std::uint32_t kCellBytes = 4;

std::string atAddress(const char* what, std::uint32_t address) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s at address 0x%04X", what, address);
    return text.data();
}

} // namespace

void ScriptMemory::load(std::span<const std::uint8_t> file) {
    cells.fill(0);
    std::copy(file.begin(), file.end(), cells.begin());
    fileLength = static_cast<std::uint32_t>(file.size());
    top = kScriptMemoryBytes;
    faultText.clear();
}

void ScriptMemory::fail(std::string reason) {
    if (faultText.empty()) {
        faultText = std::move(reason);
    }
}

bool ScriptMemory::readable(std::uint32_t address, std::uint32_t count) {
    if (address > kScriptMemoryBytes || count > kScriptMemoryBytes - address) {
        fail(atAddress("read outside the memory", address));
        return false;
    }
    return !failed();
}

bool ScriptMemory::writable(std::uint32_t address, std::uint32_t count) {
    if (address > kScriptMemoryBytes || count > kScriptMemoryBytes - address) {
        fail(atAddress("write outside the memory", address));
    } else if (address < fileLength && count > 0) {
        fail(atAddress("write into the program", address));
    }
    return !failed();
}

std::uint32_t ScriptMemory::read(std::uint32_t address, unsigned width) {
    if (!readable(address, width)) {
        return 0;
    }
    std::uint32_t value = 0;
    for (unsigned i = 0; i < width; ++i) {
        value = value << 8 | cells[address + i];
    }
    return value;
}

std::int32_t ScriptMemory::readSigned(std::uint32_t address, unsigned width) {
    const unsigned unusedBits = 32 - 8 * width;
    return static_cast<std::int32_t>(read(address, width) << unusedBits) >> unusedBits;
}

void ScriptMemory::write(std::uint32_t address, unsigned width, std::uint32_t value) {
    if (!writable(address, width)) {
        return;
    }
    for (unsigned i = width; i-- > 0; value >>= 8) {
        cells[address + i] = static_cast<std::uint8_t>(value);
    }
}

void ScriptMemory::fill(std::uint32_t address, std::uint8_t value, std::uint32_t count) {
    if (writable(address, count)) {
        addBulkWork(count);
        std::memset(cells.data() + address, value, count);
    }
}

void ScriptMemory::copy(std::uint32_t to, std::uint32_t from, std::uint32_t count) {
    if (readable(from, count) && writable(to, count)) {
        addBulkWork(count);
        std::memmove(cells.data() + to, cells.data() + from, count);
    }
}

void ScriptMemory::reserve(std::uint32_t bytes) {
    if (bytes > top || top - bytes < fileLength) {
        fail("stack overflow: the stack would reach the program");
    }
    if (!failed()) {
        top -= bytes;
        std::memset(cells.data() + top, 0, bytes);
    }
}

void ScriptMemory::push(std::uint32_t value) {
    reserve(kCellBytes);
    write(top, kCellBytes, value);
}

std::uint32_t ScriptMemory::pop() {
    if (top > kScriptMemoryBytes - kCellBytes) {
        fail("stack underflow");
    }
    const std::uint32_t value = read(top, kCellBytes);
    if (!failed()) {
        top += kCellBytes;
    }
    return value;
}

void ScriptMemory::unwind(std::uint32_t stackPointer) {
    if (stackPointer < top || stackPointer > kScriptMemoryBytes) {
        fail("stack underflow");
    }
    if (!failed()) {
        top = stackPointer;
    }
}

} // namespace Vantor::simulator

#include "simulator/script_machine_format.h"

#include "simulator/script_machine_arithmetic.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace Vantor::simulator {

namespace {

constexpr std::size_t kWidthDigits = 2;

/// Length of the directive "%...x" that the text begins with, or 0 when it is none that we know.
std::size_t directiveLength(std::string_view text) {
    constexpr std::string_view kFlags = "-+ 0#";
    constexpr std::string_view kDigits = "0123456789";
    constexpr std::string_view kConversions = "diuxXcsf%";
    const auto skip = [&](std::size_t at, std::string_view set, std::size_t most) {
        const std::size_t limit = std::min(text.size(), at + most);
        while (at < limit && set.find(text[at]) != std::string_view::npos) {
            ++at;
        }
        return at;
    };
    std::size_t at = skip(1, kFlags, kFlags.size());
    at = skip(at, kDigits, kWidthDigits);
    if (at < text.size() && text[at] == '.') {
        at = skip(at + 1, kDigits, kWidthDigits);
    }
    return at < text.size() && kConversions.find(text[at]) != std::string_view::npos ? at + 1 : 0;
}

/// Whether a directive that we do not print has an argument all the same: the compiler lets more through.
bool takesArgument(std::string_view text) {
    const std::size_t at = text.find_first_not_of(" -+0123456789.", 1);
    return at != std::string_view::npos &&
           std::string_view("diuxXcsf").find(text[at]) != std::string_view::npos;
}

template<typename Value>
void apply(const std::string& directive, Value value, std::string& text) {
    std::array<char, 512> buffer{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    // Safe: the directive is one of ours, its conversion fits the value, and widths have two digits.
    const int length = std::snprintf(buffer.data(), buffer.size(), directive.c_str(), value);
#pragma GCC diagnostic pop
    if (length > 0)
        text.append(buffer.data(),
                    std::min<std::size_t>(buffer.size() - 1, static_cast<std::size_t>(length)));
}

void convert(ScriptMemory& memory, const std::string& directive, std::uint32_t argument, std::string& text) {
    switch (directive.back()) {
    case 'd':
    case 'i':
        apply(directive, static_cast<std::int32_t>(argument), text);
        break;
    case 'f':
        apply(directive, arithmetic::doubleFromFixed(argument), text);
        break;
    case 's': {
        // Only a padded or cut text goes through the limited buffer.
        const std::string_view inserted = readText(memory, argument);
        if (directive.size() == 2)
            text += inserted;
        else
            apply(directive, inserted.empty() ? "" : inserted.data(), text);
        break;
    }
    case 'c':
        apply(directive, static_cast<int>(static_cast<unsigned char>(argument)), text);
        break;
    default:
        apply(directive, argument, text);
        break;
    }
}

} // namespace

std::string_view readText(ScriptMemory& memory, std::uint32_t address) {
    const auto bytes = memory.bytes().subspan(std::min<std::uint32_t>(address, kScriptMemoryBytes));
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    if (end == bytes.end()) {
        memory.fail("a text without an end");
        return {};
    }
    const auto length = static_cast<std::uint32_t>(end - bytes.begin());
    memory.addBulkWork(length);
    return {reinterpret_cast<const char*>(bytes.data()), length};
}

void formatText(ScriptMemory& memory, std::string_view format, std::span<const std::uint32_t> arguments,
                std::string& text) {
    std::size_t used = 0;
    while (!format.empty()) {
        const std::size_t length = format[0] == '%' ? directiveLength(format) : 0;
        if (length == 0) {
            if (format[0] == '%' && takesArgument(format))
                ++used;
            const std::size_t plain = std::min(format.find('%', 1), format.size());
            text += format.substr(0, plain);
            format.remove_prefix(plain);
            continue;
        }
        const std::string directive(format.substr(0, length)); // short enough to need no memory
        if (directive.back() == '%') {
            text += '%';
        } else if (used < arguments.size()) {
            convert(memory, directive, arguments[used++], text);
        } else {
            text += directive;
        }
        format.remove_prefix(length);
    }
}

} // namespace Vantor::simulator

// Bytes written down for people: "F1 00*3 01 'Test'" is F1 00 00 00 01 54 65 73 74.

#pragma once

#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Vantor::test {

/// Words of two hexadecimal digits, with *N behind them for a repeat, or texts without spaces in single
/// quotes.
inline std::vector<std::uint8_t> bytes(const std::string& text) {
    std::vector<std::uint8_t> result;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (word.size() > 2 && word.front() == '\'' && word.back() == '\'') {
            result.insert(result.end(), word.begin() + 1, word.end() - 1);
            continue;
        }
        const std::size_t star = word.find('*');
        if (word.substr(0, star).size() != 2)
            throw std::invalid_argument("not a byte: " + word);
        const auto value = static_cast<std::uint8_t>(std::stoul(word.substr(0, 2), nullptr, 16));
        result.insert(result.end(), star == std::string::npos ? 1 : std::stoul(word.substr(star + 1)), value);
    }
    return result;
}

/// The same, filled up with zeros to `size` bytes.
inline std::vector<std::uint8_t> bytes(const std::string& text, std::size_t size) {
    auto result = bytes(text);
    if (result.size() > size)
        throw std::invalid_argument("too many bytes: " + text);
    result.resize(size);
    return result;
}

} // namespace Vantor::test

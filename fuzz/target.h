// What every fuzz target is made of: its one entry point, the check that ends a run with a reason, and a
// reader that cuts an input into values. A target defines takeInput() and is linked twice: to libFuzzer,
// which makes up inputs, and to replay_main.cpp, which runs the kept ones. One thread.
//
// A target leaves nothing behind from one input to the next; otherwise a finding could not be repeated.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

namespace Vantor::fuzz {

using Bytes = std::span<const std::uint8_t>;

/// Judges one input; returns when all is well.
void takeInput(Bytes input);

/// Ends the process when something that must hold for every input does not. Unlike assert(), in every build.
inline void check(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// For those who say what does not hold, and null when all is well.
inline void checkNothing(const char* complaint) {
    check(complaint == nullptr, complaint);
}

inline std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Takes values off the front of an input; behind its end everything is zero and every piece empty.
class InputReader {
public:
    explicit InputReader(Bytes input) : rest(input) {}

    bool atEnd() const { return rest.empty(); }

    Bytes take(std::size_t count) {
        const Bytes piece = rest.first(std::min(count, rest.size()));
        rest = rest.subspan(piece.size());
        return piece;
    }

    /// Little-endian.
    template<class T>
    T number() {
        std::uint64_t value = 0;
        unsigned shift = 0;
        for (const std::uint8_t byte : take(sizeof(T))) {
            value |= std::uint64_t{byte} << shift;
            shift += 8;
        }
        return static_cast<T>(value);
    }

    /// One byte for the length, then that many bytes or what is left.
    Bytes takePiece() { return take(number<std::uint8_t>()); }

private:
    Bytes rest;
};

} // namespace Vantor::fuzz

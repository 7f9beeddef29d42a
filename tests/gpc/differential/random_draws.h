// What random programs are drawn from: one stream of numbers, and the values that are worth trying.

#pragma once

#include "tests/gpc/differential/random_program.h"

#include <array>

namespace Vantor::gpc::differential {

class RandomDraws {
public:
    explicit RandomDraws(std::uint64_t seed) : state(seed) {
        // Neighbouring seeds would give the same stream, one step apart.
        state = static_cast<std::uint64_t>(next()) << 32 | next();
    }

    std::uint32_t next() {
        state += 0x9E3779B97F4A7C15ULL;
        std::uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 16);
    }
    int below(int bound) { return static_cast<int>(next() % static_cast<std::uint32_t>(bound)); }
    bool chance(int percent) { return below(100) < percent; }
    Scalar anyScalar() { return static_cast<Scalar>(below(kScalarCount)); }
    Scalar integerScalar() { return static_cast<Scalar>(below(6)); }

    template<typename T, std::size_t N>
    T pick(const std::array<T, N>& choices) {
        return choices[static_cast<std::size_t>(below(static_cast<int>(N)))];
    }

    /// Numbers near the limits of every width come up as often as all others.
    std::uint32_t interestingWord() {
        static constexpr std::array<std::uint32_t, 22> kEdges{
            0,          1,          2,          7,          31,     32,    127,    128,
            255,        256,        32767,      32768,      65535,  65536, 0xFFFF, 0x7FFFFFFF,
            0x80000000, 0xFFFFFFFF, 0xFFFFFF80, 0xFFFF8000, 0xFFFE, 100};
        switch (below(4)) {
        case 0:
            return pick(kEdges);
        case 1:
            return static_cast<std::uint32_t>(below(512) - 256);
        case 2:
            return next() >> below(32);
        default:
            return next();
        }
    }

    /// The word as a variable of the type holds it, and as it can be written down.
    static std::uint32_t fit(std::uint32_t word, Scalar type) {
        switch (type) {
        case Scalar::fix32:
            return word == 0x80000000 ? word + 1 : word; // the most negative one has no literal
        case Scalar::uint8:
            return static_cast<std::uint8_t>(word);
        case Scalar::int8:
            return static_cast<std::uint32_t>(static_cast<std::int8_t>(word));
        case Scalar::uint16:
            return static_cast<std::uint16_t>(word);
        case Scalar::int16:
            return static_cast<std::uint32_t>(static_cast<std::int16_t>(word));
        default:
            return word;
        }
    }

private:
    std::uint64_t state;
};

} // namespace Vantor::gpc::differential

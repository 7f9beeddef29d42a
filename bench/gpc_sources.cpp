#include "bench/gpc_sources.h"

#include <string_view>

namespace Vantor::bench {

namespace {

/// `text` with every "@" replaced by the number.
std::string numbered(std::string_view text, std::size_t number) {
    std::string result;
    for (const char letter : text) {
        if (letter == '@') {
            result += std::to_string(number);
        } else {
            result += letter;
        }
    }
    return result;
}

struct Parts {
    const char* head;
    const char* function; ///< once per unit
    const char* call;     ///< once per unit, in the main body
    const char* mainBegin;
    const char* mainEnd;
    const char* comment;
    const char* macro; ///< "" where the language has none
    const char* sumBegin;
    const char* term; ///< of the sum, once per unit; a constant
    const char* sumEnd;
};

const Parts& partsOf(Language language) {
    static constexpr Parts kScript{
        "int32 total;\nint16 table[8] = {3, 1, 4, 1, 5, 9, 2, 6};\n",
        "int32 step@(int32 value, int16 by) {\n"
        "    int32 i, sum = @;\n"
        "    for (i = 0; i < 8; i++) {\n"
        "        if (value > by * i && table[i] != @ % 7)\n"
        "            sum += value * table[i] - (by << 2);\n"
        "        else\n"
        "            sum -= table[(i + @) & 7] / 3;\n"
        "    }\n"
        "    return sum;\n"
        "}\n",
        "    total = total + step@(total, @) * 3;\n",
        "main {\n",
        "}\n",
        "// What the next lines do is explained here at some length, as careful authors do, number @.\n"
        "/* A block comment as well, which goes over\n   two lines and holds a # and a \" on purpose. */\n",
        "#define LIMIT@ (@ + 100)\n#define SCALED@(x, y) ((x) * LIMIT@ + (y))\n",
        "const int32 sum = 0\n",
        "    + SCALED@(@ % 9, LIMIT@) % 1000\n",
        ";\n"};
    static constexpr Parts kC{
        "int total;\nstatic const short table[8] = {3, 1, 4, 1, 5, 9, 2, 6};\n",
        "static int step@(int value, short by) {\n"
        "    int i, sum = @;\n"
        "    for (i = 0; i < 8; i++) {\n"
        "        if (value > by * i && table[i] != @ % 7)\n"
        "            sum += value * table[i] - (by << 2);\n"
        "        else\n"
        "            sum -= table[(i + @) & 7] / 3;\n"
        "    }\n"
        "    return sum;\n"
        "}\n",
        "    total = total + step@(total, @) * 3;\n",
        "void run(void) {\n",
        "}\n",
        "// What the next lines do is explained here at some length, as careful authors do, number @.\n"
        "/* A block comment as well, which goes over\n   two lines and holds a # and a \" on purpose. */\n",
        "#define LIMIT@ (@ + 100)\n#define SCALED@(x, y) ((x) * LIMIT@ + (y))\n",
        "const int sum = 0\n",
        "    + SCALED@(@ % 9, LIMIT@) % 1000\n",
        ";\n"};
    static constexpr Parts kLua{
        "total = 0\nlocal tab = {3, 1, 4, 1, 5, 9, 2, 6}\n",
        "function step@(value, by)\n"
        "    local sum = @\n"
        "    for i = 0, 7 do\n"
        "        if value > by * i and tab[i + 1] ~= @ % 7 then\n"
        "            sum = sum + value * tab[i + 1] - (by << 2)\n"
        "        else\n"
        "            sum = sum - tab[((i + @) & 7) + 1] // 3\n"
        "        end\n"
        "    end\n"
        "    return sum\n"
        "end\n",
        "    total = total + step@(total, @) * 3\n",
        "function run()\n",
        "end\n",
        "-- What the next lines do is explained here at some length, as careful authors do, number @.\n"
        "--[[ A block comment as well, which goes over\n   two lines and holds a # and a \" on purpose. ]]\n",
        "",
        "sum = 0\n",
        "    + ((@ % 9) * (@ + 100) + (@ + 100)) % 1000\n",
        "\n"};
    return language == Language::Script ? kScript : language == Language::C ? kC : kLua;
}

constexpr std::size_t kUnitsOfAFullSlot = 58;
constexpr std::size_t kMostFunctions = 56; ///< what fits a memory slot
constexpr std::size_t kMostMacros = 256;   ///< pairs; more uses than definitions, as in real sources

} // namespace

std::string fullSlotProgram(Language language) {
    return unitsProgram(language, kUnitsOfAFullSlot);
}

std::string unitsProgram(Language language, std::size_t units) {
    const Parts& parts = partsOf(language);
    std::string text = parts.head;
    for (std::size_t i = 0; i < units; ++i) {
        text += numbered(parts.function, i);
    }
    text += parts.mainBegin;
    for (std::size_t i = 0; i < units; ++i) {
        text += numbered(parts.call, i);
    }
    return text + parts.mainEnd;
}

std::string longProgram(Language language, std::size_t bytes) {
    const Parts& parts = partsOf(language);
    std::string text = parts.head;
    std::string calls;
    for (std::size_t i = 0; i < kMostFunctions && text.size() < bytes / 2; ++i) {
        text += numbered(parts.comment, i) + numbered(parts.function, i);
        calls += numbered(parts.call, i);
    }
    text += parts.sumBegin;
    for (std::size_t i = 0; text.size() + calls.size() < bytes; ++i) {
        text += numbered(parts.comment, i);
        text += i < kMostMacros ? numbered(parts.macro, i) : "";
        text += numbered(parts.term, i % kMostMacros);
    }
    return text + parts.sumEnd + parts.mainBegin + calls + parts.mainEnd;
}

} // namespace Vantor::bench

// The bytes of compiled scripts, worked out by hand from the file format: whole files in hex, blanks as they
// read best. What the instructions do is the machine's tests' business.

#include "gpc/compiler.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace Vantor::gpc {
namespace {

struct FileCase {
    const char* name;
    const char* source;
    const char* file;
};

void PrintTo(const FileCase& c, std::ostream* out) {
    *out << c.name;
}

std::string hexOf(const std::vector<std::uint8_t>& bytes) {
    std::string hex;
    for (const std::uint8_t byte : bytes) {
        char pair[4];
        std::snprintf(pair, sizeof pair, "%02X ", byte);
        hex += pair;
    }
    return hex.substr(0, hex.empty() ? 0 : hex.size() - 1);
}

std::string tidied(std::string_view hex) {
    std::string result;
    for (const char digit : hex) {
        if (digit == ' ' && (result.empty() || result.back() == ' '))
            continue;
        result += digit;
    }
    return result;
}

/// The file with build stamp 0x01020304, or the diagnostic.
std::string compiled(const std::string& source) {
    const CompileResult result = compile(source, {0x01020304, {}, {}});
    return result.diagnostics.empty() ? hexOf(result.bytecode) : result.diagnostics[0].message;
}

std::string nameOf(const testing::TestParamInfo<FileCase>& c) {
    return c.param.name;
}

class WholeFile : public testing::TestWithParam<FileCase> {};

TEST_P(WholeFile, IsThis) {
    EXPECT_EQ(compiled(GetParam().source), tidied(GetParam().file));
}

/// Entry header and empty script information of a file whose code begins at 11, 0x0B.
#define HEADER_11 "10 00 0B 01 02 03 04 00 00 00 00 "

const FileCase kLayout[] = {
    {"NothingButMain", "main { }", HEADER_11 "01 00"},
    {"EmptySource", "", HEADER_11 "01 00"},
    {"ScriptInformation", "#pragma METAINFO(\"Ti\", 7, 255, \"A\\\"b\")\nmain { }",
     "10 00 10 01 02 03 04 54 69 00 07 FF 41 22 62 00 01 00"},
    {"OnlyTheFirstMetaInfo", "  #pragma  METAINFO (\"a\",1,2,\"\")\n#pragma METAINFO(\"b\",3,4,\"c\")\n",
     "10 00 0C 01 02 03 04 61 00 01 02 00 01 00"},
    {"MetaInfoBehindAByteOrderMark", "\xEF\xBB\xBF#pragma METAINFO(\"a\",1,2,\"\")\nmain { }",
     "10 00 0C 01 02 03 04 61 00 01 02 00 01 00"},
    {"NumberOutsideAByte", "#pragma METAINFO(\"a\", 256, 2, \"b\")\nmain { }", HEADER_11 "01 00"},
    {"MalformedFirstHidesTheSecond", "#pragma METAINFO(oops)\n#pragma METAINFO(\"b\",3,4,\"c\")\n",
     HEADER_11 "01 00"},
    // Counter 1, then rounded to 4 and on to 8: addresses 0xFFFF and 0xFFF8, operands 0x23FF and 0x23F8.
    {"StorageOperands", "uint8 a; int32 b; init { a = 1; } main { b = a; }",
     HEADER_11 "02 00 08  20 01 3C 23 FF  01  28 23 FF 3E 23 F8  00"},
    // 3 bytes in use are reserved as 4.
    {"ReservationRoundsUp", "uint8 a[3]; main { a[2] = 0; }", HEADER_11 "02 00 04  01  20 00 3C 23 FF  00"},
    {"IntIsTwoBytes", "int a; main { a = a; }", HEADER_11 "02 00 04  01  2B 23 FE 3D 23 FE  00"},
    // Two initialised neighbours are one block: b (counter 4) at 0x23FC, a (counter 1) at 0x23FF, one byte
    // between.
    {"InitialValues", "uint8 a = 9; int16 b = -2; main { }",
     "10 00 0F 01 02 03 04 00 00 00 00  FF FE 00 09  02 00 04  03 00 0B 23 FC 00 04  01  00"},
    {"ZeroNeedsNoImage", "int a = 0; main { }", HEADER_11 "02 00 04 01 00"},
    // The table lies in the image at 11; its operand is plain. Constant elements are read by the compiler.
    {"ConstTable", "const uint16 t[] = {1, 515}; uint8 i; main { i = t[1]; i = t[i]; }",
     "10 00 0F 01 02 03 04 00 00 00 00  00 01 02 03  02 00 04  01"
     "  22 02 03 3C 23 FF  25 00 0B 28 23 FF 4F 32 3C 23 FF  00"},
    // Where a static local lies is known only after the initial values have been read.
    {"StaticPointerToAStatic", "void f() { static uint8 a; static uint8 *p = &a; } main { }",
     "10 00 0D 01 02 03 04 00 00 00 00  23 FF  02 00 04  03 00 0B 23 FC 00 02  01 00 1E"},
    {"ConstPointerToAStatic", "void f() { static uint8 a; const uint8 *p = &a; *p = 1; } main { }",
     "10 00 0D 01 02 03 04 00 00 00 00  23 FF  02 00 04  01 00  22 23 FF 20 01 40 1E"},
    {"StringsAreShared", "main { printf(\"a\"); printf(\"a\"); }",
     "10 00 0D 01 02 03 04 00 00 00 00  61 00  01  D5 00 0B 00 D5 00 0B 00  00"},
    // Order of storage: global, main-local, combo-local, static local, combo state (rounded to 2, then 4
    // bytes).
    {"OrderOfAllocation",
     "uint8 g; void f() { static uint8 s; s = 4; } main { uint8 m = 2; f(); g = 1; } combo C { uint8 c = 3; "
     "}",
     "10 00 0D 01 02 03 04 00 00 00 00  00 29  02 00 08  01"
     "  20 02 3C 23 FE  02 00 04 1D 00 32 00  20 01 3C 23 FF"
     "  16 23 F8 00 0B 00 31  20 03 3C 23 FD  17 23 F8  00"
     "  20 04 3C 23 FC 1E"},
};

INSTANTIATE_TEST_SUITE_P(Layout, WholeFile, testing::ValuesIn(kLayout), nameOf);

/// main's statements between the reservation of `int32 x;` (0x23FC) and the end, which begin at 0x0F.
#define WITH_X(statements) HEADER_11 "02 00 04 01 " statements " 00"

const FileCase kCode[] = {
    {"Push255", "int32 x; main { x = 255; }", WITH_X("20 FF 3E 23 FC")},
    {"Push256", "int32 x; main { x = 256; }", WITH_X("22 01 00 3E 23 FC")},
    {"PushMinus128", "int32 x; main { x = -128; }", WITH_X("21 80 3E 23 FC")},
    {"PushMinus129", "int32 x; main { x = -129; }", WITH_X("23 FF 7F 3E 23 FC")},
    {"PushMinus32768", "int32 x; main { x = -32768; }", WITH_X("23 80 00 3E 23 FC")},
    {"PushMinus32769", "int32 x; main { x = -32769; }", WITH_X("24 FF FF 7F FF 3E 23 FC")},
    {"Push65535", "int32 x; main { x = 65535; }", WITH_X("22 FF FF 3E 23 FC")},
    {"Push65536", "int32 x; main { x = 65536; }", WITH_X("24 00 01 00 00 3E 23 FC")},
    {"If", "int32 x; main { if (x) x = 1; }", WITH_X("2C 23 FC 13 00 1A 20 01 3E 23 FC")},
    {"IfElse", "int32 x; main { if (x) x = 1; else x = 2; }",
     WITH_X("2C 23 FC 13 00 1D 20 01 3E 23 FC 10 00 22 20 02 3E 23 FC")},
    {"While", "int32 x; main { while (x) { if (x) break; continue; } }",
     WITH_X("2C 23 FC 13 00 24  2C 23 FC 13 00 1E 10 00 24  10 00 0F  10 00 0F")},
    {"DoWhile", "int32 x; main { do { continue; x = 1; } while (x); }",
     WITH_X("10 00 17 20 01 3E 23 FC  2C 23 FC 14 00 0F")},
    {"For", "int32 x; main { for (x = 0; x < 3; x++) continue; }",
     WITH_X("20 00 3E 23 FC  2C 23 FC 20 03 6C 13 00 26  10 00 20  4A 23 FC  10 00 14")},
    {"ForEver", "main { for (;;) break; }", HEADER_11 "01  10 00 12 10 00 0C  00"},
    {"LabelsStandBeforeTheGovernedStatement", "int32 x; main { while (x) a: x--; if (x) b: x = 1; }",
     WITH_X("2C 23 FC 13 00 1B 4E 23 FC 10 00 0F  2C 23 FC 13 00 26 20 01 3E 23 FC")},
    {"StepsWhoseValuesAreUsedInAStatement", "int32 x; main { ++x && --x; }",
     WITH_X("4A 23 FC 2C 23 FC 11 00 1F 4E 23 FC 2C 23 FC 58 05")},
    {"BranchesWithoutAValue", "int32 x; main { x ? led_reset() : ffb_reset(); }",
     WITH_X("2C 23 FC 13 00 19 B9 10 00 1A BD")},
    {"ElementBelowAPointer", "void f(int8 *p) { p[-1] = 2; } main { }",
     HEADER_11 "01 00 2A FF FE 21 FF 4B 20 02 40 1E"},
    {"GotoForwardAndBack", "main { a: goto b; goto a; b: ; }", HEADER_11 "01  10 00 12 10 00 0C  00"},
    {"ShortCircuit", "int32 x; main { if (x && x > 1) x = 0; }",
     WITH_X("2C 23 FC 11 00 1B 2C 23 FC 20 01 6E  13 00 23 20 00 3E 23 FC")},
    {"TruthOfAPlainOperand", "int32 x; main { x = x || x; }",
     WITH_X("2C 23 FC 12 00 19 2C 23 FC 58 3E 23 FC")},
    {"ConstantsFold", "int32 x; main { x = 2 + 3 * 4 - (1 << 3 | 1) + (5 > 4 && !0) + (0 ? 9 : 7); }",
     WITH_X("20 0D 3E 23 FC")},
    {"DivisionByZeroFoldsToZero", "int32 x; main { x = 7 / 0 + 7 % 0; }", WITH_X("20 00 3E 23 FC")},
    {"UnsignedWhenOneSideIs", "int32 x; main { x = x / 4294967295; }", WITH_X("2C 23 FC 21 FF 5D 3E 23 FC")},
    {"CompoundAddOfOne", "int32 x; main { x += 1; x -= 1; x -= 2; }",
     WITH_X("4A 23 FC 4E 23 FC 2C 23 FC 20 02 5A 3E 23 FC")},
    {"ValueOfAnAssignment", "int32 x; main { if (x = 5) ; }", WITH_X("20 05 3E 23 FC 2C 23 FC 13 00 1A")},
    {"IntegerConstantAsFix32", "main { set_val(BUTTON_1, 100); }", HEADER_11 "01 20 00 24 00 64 00 00 A1 00"},
    // A fix32 constant takes four bytes whatever its value; an integer in its place does not.
    {"FixedLiteral", "fix32 x; main { x = -0.5; x = 0.5; x = 0.0; set_val(0, 0); }",
     WITH_X("24 FF FF 80 00 3E 23 FC 24 00 00 80 00 3E 23 FC 24 00 00 00 00 3E 23 FC 20 00 20 00 A1")},
    {"CastsBetweenClasses", "int32 x; main { x = (int32)((fix32)x * 1.5); }",
     WITH_X("2C 23 FC 62 24 00 01 80 00 60 63 3E 23 FC")},
    {"ThroughAPointer", "int32 x; main { *(&x) += 5; }", WITH_X("2C 23 FC 20 05 59 3E 23 FC")},
    // Three values in a row: the jump table (0x0B, highest index 2) is at the image's begin.
    {"SwitchByTable", "int32 x; main { switch (x) { case 4: x = 1; break; case 6: x = 2; } }",
     "10 00 11 01 02 03 04 00 00 00 00  00 1B 00 34 00 23  02 00 04  01"
     "  2C 23 FC 10 00 2B  20 01 3E 23 FC 10 00 34  20 02 3E 23 FC  10 00 34"
     "  20 04 5A 15 00 0B 02 00 34  00"},
    {"SwitchFromZero", "int32 x; main { switch (x) { default: x = 1; case 0: ; } }",
     "10 00 0D 01 02 03 04 00 00 00 00  00 1C  02 00 04  01"
     "  2C 23 FC 10 00 1F  20 01 3E 23 FC  10 00 25  15 00 0B 00 00 17  00"},
    // Two values far apart are tested in ascending order.
    {"SwitchOneByOne", "int32 x; main { switch (x) { case 200: x = 1; case 3: ; default: x = 2; } }",
     WITH_X("2C 23 FC 10 00 22  20 01 3E 23 FC  20 02 3E 23 FC  10 00 2E"
            "  04 03 00 1A 04 C8 00 15 05 10 00 1A")},
};

INSTANTIATE_TEST_SUITE_P(Code, WholeFile, testing::ValuesIn(kCode), nameOf);

const FileCase kCalls[] = {
    // The frame counter goes to 1, 4 and 8: the slots are 7, 4 and 0 bytes above the bottom of the frame.
    {"ArgumentsByWidth", "void f(uint8 x, int16 y, int32 z) { } main { f(1, 2, 3); }",
     HEADER_11 "01  02 00 0C 20 01 38 07 20 02 39 04 20 03 3A 00 1D 00 20 08  00  1E"},
    {"PointerArgument", "uint8 g; void f(uint8 *p) { *p = 1; } main { f(&g); }",
     HEADER_11 "02 00 04 01  02 00 06 25 23 FF 3B 00 1D 00 1C 02  00  2A FF FE 20 01 40 1E"},
    // The first call waits for the address, the second knows it.
    {"CallsBeforeAndBehind", "main { f(); } void f() { } void g() { f(); }",
     HEADER_11 "01  02 00 04 1D 00 14 00  00  1E  02 00 04 1D 00 14 00 1E"},
    {"ValueWithoutReturn", "int f() { } main { }", HEADER_11 "01 00 20 00 1F"},
    {"ReturnNarrows", "uint8 f(int a) { return a; } main { }", HEADER_11 "01 00 2B FF FE 54 1F"},
    {"UnusedResultIsDropped", "int f() { return 1; } main { f(); }",
     HEADER_11 "01  02 00 04 1D 00 15 00 05  00  20 01 1F"},
    {"LocalsLieBelowParameters", "void f(uint8 a) { int32 b = a; } main { }",
     HEADER_11 "01 00 28 FF FF 3E FF F8 1E"},
    {"DesignatorBuiltin", "fix32 f; main { f = led_get(LED_3); led_vmset(LED_1, 2, 3); }",
     WITH_X("20 02 B5 3E 23 FC 20 00 20 02 20 03 B7")},
    {"UnsignedMaximum", "uint32 f; main { f = max(f, 3); }", WITH_X("2C 23 FC 20 03 7A 3E 23 FC")},
    {"TypeBehindTheOpcode", "int32 f; main { pmem_read(4, &f); pmem_write(4, (uint8)f); }",
     WITH_X("20 04 25 23 FC E2 05 20 04 2C 23 FC 54 E3 00")},
};

INSTANTIATE_TEST_SUITE_P(Calls, WholeFile, testing::ValuesIn(kCalls), nameOf);

const FileCase kCombos[] = {
    // State at counter 4, operand 0x23FC; wait table at 0x0B with entries for the start and behind each wait.
    {"Waits", "combo C { wait(100); wait(32767); }",
     "10 00 11 01 02 03 04 00 00 00 00  00 1C 00 23 00 2A  02 00 04  01"
     "  16 23 FC 00 0B 00 2D  18 23 FC 00 64 00 2D  18 23 FC 7F FF 00 2D  17 23 FC  00"},
    {"ComputedWait", "uint16 d; combo C { wait(d); }",
     "10 00 0F 01 02 03 04 00 00 00 00  00 1A 00 27  02 00 08  01"
     "  16 23 FA 00 0B 00 2A  19 23 FA 00 2A  2A 23 FE  1A 23 FA 00 2A  17 23 FA  00"},
    // Entries: start, behind 0x1B, behind 0x1C; then the called combo's own.
    {"CallOfACombo", "combo A { call(B); } combo B { }",
     "10 00 13 01 02 03 04 00 00 00 00  00 1E 00 23 00 2A  00 34  02 00 08  01"
     "  16 23 FC 00 0B 00 2D  1B 23 F8 00 2D  1C 23 FC 23 F8 00 2D  17 23 FC"
     "  16 23 F8 00 11 00 37  17 23 F8  00"},
    {"Controls", "combo C { } main { combo_run(C); combo_restart(C); combo_pause(C); combo_stop(C); }",
     "10 00 0D 01 02 03 04 00 00 00 00  00 18  02 00 04  01  16 23 FC 00 0B 00 1B 17 23 FC"
     "  90 23 FC 91 23 FC 92 23 FC 93 23 FC  00"},
};

INSTANTIATE_TEST_SUITE_P(Combos, WholeFile, testing::ValuesIn(kCombos), nameOf);

} // namespace
} // namespace Vantor::gpc

// Listings of hand-written files, and files that must be refused.

#include "gpc/disassembler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Vantor::gpc {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Title "Demo", version 1.2, author "me"; a text at 0x13, a switch table at 0x16, a wait table at 0x1A; one
/// int32, one combo state, one function with a parameter.
Bytes demo() {
    return {
        0x10, 0x00, 0x1E, 0x00, 0x00, 0x00, 0x2A,                 // 0x00
        'D',  'e',  'm',  'o',  0x00, 0x01, 0x02, 'm', 'e', 0x00, // 0x07
        0xAA, 0xBB,                                               // 0x11 const data
        'h',  'i',  0x00,                                         // 0x13
        0x00, 0x33, 0x00, 0x36,                                   // 0x16 switch
        0x00, 0x40, 0x00, 0x47,                                   // 0x1A wait
        0x02, 0x00, 0x08,                                         // 0x1E reserve
        0x01,                                                     // 0x21 end of init
        0xD5, 0x00, 0x13, 0x00,                                   // 0x22 printf
        0x2A, 0x00, 0x11,                                         // 0x26 load const data
        0x15, 0x00, 0x16, 0x01, 0x00, 0x39,                       // 0x29 table switch
        0x02, 0x00, 0x08, 0x05,                                   // 0x2F
        0x90, 0x23, 0xF8,                                         // 0x33 combo_run
        0x90, 0x23, 0xF8,                                         // 0x36 combo_run
        0x16, 0x23, 0xF8, 0x00, 0x1A, 0x00, 0x4A,                 // 0x39 combo start
        0x18, 0x23, 0xF8, 0x00, 0x64, 0x00, 0x4A,                 // 0x40 wait 100
        0x17, 0x23, 0xF8,                                         // 0x47 combo end
        0x1D, 0x00, 0x50, 0x04,                                   // 0x4A call
        0x05,                                                     // 0x4E drop
        0x00,                                                     // 0x4F end of main
        0x28, 0xFF, 0xFF, 0x1F,                                   // 0x50 function
    };
}

TEST(Disassembler, ExplainsEveryByteOfAFile) {
    const Listing listing = disassemble(demo());
    ASSERT_EQ(listing.error, "");
    EXPECT_EQ(listing.buildStamp, 42U);
    EXPECT_EQ(listing.information.title, "Demo");
    EXPECT_EQ(listing.information.author, "me");
    EXPECT_EQ(printListing(listing), R"(; GBC file of 84 bytes
  0000  10 00 1E                 entry           init  ; code at 0x001E
  0003  00 00 00 2A              build_stamp     42
  0007  44 65 6D 6F 00 01 02 6D.. script_information  ; "Demo" 1 2 "me"

; Data image
  0011  AA BB                    data
  0013  68 69 00                 text            "hi"
  0016  00 33                    switch_entry    L_0033  ; 0 of switch at 0x0029
  0018  00 36                    switch_entry    L_0036  ; 1 of switch at 0x0029
  001A  00 40                    wait_entry      L_0040  ; 0 of combo_1
  001C  00 47                    wait_entry      L_0047  ; 1 of combo_1

; Code
init:
  001E  02 00 08                 reserve         8
  0021  01                       end_init
main:
  0022  D5 00 13 00              printf          0x0013, 0  ; "hi"
  0026  2A 00 11                 load_u16        image 0x0011
  0029  15 00 16 01 00 39        table_switch    image 0x0016, 1, combo_1
  002F  02 00 08                 reserve         8
  0032  05                       drop
L_0033:
  0033  90 23 F8                 combo_run       storage 0x23F8  ; state of combo_1; storage counter 8
L_0036:
  0036  90 23 F8                 combo_run       storage 0x23F8  ; state of combo_1; storage counter 8
combo_1:
  0039  16 23 F8 00 1A 00 4A     combo_start     storage 0x23F8, image 0x001A, L_004A  ; state of combo_1; storage counter 8
L_0040:
  0040  18 23 F8 00 64 00 4A     wait            storage 0x23F8, 100, L_004A  ; state of combo_1; storage counter 8
L_0047:
  0047  17 23 F8                 combo_end       storage 0x23F8  ; state of combo_1; storage counter 8
L_004A:
  004A  1D 00 50 04              call            function_1, 4
  004E  05                       drop
  004F  00                       end_main
function_1:
  0050  28 FF FF                 load_u8         frame -1
  0053  1F                       return_value
)");
}

struct Refusal {
    const char* expected;
    Bytes file;
};

Bytes with(Bytes file, std::size_t at, std::uint8_t value) {
    file[at] = value;
    return file;
}

Bytes cut(Bytes file, std::size_t length) {
    file.resize(length);
    return file;
}

TEST(Disassembler, RefusesMalformedFilesWithAReason) {
    const std::vector<Refusal> refusals{
        {"shorter than its seven-byte entry header", {}},
        {"shorter than its seven-byte entry header", cut(demo(), 6)},
        {"longer than 65536 bytes", Bytes(65537, 0x10)},
        {"does not begin with the entry jump", with(demo(), 0, 0x11)},
        {"the code offset 0x000A lies outside the file", with(demo(), 2, 0x0A)},
        {"the code offset 0x0054 lies outside the file", with(demo(), 2, 0x54)},
        {"the code offset 0x001E lies outside the file", cut(demo(), 0x1E)},
        {"the script information does not end before the code", with(with(demo(), 2, 0x10), 0x10, 1)},
        {"0x0021: no instruction has the opcode 0x26", with(demo(), 0x21, 0x26)},
        {"0x0050: the file ends inside an instruction", cut(demo(), 0x52)},
        {"0x004A: refers to 0x0051, where no instruction begins", with(demo(), 0x4C, 0x51)},
        {"0x004A: refers to 0x0010, where no instruction begins", with(demo(), 0x4C, 0x10)},
        {"0x0016: refers to 0x0034, where no instruction begins", with(demo(), 0x17, 0x34)},
        {"0x0016: a table or text lies outside the data image", with(demo(), 0x2C, 0xFF)},
        {"a table or text lies outside the data image", with(demo(), 0x24, 0x1F)},
        {"0x001D: a text does not end inside the data image", with(with(demo(), 0x24, 0x1D), 0x1D, 0x50)},
        {"no end of init followed by an end of main", with(demo(), 0x21, 0x05)},
        {"no end of init followed by an end of main", with(demo(), 0x4F, 0x05)},
        {"0x0036: a wait outside a combo", with(demo(), 0x36, 0x18)},
    };
    for (const Refusal& refusal : refusals) {
        const Listing listing = disassemble(refusal.file);
        EXPECT_THAT(listing.error, testing::HasSubstr(refusal.expected));
        EXPECT_TRUE(listing.lines.empty());
    }
}

TEST(Disassembler, AccountsForEachByteOnceWhateverTheFile) {
    // Every one-byte change of the file is refused with a reason or listed completely, in order and without
    // gaps.
    unsigned listed = 0;
    for (std::size_t at = 0; at < demo().size(); ++at) {
        for (unsigned value = 0; value < 256; ++value) {
            const Bytes file = with(demo(), at, static_cast<std::uint8_t>(value));
            const Listing listing = disassemble(file);
            if (!listing.error.empty()) {
                continue;
            }
            ++listed;
            Bytes seen;
            for (const ListingLine& line : listing.lines) {
                if (!line.bytes.empty()) {
                    ASSERT_EQ(line.offset, seen.size()) << "byte " << at << " = " << value;
                    seen.insert(seen.end(), line.bytes.begin(), line.bytes.end());
                }
            }
            ASSERT_EQ(seen, file) << "byte " << at << " = " << value;
            ASSERT_FALSE(printListing(listing).empty());
        }
    }
    EXPECT_GT(listed, 5000U);
}

} // namespace
} // namespace Vantor::gpc

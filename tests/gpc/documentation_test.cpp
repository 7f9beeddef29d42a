// The documents keep in step with the code: the table of instructions in docs/gbc.md, the scripts in
// docs/gpc2.md.

#include "gpc/compiler.h"
#include "gpc/opcodes.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace Vantor::gpc {
namespace {

std::string readDocument(const char* name) {
    std::ifstream in(std::string(FERRYLINK_DOCS_DIR) + "/" + name, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

const char* kindName(OperandKind kind) {
    static constexpr std::array<const char*, 12> kNames{
        "", "u8", "s8", "u16", "s16", "s32", "code", "image", "string", "variable", "frame offset", "type"};
    return kNames[static_cast<std::size_t>(kind)];
}

std::string opcodeTable() {
    std::string table =
        "| opcode | name | operands | pops | pushes | byte | effect |\n|---|---|---|---|---|---|---|\n";
    for (const OpcodeInfo& info : kOpcodes) {
        std::string operands;
        for (const OperandKind kind : info.operands) {
            operands +=
                (operands.empty() || kind == OperandKind::None ? "" : ", ") + std::string(kindName(kind));
        }
        std::array<char, 8> byte{};
        std::snprintf(byte.data(), byte.size(), "%02X", static_cast<unsigned>(info.opcode));
        table += "| `" + std::string(byte.data()) + "` | `" + std::string(info.name) + "` | " + operands +
                 " | " + (info.pops == kPopsAsOperandSays ? "count" : std::to_string(info.pops)) + " | " +
                 std::to_string(info.pushes) + " | " +
                 (info.origin == OpcodeOrigin::Fixed ? "given" : "ours") + " | " + std::string(info.effect) +
                 " |\n";
    }
    return table;
}

TEST(Documentation, GbcHoldsTheTableOfInstructions) {
    const std::string document = readDocument("gbc.md");
    ASSERT_FALSE(document.empty());
    // When this fails after a change of the table, put the text below in the place of the document's table.
    EXPECT_NE(document.find(opcodeTable()), std::string::npos) << opcodeTable();
}

TEST(Documentation, EveryScriptInGpc2Compiles) {
    const std::string document = readDocument("gpc2.md");
    constexpr std::string_view kFence = "```gpc\n";
    unsigned scripts = 0;
    for (auto at = document.find(kFence); at != std::string::npos; at = document.find(kFence, at)) {
        at += kFence.size();
        const auto end = document.find("```", at);
        ASSERT_NE(end, std::string::npos);
        const std::string script = document.substr(at, end - at);
        const CompileResult result =
            compile(script, {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
        ++scripts;
        for (const Diagnostic& diagnostic : result.diagnostics) {
            ADD_FAILURE() << script << diagnostic.line << ":" << diagnostic.column << ": "
                          << diagnostic.message;
        }
        EXPECT_EQ(result.bytecode.empty(), !result.diagnostics.empty());
    }
    EXPECT_GE(scripts, 20U);
}

} // namespace
} // namespace Vantor::gpc

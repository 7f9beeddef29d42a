// What compile() promises around the bytes: one error or bytecode, never both; limits; options; positions in
// files that are included or made by macros.

#include "gpc/builtins.h"
#include "gpc/compiler.h"
#include "gpc/gbc.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace Vantor::gpc {
namespace {

CompileResult compileText(const std::string& source) {
    return compile(source, {1, {}, {}});
}

std::string messageOf(const CompileResult& result) {
    return result.diagnostics.empty() ? std::string() : result.diagnostics[0].message;
}

std::string repeated(std::size_t count, const std::function<std::string(std::size_t)>& piece) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += piece(i);
    return text;
}

std::string repeated(std::size_t count, const std::string& piece) {
    return repeated(count, [&](std::size_t) { return piece; });
}

TEST(Compiler, AnErrorLeavesNoBytes) {
    const CompileResult result = compileText("uint8 a = 1;\nmain { a = 2; b = 3; }");
    EXPECT_TRUE(result.bytecode.empty());
    ASSERT_EQ(result.diagnostics.size(), 1U);
    EXPECT_EQ(result.diagnostics[0].position, 27U);
    EXPECT_EQ(result.diagnostics[0].line, 2U);
    EXPECT_EQ(result.diagnostics[0].column, 15U);
}

TEST(Compiler, APreprocessorErrorComesAlone) {
    const CompileResult result = compileText("#else\nmain { undefined; }");
    EXPECT_TRUE(result.bytecode.empty());
    EXPECT_EQ(messageOf(result), "invalid #else");
}

TEST(Compiler, StampZeroIsTheTime) {
    const auto seconds = [] {
        return std::chrono::duration_cast<std::chrono::seconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    const auto before = seconds();
    const CompileResult result = compile("main { }", {});
    const auto after = seconds();
    ASSERT_GE(result.bytecode.size(), kEntryHeaderBytes);
    std::uint32_t stamp = 0;
    for (std::size_t i = 3; i < kEntryHeaderBytes; ++i)
        stamp = stamp << 8 | result.bytecode[i];
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, after);
}

TEST(Compiler, AnErrorInAMacroPointsAtItsUse) {
    const CompileResult result =
        compileText("#define TWICE(x) ((x) + (x))\nint a;\nmain {\n  a = 1; a = TWICE(b);\n}");
    ASSERT_EQ(messageOf(result), "unknown name: b");
    EXPECT_EQ(result.diagnostics[0].line, 4U);
    EXPECT_EQ(result.diagnostics[0].column, 14U);
}

TEST(Compiler, AnErrorInAnIncludedFileNamesIt) {
    const auto folder = std::filesystem::temp_directory_path() / "ferrylink_compiler_test";
    std::filesystem::create_directories(folder);
    const std::string path = (folder / "broken.gph").string();
    std::ofstream(path) << "int a;\nint a;\n";
    const CompileResult result = compile("#include \"broken.gph\"\nmain { }", {1, {}, {folder.string()}});
    std::filesystem::remove_all(folder);
    ASSERT_EQ(messageOf(result), "duplicate global variable");
    EXPECT_EQ(result.diagnostics[0].line, 2U);
    EXPECT_EQ(std::filesystem::path(result.diagnostics[0].file).filename(), "broken.gph");
}

/// A function of `statements` statements of 5 bytes each (`a = 1;`), its return included.
std::string paddedFunction(const std::string& name, std::size_t statements) {
    return "void " + name + "() { " + repeated(statements, "a = 1;") + "}\n";
}

TEST(Compiler, AFunctionMustBeginBelow64K) {
    // Before the functions: header 11, reservation 3, end of init and of main 2: 16 bytes.
    constexpr std::size_t kStatements = (0x10000 - 16) / 5;
    const std::string big = "uint8 a; " + paddedFunction("big", kStatements);
    EXPECT_EQ(messageOf(compileText(big + "void f() { } main { }")),
              "function address exceeds the GPC2 call range");
    EXPECT_EQ(messageOf(compileText(big + "main { }")),
              "program exceeds the 65535 bytes that addresses can reach");
    EXPECT_EQ(messageOf(compileText("uint8 a; " + paddedFunction("big", kStatements - 1) +
                                    "void f() { } main { }")),
              "");
}

TEST(Compiler, JumpsNeverWrap) {
    const std::string body = repeated(20000, "a = 1;");
    EXPECT_EQ(messageOf(compileText("uint8 a; main { while (a) { " + body + "} }")),
              "program exceeds the 65535 bytes that addresses can reach");
    EXPECT_EQ(messageOf(compileText("uint8 a; main { goto end; " + body + " end: ; }")),
              "program exceeds the 65535 bytes that addresses can reach");
}

TEST(Compiler, DepthsHaveLimits) {
    struct Case {
        std::string open, close, message;
    };
    const std::string expression = "expression is nested too deeply";
    const std::string statement = "statements are nested too deeply";
    for (const Case& c : {Case{"a = (", "", expression},
                          {"a = -", "", expression},
                          {"a = a[", "", expression},
                          {"{", "}", statement},
                          {"if (a) ", "", statement},
                          {"for (;;) ", "", statement}}) {
        const std::string opened = c.open.substr(0, 4) == "a = " ? "a = " + repeated(1000, c.open.substr(4))
                                                                 : repeated(1000, c.open);
        const std::string source = "uint8 *a; main { " + opened;
        EXPECT_EQ(messageOf(compileText(source)), c.message) << c.open;
    }
    EXPECT_EQ(
        messageOf(compileText("uint8 a; main { a = " + repeated(60, "(") + "a" + repeated(60, ")") + "; }")),
        "");
    EXPECT_EQ(messageOf(compileText("uint8 a; main { " + repeated(150, "{") + repeated(150, "}") + " }")),
              "");
}

TEST(Compiler, LongChainsNeedNoDepth) {
    EXPECT_EQ(messageOf(compileText("uint8 a; main { if (a) ;" + repeated(2000, " else if (a) ;") + "}")),
              "");
    EXPECT_EQ(messageOf(compileText("uint8 a; main { a = a" + repeated(2000, " || a") + "; }")), "");
    EXPECT_EQ(messageOf(compileText("int a; main { a = 0" + repeated(100000, " + 1") + "; }")), "");
}

TEST(Compiler, TablesAreBounded) {
    const std::string full = "constants and strings exceed the 32768 bytes of the data image";
    EXPECT_EQ(messageOf(compileText("const uint8 a[2000000000] = {1};")), full);
    EXPECT_EQ(messageOf(compileText("main { printf(\"" + std::string(40000, 'x') + "\"); }")), full);
    EXPECT_EQ(
        messageOf(compileText("#pragma METAINFO(\"" + std::string(40000, 'x') + "\", 1, 2, \"\")\nmain { }")),
        "script information exceeds the 32768 bytes in front of the code");
    EXPECT_EQ(messageOf(compileText(std::string(4200000, ';'))), "source has more than 4194304 tokens");
}

TEST(Compiler, PrintfTakes255Arguments) {
    const auto call = [](std::size_t count) {
        return "main { printf(\"" + repeated(count, "%d") + "\"" + repeated(count, ", 1") + "); }";
    };
    EXPECT_EQ(messageOf(compileText(call(255))), "");
    EXPECT_EQ(messageOf(compileText(call(256))), "printf has more than 255 arguments");
}

TEST(Builtins, ControllerIndices) {
    ASSERT_NE(findConstant("BUTTON_21"), nullptr);
    EXPECT_EQ(findConstant("BUTTON_1")->value, 0);
    EXPECT_EQ(findConstant("BUTTON_21")->value, 20);
    EXPECT_EQ(findConstant("STICK_1_X")->value, 21);
    EXPECT_EQ(findConstant("PADDLE_4")->value, kControlCount - 1);
    EXPECT_EQ(findConstant("PORT_USB_C")->value, 0);
    EXPECT_EQ(findConstant("PORT_USB_A")->value, 1);
    EXPECT_EQ(findConstant("PROTOCOL_HIDPROG")->value, 255);
    EXPECT_EQ(findConstant("BUTTON_22"), nullptr);
}

TEST(Builtins, TheDocumentedOnes) {
    struct Case {
        const char* name;
        std::size_t arguments;
        std::uint8_t opcode;
        Type result;
    };
    const Case cases[] = {
        {"mxyconverter_hoffset", 1, 0x94, kVoidType}, {"get_actual", 1, 0xA3, kFix32Type},
        {"time_active", 1, 0xA7, kUInt32Type},        {"check_active", 2, 0xAB, {TypeCode::UInt8}},
        {"led_vmget", 0, 0xB8, kInt16Type},           {"mouse_get", 1, 0xC8, kInt32Type},
        {"port_status", 3, 0xF0, {TypeCode::UInt8}},  {"display_overlay", 2, 0xFD, kVoidType}};
    for (const Case& c : cases) {
        const Builtin* builtin = findBuiltin(c.name);
        ASSERT_NE(builtin, nullptr) << c.name;
        EXPECT_EQ(static_cast<std::uint8_t>(builtin->opcode), c.opcode) << c.name;
        EXPECT_EQ(builtin->argumentCount(), c.arguments) << c.name;
        EXPECT_EQ(builtin->result, c.result) << c.name;
        EXPECT_EQ(builtin->origin, OpcodeOrigin::Fixed) << c.name;
    }
}

} // namespace
} // namespace Vantor::gpc

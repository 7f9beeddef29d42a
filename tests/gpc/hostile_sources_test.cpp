// Sources that mean harm. Each is given to gpc in a process of its own and must end in a diagnostic or a
// result, within a second of processor time, 256 MB, and the megabyte of stack that a program has on Windows
// (ten times that in builds with sanitizers, thirty times without optimisation).

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace Vantor::gpc {
namespace {

constexpr double kCpuLimitSeconds = 1.0 * FERRYLINK_HOSTILE_FACTOR;
constexpr double kMemoryLimitBytes = 256e6 * FERRYLINK_HOSTILE_FACTOR;
constexpr rlim_t kStackBytes = (1U << 20U) * FERRYLINK_HOSTILE_FACTOR;

struct Outcome {
    bool exited = false;
    int exitCode = -1;
    double cpuSeconds = 0;
    double peakBytes = 0;
    std::string errors;
};

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

class HostileSource : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "ferrylink_hostile_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string write(const std::string& name, std::string_view content) {
        const auto path = folder / name;
        std::ofstream(path, std::ios::binary) << content;
        return path.string();
    }

    Outcome check(const std::string& path) {
        const std::string errorsPath = (folder / "errors.txt").string();
        const pid_t child = fork();
        if (child == 0) {
            // Twice the limit ends what would never end; the assertion below uses the limit itself.
            const rlimit limit{static_cast<rlim_t>(2 * kCpuLimitSeconds) + 1,
                               static_cast<rlim_t>(2 * kCpuLimitSeconds) + 2};
            setrlimit(RLIMIT_CPU, &limit);
            const rlimit stack{kStackBytes, kStackBytes};
            setrlimit(RLIMIT_STACK, &stack);
            const int errors = open(errorsPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            dup2(errors, STDERR_FILENO);
            execl(FERRYLINK_GPC_PROGRAM, "gpc", "check", path.c_str(), nullptr);
            _exit(127);
        }
        Outcome outcome;
        int status = 0;
        rusage usage{};
        if (child < 0 || wait4(child, &status, 0, &usage) != child)
            return outcome;
        outcome.exited = WIFEXITED(status);
        outcome.exitCode = WEXITSTATUS(status);
        outcome.cpuSeconds = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
        outcome.peakBytes = static_cast<double>(usage.ru_maxrss) * 1024;
        std::ifstream errors(errorsPath);
        std::getline(errors, outcome.errors);
        return outcome;
    }

    /// The message of the diagnostic, or nothing when the source compiles.
    std::string survive(std::string_view what, std::string_view source) {
        SCOPED_TRACE(std::string(what));
        return judge(check(write("hostile.gpc", source)));
    }

    static std::string judge(const Outcome& outcome) {
        EXPECT_TRUE(outcome.exited) << "killed by a signal";
        EXPECT_LT(outcome.cpuSeconds, kCpuLimitSeconds);
        EXPECT_LT(outcome.peakBytes, kMemoryLimitBytes);
        if (outcome.exitCode == 0)
            return {};
        EXPECT_EQ(outcome.exitCode, 1) << outcome.errors;
        const std::size_t at = outcome.errors.find(": error: ");
        EXPECT_NE(at, std::string::npos) << outcome.errors;
        return at == std::string::npos ? "" : outcome.errors.substr(at + 9);
    }

    std::filesystem::path folder;
};

std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

/// M0 to M40, each made of the one before by `body`, in which @ stands for that one's number.
std::string macroTower(std::string_view header, std::string_view body) {
    std::string text;
    for (int level = 1; level <= 40; ++level) {
        text += "#define M" + std::to_string(level) + std::string(header) + ' ';
        for (const char byte : body)
            text += byte == '@' ? std::to_string(level - 1) : std::string(1, byte);
        text += '\n';
    }
    return text;
}

TEST_F(HostileSource, MacroBombs) {
    constexpr std::string_view kTooLarge = "macro expansion is too large";
    EXPECT_EQ(survive("doubling", "#define M0 x\n" + macroTower("", "M@ M@") + "M40\n"), kTooLarge);
    EXPECT_EQ(survive("doubling nothing", "#define M0\n" + macroTower("", "M@ M@") + "M40\n"), kTooLarge);
    EXPECT_EQ(survive("doubling calls", "#define M0(x) x\n" + macroTower("(x)", "M@(x) M@(x)") + "M40(1)\n"),
              kTooLarge);
    EXPECT_EQ(
        survive("doubling arguments", "#define M0(x) x x\n" + macroTower("(x)", "M@(x x)") + "M40(1)\n"),
        kTooLarge);
    EXPECT_EQ(survive("in a condition", "#define M0 +1\n" + macroTower("", "M@ M@") + "#if M40\n#endif\n"),
              "invalid #if expression");
    survive("calling itself", "#define F(x) F(F(x)) F(x)\n" + repeated("F(F(F(F(F(1)))))\n", 1000));
    survive("nested arguments", "#define F(x) x x\n" + repeated("F(", 1000) + "1" + repeated(")", 1000));
    survive("open calls", "#define F(x) x\n" + repeated("F(", 100000));
    survive("many arguments",
            "#define F(...) __VA_ARGS__ __VA_ARGS__\nF(F(F(" + repeated("1,", 1000000) + ")))");
    survive("empty names", "#define E\n" + repeated("E ", 3000000));
    survive("a long chain", [] {
        std::string text = "#define C0 0\n";
        for (int i = 1; i < 50000; ++i)
            text += "#define C" + std::to_string(i) + " C" + std::to_string(i - 1) + "\n";
        return text + "int8 a = C49999;\n";
    }());
}

TEST_F(HostileSource, IncludesThatMultiply) {
    EXPECT_EQ(survive("itself twice", "#include \"hostile.gpc\"\n#include \"hostile.gpc\"\n"),
              "include nesting exceeds 32 files");
    for (int level = 0; level < 30; ++level) {
        std::string source;
        for (int times = 0; times < 3; ++times)
            source += "#include \"level" + std::to_string(level + 1) + "\"\n";
        write("level" + std::to_string(level), source);
    }
    write("level30", "int8 a;\n");
    EXPECT_EQ(survive("a tree", "#include \"level0\"\n"), "more than 1024 files are included or imported");
    write("big", std::string(4 << 20, ' '));
    EXPECT_EQ(survive("large files", repeated("#if 0\n#endif\n#include \"big\"\n", 20)),
              "included files are larger than 8 MB in all");
}

TEST_F(HostileSource, IncludesThatAreNoFiles) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(survive("a directory", "#include \"/tmp\"\n"), "include file was not found: /tmp");
    EXPECT_EQ(survive("a device", "#include \"/dev/zero\"\n"), "include is not a regular file: /dev/zero");
    EXPECT_EQ(survive("a pipe", "#include \"pipe\"\n"),
              "include is not a regular file: " + (folder / "pipe").string());
    EXPECT_EQ(survive("a device as a translator", "#import \"/dev/zero\"\n"),
              "Input Translator file could not be read: /dev/zero");
    EXPECT_EQ(survive("a NUL in a name", std::string("#include \"/dev/zero\0\"\n", 22)).substr(0, 27),
              "include file was not found:");
    EXPECT_EQ(judge(check("/dev/zero")), "source is larger than 8 MB");
}

TEST_F(HostileSource, DeepNesting) {
    constexpr std::size_t kDeep = 100000;
    const auto inMain = [](const std::string& text) { return "int32 a; main { " + text + " }"; };
    const auto nested = [](std::string_view open, std::string_view middle, std::string_view close) {
        return repeated(open, kDeep) + std::string(middle) + repeated(close, kDeep);
    };
    EXPECT_NE(survive("parentheses", inMain("a = " + nested("(", "1", ")") + ";")), "");
    EXPECT_NE(survive("open parentheses", inMain("a = " + repeated("(", kDeep))), "");
    EXPECT_NE(survive("braces", inMain(nested("{", "", "}"))), "");
    EXPECT_NE(survive("open braces", inMain(repeated("{", kDeep))), "");
    EXPECT_NE(survive("ifs", inMain(repeated("if (a) ", kDeep) + ";")), "");
    EXPECT_NE(survive("elses", inMain(repeated("if (a) a = 1; else ", kDeep) + ";")), "");
    EXPECT_NE(survive("loops", inMain(nested("while (a) {", "", "}"))), "");
    EXPECT_NE(survive("switches", inMain(nested("switch (a) { case 1: ", "", "}"))), "");
    EXPECT_NE(survive("indices", "uint8 t[2]; " + inMain("a = " + nested("t[", "1", "]") + ";")), "");
    EXPECT_NE(survive("calls", inMain("a = " + nested("abs(", "1", ")") + ";")), "");
    EXPECT_NE(survive("casts", inMain("a = " + repeated("(int32)", kDeep) + "1;")), "");
    EXPECT_NE(survive("choices", inMain("a = " + repeated("a ? 1 : ", kDeep) + "1;")), "");
    EXPECT_NE(survive("assignments", inMain(repeated("a = ", kDeep) + "1;")), "");
    EXPECT_NE(survive("initialisers", "int32 t[] = " + nested("{", "1", "}") + ";"), "");
    EXPECT_NE(survive("constants", "int32 c = " + nested("(", "1", ")") + ";"), "");
    for (const std::string_view sign : {"-", "!", "~", "+ ", "*", "&"})
        EXPECT_NE(survive(sign, inMain("a = " + repeated(sign, kDeep) + "a;")), "");
    EXPECT_EQ(survive("conditions", repeated("#if 1\n", kDeep)),
              "unterminated conditional preprocessing block");
    EXPECT_EQ(survive("conditions left out", repeated("#if 0\n", kDeep)),
              "unterminated conditional preprocessing block");
    EXPECT_EQ(survive("parentheses in a condition", "#if " + nested("(", "1", ")") + "\n#endif\n"),
              "invalid #if expression");
}

TEST_F(HostileSource, LongWays) {
    EXPECT_EQ(survive("a line of 64 MB", repeated("a ", 32 << 20)), "source is larger than 8 MB");
    const std::size_t size = 8 << 20;
    survive("a name of 8 MB", std::string(size, 'a'));
    survive("8 MB of semicolons", std::string(size, ';'));
    survive("8 MB of line ends", std::string(size, '\n'));
    survive("8 MB of marks", repeated("#\n", size / 2));
    survive("8 MB of joined lines", repeated("\\\n", size / 2));
    survive("8 MB of a joined directive", "#define A " + repeated("\\\n", size / 2 - 100));
    survive("8 MB of comments", repeated("/**/", size / 4));
    survive("8 MB of globals", [&] {
        std::string text;
        for (int i = 0; text.size() < size - 20; ++i)
            text += "int8 g" + std::to_string(i) + ";";
        return text;
    }());
    const std::string functions = [&] {
        std::string text;
        for (int i = 0; text.size() < size - 40; ++i)
            text += "void f" + std::to_string(i) + "() { }\n";
        return text;
    }();
    EXPECT_EQ(survive("8 MB of functions", functions), "function address exceeds the GPC2 call range");
    survive("a long sum", "int32 a; main { a = " + repeated("a+", 1000000) + "a; }");
    survive("a long or", "int32 a; main { a = " + repeated("a||", 1000000) + "a; }");
    survive("8 MB of digits", "int32 a = " + std::string(size - 100, '1') + ";");
    survive("8 MB of text", "main { printf(\"" + std::string(size - 100, 'x') + "\"); }");
    survive(
        "8 MB of labels", "main { " + [&] {
            std::string text;
            for (int i = 0; text.size() < size - 100; ++i)
                text += "goto l" + std::to_string(i) + ";";
            return text;
        }() + "}");
    survive("8 MB of cases", "int32 a; main { switch (a) {" + repeated("case 1:", 1000000) + "} }");
}

TEST_F(HostileSource, WhatIsNeverClosed) {
    for (const std::string_view source : {"/*",
                                          "//",
                                          "\"",
                                          "'",
                                          "\"\\",
                                          "'\\",
                                          "#",
                                          "#define",
                                          "#define F(",
                                          "#include \"",
                                          "#include <",
                                          "#if (",
                                          "#import \"",
                                          "define",
                                          "define A (",
                                          "main {",
                                          "main { a = (",
                                          "combo C {",
                                          "int8 a[",
                                          "int8 a[] = {",
                                          "int8 a = \"",
                                          "void f(",
                                          "main { switch (1) {",
                                          "main { do",
                                          "main { for (",
                                          "main { if",
                                          "const",
                                          "static",
                                          "init",
                                          "main",
                                          "#define F(x) x\nF(",
                                          "main { printf(",
                                          "main { goto",
                                          "main { while (1",
                                          "const uint8 a[] = {1,",
                                          "int8 *p = &",
                                          "int8 a[99999999999];"})
        EXPECT_TRUE(!survive(source, source).empty() || source.front() == '/') << source;
}

TEST_F(HostileSource, RandomBytesAndRandomTokens) {
    std::mt19937 random(20250101);
    constexpr std::array<std::string_view, 48> kPieces{"main",
                                                       "init",
                                                       "combo",
                                                       "int8",
                                                       "int32",
                                                       "fix32",
                                                       "uint8",
                                                       "const",
                                                       "static",
                                                       "a",
                                                       "b",
                                                       "{",
                                                       "}",
                                                       "(",
                                                       ")",
                                                       "[",
                                                       "]",
                                                       ";",
                                                       ",",
                                                       "=",
                                                       "+=",
                                                       "?",
                                                       ":",
                                                       "*",
                                                       "&",
                                                       "-",
                                                       "1",
                                                       "2.5",
                                                       "'c'",
                                                       "\"s\"",
                                                       "if",
                                                       "else",
                                                       "while",
                                                       "for",
                                                       "switch",
                                                       "case 1:",
                                                       "default:",
                                                       "return",
                                                       "wait(10);",
                                                       "call(c);",
                                                       "goto l;",
                                                       "l:",
                                                       "\n#define A a\n",
                                                       "\n#if 1\n",
                                                       "\n#endif\n",
                                                       "set_val",
                                                       "BUTTON_1",
                                                       "void f()"};
    for (int round = 0; round < 60; ++round) {
        std::string bytes(random() % 5000, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        survive("bytes " + std::to_string(round), bytes);
        std::string tokens = round % 2 ? "int32 a; main {" : "";
        for (std::size_t i = random() % 400; i > 0; --i)
            tokens += std::string(kPieces[random() % kPieces.size()]) + ' ';
        survive("tokens " + std::to_string(round), tokens);
    }
    survive("NULs", std::string(100000, '\0'));
}

} // namespace
} // namespace Vantor::gpc

// What the case files cannot show: where the text came from, odd bytes and line ends, files in other places,
// the clock, and the limits on both of their sides.

#include "gpc/preprocessor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace Vantor::gpc {
namespace {

std::string textOf(std::string_view source) {
    const PreprocessResult result = preprocess(source, {});
    EXPECT_TRUE(result.diagnostics.empty()) << result.diagnostics[0].message;
    return result.text;
}

std::string messageOf(std::string_view source, const PreprocessOptions& options = {}) {
    const PreprocessResult result = preprocess(source, options);
    EXPECT_TRUE(result.diagnostics.empty() || result.text.empty()) << "a text in spite of a diagnostic";
    return result.diagnostics.empty() ? "" : result.diagnostics[0].message;
}

/// "line:column" where the user wrote what stands at `marker` in the preprocessed text.
std::string placeOf(const PreprocessResult& result, std::string_view marker) {
    const std::size_t offset = result.text.find(marker);
    EXPECT_NE(offset, std::string::npos) << marker << " in " << result.text;
    const SourcePlace place = result.lines.locate(result.text, offset);
    return std::string(place.file) + std::to_string(place.line) + ':' + std::to_string(place.column);
}

class TemporaryFolder : public testing::Test {
protected:
    void SetUp() override {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        folder = std::filesystem::temp_directory_path() /
                 ("ferrylink_preprocessor_" + std::string(test->name()) +
                  std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string write(const std::string& name, std::string_view content) {
        const auto path = folder / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
        return path.string();
    }

    std::filesystem::path folder;
};

TEST(LineMap, PointsAtWhatTheUserWrote) {
    const std::string source = "#define TWICE(x) first_##x second_\n"
                               "#if 0\n"
                               "left out\n"
                               "#endif\n"
                               "here; TWICE(1) behind\n"
                               "#define LONG \\\n"
                               "   more\n"
                               "  TWICE(\n"
                               "    2) third; TWICE(3)\n"
                               "last";
    const PreprocessResult result = preprocess(source, {});
    EXPECT_EQ(placeOf(result, "here"), "5:1");
    EXPECT_EQ(placeOf(result, "first_"), "5:7");
    EXPECT_EQ(placeOf(result, "second_"), "5:7");
    EXPECT_EQ(placeOf(result, "behind"), "5:16");
    EXPECT_EQ(placeOf(result, "third"), "9:8");
    EXPECT_EQ(placeOf(result, "first_##3"), "9:15");
    EXPECT_EQ(placeOf(result, "last"), "10:1");
    const SourcePlace end = result.lines.locate(result.text, result.text.size());
    EXPECT_EQ(end.line, 10u);
    EXPECT_EQ(end.column, 5u);
}

TEST(LineMap, StaysInStepBehindComments) {
    const std::string source = "#define A first_ // left out\n"
                               "A // left out\n"
                               "  second_ /* left out */ third_ /*\n"
                               " left out */ fourth_ //\n"
                               "fifth_ // no line end";
    const PreprocessResult result = preprocess(source, {});
    EXPECT_EQ(result.text.find("left"), std::string::npos);
    EXPECT_EQ(placeOf(result, "first_"), "2:1");
    EXPECT_EQ(placeOf(result, "second_"), "3:3");
    EXPECT_EQ(placeOf(result, "third_"), "3:26");
    EXPECT_EQ(placeOf(result, "fourth_"), "4:14");
    EXPECT_EQ(placeOf(result, "fifth_"), "5:1");
    const SourcePlace end = result.lines.locate(result.text, result.text.size());
    EXPECT_EQ(end.line, 5u);
    EXPECT_EQ(end.column, 22u);
}

TEST_F(TemporaryFolder, LineMapNamesTheFileOnBothSidesOfAnInclude) {
    write("inner.gpc", "inner_one\n  inner_two");
    const std::string outer = write("outer.gpc", "");
    PreprocessOptions options;
    options.sourcePath = outer;
    const PreprocessResult result = preprocess("before\n#include \"inner.gpc\"\nafter\n", options);
    const std::string inner = (folder / "inner.gpc").generic_string();
    EXPECT_EQ(placeOf(result, "before"), outer + "1:1");
    EXPECT_EQ(placeOf(result, "inner_one"), inner + "1:1");
    EXPECT_EQ(placeOf(result, "inner_two"), inner + "2:3");
    EXPECT_EQ(placeOf(result, "after"), outer + "3:1");
    // An include may be the last thing that a file has.
    const PreprocessResult last = preprocess("a\n#include \"inner.gpc\"", options);
    const SourcePlace end = last.lines.locate(last.text, last.text.size());
    EXPECT_EQ(std::string(end.file) + std::to_string(end.line), outer + "2");
}

TEST(Preprocessor, TakesLineEndsAndOddBytesAsTheyCome) {
    using namespace std::string_view_literals;
    struct Expected {
        std::string_view source;
        std::string_view text;
    };
    const Expected cases[] = {
        {"", ""},
        {"no line end", "no line end"},
        {"#define A 1", ""},
        {"#define A 1\r\n#if A\r\nA\r\n#endif\r\n", "1\r\n"},
        {"#define A 1 + \\\r\n 2\r\nA", "1 +  2"},
        {"#define A \\", ""},
        {"\xEF\xBB\xBF#define A 1\nA", "1"},
        {"\t #\tdefine A 1\nA", "1"},
        {"#define A 1\na\0A\0"sv, "a\0"
                                  "1\0"sv},
        {"#define A \x01"
         "B\n#define B 2\nA \x01"
         "B",
         "\x02"
         "2 \x01"
         "2"},
        {"#define F(x) x\nF(\"\x01\")F('\x01')", "\"\x01\"'\x01'"},
        {"#define N\xC3\xA4 1\nN\xC3\xA4 N", "1 N"},
        {"#define A 1\n\"A\nA\" A", "\"A\nA\" 1"},
        {"#define A 1\n\"A\n#undef B\nA\" A", "\"A\nA\" 1"},
        {"#define A 1\n'A\\", "'A\\"},
        {"#define A 1\n/* A", " "},
        {"#define A 1 /* A\nA */ A", "  1"},
        {"#define A +\nA/**/+ A//\n+ a/**/b", "+ + +\n+ a b"},
        {"#define F(x) [x]\nF//(\n(/*)*/1) F /*\n#define A */ (2)//", "[1] [2]"},
        {"#define F(x) [x]\nF\n#undef F\n(1)", "F\n(1)"},
        {"#define E\nE E E", "  "},
        {"#define F(x)\nF(1)F F(2)", "F "},
        {"defined definer define_ define1", "defined definer define_ define1"},
    };
    for (const Expected& c : cases)
        EXPECT_EQ(textOf(c.source), c.text) << c.source;
}

TEST(Preprocessor, DateAndTimeAreThoseOfTheStart) {
    PreprocessOptions options;
    std::tm moment{};
    moment.tm_year = 124;
    moment.tm_mon = 2;
    moment.tm_mday = 5;
    moment.tm_hour = 7;
    moment.tm_min = 8;
    moment.tm_sec = 9;
    moment.tm_isdst = -1;
    options.startTime = std::mktime(&moment);
    EXPECT_EQ(preprocess("__DATE__ __TIME__ __DATE__", options).text,
              "\"Mar 05 2024\" \"07:08:09\" \"Mar 05 2024\"");
    EXPECT_EQ(textOf("#undef __DATE__\n__DATE__"), "__DATE__");
}

TEST_F(TemporaryFolder, IncludesAreSearchedBesideTheFileAndThenInOrder) {
    const std::string main = write("main.gpc", "");
    write("here.gpc", "beside");
    write("one/here.gpc", "one");
    write("one/only.gpc", "one_only");
    write("two/only.gpc", "two");
    write("two/deep/chain.gpc", "#include \"next.gpc\"\n#include <here.gpc>\n");
    write("two/deep/next.gpc", "next");
    PreprocessOptions options;
    options.sourcePath = main;
    options.includeDirectories = {(folder / "one").string(), (folder / "two").string()};
    EXPECT_EQ(preprocess("#include \"here.gpc\"\n#include <here.gpc>\n#include \"only.gpc\"", options).text,
              "beside\none\none_only\n");
    EXPECT_EQ(preprocess("#include <deep/chain.gpc>", options).text, "next\none\n");
    options.sourcePath.clear();
    EXPECT_EQ(preprocess("#include \"here.gpc\"", options).text, "one\n");
}

TEST_F(TemporaryFolder, ThirtyTwoNestedIncludesAreTheLimit) {
    for (int depth = 1; depth <= 33; ++depth)
        write("f" + std::to_string(depth),
              depth == 33 ? "deepest" : "#include \"f" + std::to_string(depth + 1) + "\"\n");
    PreprocessOptions options;
    options.sourcePath = write("main.gpc", "");
    EXPECT_EQ(preprocess("#include \"f2\"", options).text, "deepest\n");
    const PreprocessResult refused = preprocess("#include \"f1\"", options);
    ASSERT_EQ(refused.diagnostics.size(), 1u);
    EXPECT_EQ(refused.diagnostics[0].message, "include nesting exceeds 32 files");
    EXPECT_EQ(refused.diagnostics[0].file, (folder / "f32").generic_string());
}

TEST_F(TemporaryFolder, FilesThatAreTooManyOrTooLargeAreRefused) {
    PreprocessOptions options;
    options.sourcePath = write("main.gpc", "");
    write("small.gpc", "");
    write("large.gpc", std::string(kMaxSourceBytes + 1, ' '));
    write("half.gpc", std::string(kMaxGrowthBytes / 2 + 1, ' '));
    write("large.git", std::string((1u << 20) + 1, '\x10'));
    std::string many;
    for (int i = 0; i < 1024; ++i)
        many += "#include \"small.gpc\"\n";
    EXPECT_EQ(messageOf(many, options), "");
    EXPECT_EQ(messageOf(many + "#include \"small.gpc\"\n", options),
              "more than 1024 files are included or imported");
    EXPECT_EQ(messageOf("#include \"half.gpc\"\n#include \"half.gpc\"\n", options),
              "included files are larger than 8 MB in all");
    EXPECT_EQ(messageOf("#include \"large.gpc\"\n", options),
              "include file is larger than 8 MB: " + (folder / "large.gpc").generic_string());
    EXPECT_EQ(messageOf("#import \"large.git\"\n", options),
              "Input Translator file could not be read: large.git");
    EXPECT_EQ(messageOf(std::string(kMaxSourceBytes, ' ')), "");
    EXPECT_EQ(messageOf(std::string(kMaxSourceBytes + 1, ' ')), "source is larger than 8 MB");
}

TEST(Preprocessor, ExpansionIsCappedInSizeWorkAndDepth) {
    std::string doubling = "#define M0 0123456789\n";
    std::string silent = "#define E0\n";
    std::string chain = "#define C0 done\n";
    const auto twice = [](char letter, int i) {
        const std::string previous = std::string(" ") + letter + std::to_string(i - 1);
        return std::string("#define ") + letter + std::to_string(i) + previous + previous + '\n';
    };
    for (int i = 1; i <= 40; ++i) {
        doubling += twice('M', i);
        silent += twice('E', i);
    }
    for (int i = 1; i <= 5000; ++i)
        chain += "#define C" + std::to_string(i) + " C" + std::to_string(i - 1) + "\n";
    EXPECT_EQ(messageOf(doubling + "M40"), "macro expansion is too large");
    EXPECT_EQ(messageOf(silent + "E40"), "macro expansion is too large");
    EXPECT_EQ(messageOf(silent + "#if E40 1\n#endif\n"), "invalid #if expression");
    EXPECT_EQ(messageOf(chain + "C4000"), "");
    EXPECT_EQ(messageOf(chain + "C5000"), "macro expansion is nested too deeply");

    const auto nestedCalls = [](int depth) {
        std::string text = "#define F(x) x\n";
        for (int i = 0; i < depth; ++i)
            text += "F(";
        return text + "1" + std::string(static_cast<std::size_t>(depth), ')');
    };
    EXPECT_EQ(messageOf(nestedCalls(200)), "");
    EXPECT_EQ(messageOf(nestedCalls(201)), "macro expansion is nested too deeply");
    EXPECT_EQ(messageOf(nestedCalls(100000)), "macro expansion is too large");

    std::string large = "#define BIG " + std::string(100000, 'x') + "\n";
    for (int i = 0; i < 90; ++i)
        large += "BIG\n";
    EXPECT_EQ(messageOf(large), "preprocessed source is too large");

    std::string parameters = "#define P(a0";
    for (int i = 1; i < 256; ++i)
        parameters += ",a" + std::to_string(i);
    EXPECT_EQ(messageOf(parameters + ") a255\n"), "");
    EXPECT_EQ(messageOf(parameters + ",more) a255\n"), "too many macro parameters");
}

} // namespace
} // namespace Vantor::gpc

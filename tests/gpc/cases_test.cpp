// Runs every case of cases/ and compares what comes out with what the case expects.

#include "case_files.h"
#include "gpc/compiler.h"
#include "gpc/disassembler.h"
#include "gpc/preprocessor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace Vantor::gpc {
namespace {

std::string described(const std::string& file, std::uint64_t line, std::uint64_t column,
                      const std::string& message) {
    return file.substr(file.rfind('/') + 1) + ':' + std::to_string(line) + ':' + std::to_string(column) +
           ": " + message;
}

std::vector<std::string> describedAll(const std::vector<Diagnostic>& diagnostics) {
    std::vector<std::string> lines;
    lines.reserve(diagnostics.size());
    for (const Diagnostic& d : diagnostics)
        lines.push_back(described(d.file, d.line, d.column, d.message));
    return lines;
}

/// Lines without their outer blanks; empty ones and those of comments alone do not count.
std::vector<std::string> textLines(const std::vector<std::string>& lines) {
    std::vector<std::string> kept;
    for (const std::string& line : lines) {
        std::string text = tidied(line, false);
        if (!text.empty() && text.rfind("//", 0) != 0)
            kept.push_back(std::move(text));
    }
    return kept;
}

/// The listing from the block's first line to its last, as far as they are found; everything otherwise.
std::vector<std::string> listingPart(const std::vector<std::uint8_t>& bytecode,
                                     const std::vector<std::string>& block) {
    std::vector<std::string> lines;
    for (const std::string& line : splitLines(printListing(disassemble(bytecode)))) {
        if (std::string text = tidied(line, true); !text.empty())
            lines.push_back(std::move(text));
    }
    if (block.empty())
        return lines;
    const auto first = std::find(lines.begin(), lines.end(), block.front());
    const auto last = std::find(first, lines.end(), block.back());
    return first == lines.end() || last == lines.end() ? lines : std::vector<std::string>(first, last + 1);
}

void comparePreprocessed(const Case& c) {
    PreprocessOptions options;
    options.sourcePath = c.path;
    const PreprocessResult result = preprocess(c.source, options);
    EXPECT_TRUE(result.diagnostics.empty());
    EXPECT_EQ(textLines(splitLines(result.text)), textLines(*c.text));
}

void compareListing(const Case& c, const CompileResult& result) {
    std::vector<std::string> expected;
    for (const std::string& line : *c.listing) {
        if (std::string text = tidied(line, true); !text.empty())
            expected.push_back(std::move(text));
    }
    EXPECT_EQ(listingPart(result.bytecode, expected), expected);
}

void runCase(const Case& c) {
    SCOPED_TRACE(c.path + ":" + std::to_string(c.firstLine) + ": " + c.title);
    ASSERT_TRUE(c.expectsOk || c.listing || c.text || !c.diagnostics.empty()) << "the case expects nothing";
    if (c.text)
        comparePreprocessed(c);
    if (!c.expectsOk && !c.listing && c.diagnostics.empty())
        return; // its text need not be a program
    CompileOptions options;
    options.buildStamp = 1;
    options.sourcePath = c.path;
    const CompileResult result = compile(c.source, options);
    std::vector<std::string> expected;
    for (const ExpectedDiagnostic& d : c.diagnostics)
        expected.push_back(described(d.file, d.line, d.column, d.message));
    EXPECT_EQ(describedAll(result.diagnostics), expected);
    EXPECT_NE(result.bytecode.empty(), result.diagnostics.empty());
    if (c.listing)
        compareListing(c, result);
}

TEST(Cases, EndAsTheySay) {
    const std::vector<Case> cases = readCases();
    ASSERT_GT(cases.size(), 50u) << "the case files were not found";
    for (const Case& c : cases)
        runCase(c);
}

} // namespace
} // namespace Vantor::gpc

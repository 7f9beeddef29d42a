// One pass over the lines of each file.

#include "case_files.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace Vantor::gpc {

namespace {

const std::string kFolder = FERRYLINK_CASES_DIR;

/// Cuts the number behind the last colon off `text`.
unsigned long takeNumber(std::string& text) {
    const std::size_t colon = text.rfind(':');
    const std::size_t begin = colon == std::string::npos ? 0 : colon + 1;
    const unsigned long number = std::strtoul(text.c_str() + begin, nullptr, 10);
    text.erase(colon == std::string::npos ? 0 : colon);
    return number;
}

/// "[FILE:]LINE:COLUMN: message"; what is malformed has line 0, which no diagnostic has.
ExpectedDiagnostic readExpectation(const std::string& text, const std::string& ownPath) {
    const std::size_t end = text.find(": ");
    ExpectedDiagnostic expected;
    std::string place = text.substr(0, end);
    expected.column = takeNumber(place);
    expected.line = takeNumber(place);
    expected.file = place.empty() ? ownPath : kFolder + "/" + place;
    expected.message = end == std::string::npos ? "" : text.substr(end + 2);
    return expected;
}

class Reader {
public:
    explicit Reader(std::string casePath) : path(std::move(casePath)) {}

    void take(const std::string& line) {
        ++lineNumber;
        if (line.rfind("//// ", 0) == 0) {
            cases.push_back({line.substr(5), path, lineNumber + 1, {}, false, {}, {}, {}});
            block = nullptr;
            return;
        }
        if (cases.empty())
            return;
        Case& current = cases.back();
        current.source += line + "\n";
        const std::string comment = tidied(line, false);
        if (block && comment.rfind("//", 0) == 0) {
            block->emplace_back(comment.substr(2));
            return;
        }
        block = nullptr;
        if (comment == "// expect-listing:")
            block = &current.listing.emplace();
        else if (comment == "// expect-text:")
            block = &current.text.emplace();
        else if (comment == "// expect: ok")
            current.expectsOk = true;
        else if (comment.rfind("// expect: ", 0) == 0)
            current.diagnostics.push_back(readExpectation(comment.substr(11), path));
    }

    std::vector<Case> cases;

private:
    std::string path;
    unsigned lineNumber = 0;
    std::vector<std::string>* block = nullptr;
};

} // namespace

std::string tidied(const std::string& line, bool squeeze) {
    std::string result;
    for (const char byte : line) {
        const bool blank = byte == ' ' || byte == '\t' || byte == '\r';
        if (blank && (result.empty() || (squeeze && result.back() == ' ')))
            continue;
        result += blank && squeeze ? ' ' : byte;
    }
    result.erase(std::find_if(result.rbegin(), result.rend(),
                              [](char byte) { return byte != ' ' && byte != '\t' && byte != '\r'; })
                     .base(),
                 result.end());
    return result;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<Case> readCases() {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
        if (entry.path().extension() == ".gpc")
            paths.push_back(kFolder + "/" + entry.path().filename().string());
    }
    std::sort(paths.begin(), paths.end());
    std::vector<Case> all;
    for (const std::string& path : paths) {
        Reader reader(path);
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);)
            reader.take(line);
        std::move(reader.cases.begin(), reader.cases.end(), std::back_inserter(all));
    }
    return all;
}

} // namespace Vantor::gpc

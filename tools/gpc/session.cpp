// Text goes to standard error and JSON to standard output, each in one piece at the end.

#include "session.h"

#include "diagnostic_text.h"
#include "files.h"
#include "gpc/compiler.h"

#include <cstdio>
#include <utility>

namespace Vantor::gpctool {

namespace {

constexpr int kDocumentFormat = 1;

} // namespace

Session::Session(const Options& commandOptions) : options(commandOptions) {
    if (!options.json)
        return;
    document["format"] = kDocumentFormat;
    document["command"] = options.command;
    document["input"] = options.input;
    document["ok"] = false;
    document["error"] = nullptr;
    document["diagnostics"] = nlohmann::ordered_json::array();
}

bool Session::read(std::size_t limit) {
    std::string error;
    if (readInput(options.input, limit, input, error))
        return true;
    fail(error);
    return false;
}

bool Session::write(const std::string& path, std::string_view content) {
    std::string error;
    if (isSameFile(options.input, path))
        error = "the output would replace the input: " + path;
    else if (writeOutput(path, content, error))
        return true;
    fail(error);
    return false;
}

bool Session::compile(std::vector<std::uint8_t>& bytecode) {
    gpc::CompileOptions compileOptions;
    compileOptions.buildStamp = options.stamp;
    compileOptions.sourcePath = sourcePath();
    compileOptions.includeDirectories = includeDirectories();
    gpc::CompileResult result = gpc::compile(input, compileOptions);
    if (result.diagnostics.empty() && (result.bytecode.empty() || result.bytecode.size() > kSlotBytes)) {
        result.diagnostics.push_back(
            {0, 1, 1, "The compiled GPC bytecode is empty or exceeds the Titan Two 8 KB limit.",
             sourcePath()});
    }
    report(result.diagnostics);
    bytecode = std::move(result.bytecode);
    return result.diagnostics.empty();
}

void Session::fail(const std::string& message) {
    if (options.json)
        document["error"] = message;
    errorText += "gpc: " + printable(message) + '\n';
}

void Session::report(const std::vector<gpc::Diagnostic>& diagnostics) {
    for (const gpc::Diagnostic& diagnostic : diagnostics) {
        errorText += diagnosticText(diagnostic, sourcePath(), input);
        if (options.json)
            document["diagnostics"].push_back({{"file", shownPath(diagnostic.file)},
                                               {"line", diagnostic.line},
                                               {"column", diagnostic.column},
                                               {"message", diagnostic.message},
                                               {"position", diagnostic.position}});
    }
}

int Session::finish(int exitCode) {
    if (!options.json) {
        std::fputs(errorText.c_str(), stderr);
        return exitCode;
    }
    document["ok"] = exitCode == kExitFine;
    // A source may hold bytes that are no UTF-8; the document may not.
    const std::string text = document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
    std::string error;
    if (!writeOutput(std::string(kStandardStream), text, error)) {
        std::fputs(("gpc: " + error + '\n').c_str(), stderr);
        return kExitUsage;
    }
    return exitCode;
}

std::string Session::sourcePath() const {
    return options.input == kStandardStream ? std::string() : options.input;
}

std::vector<std::string> Session::includeDirectories() const {
    std::vector<std::string> directories = options.includeDirectories;
    if (options.input == kStandardStream)
        directories.insert(directories.begin(), ".");
    return directories;
}

} // namespace Vantor::gpctool

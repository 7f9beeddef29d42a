// Commands that start from a source, and the one for Input Translators.

#include "commands.h"
#include "diagnostic_text.h"
#include "files.h"
#include "gpc/input_translator.h"
#include "gpc/source_file.h"
#include "session.h"

#include <array>
#include <cstdio>
#include <span>

namespace Vantor::gpctool {

namespace {

constexpr std::size_t kTranslatorReadLimit = 64u << 10;
constexpr std::size_t kBytesPerLine = 16;

std::string_view asText(const std::vector<std::uint8_t>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::span<const std::uint8_t> asBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// SRC with the extension .gbc.
std::string defaultOutput(const std::string& source) {
    return gpc::utf8FromPath(gpc::pathFromUtf8(source).replace_extension(".gbc"));
}

std::string translatorText(const gpc::InputTranslator& translator) {
    std::string text = "title: \"" + printable(translator.title) + "\"\n";
    text += "sections: " + std::to_string(translator.sections.size()) + '\n';
    std::array<char, 64> buffer{};
    for (const gpc::InputTranslatorSection& section : translator.sections) {
        const std::string name(gpc::inputTranslatorSectionName(section.tag));
        std::snprintf(buffer.data(), buffer.size(), "  0x%02x  %s  %zu bytes\n", section.tag, name.c_str(),
                      section.data.size());
        text += buffer.data();
        for (std::size_t at = 0; at < section.data.size(); ++at) {
            const bool first = at % kBytesPerLine == 0;
            const bool last = at % kBytesPerLine == kBytesPerLine - 1 || at + 1 == section.data.size();
            std::snprintf(buffer.data(), buffer.size(), "%s%02x%s", first ? "        " : " ",
                          section.data[at], last ? "\n" : "");
            text += buffer.data();
        }
    }
    return text;
}

void describe(const gpc::InputTranslator& translator, nlohmann::ordered_json& document) {
    document["title"] = translator.title;
    document["sections"] = nlohmann::ordered_json::array();
    for (const gpc::InputTranslatorSection& section : translator.sections)
        document["sections"].push_back({{"tag", section.tag},
                                        {"name", gpc::inputTranslatorSectionName(section.tag)},
                                        {"data", section.data}});
}

} // namespace

int compileCommand(const Options& options) {
    Session session(options);
    if (options.output.empty() && options.input == kStandardStream) {
        session.fail("compiling standard input needs -o");
        return session.finish(kExitUsage);
    }
    if (options.json && options.output == kStandardStream) {
        session.fail("standard output takes either the bytecode or the JSON document");
        return session.finish(kExitUsage);
    }
    std::vector<std::uint8_t> bytecode;
    if (!session.read(kSourceReadLimit))
        return session.finish(kExitUsage);
    if (!session.compile(bytecode))
        return session.finish(kExitFaulty);
    const std::string output = options.output.empty() ? defaultOutput(options.input) : options.output;
    if (!session.write(output, asText(bytecode)))
        return session.finish(kExitUsage);
    if (options.json) {
        session.document["output"] = output;
        session.document["bytes"] = bytecode.size();
    }
    return session.finish(kExitFine);
}

int checkCommand(const Options& options) {
    Session session(options);
    std::vector<std::uint8_t> bytecode;
    if (!session.read(kSourceReadLimit))
        return session.finish(kExitUsage);
    if (!session.compile(bytecode))
        return session.finish(kExitFaulty);
    if (options.json)
        session.document["bytes"] = bytecode.size();
    return session.finish(kExitFine);
}

int preprocessCommand(const Options& options) {
    Session session(options);
    if (!session.read(kSourceReadLimit))
        return session.finish(kExitUsage);
    const gpc::PreprocessResult result =
        gpc::preprocess(session.input, {session.sourcePath(), session.includeDirectories(), 0});
    session.report(result.diagnostics);
    if (!result.diagnostics.empty())
        return session.finish(kExitFaulty);
    const bool inDocument = options.json && options.output.empty();
    if (inDocument)
        session.document["text"] = result.text;
    else if (!session.write(options.output.empty() ? std::string(kStandardStream) : options.output,
                            result.text))
        return session.finish(kExitUsage);
    return session.finish(kExitFine);
}

int translatorCommand(const Options& options) {
    Session session(options);
    if (!session.read(kTranslatorReadLimit))
        return session.finish(kExitUsage);
    gpc::InputTranslator translator;
    std::string error;
    if (!gpc::parseInputTranslator(asBytes(session.input), translator, error)) {
        session.fail(shownPath(options.input) + ": " + error);
        return session.finish(kExitFaulty);
    }
    if (options.json)
        describe(translator, session.document);
    else if (!session.write(std::string(kStandardStream), translatorText(translator)))
        return session.finish(kExitUsage);
    return session.finish(kExitFine);
}

} // namespace Vantor::gpctool

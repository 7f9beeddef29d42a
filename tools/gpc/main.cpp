// gpc: compiles, checks, preprocesses, lists and runs scripts. This file reads the command line; nothing
// else.

#include "commands.h"
#include "options.h"
#include "platform/binary_streams.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

namespace {

using namespace Vantor::gpctool;

enum Takes : unsigned {
    kOutput = 1,
    kIncludes = 2,
    kStamp = 4,
    kTicks = 8,
};

struct Command {
    std::string_view name;
    const char* inputName;
    const char* summary;
    unsigned takes;
    int (*run)(const Options&);
};

constexpr std::array kCommands{
    Command{"compile", "SRC",
            "Compile a script to a GBC file (SRC with the extension .gbc unless -o says otherwise)",
            kOutput | kIncludes | kStamp, compileCommand},
    Command{"check", "SRC", "Compile a script and write nothing", kIncludes | kStamp, checkCommand},
    Command{"preprocess", "SRC", "Print the text that the compiler reads after includes and macros",
            kOutput | kIncludes, preprocessCommand},
    Command{"disassemble", "FILE.gbc", "List the instructions of a GBC file", kOutput, disassembleCommand},
    Command{"run", "FILE", "Run a script (.gpc) or a GBC file on the reference machine",
            kIncludes | kStamp | kTicks, runCommand},
    Command{"translator", "FILE.git", "List title and sections of an Input Translator", 0, translatorCommand},
};

constexpr const char* kFooter = R"(
Wherever a file is read, - stands for standard input; -o - writes standard output.

Examples:
  gpc compile aim.gpc                      writes aim.gbc
  gpc compile aim.gpc -I lib -o out.gbc    looks for included files in lib, too
  gpc check aim.gpc --format json          one JSON document for an editor or a build
  gpc preprocess aim.gpc | less            what macros and includes made of it
  gpc disassemble aim.gbc                  the listing
  gpc run aim.gpc --ticks 500              five seconds at 10 ms per tick; printf goes to standard output
  gpc translator pad.git                   what an Input Translator holds

Exit codes: 0 fine; 1 the input has an error, or the script had to be stopped; 2 wrong usage, or a file that cannot be
read or written. Errors go to standard error as PATH:LINE:COLUMN: error: MESSAGE; docs/gpc.md describes the JSON.)";

void addCommand(CLI::App& app, const Command& command, Options& options) {
    CLI::App* const sub = app.add_subcommand(std::string(command.name), command.summary);
    sub->add_option(command.inputName, options.input, "The file to read, or - for standard input")
        ->required()
        ->option_text(" ");
    sub->add_option("--format", options.format, "How to report: text (for people) or json")
        ->option_text("text|json")
        ->check(CLI::IsMember({"text", "json"}));
    if (command.takes & kOutput)
        sub->add_option("-o", options.output, "The file to write, or - for standard output")
            ->option_text("OUT");
    if (command.takes & kIncludes)
        sub->add_option("-I", options.includeDirectories,
                        "A directory for included files; repeatable, searched in order")
            ->option_text("DIR")
            ->allow_extra_args(false);
    if (command.takes & kStamp)
        sub->add_option("--stamp", options.stamp,
                        "Build stamp for the file's header; 0 means the seconds since 1970")
            ->option_text("N");
    if (command.takes & kTicks) {
        sub->add_option("--ticks", options.ticks, "How many ticks of 10 ms to run (100 unless given)")
            ->option_text("N");
        sub->add_flag("--trace", options.trace, "Print every instruction to standard error before it runs");
    }
}

int runTool(int argc, char** argv) {
    Options options;
    CLI::App app("gpc: the script toolchain of FerryLink", "gpc");
    app.set_version_flag("--version", "gpc " FERRYLINK_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    // Six commands with their options take longer to describe than a small script to compile, so a command
    // that is named first is described alone.
    const std::string_view first = argc > 1 ? argv[1] : "";
    const bool named = std::any_of(kCommands.begin(), kCommands.end(),
                                   [&](const Command& command) { return command.name == first; });
    for (const Command& command : kCommands) {
        if (!named || command.name == first)
            addCommand(app, command, options);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitFine : kExitUsage;
    }
    for (const Command& command : kCommands) {
        if (named ? command.name != first : !app.got_subcommand(std::string(command.name)))
            continue;
        options.command = command.name;
        options.json = options.format == "json";
        return command.run(options);
    }
    return kExitUsage;
}

} // namespace

int main(int argc, char** argv) {
    Vantor::platform::makeStandardStreamsBinary();
    try {
        return runTool(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "gpc: %s\n", error.what());
        return kExitUsage;
    }
}

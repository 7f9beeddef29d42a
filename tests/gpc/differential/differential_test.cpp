// Compiled scripts against C: random programs are compiled and run on the script machine, and printed as C,
// compiled by the system's C compiler and run; every byte of every global must come out the same.
//
// FERRYLINK_DIFFERENTIAL_PROGRAMS and FERRYLINK_DIFFERENTIAL_SEED in the environment ask for another number
// of programs or another first seed. A difference is printed with its seed and as the smallest program that
// still shows it.

#include "gpc/compiler.h"
#include "simulator/script_machine.h"
#include "simulator/script_machine_memory.h"
#include "tests/gpc/differential/random_program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace Vantor::gpc::differential {
namespace {

constexpr std::uint64_t kDefaultPrograms = 2000;
constexpr std::uint64_t kDefaultSeed = 1;
constexpr std::size_t kProgramsPerFile = 250;
constexpr std::uint64_t kStepLimit = 20'000'000;
constexpr unsigned kStorageTop = 0x2400;

std::uint64_t setting(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

/// The bytes of the globals as the C side prints them. Addresses follow from the rules of storage, not from
/// the compiler.
std::string showGlobals(const Program& program, std::span<const std::uint8_t> memory) {
    std::string text;
    unsigned counter = 0;
    for (const int index : program.globals) {
        const Variable& v = program.variables[static_cast<std::size_t>(index)];
        if (v.isConst()) {
            continue;
        }
        const unsigned width = v.isPointer() ? 2 : widthOf(v.type);
        const unsigned size = width * static_cast<unsigned>(std::max(v.length, 1));
        counter = (counter + width - 1) / width * width + size;
        for (unsigned i = 0; i < size && !v.isPointer(); ++i) {
            std::array<char, 3> digits{};
            std::snprintf(digits.data(), digits.size(), "%02x", memory[kStorageTop - counter + i]);
            text += digits.data();
        }
    }
    return text;
}

/// One program in many thousands does not fit a memory slot; there is nothing to compare then.
constexpr const char* kTooLong = "too long";

/// What the script leaves in its globals, or what went wrong.
std::string runScript(const Program& program) {
    const CompileResult compiled =
        compile(printScript(program), {.buildStamp = 1, .sourcePath = {}, .includeDirectories = {}});
    if (!compiled.diagnostics.empty()) {
        const Diagnostic& d = compiled.diagnostics.front();
        return "not compiled: " + std::to_string(d.line) + ":" + std::to_string(d.column) + ": " + d.message;
    }
    if (compiled.bytecode.size() > simulator::kScriptFileLimitBytes) {
        return kTooLong;
    }
    simulator::ScriptMachine machine({.tickMs = 10, .stepLimit = kStepLimit, .seed = 1});
    if (!machine.load(compiled.bytecode) || !machine.tick() || !machine.tick()) {
        return "stopped: " + machine.error();
    }
    return showGlobals(program, machine.memory());
}

class CSide {
public:
    CSide() : directory(createDirectory()) {}
    ~CSide() {
        std::error_code ignored;
        if (directory != std::filesystem::temp_directory_path()) {
            std::filesystem::remove_all(directory, ignored);
        }
    }
    CSide(const CSide&) = delete;
    CSide& operator=(const CSide&) = delete;

    /// One line per program; fewer when the C compiler or the C program failed.
    std::vector<std::string> run(const std::vector<Program>& programs) {
        const auto source = directory / "programs.c";
        {
            std::ofstream out(source);
            out << cPrelude();
            for (std::size_t i = 0; i < programs.size(); ++i) {
                out << printC(programs[i], "p" + std::to_string(i) + "_");
            }
            out << "int main(void) {\n";
            for (std::size_t i = 0; i < programs.size(); ++i) {
                out << "p" << i << "_run();\n";
            }
            out << "return 0; }\n";
        }
        const auto binary = directory / "programs";
        const std::string build =
            std::string(FERRYLINK_C_COMPILER) + " -w -o " + binary.string() + " " + source.string();
        if (std::system(build.c_str()) != 0) {
            return {};
        }
        return readLines(binary.string());
    }

private:
    std::filesystem::path directory;

    /// The first number whose directory nobody else has created; several of these may run at once.
    static std::filesystem::path createDirectory() {
        auto parent = std::filesystem::temp_directory_path();
        for (unsigned i = 0; i < 10000; ++i) {
            auto path = parent / ("ferrylink-differential-" + std::to_string(i));
            std::error_code error;
            if (std::filesystem::create_directory(path, error)) {
                return path;
            }
        }
        return parent;
    }

    static std::vector<std::string> readLines(const std::string& command) {
        std::vector<std::string> lines;
        const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
        std::string line;
        std::array<char, 4096> buffer{};
        while (pipe && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) {
            line += buffer.data();
            if (!line.empty() && line.back() == '\n') {
                line.pop_back();
                lines.push_back(std::move(line));
                line.clear();
            }
        }
        return lines;
    }
};

bool isFailure(const std::string& result) {
    return result.find(':') != std::string::npos;
}

/// In the same way: a smaller program that does not compile says nothing about one that runs.
bool differs(CSide& c, const Program& program, bool failure) {
    const auto lines = c.run({program});
    const std::string result = runScript(program);
    return lines.size() == 1 && lines[0] != result && result != kTooLong && (isFailure(result) == failure);
}

/// Leaves out whatever the difference does not need.
Program minimise(CSide& c, Program program) {
    const bool failure = isFailure(runScript(program));
    for (bool smaller = true; smaller;) {
        smaller = false;
        for (Program& candidate : reductions(program)) {
            if (differs(c, candidate, failure)) {
                program = std::move(candidate);
                smaller = true;
                break;
            }
        }
    }
    return program;
}

void report(CSide& c, const Program& program) {
    const Program smallest = minimise(c, program);
    const auto lines = c.run({smallest});
    ADD_FAILURE() << "seed " << program.seed << "\n"
                  << printScript(smallest) << "script: " << runScript(smallest)
                  << "\nC:      " << (lines.empty() ? "not compiled" : lines[0]);
}

TEST(Differential, CompiledScriptsMeanWhatCMeans) {
    const std::uint64_t wanted = setting("FERRYLINK_DIFFERENTIAL_PROGRAMS", kDefaultPrograms);
    const std::uint64_t first = setting("FERRYLINK_DIFFERENTIAL_SEED", kDefaultSeed);
    CSide c;
    std::uint64_t compared = 0;
    std::uint64_t tooLong = 0;
    unsigned different = 0;
    while (compared < wanted && different < 5) {
        std::vector<Program> programs;
        while (programs.size() < kProgramsPerFile && compared + programs.size() < wanted) {
            programs.push_back(generate(first + compared + programs.size()));
        }
        const auto lines = c.run(programs);
        ASSERT_EQ(lines.size(), programs.size())
            << "the C side failed at seeds from " << programs.front().seed;
        for (std::size_t i = 0; i < programs.size() && different < 5; ++i) {
            const std::string result = runScript(programs[i]);
            if (result == kTooLong) {
                ++tooLong;
            } else if (result != lines[i]) {
                ++different;
                report(c, programs[i]);
            }
        }
        compared += programs.size();
    }
    RecordProperty("programs", std::to_string(compared));
    std::printf("%llu programs compared, %llu of them too long for a memory slot\n",
                static_cast<unsigned long long>(compared), static_cast<unsigned long long>(tooLong));
    EXPECT_LE(tooLong, 1 + compared / 1000) << "the generator draws programs that cannot be compared";
}

} // namespace
} // namespace Vantor::gpc::differential

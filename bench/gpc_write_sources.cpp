// Writes the programs that bench/compare_compilers.py compiles, in three languages (.gpc, .c, .lua), into the
// directory that is the only argument: slot.*, which fills a memory slot, and long_1k.*, long_256k.* and
// long_4m.* of comments, macros and code.
#include "bench/gpc_sources.h"

#include <cstdio>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    using namespace Vantor::bench;
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    const std::string directory = argv[1];
    const struct {
        Language language;
        const char* suffix;
    } kFiles[]{{Language::Script, ".gpc"}, {Language::C, ".c"}, {Language::Lua, ".lua"}};
    const struct {
        const char* name;
        std::size_t bytes;
    } kLong[]{{"/long_1k", std::size_t{1} << 10},
              {"/long_256k", std::size_t{1} << 18},
              {"/long_4m", std::size_t{1} << 22}};
    for (const auto& file : kFiles) {
        std::ofstream(directory + "/slot" + file.suffix) << fullSlotProgram(file.language);
        for (const auto& each : kLong)
            std::ofstream(directory + each.name + file.suffix) << longProgram(file.language, each.bytes);
    }
    return 0;
}

// Writes the program that fills a memory slot in three languages: full_slot.gpc, full_slot.c and
// full_slot.lua in the directory that is the only argument, and long.* of 4 MB.
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
    for (const auto& file : kFiles) {
        std::ofstream(directory + "/full_slot" + file.suffix) << fullSlotProgram(file.language);
        std::ofstream(directory + "/long" + file.suffix) << longProgram(file.language, std::size_t{4} << 20);
    }
    return 0;
}

// Runs files through a target, with any compiler: the kept corpus in every test run, a finding under a
// debugger.
//
//   replay_TARGET FILE_OR_FOLDER...     a folder stands for the files in it
//
// Exit 0 when every input passed, 2 when there was none or one could not be read; a failing target aborts,
// and the last name printed is the input that did it.

#include "fuzz/target.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace {

std::vector<std::filesystem::path> inputsIn(const std::filesystem::path& place) {
    std::error_code error;
    if (!std::filesystem::is_directory(place, error))
        return {place};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(place, error))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

bool replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.string().c_str());
        return false;
    }
    const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
    // An allocation of exactly the input's size, so that a sanitizer sees a read behind its end.
    const auto exact = std::make_unique<std::uint8_t[]>(content.size());
    if (!content.empty())
        std::memcpy(exact.get(), content.data(), content.size());
    std::printf("%s\n", path.string().c_str());
    std::fflush(stdout);
    Vantor::fuzz::takeInput({exact.get(), content.size()});
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& path : inputsIn(argv[i])) {
            if (!replay(path))
                return 2;
            ++inputs;
        }
    }
    std::printf("%zu inputs passed\n", inputs);
    return inputs > 0 ? 0 : 2;
}

// Hands libFuzzer's inputs to the target.

#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Vantor::fuzz::takeInput({data, size});
    return 0;
}

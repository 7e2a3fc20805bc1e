// Runs a fuzz target once over each of the files named, without libFuzzer.

#include "fuzz/input.h"

int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    for (int i = 1; i < argc; i++) {
        const std::string input = contents(argv[i]);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
    }
    return 0;
}

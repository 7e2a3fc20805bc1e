// An encrypted database file, as it is or put together from header and payload, into a buffer whose
// size the input gives.

#include "fuzz/input.h"

#include <vector>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const bool isRaw = input.byte() % 2 == 0;
    const uint32_t given = input.byte() + 256u * input.byte();
    const std::string made = isRaw ? "" : encrypted(std::string(input.rest));
    const std::string_view file = isRaw ? input.rest : made;
    const auto length = static_cast<uint32_t>(file.size());
    std::vector<char> plain(given != 0 ? given : length + 8);
    auto written = static_cast<uint32_t>(plain.size());
    if (appmngr_decrypt(plain.data(), &written, file.data(), length) == 1 && !isRaw) {
        EXPECT_EQ(input.rest.substr(0, written), std::string_view(plain.data(), written));
    }
    return 0;
}

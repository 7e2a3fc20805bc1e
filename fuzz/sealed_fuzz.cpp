// Bytes that are sealed and unsealed, and bytes that are unsealed though nobody sealed them: in
// memory and, with the same result, in a file.

#include "fuzz/input.h"

static std::string process(std::string_view bytes, int seal)
{
    std::string result(bytes.size() + 24, '\0');
    const int length =
        md5_des_seal(bytes.data(), static_cast<int32_t>(bytes.size()),
                     reinterpret_cast<unsigned char *>(result.data()),
                     static_cast<int32_t>(result.size()), g_appmngr_databaseKey, seal);
    result.resize(static_cast<size_t>(length));
    const char *const path = asFile(bytes);
    EXPECT_EQ(md5_des_sealFile(path, path, seal), 0);
    EXPECT_EQ(contents(path), result);
    return result;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view bytes = Input(data, size).rest.substr(0, 16000);
    std::string expected(bytes);
    expected.resize((bytes.size() + 7) / 8 * 8);
    EXPECT_EQ(process(process(bytes, 1), 0), expected);
    process(bytes, 0);
    return 0;
}

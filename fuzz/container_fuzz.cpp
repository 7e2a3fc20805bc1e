// An update container, or an encrypted database file for a buffer whose size the input gives: as it
// is, or put together from what the input says is in it.

#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "fuzz/input.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const int kind = input.byte() % 4;
    const uint32_t room = kind < 2 ? 0 : input.byte() + 256u * input.byte();
    const std::string inside(input.rest), file = kind == 1   ? containerOf(&input)
                                                 : kind == 3 ? encrypted(inside)
                                                             : inside;
    const auto length = static_cast<uint32_t>(file.size());
    if (kind < 2) {
        appmngr_db_writeFromDatabase(file.data(), static_cast<int32_t>(length));
        EXPECT_EQ(apppri_db.xmlBuf, nullptr);
        return 0;
    }
    std::vector<char> plain(room != 0 ? room : length + 8);
    auto written = static_cast<uint32_t>(plain.size());
    if (appmngr_decrypt(plain.data(), &written, file.data(), length) == 1 && kind == 3) {
        EXPECT_EQ(inside.substr(0, written), std::string(plain.data(), written));
    }
    return 0;
}

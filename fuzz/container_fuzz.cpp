// An update container, as it is or put together from the files in the input.

#include "apppri/apppri.h"
#include "dbimage/dbimage_internal.h"
#include "fuzz/input.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const bool isRaw = input.byte() % 2 == 0;
    const std::string made = isRaw ? "" : fuzz::container(&input);
    const std::string_view container = isRaw ? input.rest : made;
    appmngr_db_writeFromDatabase(container.data(), static_cast<int32_t>(container.size()));
    EXPECT_TRUE(_appmngr_updateBuf == nullptr && apppri_db.xmlBuf == nullptr);
    return 0;
}

// A file with a priority database, or the text in one, to the map that is sent, and the lookups.

#include "apppri/apppri.h"
#include "fuzz/input.h"
#include "fuzz/message.h"
#include "loader/image.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    kernel.look = fuzz::expectWhole;
    fuzz::Input input(data, size);
    if (input.byte() % 2 == 0) {
        appmngr_checkDbPath(fuzz::asFile(input.rest, APPPRI_IMAGE_OFFSET));
        apppri_database_init();
    } else {
        apppri_DBResAlloc();
        input.rest.copy(apppri_db.xmlBuf, g_apppri_profile.bufSize - 1);
        apppri_analyzeDBFile();
        apppri_sendMsgToKernel();
        apppri_DBResFree();
    }
    char name[APPPRI_NAME_SIZE];
    const int32_t first = apppri_getAppIdByName("");
    const auto *sort = apppri_getAppNameById(static_cast<uint32_t>(first), name, sizeof name);
    EXPECT_TRUE(first == -1 || sort != nullptr);
    unsigned char map[4096];
    apppri_initPrimapWithSort(map, sort != nullptr ? sort->id : 0, 7);
    apppri_showDB();
    apppri_DBReInit();
    return 0;
}

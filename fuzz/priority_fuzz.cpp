// A file with a priority database, or the text in one, to the map that is sent, and the lookups.

#include "apppri/apppri.h"
#include "fuzz/input.h"
#include "loader/image.h"

static void loadFile(std::string_view image)
{
    const std::string path = fuzz::asFile(image, APPPRI_IMAGE_OFFSET);
    appmngr_checkDbPath(path.c_str());
    apppri_database_init();
}

static void loadText(std::string_view text)
{
    apppri_DBResAlloc();
    text.copy(apppri_db.xmlBuf, g_apppri_profile.bufSize - 1);
    apppri_analyzeDBFile();
    apppri_sendMsgToKernel();
    apppri_DBResFree();
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    (input.byte() % 2 == 0 ? loadFile : loadText)(input.rest);
    char name[APPPRI_NAME_SIZE];
    const int32_t first = apppri_getAppIdByName("");
    const auto *sort = apppri_getAppNameById(static_cast<uint32_t>(first), name, sizeof name);
    fuzz::require(first == -1 || sort != nullptr);
    unsigned char map[4096];
    apppri_initPrimapWithSort(map, sort != nullptr ? sort->id : 0, 7);
    apppri_showDB();
    apppri_DBReInit();
    return 0;
}

// An image file, or the text in one, through a whole load; then what it filled is listed.

#include "appmngr/appmngr_internal.h"
#include "fuzz/input.h"
#include "loader/image.h"
#include "loader/loader.h"

static void loadFile(std::string_view image)
{
    const std::string path = fuzz::asFile(image);
    appmngr_checkDbPath(path.c_str());
    appmngr_load_database();
}

static void loadText(std::string_view text)
{
    appmngr_file_alloc();
    text.copy(g_appmngr_xmlBuf, g_appmngr_settings.xmlBufSize - 1);
    if (appmngr_analyzeDbFile() == 0) {
        _appmngr_sendMsgToKernel();
    }
    appmngr_file_free();
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    (input.byte() % 2 == 0 ? loadFile : loadText)(input.rest);
    appmngr_showDb();
    appmngr_showApps();
    appmngr_writeJson(stdout);
    appmngr_dbReInit();
    return 0;
}

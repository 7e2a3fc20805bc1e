// An image file, or the text in one, through a whole load; then what it filled is listed.

#include "appmngr/appmngr_internal.h"
#include "fuzz/input.h"
#include "fuzz/message.h"
#include "loader/image.h"
#include "loader/loader.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    kernel.look = fuzz::expectWhole;
    fuzz::Input input(data, size);
    if (input.byte() % 2 == 0) {
        appmngr_checkDbPath(fuzz::asFile(input.rest));
        appmngr_load_database();
    } else {
        appmngr_file_alloc();
        input.rest.copy(g_appmngr_xmlBuf, g_appmngr_settings.xmlBufSize - 1);
        if (appmngr_analyzeDbFile() == 0) {
            _appmngr_sendMsgToKernel();
        }
        appmngr_file_free();
    }
    appmngr_showDb();
    appmngr_showApps();
    appmngr_writeJson(stdout);
    appmngr_dbReInit();
    return 0;
}

// An image file, or the text in one, through a whole load of one of its two databases; then what it
// filled is listed and looked up.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "fuzz/input.h"
#include "loader/loader.h"
#include "tests/fake_kernel.h"

// What holds of every message that the kernel is sent.
static void expectWhole(const Bytes &message)
{
    appdist_message head;
    EXPECT_GT(message.size(), sizeof head);
    memcpy(&head, message.data(), sizeof head);
    static const uint32_t recordSizes[] = {596, 1, 20};
    EXPECT_EQ(recordSizes[head.header.nlmsg_type - 19], head.record_size);
    EXPECT_EQ(kernel.protocol, 22);
    EXPECT_EQ(head.header.nlmsg_len, message.size());
    EXPECT_EQ(sizeof head + uint64_t{head.count} * head.record_size, message.size());
    size_t end = sizeof head;
    for (uint32_t i = 0; i < head.count && head.record_size > 1; i++) {
        end += head.record_size;
        EXPECT_EQ(message[end - 1], '\0'); // the text that a record ends with is terminated
    }
}

static void loadApplications(std::string_view text)
{
    appmngr_file_alloc();
    text.copy(g_appmngr_xmlBuf, g_appmngr_settings.xmlBufSize - 1);
    if (appmngr_analyzeDbFile() == 0) {
        _appmngr_sendMsgToKernel();
    }
    appmngr_file_free();
}

static void loadPriorities(std::string_view text)
{
    apppri_DBResAlloc();
    text.copy(apppri_db.xmlBuf, g_apppri_profile.bufSize - 1);
    apppri_analyzeDBFile();
    apppri_sendMsgToKernel();
    apppri_DBResFree();
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    kernel.look = expectWhole;
    Input input(data, size);
    const int kind = input.byte() % 4;
    const bool isPriority = kind >= 2;
    if (kind % 2 == 0) {
        appmngr_checkDbPath(asFile(input.rest, isPriority ? APPPRI_IMAGE_OFFSET : 0));
        isPriority ? apppri_database_init() : appmngr_load_database();
    } else {
        isPriority ? loadPriorities(input.rest) : loadApplications(input.rest);
    }
    appmngr_showDb();
    appmngr_showApps();
    appmngr_writeJson(stdout);
    appmngr_dbReInit();
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

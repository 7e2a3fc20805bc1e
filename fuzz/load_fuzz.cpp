// An image file, or the text in one, through a whole load of one of its two databases; then what it
// filled is listed and looked up.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "fuzz/input.h"
#include "loader/loader.h"
#include "tests/fake_kernel.h"
#include "tests/lzma_image.h"

// What holds of every message that the kernel is sent.
static void expectWhole(const Bytes &message)
{
    appdist_message head;
    EXPECT_GT(message.size(), sizeof(head));
    memcpy(&head, message.data(), sizeof(head));
    static const uint32_t recordSizes[] = {596, 1, 20};
    EXPECT_EQ(recordSizes[head.header.nlmsg_type - 19], head.record_size);
    EXPECT_EQ(kernel.protocol, 22);
    EXPECT_EQ(head.header.nlmsg_len, message.size());
    EXPECT_EQ(sizeof(head) + uint64_t{head.count} * head.record_size, message.size());
    size_t end = sizeof(head);
    for (uint32_t i = 0; i < head.count && head.record_size > 1; i++) {
        end += head.record_size;
        EXPECT_EQ(message[end - 1], '\0'); // the text that a record ends with is terminated
    }
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    kernel.look = expectWhole;
    Input input(data, size);
    const int kind = input.byte() % 4;
    const bool isText = kind % 2 == 1, isPriority = kind >= 2;
    const std::string rest(input.rest), file = isText ? image(rest) : rest;
    appmngr_checkDbPath(asFile(file, isPriority ? APPPRI_IMAGE_OFFSET : 0));
    isPriority ? apppri_database_init() : appmngr_load_database();
    appmngr_showDb();
    appmngr_showApps();
    appmngr_writeJson(stdout);
    appmngr_dbReInit();
    char name[APPPRI_NAME_SIZE];
    const int32_t first = apppri_getAppIdByName("");
    const auto *sort = apppri_getAppNameById(static_cast<uint32_t>(first), name, sizeof(name));
    EXPECT_TRUE(first == -1 || sort != nullptr);
    unsigned char map[4096];
    apppri_initPrimapWithSort(map, sort != nullptr ? sort->id : 0, 7);
    apppri_showDB();
    apppri_DBReInit();
    return 0;
}

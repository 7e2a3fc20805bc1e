/*
 * One allocation after the other fails: in every operation that allocates, but for those on paths
 * (xmlp_path_test.cpp). Each must report it, keep its word on its arguments, and lose nothing.
 */
#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "appmngr/appmngr_internal.h"
#include "apppri/list.h"
#include "dbimage/dbimage_internal.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "tests/fake_kernel.h"
#include "tests/faults.h"
#include "tests/lzma_image.h"
#include "xmlp/xmlp.h"

#include <openssl/crypto.h>
#include <string.h>

namespace
{
/* ---- What the operations work on ----------------------------------------------------------- */

const std::string document = R"(<?x?><a b="c" d="e"><f>1&lt;2</f></a>)";

const std::string appText =
    "<AppDB><appList><app><id>7</id><ruleList><rule><tupleList><tuple>tcp 0:0 0:0</tuple>"
    "</tupleList></rule></ruleList><dnsKwList><dnsKw>k</dnsKw></dnsKwList></app></appList>"
    "<appTypeList><appType><id>1</id></appType></appTypeList></AppDB>";

const std::string priorityText =
    "<AppSortDB><sortNum>1</sortNum><appNum>2</appNum><sortList><sort><type>1</type><appList><app>"
    "<appName>a</appName></app><app><appName>b</appName></app></appList></sort></sortList>"
    "</AppSortDB>";

/* Of more elements, attributes and names than the first rooms made for them can hold. */
std::string largeText()
{
    std::string text = "<a";
    for (int i = 1000; i < 1040; i++) {
        text += " " + std::to_string(i) + "=\"" + std::string(150, 'x') + std::to_string(i) + "\"";
    }
    text += ">";
    for (int i = 0; i < 300; i++) {
        text += "<element-name-" + std::to_string(i) + " c=\"\"/>";
    }
    return text + "</a>";
}

XmlpDoc *doc;
char *text;
appdist_handle *channel;
std::string container;

std::string loaded(const std::string &xml, uint32_t isStatic)
{
    doc = xmlp_loadDoc(xml.data(), static_cast<uint32_t>(xml.size()), isStatic);
    return doc != nullptr ? "document" : "null";
}

std::string dumped(int compact)
{
    uint32_t length = 0;
    text = xmlp_dumpDoc(doc, compact, &length);
    return (text != nullptr ? "text of " : "null, ") + std::to_string(length);
}

/* A file with both databases. */
void writeDatabases()
{
    static const std::string path = testing::TempDir() + "allocation_test.img";
    std::ofstream file(path, std::ios::binary);
    file << image(encode(appText, 4096));
    file.seekp(163840) << image(encode(priorityText, 4096));
    file.close();
    appmngr_checkDbPath(path.c_str());
}

void openChannel()
{
    channel = appdist_create_handle(0, 2);
    appdist_errno = 0;
}

void fillTables()
{
    openChannel();
    g_appmngr_count.tuple = g_appmngr_count.typeId = g_appmngr_count.app = g_appmngr_count.dnsKw =
        1;
    _appmngr_alloc_for_appdb();
}

/* Releases what an operation gave, or left in the tables when it failed. */
std::string release()
{
    if (doc != nullptr) {
        xmlp_releaseDoc(doc);
    }
    free(text);
    appdist_destroy_handle(channel);
    doc = nullptr;
    text = nullptr;
    channel = nullptr;
    appmngr_dbReInit();
    apppri_DBReInit();
    return "";
}

/* Releases what the product keeps for its next use. */
void releaseKept()
{
    appmngr_file_free();
    apppri_DBResFree();
    apppri_analyzeDBFile(); /* releases the document of a failed one */
    _appmngr_freeUpdateBuf();
}

/* The applications of the first sort. */
uint32_t listedApps()
{
    uint32_t count = 0;
    const apppri_sort *sort = _apppri_first(apppri_db.appSortList);
    const apppri_app *app = sort != nullptr ? _apppri_first(sort->appList) : nullptr;
    for (; app != nullptr; app = _apppri_next(sort->appList, app)) {
        count++;
    }
    return count;
}

/* A result, and the number of records that are there to look at. */
std::string status(int result, uint32_t records = 0)
{
    return std::to_string(result) + (records > 0 ? ", " + std::to_string(records) : "");
}

/* ---- The operations ------------------------------------------------------------------------ */

struct Operation {
    const char *name;
    void (*before)();
    std::string (*call)();
    const char *failures; /* when the first allocation fails, the second, ... */
    const char *success;
    const char *kept = ""; /* what stays allocated, for the next call, when all was released */
};

void nothing() {}

const Operation operations[] = {
    {"static document", nothing, [] { return loaded(document, 1); },
     "null; xml2Tree:1842!; _initLock:78 doc is null. | null; parse:1438! ~ | null; parse:1469! ~"
     " | null; parse:1509! ~ | null; parse:1572! ~",
     "document"},
    {"large static document", nothing, [] { return loaded(largeText(), 1); },
     "null; xml2Tree:1842!; _initLock:78 doc is null. | null; parse:1438! ~"
     " | null; parse:1509! ~ | null; parse:1572! ~ | null ~",
     "document"},
    {"dynamic document", nothing, [] { return loaded(document, 0); },
     "null; xml2Tree:1842!; _initLock:78 doc is null. | null; parse:1438! ~ | null; parse:1469! ~"
     " | null; parse:1509! ~ | null; initNode:827! ~ | null; _getNameAttr:645! ~ | null; "
     "_getNameAttr:672! ~"
     " | null; _getNameAttr:708! ~ | null; _getNameAttr:744! ~ | null; _getNameAttr:771! ~"
     " | null; _getNameAttr:708! ~ | null; _getNameAttr:744! ~ | null; initNode:827! ~"
     " | null; _getNameAttr:645! ~ | null ~",
     "document"},
    {"text in one line", [] { loaded(document, 1); }, [] { return dumped(1); },
     "null, 37; tree2Xml:1789!", "text of 37"},
    {"text in lines", [] { loaded(document, 0); }, [] { return dumped(0); },
     "null, 43; tree2Xml:1789!", "text of 43"},

    {"descriptions", [] { g_appmngr_count.descApp = g_appmngr_count.descType = 1; },
     [] { return status(appmngr_appdesc_alloc()); }, "-1", "0"},
    {"load", writeDatabases,
     [] {
         const int result = appmngr_load_database();
         return status(result, g_appmngr_appDb.ruleCount);
     },
     "-1; file_alloc:2400 malloc memory faild.; _readFromDatabase:2563 appmngr_file_alloc failed"
     " | -1; _readFromDatabase:2569 _appmngr_readAppDb failed; read db flash fail"
     "; : Cannot allocate memory | -1; _checkXml:452 no xml tag found.; _initLock:78 doc is null."
     "; _readFromDatabase:2585 Analyze database failed | -1; xml2Tree:1842! ~ | -1; parse:1438! ~"
     " | -1; parse:1509! ~ | -1; parse:1572! ~"
     " | -1; analyzeDbFile:2325 _appmngr_alloc_for_appdb failed ~"
     " | -1; Allocate for g_appmngr_appDns.rule FAILED ~"
     " | -1, 1; analyzeDbFile:2341 appmngr_xmlnode_handler failed ~ | -1, 1; malloc error!"
     "; _sendMsgToKernel:2532 appdist Failed to initialize handle"
     "; _readFromDatabase:2601 send msg to kernel failed"
     " | -1, 1;  malloc mem eroor; _sendMsgToKernel:2540 send db to kernel failed ~"
     " | -1, 1;  malloc mem eroor; _sendMsgToKernel:2547 send db to kernel failed ~",
     "0, 1", "65536 204800 | 51200 65536 | 51200 204800"}, /* what it got of three: for the next */

    {"channel", [] { appdist_errno = 0; },
     [] {
         channel = appdist_create_handle(0, 2);
         return status(channel != nullptr, static_cast<uint32_t>(appdist_errno));
     },
     "0, 2; malloc error!", "1"},
    {"rules", fillTables, [] { return status(appdist_send_app_rules(channel)); },
     "0;  malloc mem eroor", "660"},
    {"keywords", fillTables, [] { return status(appdist_send_dns_rules(channel)); },
     "0;  malloc mem eroor", "84"},
    {"buffer", openChannel, [] { return status(appdist_send_buffer(channel, "abc", 3)); },
     "0;  malloc mem eroor", "67"},
    {"parameters", openChannel, [] { return status(appdist_send_params(channel, 1, 2, 3, 4)); },
     "0;  malloc mem eroor", "64"},

    {"priority load", writeDatabases,
     [] {
         const int result = apppri_database_init();
         return status(result, listedApps());
     },
     "-1; DBResAlloc:1171 apppri file reinit failed.; readAppSortFromDB:1858 DBResInit error."
     "; database_init:2044 apppri_readAppSortFromDB failed. | -1"
     "; readDBFromFlash:1023 read db flash fail"
     "; readAppSortFromDB:1870 apppri_readDBFromFlash error. ~ | -1"
     "; _checkXml:452 no xml tag found.; _initLock:78 doc is null."
     "; analyzeDBFile:1105 xmlParseMemory error."
     "; readAppSortFromDB:1876 apppri_analyzeDBFile error. ~ | -1; xml2Tree:1842! ~"
     " | -1; parse:1438! ~ | -1; parse:1509! ~ | -1; parse:1572! ~ | -1"
     "; db_parseSortList:728 apppri_db_parseSort 0 FAILED"
     "; db_parseAppSortDB:854 Proc forest FAILED; db_parseAll:903 apppri_db_parseAppSortDB FAILED"
     "; analyzeDBFile:1139 apppri_db_parseAll FAILED ~ | -1"
     "; db_parseApp:395 l_app_pool alloc error.; db_parseAppList:529 apppri_db_parseApp error."
     "; db_parseSort:678 apppri_db_parseAppList error! ~"
     " | -1; db_parseApp:412 l_app_pool alloc error. ~"
     " | -1, 1; db_parseApp:395 l_app_pool alloc error. ~ | -1, 2"
     "; sendMsgToKernel:1438 g_appPriTbl mem malloc error."
     "; database_init:2050 apppri_sendMsgToKernel failed."
     " | -1, 2; malloc error!; sendMsgToKernel:1452 appdist Failed to initialize handle ~"
     " | -1, 2;  malloc mem eroor; sendMsgToKernel:1459 send db to kernel failed ~",
     "0, 2", "+3"}, /* the document of an analysis that failed: up to the next one */
};

/* The first file of a container begins at 25 and has 56 bytes. */
const Operation updates[] = {
    {"container", nothing,
     [] {
         return status(appmngr_db_writeFromDatabase(container.data(),
                                                    static_cast<int32_t>(container.size())));
     },
     "-1; file index:0; db_writeAppDbFromDatabase:2753 alloc memory fail | -1; file index:0"
     "; file index:1; file index:2; DBResAlloc:1171 apppri file reinit failed."
     "; writeApppriDbFromDatabase:1906 DBResInit error.",
     "0; file index:0; file index:1; file index:2"
     "; dbMemSize 65536, 65536, appmapSize 4096, appprioRuleMaxNum 1."},
    {"application file", nothing,
     [] {
         char version[8];
         return status(appmngr_db_writeAppDbFromDatabase(0, 56, &container[25], version));
     },
     "-1; db_writeAppDbFromDatabase:2753 alloc memory fail", "0", "204800"}, /* for the next file */
    {"decryption", nothing,
     [] {
         char plain[64];
         uint32_t room = sizeof plain;
         const int result = appmngr_decrypt(plain, &room, &container[25], 56);
         return status(result, room);
     },
     "", "1, 33"},
};

void expectOutcomes(const Operation &operation)
{
    const faults::Outcomes outcomes =
        faults::outcomesOf(operation.before, operation.call, release, releaseKept);
    EXPECT_EQ(outcomes.failures.text, operation.failures) << operation.name;
    EXPECT_EQ(outcomes.success, operation.success) << operation.name;
    EXPECT_EQ(outcomes.kept.text, operation.kept) << operation.name;
}

/* Those inside of libcrypto, too. */
const int isSet = CRYPTO_set_mem_functions(
    [](size_t size, const char *, int) { return malloc(size); },
    [](void *block, size_t size, const char *, int) { return realloc(block, size); },
    [](void *block, const char *, int) { free(block); });

TEST(Allocation, EachFailsInItsTurn)
{
    for (const Operation &operation : operations) {
        expectOutcomes(operation);
    }
}

TEST(Allocation, EachFailsInAnUpdate)
{
    const unsigned char exampleKey[] = {0x3c, 0x91, 0x5e, 0x07, 0xa2, 0xd4, 0x68, 0x1b};
    if (memcmp(g_appmngr_databaseKey, exampleKey, sizeof exampleKey) != 0) {
        GTEST_SKIP() << "container.bin is for the example key, this build has another one";
    }
    ASSERT_EQ(isSet, 1);
    container = contents(TEST_DATA "/container.bin");
    for (const Operation &operation : updates) {
        expectOutcomes(operation);
    }
}
} // namespace

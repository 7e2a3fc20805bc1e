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
    const char *failures; /* when the first allocation fails, the second, ...; equal ones once */
    const char *success;
};

void nothing() {}

#define NO_DOC        "; initLock:78 doc is null."
#define NO_DB         "; readFromDatabase:2585 Analyze database failed"
#define NO_TABLES     "; analyzeDbFile:2325 _appmngr_alloc_for_appdb failed" NO_DB
#define NOT_SENT      "; readFromDatabase:2601 send msg to kernel failed"
#define NO_SORTS_READ "; database_init:2044 apppri_readAppSortFromDB failed."
#define NO_SORTS      "; readAppSortFromDB:1876 apppri_analyzeDBFile error." NO_SORTS_READ
#define NO_SORT_DOC   NO_DOC "; analyzeDBFile:1105 xmlParseMemory error." NO_SORTS
#define NO_SORT                                                                               \
    "; db_parseSortList:728 apppri_db_parseSort 0 FAILED; db_parseAppSortDB:854 Proc forest " \
    "FAILED"                                                                                  \
    "; db_parseAll:903 apppri_db_parseAppSortDB FAILED"                                       \
    "; analyzeDBFile:1139 apppri_db_parseAll FAILED" NO_SORTS
#define NO_APP                                        \
    "; db_parseAppList:529 apppri_db_parseApp error." \
    "; db_parseSort:678 apppri_db_parseAppList error!" NO_SORT
#define NO_MAP "; database_init:2050 apppri_sendMsgToKernel failed."

const Operation operations[] = {
    {"static document", nothing, [] { return loaded(document, 1); },
     "null; xml2Tree:1842!" NO_DOC " | null; parse:1438!" NO_DOC " | null; parse:1469!" NO_DOC
     " | null" NO_DOC " | null; parse:1509!" NO_DOC " | null; parse:1572!" NO_DOC,
     "document"},
    {"large static document", nothing, [] { return loaded(largeText(), 1); },
     "null; xml2Tree:1842!" NO_DOC " | null; parse:1438!" NO_DOC " | null" NO_DOC
     " | null; checkXml:441 error xml tag." NO_DOC " | null; parse:1509!" NO_DOC
     " | null; parse:1572!" NO_DOC " | null" NO_DOC,
     "document"},
    {"dynamic document", nothing, [] { return loaded(document, 0); },
     "null; xml2Tree:1842!" NO_DOC " | null; parse:1438!" NO_DOC " | null; parse:1469!" NO_DOC
     " | null" NO_DOC " | null; initNode:827!" NO_DOC " | null; getNameAttr:645!" NO_DOC
     " | null; getNameAttr:672!" NO_DOC " | null; getNameAttr:708!" NO_DOC
     " | null; getNameAttr:744!" NO_DOC " | null; getNameAttr:771!" NO_DOC
     " | null; getNameAttr:708!" NO_DOC " | null; getNameAttr:744!" NO_DOC
     " | null; initNode:827!" NO_DOC " | null; getNameAttr:645!" NO_DOC " | null" NO_DOC,
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
     "-1; file_alloc:2400 malloc memory faild.; readFromDatabase:2563 appmngr_file_alloc failed"
     " | -1; readFromDatabase:2569 _appmngr_readAppDb failed; read db flash fail"
     "; : Cannot allocate memory"
     " | -1; checkXml:452 no xml tag found." NO_DOC NO_DB " | -1; xml2Tree:1842!" NO_DOC NO_DB
     " | -1; parse:1438!" NO_DOC NO_DB " | -1" NO_DOC NO_DB " | -1; parse:1509!" NO_DOC NO_DB
     " | -1; parse:1572!" NO_DOC NO_DB " | -1" NO_TABLES
     " | -1; Allocate for g_appmngr_appDns.rule FAILED" NO_TABLES
     " | -1, 1; analyzeDbFile:2341 appmngr_xmlnode_handler failed" NO_DB
     " | -1, 1; malloc error!; sendMsgToKernel:2532 appdist Failed to initialize handle" NOT_SENT
     " | -1, 1;  malloc mem eroor; sendMsgToKernel:2540 send db to kernel failed" NOT_SENT
     " | -1, 1;  malloc mem eroor; sendMsgToKernel:2547 send db to kernel failed" NOT_SENT,
     "0, 1"},

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
     "-1; DBResAlloc:1171 apppri file reinit failed.; readAppSortFromDB:1858 DBResInit "
     "error." NO_SORTS_READ " | -1; readDBFromFlash:1023 read db flash fail; "
     "readAppSortFromDB:1870 apppri_readDBFromFlash "
     "error." NO_SORTS_READ " | -1; checkXml:452 no xml tag found." NO_SORT_DOC
     " | -1; xml2Tree:1842!" NO_SORT_DOC " | -1; parse:1438!" NO_SORT_DOC " | -1" NO_SORT_DOC
     " | -1; parse:1509!" NO_SORT_DOC " | -1; parse:1572!" NO_SORT_DOC " | -1" NO_SORT
     " | -1; db_parseApp:395 l_app_pool alloc error." NO_APP
     " | -1; db_parseApp:412 l_app_pool alloc error." NO_APP
     " | -1, 1; db_parseApp:395 l_app_pool alloc error." NO_APP
     " | -1, 2; sendMsgToKernel:1438 g_appPriTbl mem malloc error." NO_MAP
     " | -1, 2; malloc error!; sendMsgToKernel:1452 appdist Failed to initialize handle" NO_MAP
     " | -1, 2;  malloc mem eroor; sendMsgToKernel:1459 send db to kernel failed" NO_MAP,
     "0, 2"},
};

#define FILES "; file index:0; file index:1; file index:2"
#define SIZES "; dbMemSize 65536, 65536, appmapSize 4096, appprioRuleMaxNum 1."

/* The first file of a container begins at 25 and has 56 bytes. */
const Operation updates[] = {
    {"container", nothing,
     [] {
         return status(appmngr_db_writeFromDatabase(container.data(),
                                                    static_cast<int32_t>(container.size())));
     },
     "-1; file index:0; db_writeAppDbFromDatabase:2753 alloc memory fail"
     " | -1" FILES "; DBResAlloc:1171 apppri file reinit failed."
     "; writeApppriDbFromDatabase:1906 DBResInit error.",
     "0" FILES SIZES},
    {"application file", nothing,
     [] {
         char version[8];
         return status(appmngr_db_writeAppDbFromDatabase(0, 56, &container[25], version));
     },
     "-1; db_writeAppDbFromDatabase:2753 alloc memory fail", "0"},
    {"decryption", nothing,
     [] {
         char plain[64];
         uint32_t room = sizeof plain;
         const int result = appmngr_decrypt(plain, &room, &container[25], 56);
         return status(result, room);
     },
     "", "1, 33"},
};

/* What stays allocated on purpose when what an operation gave has been released. */
const struct {
    const char *operation;
    const char *kept; /* the sizes of buffers, "+" and a number of smaller blocks */
} keptOnPurpose[] = {
    {"load", "65536 204800 | 51200 65536 | 51200 204800"}, /* what was got of three: for the next */
    {"priority load", "+3"}, /* the document of an analysis that failed: up to the next one */
    {"application file", "204800"}, /* for the next file */
};

void expectOutcomes(const Operation &operation)
{
    const faults::Outcomes outcomes =
        faults::outcomesOf(operation.before, operation.call, release, releaseKept);
    EXPECT_EQ(outcomes.failures.text, operation.failures) << operation.name;
    EXPECT_EQ(outcomes.success, operation.success) << operation.name;
    std::string kept;
    for (const auto &row : keptOnPurpose) {
        kept += strcmp(row.operation, operation.name) == 0 ? row.kept : "";
    }
    EXPECT_EQ(outcomes.kept.text, kept) << operation.name;
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

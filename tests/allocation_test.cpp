/*
 * One allocation after the other fails: in every operation that allocates, but for those on paths
 * (xmlp_path_test.cpp). Each must report it, keep its word on its arguments, and lose nothing.
 *
 * What stays allocated on purpose, and who uses or releases it next:
 * - the buffers of a load that failed for lack of another one: the next load;
 * - the document of a priority database that could not be analysed: the next analysis;
 * - the record of a channel whose buffer size cannot be set: nobody (system_calls_test.cpp).
 */
#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/loader.h"
#include "tests/document.h"
#include "tests/fake_kernel.h"
#include "tests/faults.h"
#include "tests/lzma_image.h"
#include "tests/update_file.h"

static int loadAndDump()
{
    uint32_t length = 0; /* given also when there is no text */
    const Document doc = loaded(R"(<?x?><a b="c" d="e"><ff/><ff>1&lt;2</ff></a>)", 0);
    if (doc != nullptr) {
        free(xmlp_dumpDoc(doc.get(), 1, &length));
    }
    return static_cast<int>(length);
}

/* The name of each of 70 nested elements takes 4 words of the pool. */
static int readLocations()
{
    std::string text;
    for (int i = 170; i < 240; i++) {
        const std::string tag = "element-no-" + std::to_string(i) + ">";
        text.insert(0, "<" + tag).append("</" + tag);
    }
    XmlpFault fault = {};
    XmlpLocationList locations = {};
    const Document doc(
        xmlp_readDoc(text.data(), static_cast<uint32_t>(text.size()), 1, &fault, &locations),
        xmlp_releaseDoc);
    free(locations.items);
    return doc != nullptr ? static_cast<int>(locations.count) : -fault.line;
}

static int allocDescriptions()
{
    g_appmngr_count.descApp = g_appmngr_count.descType = 1;
    return appmngr_appdesc_alloc();
}

static int sendParameters()
{
    appdist_handle *channel = appdist_create_handle(0, 2);
    const int sent = channel != nullptr ? appdist_send_params(channel, 1, 2, 3, 4) : -appdist_errno;
    appdist_destroy_handle(channel);
    return sent;
}

static int writeContainer()
{
    const std::string files = entry(0, databaseFile("", 0x010207)) + entry(3, databaseFile("", 0));
    const std::string bytes = container(2, files);
    return appmngr_db_writeFromDatabase(bytes.data(), static_cast<int32_t>(bytes.size()));
}

/* Releases what an operation left in the tables, also when it failed. */
static std::string release()
{
    appmngr_dbReInit();
    apppri_DBReInit();
    return "";
}

/* Releases what the product keeps for its next use. */
static void releaseKept()
{
    appmngr_file_free();
    apppri_DBResFree();
    apppri_analyzeDBFile(); /* releases the document of a failed one */
}

struct Operation {
    const char *name;
    int (*call)();
    const char *failures; /* when the first allocation fails, the second, ... */
    const char *success;
    size_t kept = 0; /* the blocks that stay for the next call when all was released */
};

const Operation operations[] = {
    {"document", loadAndDump,
     "0;xml2Tree:1842!; _initLock:78 doc is null. | 0;parse:1438! ~ | 0;parse:1469! ~ | "
     "0;parse:1509! ~ | 0;initNode:827! ~ | 0; _getNameAttr:645! ~ | 0; _getNameAttr:672! ~ | 0; "
     "_getNameAttr:708! ~ | 0; _getNameAttr:744! ~ | 0; _getNameAttr:771! ~ | 0; _getNameAttr:708! "
     "~ | 0; _getNameAttr:744! ~ | 0;initNode:827! ~ | 0; _getNameAttr:645! ~ | 0;initNode:827! ~ "
     "| 0; _getNameAttr:645! ~ | 0 ~ | -1;tree2Xml:1789! | 44;tree2Xml:1789!",
     "44"},
    {"locations", readLocations, "-1842 | -1438 | -1509 | -1572 | -1509", "70"},
    {"descriptions", allocDescriptions, "-1", "0"},
    {"parameters", sendParameters, "-2; malloc error!\n | 0;  malloc mem eroor", "64"},
    {"load", appmngr_load_database,
     "-1; appmngr_file_alloc:2400 malloc memory faild.; _appmngr_readFromDatabase:2563 "
     "appmngr_file_alloc failed | -1; _checkXml:452 no xml tag found.; _initLock:78 doc is null.; "
     "_appmngr_readFromDatabase:2585 Analyze database failed | -1;xml2Tree:1842! ~ | "
     "-1;parse:1438! ~ | -1;parse:1469! ~ | -1;parse:1509! ~ | -1;parse:1572! ~ | -1 ~ | -1; "
     "appmngr_analyzeDbFile:2325 _appmngr_alloc_for_appdb failed ~ | -1; Allocate for "
     "g_appmngr_appDns.rule FAILED\n ~ | -1; appmngr_analyzeDbFile:2341 appmngr_xmlnode_handler "
     "failed ~ | -1; malloc error!\n; _appmngr_sendMsgToKernel:2532 appdist Failed to initialize "
     "handle; _appmngr_readFromDatabase:2601 send msg to kernel failed | -1;  malloc mem eroor; "
     "_appmngr_sendMsgToKernel:2540 send db to kernel failed ~ | -1;  malloc mem eroor; "
     "_appmngr_sendMsgToKernel:2547 send db to kernel failed ~",
     "0", 2}, /* of three buffers */
    {"priority load", apppri_database_init,
     "-1; apppri_DBResAlloc:1171 apppri file reinit failed.\r\n; apppri_readAppSortFromDB:1858 "
     "DBResInit error.; apppri_database_init:2044 apppri_readAppSortFromDB failed. | -1; "
     "_checkXml:452 no xml tag found.; _initLock:78 doc is null.; apppri_analyzeDBFile:1105 "
     "xmlParseMemory error.; apppri_readAppSortFromDB:1876 apppri_analyzeDBFile error. ~ | "
     "-1;xml2Tree:1842! ~ | -1;parse:1438! ~ | -1;parse:1509! ~ | -1;parse:1572! ~ | -1; "
     "apppri_db_parseSortList:728 apppri_db_parseSort 0 FAILED\r\n; apppri_db_parseAppSortDB:854 "
     "Proc forest FAILED; apppri_db_parseAll:903 apppri_db_parseAppSortDB FAILED; "
     "apppri_analyzeDBFile:1139 apppri_db_parseAll FAILED ~ | -1; apppri_db_parseApp:395 "
     "l_app_pool alloc error.; apppri_db_parseAppList:529 apppri_db_parseApp error.; "
     "apppri_db_parseSort:678 apppri_db_parseAppList error! ~ | -1; apppri_db_parseApp:412 "
     "l_app_pool alloc error. ~ | -1; apppri_sendMsgToKernel:1438 g_appPriTbl mem malloc error.; "
     "apppri_database_init:2050 apppri_sendMsgToKernel failed. | -1; malloc "
     "error!\n[apppri_db_error](apppri_sendMsgToKernel) 1452: appdist Failed to initialize "
     "handle\n\r\n ~ | -1;  malloc mem eroor; apppri_sendMsgToKernel:1459 send db to kernel "
     "failed\r\n ~",
     "0", 3}, /* of the document */
    {"container", writeContainer,
     "-1; file index:0\r\n; appmngr_db_writeAppDbFromDatabase:2753 alloc memory fail | -1; file "
     "index:0\r\nfile index:1\r\n; apppri_DBResAlloc:1171 apppri file reinit failed.\r\n; "
     "apppri_writeApppriDbFromDatabase:1906 DBResInit error.",
     "0; file index:0\r\nfile index:1\r\ndbMemSize 65536, 65536, appmapSize 4096, "
     "appprioRuleMaxNum 1.\r\n"},
};

TEST(Allocation, EachFailsInItsTurn)
{
    std::string apps = contents(TARN_SOURCE "/examples/appdb.xml"), many = "<many";
    for (int i = 1000; i < 1300; i++) { /* more than the first rooms made for attributes hold */
        many += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
    }
    apps.insert(apps.find("<appList>"), many + "/>");
    const std::string path = testing::TempDir() + "allocation_test.img";
    const std::string sorts =
        "<AppSortDB><sortNum>1</sortNum><appNum>1</appNum><sortList><sort><type/><appList><app>"
        "<appName/></app></appList></sort></sortList></AppSortDB>";
    std::ofstream(path) << image(apps);
    std::fstream(path).seekp(163840) << image(sorts);
    appmngr_checkDbPath(path.c_str());

    for (const Operation &operation : operations) {
        SCOPED_TRACE(operation.name);
        const faults::Outcomes outcomes = faults::outcomesOf(
            [] {}, [&] { return std::to_string(operation.call()); }, release, releaseKept);
        EXPECT_EQ(outcomes.failures, operation.failures);
        EXPECT_EQ(outcomes.success, operation.success);
        EXPECT_EQ(outcomes.kept, operation.kept);
    }
}

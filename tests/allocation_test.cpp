// One allocation after the other fails: in every operation that allocates, but for those on paths
// (xmlp_path_test.cpp). Each must report it, keep its word on its arguments, and lose nothing.
//
// What stays allocated on purpose, and who uses or releases it next:
// - the buffers of a load that failed for lack of another one: the next load;
// - the document of a priority database that could not be analysed: the next analysis;
// - the record of a channel whose buffer size cannot be set: nobody (system_calls_test.cpp).
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
    uint32_t length = 0; // given also when there is no text
    const Document doc = loaded(R"(<?x?><a b="c" d="e"><ff/><ff>1&lt;2</ff></a>)", 0);
    if (doc != nullptr) {
        free(xmlp_dumpDoc(doc.get(), 1, &length));
    }
    return static_cast<int>(length);
}

// The name of each of 300 nested elements takes 4 words of the pool.
static int readLocations()
{
    std::string text;
    for (int i = 100; i < 400; i++) {
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

// Releases what an operation left in the tables, also when it failed.
static std::string release()
{
    appmngr_dbReInit();
    apppri_DBReInit();
    return "";
}

// Releases what the product keeps for its next use.
static void releaseKept()
{
    appmngr_file_free();
    apppri_DBResFree();
    apppri_analyzeDBFile(); // releases the document of a failed one
}

const std::map<std::string, int (*)()> operations = {
    {"a document from text and back", loadAndDump},
    {"the locations of elements", readLocations},
    {"the tables of descriptions", allocDescriptions},
    {"a message of parameters", sendParameters},
    {"a load of the application database", appmngr_load_database},
    {"a load of the priority database", apppri_database_init},
    {"an update by a container", writeContainer},
};

// As listed: the result and the lines while the first allocation fails, the second, ...; when none
// fails; and how many blocks stay for the next call when all was released.
TEST(Allocation, FailuresAreReportedAndLoseNothing)
{
    std::string apps = contents(TARN_SOURCE "/examples/appdb.xml"), many = "<many";
    for (int i = 1000; i < 1300; i++) { // more than the first rooms made for attributes hold
        many += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
    }
    apps.insert(apps.find("<appList>"), many + "/>");
    const std::string path = testing::TempDir() + "allocation_test.img";
    const std::string sorts =
        "<AppSortDB><sortNum>1</sortNum><appNum>1</appNum><sortList><sort><type>1</type>"
        "<appList><app><appName>n</appName></app></appList></sort></sortList></AppSortDB>";
    std::ofstream(path) << image(apps);
    std::fstream(path).seekp(163840) << image(sorts);
    appmngr_checkDbPath(path.c_str());

    expectListed("failed-allocations.txt", [](const std::string &name) {
        const faults::Outcomes outcomes = faults::outcomesOf(
            [] {}, [&] { return std::to_string(operations.at(name)()); }, release, releaseKept);
        return inOneLine(outcomes.failures + " | then " + outcomes.success + " | keeps " +
                         std::to_string(outcomes.kept));
    });
}

// The priority database, from texts and image files to the message that the kernel would get.
// Allocations and the netlink channel are replaced at link time.

#include "apppri/apppri_internal.h"

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/list.h"
#include "capture.h"
#include "loader/image.h"

#include <errno.h>
#include <lzma.h>
#include <string.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <vector>

static int allocationsLeft = -1; // before one fails; negative for no limit
static bool channelOpens = true;
static int sendResult = 4160;
static std::vector<unsigned char> sent;

static bool allocates()
{
    return allocationsLeft < 0 || allocationsLeft-- > 0;
}

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);

void *__wrap_malloc(size_t size)
{
    return allocates() ? __real_malloc(size) : nullptr;
}

void *__wrap_calloc(size_t count, size_t size)
{
    return allocates() ? __real_calloc(count, size) : nullptr;
}

appdist_handle *__wrap_appdist_create_handle(uint32_t flags, uint32_t protocol_family)
{
    EXPECT_TRUE(flags == 0 && protocol_family == 2);
    auto *handle =
        channelOpens ? static_cast<appdist_handle *>(calloc(1, sizeof(appdist_handle))) : nullptr;
    if (handle != nullptr) {
        handle->fd = -1;
        handle->local.nl_pid = 0x11223344;
    }
    return handle;
}

int32_t __wrap_appdist_netlink_sendto(appdist_handle *, const void *buffer, uint32_t length)
{
    const auto *bytes = static_cast<const unsigned char *>(buffer);
    sent.assign(bytes, bytes + length);
    errno = 0;
    return sendResult;
}

} // extern "C"

// The elements of path, separated by slashes, inside one another.
static std::string in(const std::string &path, const std::string &content)
{
    const size_t slash = path.find('/');
    const std::string name = path.substr(0, slash);
    const bool last = slash == std::string::npos;
    const std::string inside = last ? content : in(path.substr(slash + 1), content);
    return "<" + name + ">" + inside + "</" + name + ">";
}

static std::string app(int id, const std::string &name)
{
    return in("app", in("appId", std::to_string(id)) + in("appName", name) + in("appType", "6"));
}

static std::string sort(int id, const std::string &name, int prio, const std::string &apps)
{
    return in("sort", in("id", std::to_string(id)) + in("name", name) + in("type", "8") +
                          in("prio", std::to_string(prio)) + in("appList", apps));
}

static std::string db(int sortNum, int appNum, const std::string &sorts)
{
    return in("AppSortDB", in("sortNum", std::to_string(sortNum)) +
                               in("appNum", std::to_string(appNum)) + in("sortList", sorts));
}

static int analyze(const std::string &text)
{
    apppri_DBReInit();
    EXPECT_EQ(apppri_DBResAlloc(), 0);
    memcpy(apppri_db.xmlBuf, text.c_str(), text.size() + 1);
    const int result = apppri_analyzeDBFile();
    apppri_DBResFree();
    return result;
}

// The names of sorts and applications: "sort[app,app,]sort[]".
static std::string listed()
{
    std::string text;
    for (auto *s = _apppri_first(apppri_db.appSortList); s != nullptr;
         s = _apppri_next(apppri_db.appSortList, s)) {
        text += s->name + std::string("[");
        for (auto *a = _apppri_first(s->appList); a != nullptr; a = _apppri_next(s->appList, a)) {
            text += a->appName + std::string(",");
        }
        text += "]";
    }
    return text;
}

static std::string error(const std::string &function, int line, const std::string &message)
{
    return "[apppri_db_error](" + function + ") " + std::to_string(line) + ": " + message;
}

// All that is printed when an element at this depth, 1 for the top element, is refused.
static std::string refusal(size_t depth, int line, const std::string &message)
{
    static const struct {
        const char *function; // refuses elements at this depth
        int line;             // when something below one is refused
        const char *message;
    } levels[] = {
        {"apppri_analyzeDBFile", 1139, "apppri_db_parseAll FAILED\r\n"},
        {"apppri_db_parseAll", 903, "apppri_db_parseAppSortDB FAILED\r\n"},
        {"apppri_db_parseAppSortDB", 854, "Proc forest FAILED\r\n"},
        {"apppri_db_parseSortList", 728, "apppri_db_parseSort 0 FAILED\r\n\r\n"},
        {"apppri_db_parseSort", 678, "apppri_db_parseAppList error!\r\n"},
        {"apppri_db_parseAppList", 529, "apppri_db_parseApp error.\r\n"},
        {"apppri_db_parseApp", 0, ""},
    };
    std::string text = error(levels[depth].function, line, message);
    while (depth-- > 0) {
        text += error(levels[depth].function, levels[depth].line, levels[depth].message);
    }
    return text;
}

static const std::string tooLong(512, '1'); // for a value

TEST(apppri, documents)
{
    const std::string two = sort(1, "a", 2, app(7, "web")) + sort(3, "b", 4, "");
    const std::string renamed = in("app", "<appName>m</appName><appName>n</appName>");
    const std::string counting = "apppri_parseThroughXML";
    const struct {
        int result;
        std::string text;
        std::string listed;
        std::string printed;
    } cases[] = {
        {0, "\xEF\xBB\xBF" + db(2, 1, two), "a[web,]b[]", ""},
        {0, in("appsortDB", "<SORTNUM>1</SORTNUM>" + in("sortlist/SORT/Type", "9")), "[]", ""},
        {0, db(2, 1, "<sort/>" + two + "<x/>"), "a[web,]b[]", ""},
        // A sort is listed by its type, an application by its appName, at the last of them.
        {0, db(3, 2, in("sort/appList", app(7, "web")) + two), "a[web,]b[]", ""},
        {0,
         db(2, 3,
            sort(1, "a", 2, renamed + in("app/appId", "2") + app(3, "web")) +
                in("sort", "<type>1</type><name>z</name><type>2</type>")),
         "a[n,web,]z[]", ""},
        {-1, db(3, 9, two), "a[web,]b[]", refusal(3, 744, "apppri_db_sort count error [2]!\r\n")},
        {-1, db(2, 9, two), "a[web,]b[]", refusal(3, 749, "apppri_db_app count error [1]!\r\n")},
        // A missing count fails the load only where it cannot be one.
        {0, in("AppSortDB/sortNum", tooLong), "",
         error(counting, 961, "apppri sort num not found!\r\n")},
        {-1, in("appSortDB.appNum", tooLong), "",
         error(counting, 979, "apppri app num not found!\r\n")},
        {-1, in("AppSortDB/ver", tooLong), "",
         error(counting, 997, "apppri ver not found!\r\n") +
             refusal(2, 801, "Get version value failed.\r\n")},
        {-1, "<a", "", error("apppri_analyzeDBFile", 1113, "get root child fail\r\n\r\n")},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(captured([&] { EXPECT_EQ(analyze(c.text), c.result); }), c.printed);
        EXPECT_EQ(listed(), c.listed);
    }
}

TEST(apppri, refusedElements)
{
    const std::string sortPath = "AppSortDB/sortList/sort/", appPath = sortPath + "appList/app/";
    const std::string unknown = "unknown tag:x\r\n";
    const struct {
        std::string path;
        int line;
        std::string message;
    } cases[] = {
        {"x", 910, unknown},
        {"AppSortDB/x", 861, unknown},
        {"AppSortDB/proModel", 821, "Get pro model value failed.\r\n"},
        {"AppSortDB/expired", 846, "Get EXPIRED value failed.\r\n"},
        {"AppSortDB/sortList/x", 735, unknown},
        {sortPath + "x", 684, unknown},
        {sortPath + "id", 613, "apppri sortId not found!\r\n"},
        {sortPath + "name", 635, "apppri sortName not found!\r\n"},
        {sortPath + "prio", 652, "apppri prio not found!\r\n"},
        {sortPath + "type", 669, "apppri sortType not found!\r\n"},
        {sortPath + "appList/x", 536, unknown},
        {appPath + "x", 486, unknown},
        {appPath + "appId", 438, "apppri appId not found!\r\n"},
        {appPath + "appType", 456, "apppri appType not found!\r\n"},
        {appPath + "appName", 478, "apppri appName not found!\r\n"},
    };
    for (const auto &c : cases) {
        const auto slashes = std::count(c.path.begin(), c.path.end(), '/');
        EXPECT_EQ(captured([&] { EXPECT_EQ(analyze(in(c.path, tooLong)), -1); }),
                  refusal(static_cast<size_t>(slashes + 1), c.line, c.message));
    }
}

TEST(apppri, headerFieldsAreCut)
{
    const std::string time = "2030-01-15 23:59:58            ";
    const std::string text = in("ver", time) + in("proModel", time + "cut");
    ASSERT_EQ(analyze(in("AppSortDB", text + in("expired", time + "cut"))), 0);
    EXPECT_STREQ(apppri_db.ver, "2030-01-15 ");
    EXPECT_EQ(apppri_db.proModel, time);
    EXPECT_EQ(apppri_db.expiredTime[5], 58);
}

TEST(apppri, expiry)
{
    const std::string function = "_apppri_strToExpiredTime";
    const std::string splitter = "[Error](appmngr_string_makeSubStrByChar) ";
    const std::string many = splitter + "453: Too many substrings to string provided \r\n";
    const std::string failed = "ucm_string_makeSubStrByChar FAILED\r\n";
    const std::string badDate = error(function, 306, failed + "\r\n");
    const std::vector<int32_t> untouched(6, -5);
    const struct {
        const char *text;
        std::vector<int32_t> time;
        std::string printed;
    } cases[] = {
        {"2030-01-15", {2030, 1, 15, 0, 0, 0}, ""},
        {" 2030-01-15\t23:59:58", {2030, 1, 15, 23, 59, 58}, ""},
        {"2030/01/15 1 2", untouched, badDate},
        {"2030-01-15-7", untouched, many + badDate},
        {"", untouched, splitter + "428: Some parameter is null.\r\n" + badDate},
        {"2030-01-15 23:59", untouched, error(function, 336, failed)},
        {"2030-01-15 1:2:3 4 5", untouched, many + error(function, 295, failed)},
    };
    std::vector<int32_t> time;
    const auto read = [&](const char *text, int result) {
        time = untouched;
        return captured([&] { EXPECT_EQ(_apppri_strToExpiredTime(time.data(), text), result); });
    };
    for (const auto &c : cases) {
        EXPECT_EQ(read(c.text, c.printed.empty() ? 0 : -1), c.printed);
        EXPECT_EQ(time, c.time) << c.text;
    }
    const std::string start = error(function, 347, "cnt = ");
    const std::string slip = read("2030-01-15 1:2:3 x", -1);
    EXPECT_EQ(slip.find(start), 0u) << slip;
    EXPECT_GT(std::abs(std::stoll(slip.substr(start.size()))), 3) << "the number of pieces";
}

TEST(apppri, countingNeedsLittleStack)
{
    char name[] = "a";
    std::vector<XmlpNode> nodes(1000000);
    for (size_t i = 0; i < nodes.size(); ++i) {
        nodes[i].name = name;
        nodes[i].type = XMLP_NODE_STRUCT;
        nodes[i].firstChild = i + 1 < nodes.size() ? &nodes[i + 1] : nullptr;
    }
    EXPECT_EQ(apppri_parseThroughXML("root", nodes.data()), 0);
}

TEST(apppri, mapAndLookups)
{
    ASSERT_EQ(analyze(db(3, 4,
                         sort(1, "a", 3, app(7, "web") + app(4096, "far") + app(-1, "off")) +
                             in("sort", "<id>2</id><type>1</type>") +
                             sort(2, "b", 260, app(7, "videotube with thirty-two letters")))),
              0);
    unsigned char map[4096] = {};
    EXPECT_EQ(apppri_initPrimapFromDB(map), 0);
    EXPECT_EQ(map[7], 4);
    EXPECT_EQ(std::accumulate(map, map + sizeof map, 0), 4);
    EXPECT_EQ(apppri_initPrimapWithSort(map, 2, 0x105), 0);
    EXPECT_EQ(apppri_initPrimapWithSort(map, 9, 1), 0);
    EXPECT_EQ(map[7], 5);

    EXPECT_EQ(apppri_getAppIdByName(""), 7);
    EXPECT_EQ(apppri_getAppIdByName("far"), 4096);
    EXPECT_EQ(apppri_getAppIdByName("letter"), 7);
    EXPECT_EQ(apppri_getAppIdByName("letters"), -1);
    EXPECT_EQ(apppri_getAppIdByName("Web"), -1);
    std::string name(34, '#');
    EXPECT_EQ(apppri_getAppNameById(7, name.data(), 2)->type, 8u);
    EXPECT_EQ(name.substr(0, 3), "we#");
    EXPECT_EQ(apppri_getAppNameById(4096, name.data(), 33)->appList->next->appType, 6u);
    EXPECT_EQ(name, "far" + std::string(30, '\0') + "#");
    EXPECT_EQ(apppri_getAppNameById(8, name.data(), 33), nullptr);
    EXPECT_EQ(captured(apppri_showDB),
              "sortId: 1, sortName: a       , priority: 3\r\n  appList:\r\n"
              "      appId: 7   , appName: web\r\n"
              "      appId: 4096, appName: far\r\n"
              "      appId: -1  , appName: off\r\n\r\n"
              "sortId: 2, sortName:         , priority: 0\r\n  appList:\r\n\r\n"
              "sortId: 2, sortName: b       , priority: 260\r\n  appList:\r\n"
              "      appId: 7   , appName: videotube with thirty-two letter\r\n\r\n");

    apppri_DBReInit();
    EXPECT_EQ(captured([&] { EXPECT_EQ(apppri_initPrimapWithSort(map, 1, 1), -1); }),
              error("apppri_initPrimapWithSort", 1421, "appSortList NULL.\r\n"));
    EXPECT_EQ(apppri_getAppIdByName(""), -1);
    EXPECT_EQ(apppri_getAppNameById(7, name.data(), 33), nullptr);
    EXPECT_EQ(captured(apppri_showDB), "");
}

// Writes a database file with the image of text where the priority database lies.
static std::string writeFile(const std::string &text)
{
    lzma_options_lzma options = {};
    lzma_lzma_preset(&options, LZMA_PRESET_DEFAULT);
    const lzma_filter filters[] = {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    const auto *bytes = reinterpret_cast<const uint8_t *>(text.data());
    unsigned char image[4 + 14 + 1024] = {};
    size_t end = 4 + 14;
    EXPECT_EQ(lzma_properties_encode(filters, image + 5), LZMA_OK);
    lzma_raw_buffer_encode(filters, nullptr, bytes, text.size(), image, &end, sizeof image);
    image[2] = static_cast<unsigned char>((end - 4) >> 8);
    image[3] = static_cast<unsigned char>(end - 4);
    std::string path = testing::TempDir() + "apppri_test.img";
    std::ofstream file(path, std::ios::binary);
    file.seekp(163840).write(reinterpret_cast<char *>(image), static_cast<std::streamsize>(end));
    return path;
}

// What a load from path prints.
static std::string load(const std::string &path, int result)
{
    appmngr_checkDbPath(path.c_str());
    return captured([&] { EXPECT_EQ(apppri_database_init(), result); });
}

static const std::string goodText =
    db(2, 3, sort(1, "a", 3, app(7, "x") + app(4095, "y")) + sort(2, "b", 5, app(7, "z")));

TEST(apppri, sendsTheMap)
{
    const std::string path = writeFile(goodText);
    EXPECT_EQ(load(path, 0) + load(path, 0), "");
    const uint16_t typeAndFlags[] = {20, 1};
    uint32_t head[16] = {4160, 0, 0, 0x11223344, 0, 4096, 1};
    memcpy(&head[1], typeAndFlags, sizeof typeAndFlags);
    std::vector<unsigned char> expected(4160);
    memcpy(expected.data(), head, sizeof head);
    expected[64 + 7] = 5;
    expected[64 + 4095] = 3;
    EXPECT_EQ(sent, expected);
}

TEST(apppri, failuresOfALoad)
{
    const std::string flash = "[Error](apppri_readDBFromFlash) ";
    const std::string tooSmall = flash + "1045: Size of buffer \"65536\" is too small.\n";
    const auto readFailed = [](int line, const std::string &stage) {
        return error("apppri_readAppSortFromDB", line, stage + " error.\r\n") +
               error("apppri_database_init", 2044, "apppri_readAppSortFromDB failed.\r\n");
    };
    const std::string notRead = readFailed(1870, "apppri_readDBFromFlash");
    EXPECT_EQ(load("/nonexistent", -1), flash + "1023: read db flash fail\n" + notRead);
    EXPECT_EQ(load("/dev/null", -1), tooSmall + notRead);
    EXPECT_EQ(load(writeFile(std::string(65536, '1')), -1), tooSmall + notRead);
    EXPECT_EQ(load(writeFile(in("x", std::string(65535 - 7, '1'))), -1),
              refusal(1, 910, "unknown tag:x\r\n") + readFailed(1876, "apppri_analyzeDBFile"));

    const auto sendFailed = [](int line, const std::string &message) {
        return error("apppri_sendMsgToKernel", line, message) +
               error("apppri_database_init", 2050, "apppri_sendMsgToKernel failed.\r\n");
    };
    EXPECT_EQ(load(writeFile(in("AppSortDB/ver", "1.2.0")), -1),
              error("apppri_initPrimapFromDB", 1381, "appSortList NULL.\r\n") +
                  sendFailed(1445, " apppri_initPrimapFromDB\r\n"));
    sendResult = 0;
    EXPECT_EQ(load(writeFile(goodText), -1),
              "app netlink sendto fail, ret:0\n" +
                  sendFailed(1459, "send db to kernel failed\r\n\r\n"));
    sendResult = 4160;
    channelOpens = false;
    EXPECT_EQ(load(writeFile(goodText), -1),
              sendFailed(1452, "appdist Failed to initialize handle\n\r\n"));
    channelOpens = true;
}

// Fails each allocation of a load in turn; leaks show in a build with leak checks.
TEST(apppri, memoryIsShort)
{
    const std::string path = writeFile(goodText);
    appmngr_checkDbPath(path.c_str());
    std::string printed;
    int failing = 0;
    for (int result = -1; result != 0; ++failing) {
        ASSERT_LT(failing, 100);
        printed += captured([&] {
            allocationsLeft = failing;
            result = apppri_database_init();
            allocationsLeft = -1;
        });
    }
    for (const char *line : {"1171: apppri file reinit failed.\r\n\r\n", "1858: DBResInit error.",
                             "395: l_app_pool alloc error.", "412: l_app_pool alloc error.",
                             "1438: g_appPriTbl mem malloc error."}) {
        EXPECT_NE(printed.find(line), std::string::npos) << line;
    }
}

// The priority database, from texts and image files to the message that the kernel would get.

#include "apppri/apppri_internal.h"

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "capture.h"
#include "fake_kernel.h"
#include "loader/image.h"
#include "lzma_image.h"

#include <algorithm>
#include <numeric>
#include <tuple>

// The elements of path, separated by slashes, inside one another.
static std::string in(const std::string &path, const std::string &content)
{
    const size_t slash = path.find('/');
    const std::string name = path.substr(0, slash);
    const std::string inside = slash == path.npos ? content : in(path.substr(slash + 1), content);
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
    return in("AppSortDB", "<x/>" + in("sortNum", std::to_string(sortNum)) +
                               in("appNum", std::to_string(appNum)) + in("sortList", sorts));
}

// What is said of those around when an element is refused at this depth, 1 for the top element.
static std::string around(size_t depth)
{
    static const char *const texts[] = {
        "analyzeDBFile:1139 apppri_db_parseAll FAILED\r\n",
        "db_parseAll:903 apppri_db_parseAppSortDB FAILED\r\n",
        "db_parseAppSortDB:854 Proc forest FAILED\r\n",
        "db_parseSortList:728 apppri_db_parseSort 0 FAILED\r\n\r\n",
        "db_parseSort:678 apppri_db_parseAppList error!\r\n",
        "db_parseAppList:529 apppri_db_parseApp error.\r\n",
    };
    return depth > 0 ? texts[depth - 1] + around(depth - 1) : "";
}

// The names in the listing of all sorts and applications: "sort[app,app,]sort[]".
static std::string listed()
{
    const std::regex sortLines("sortId.*sortName: (\\S*).*\r\n.*\r\n");
    const std::regex appLine(" +appId.*: (.*)\r\n");
    const std::string sorts = std::regex_replace(captured(apppri_showDB), sortLines, "$1[");
    return std::regex_replace(std::regex_replace(sorts, appLine, "$1,"), std::regex("\r\n"), "]");
}

// The result, the names, what is printed, "[apppri_db_error](apppri_function) line: " shortened.
template <typename Action> static std::string outcome(Action action)
{
    static const std::regex frame("\\[apppri_db_error\\]\\((_?)apppri_(\\w+)\\) (\\d+): ");
    int result = 0;
    const std::string printed = capturedOnSmallStack([&] { result = action(); });
    return std::to_string(result) + " " + listed() + std::regex_replace(printed, frame, "$1$2:$3 ");
}

static std::string analysis(const std::string &text)
{
    return outcome([&text] {
        apppri_DBReInit();
        apppri_DBResAlloc();
        memcpy(apppri_db.xmlBuf, text.c_str(), text.size() + 1);
        const int result = apppri_analyzeDBFile();
        apppri_DBResFree();
        return result;
    });
}

static const std::string tooLong(512, '1'); // for a value

TEST(apppri, documents)
{
    const std::string two = sort(1, "a", 2, app(7, "web")) + sort(3, "b", 4, "");
    const std::string renamed = in("app", "<appName>m</appName><appName>n</appName>");
    const std::string retyped = in("sort", "<type>1</type><name>z</name><type>2</type>");
    std::string deep = "1";
    while (deep.size() < 65000) {
        deep = in("a", deep);
    }
    const std::pair<std::string, std::string> cases[] = {
        {"\xEF\xBB\xBF" + db(2, 1, two), "0 a[web,]b[]"},
        {in("appsortDB", "<SORTNUM>1</SORTNUM>" + in("sortlist/SORT/Type", "9")), "0 []"},
        {db(2, 1, "<sort/>" + two + "<x/>"), "0 a[web,]b[]"},
        // A sort is listed by its type, an application by its appName, at the last of them.
        {db(3, 2, in("sort/appList", app(7, "web")) + two), "0 a[web,]b[]"},
        {db(1, 3, sort(1, "a", 2, renamed + in("app/appId", "2") + app(3, "w"))), "0 a[n,w,]"},
        {db(1, 0, retyped), "0 z[]"},
        {db(3, 9, two),
         "-1 a[web,]b[]db_parseSortList:744 apppri_db_sort count error [2]!\r\n" + around(3)},
        {db(2, 9, two),
         "-1 a[web,]b[]db_parseSortList:749 apppri_db_app count error [1]!\r\n" + around(3)},
        // A missing count fails the load only where it cannot be one.
        {in("AppSortDB/sortNum", tooLong), "0 parseThroughXML:961 apppri sort num not found!\r\n"},
        {in("appSortDB.appNum", tooLong), "-1 parseThroughXML:979 apppri app num not found!\r\n"},
        {in("AppSortDB/ver", tooLong), "-1 parseThroughXML:997 apppri ver not found!\r\n"
                                       "db_parseAppSortDB:801 Get version value failed.\r\n" +
                                           around(2)},
        {deep, "-1 db_parseAll:910 unknown tag:a\r\n" + around(1)},
        {"<a", "-1 analyzeDBFile:1113 get root child fail\r\n\r\n"},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(analysis(text), expected) << text;
    }
}

TEST(apppri, refusedElements)
{
    const std::string sortPath = "AppSortDB/sortList/sort/", appPath = sortPath + "appList/app/";
    const std::pair<std::string, std::string> cases[] = {
        {"x", "All:910 unknown tag:x"},
        {"AppSortDB/x", "AppSortDB:861 unknown tag:x"},
        {"AppSortDB/proModel", "AppSortDB:821 Get pro model value failed."},
        {"AppSortDB/expired", "AppSortDB:846 Get EXPIRED value failed."},
        {"AppSortDB/sortList/x", "SortList:735 unknown tag:x"},
        {sortPath + "x", "Sort:684 unknown tag:x"},
        {sortPath + "id", "Sort:613 apppri sortId not found!"},
        {sortPath + "name", "Sort:635 apppri sortName not found!"},
        {sortPath + "prio", "Sort:652 apppri prio not found!"},
        {sortPath + "type", "Sort:669 apppri sortType not found!"},
        {sortPath + "appList/x", "AppList:536 unknown tag:x"},
        {appPath + "x", "App:486 unknown tag:x"},
        {appPath + "appId", "App:438 apppri appId not found!"},
        {appPath + "appType", "App:456 apppri appType not found!"},
        {appPath + "appName", "App:478 apppri appName not found!"},
    };
    for (const auto &[path, line] : cases) {
        const auto depth = static_cast<size_t>(1 + std::count(path.begin(), path.end(), '/'));
        EXPECT_EQ(analysis(in(path, tooLong)), "-1 db_parse" + line + "\r\n" + around(depth));
    }
}

TEST(apppri, headerFieldsAreCut)
{
    const std::string time = "2030-01-15 23:59:58            ";
    const std::string text = in("ver", time) + in("proModel", time + "cut");
    EXPECT_EQ(analysis(in("AppSortDB", text + in("expired", time + "cut"))), "0 ");
    EXPECT_STREQ(apppri_db.ver, "2030-01-15 ");
    EXPECT_EQ(apppri_db.proModel, time);
}

TEST(apppri, expiry)
{
    const std::string splitter = "[Error](appmngr_string_makeSubStrByChar) ";
    const std::string many = splitter + "453: Too many substrings to string provided \r\n";
    const std::string at = "_strToExpiredTime:", failed = " ucm_string_makeSubStrByChar FAILED\r\n";
    const std::string badDate = at + "306" + failed + "\r\n";
    const std::array<int32_t, 6> last = {2030, 1, 15, 23, 59, 58};
    const std::tuple<const char *, std::array<int32_t, 6>, std::string> cases[] = {
        {"2030-01-15", {2030, 1, 15}, ""},
        {" 2030-01-15\t23:59:58", last, ""},
        {"2031/01/15 1 2", last, badDate},
        {"2031-01-15-7", last, many + badDate},
        {"\t", last, splitter + "428: Some parameter is null.\r\n" + badDate},
        {"2031-01-15 23:59", last, at + "336" + failed},
        {"2031-01-15 1:2:3 4 5", last, many + at + "295" + failed},
        {"2031-01-15 1:2:3 x", last, at + "347 cnt = ADDRESS\r\n"}, // not 3, the count
    };
    const std::string refused =
        "db_parseAppSortDB:840 _apppri_strToExpiredTime FAILED\r\n" + around(2);
    for (const auto &[text, time, printed] : cases) {
        const std::string result = analysis(in("AppSortDB/expired", text));
        EXPECT_EQ(std::regex_replace(result, std::regex("= -?\\d{2,}"), "= ADDRESS"),
                  printed.empty() ? "0 " : "-1 " + printed + refused);
        EXPECT_TRUE(std::equal(time.begin(), time.end(), apppri_db.expiredTime)) << text;
    }
}

TEST(apppri, withoutArgumentsOrDatabase)
{
    static XmlpNode node = {};
    static apppri_sort sort = {};
    static uint32_t count = 0;
    static int32_t time[6];
    static unsigned char map[4096];
    const std::string noList = "-1 db_parseAppList:515 apppri_db_parseAppList params error!\r\n";
    const std::pair<int (*)(), std::string> cases[] = {
        {[] { return apppri_db_parseAppList(nullptr, &sort, &count); }, noList},
        {[] { return apppri_db_parseAppList(&node, nullptr, &count); }, noList},
        {[] { return apppri_db_parseAppList(&node, &sort, nullptr); }, noList},
        {[] { return _apppri_strToExpiredTime(nullptr, "2030-01-15"); }, "-1 "},
        {[] { return _apppri_strToExpiredTime(time, nullptr); }, "-1 "},
        {apppri_readDBFromFlash, "-1 [Error](apppri_readDBFromFlash) 1023: read db flash fail\n"},
        {apppri_analyzeDBFile, "-1 analyzeDBFile:1105 xmlParseMemory error.\r\n"},
        {[] { return apppri_initPrimapWithSort(map, 1, 1); },
         "-1 initPrimapWithSort:1421 appSortList NULL.\r\n"},
        {[] { return apppri_getAppIdByName(""); }, "-1 "},
        {[] { return apppri_getAppNameById(7, nullptr, 33) != nullptr ? 1 : 0; }, "0 "},
        {[] { return apppri_showDB(), 0; }, "0 "},
        {[] { return g_apppri_profile.mapSize = 7, appprio_readParaFromProfile(), 0; },
         "0 !!!!!!!!!!!!!!!!!!!!appprio_readParaFromProfile in!!!!!!!!!!!!!!!!!!!!!\r\n"},
    };
    apppri_DBReInit();
    for (const auto &[call, expected] : cases) {
        EXPECT_EQ(outcome(call), expected);
    }
    EXPECT_EQ(g_apppri_profile.mapSize, 4096u);
}

TEST(apppri, mapAndLookups)
{
    const std::string first = sort(1, "a", 3, app(7, "web") + app(4096, "far") + app(-1, "off"));
    const std::string empty = in("sort", "<id>2</id><type>1</type>");
    const std::string last = sort(2, "b", 260, app(7, "videotube with thirty-two letters"));
    ASSERT_EQ(analysis(db(3, 4, first + empty + last)).substr(0, 2), "0 ");
    unsigned char map[4096] = {};
    EXPECT_EQ(apppri_initPrimapFromDB(map), 0);
    EXPECT_EQ(map[7], 4);
    EXPECT_EQ(std::accumulate(map, map + sizeof map, 0), 4);
    EXPECT_EQ(apppri_initPrimapWithSort(map, 2, 0x105), 0);
    EXPECT_EQ(apppri_initPrimapWithSort(map, 9, 1), 0);
    EXPECT_EQ(map[7], 5);

    const std::pair<const char *, int> ids[] = {
        {"", 7}, {"far", 4096}, {"letter", 7}, {"letters", -1}, {"Web", -1}};
    for (const auto &[needle, id] : ids) {
        EXPECT_EQ(apppri_getAppIdByName(needle), id) << needle;
    }
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
}

// The outcome of a load from a file with the image of text where the priority database lies.
static std::string load(const std::string &text)
{
    const std::string path = testing::TempDir() + "apppri_test.img";
    std::ofstream(path, std::ios::binary).seekp(163840) << image(encode(text, 1 << 16));
    appmngr_checkDbPath(path.c_str());
    return outcome(apppri_database_init);
}

TEST(apppri, loads)
{
    const std::string text =
        db(2, 3, sort(1, "a", 3, app(7, "x") + app(4095, "y")) + sort(2, "b", 5, app(7, "z")));
    EXPECT_EQ(load(text), "0 a[x,y,]b[z,]");
    EXPECT_EQ(load(text + std::string(65535 - text.size(), ' ')), "0 a[x,y,]b[z,]");
    EXPECT_EQ(g_appPriTbl, nullptr);
    const Bytes sent = kernel.message;
    Bytes map(4096);
    map[7] = 5;
    map[4095] = 3;
    appdist_handle channel = {0, 0, kernel.bound, {AF_NETLINK, 0, 0, 0}};
    appdist_send_buffer(&channel, map.data(), 4096);
    EXPECT_EQ(sent, kernel.message);

    EXPECT_EQ(load(in("AppSortDB/ver", "1.2.0")),
              "-1 initPrimapFromDB:1381 appSortList NULL.\r\n"
              "sendMsgToKernel:1445  apppri_initPrimapFromDB\r\n"
              "database_init:2050 apppri_sendMsgToKernel failed.\r\n");
}

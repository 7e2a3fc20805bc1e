// The priority database, from texts and image files to the message that the kernel would get.

#include "apppri/apppri_internal.h"

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/list.h"
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
    // The function that refuses elements at a depth; what it says when one below is refused.
    static const std::tuple<const char *, int, const char *> levels[] = {
        {"apppri_analyzeDBFile", 1139, "apppri_db_parseAll FAILED\r\n"},
        {"apppri_db_parseAll", 903, "apppri_db_parseAppSortDB FAILED\r\n"},
        {"apppri_db_parseAppSortDB", 854, "Proc forest FAILED\r\n"},
        {"apppri_db_parseSortList", 728, "apppri_db_parseSort 0 FAILED\r\n\r\n"},
        {"apppri_db_parseSort", 678, "apppri_db_parseAppList error!\r\n"},
        {"apppri_db_parseAppList", 529, "apppri_db_parseApp error.\r\n"},
        {"apppri_db_parseApp", 0, ""},
    };
    std::string text = error(std::get<0>(levels[depth]), line, message);
    while (depth-- > 0) {
        text += std::apply(error, levels[depth]);
    }
    return text;
}

// The result of an analysis, what it lists and what it prints.
static std::string outcome(const std::string &text)
{
    int result = 1;
    const std::string printed = captured([&] { result = analyze(text); });
    return std::to_string(result) + " " + listed() + printed;
}

static const std::string tooLong(512, '1'); // for a value

TEST(apppri, documents)
{
    const std::string two = sort(1, "a", 2, app(7, "web")) + sort(3, "b", 4, "");
    const std::string renamed = in("app", "<appName>m</appName><appName>n</appName>");
    const std::string retyped = in("sort", "<type>1</type><name>z</name><type>2</type>");
    const auto notFound = [](int line, const std::string &what) {
        return error("apppri_parseThroughXML", line, "apppri " + what + " not found!\r\n");
    };
    const std::pair<std::string, std::string> cases[] = {
        {"\xEF\xBB\xBF" + db(2, 1, two), "0 a[web,]b[]"},
        {in("appsortDB", "<SORTNUM>1</SORTNUM>" + in("sortlist/SORT/Type", "9")), "0 []"},
        {db(2, 1, "<sort/>" + two + "<x/>"), "0 a[web,]b[]"},
        // A sort is listed by its type, an application by its appName, at the last of them.
        {db(3, 2, in("sort/appList", app(7, "web")) + two), "0 a[web,]b[]"},
        {db(1, 3, sort(1, "a", 2, renamed + in("app/appId", "2") + app(3, "w"))), "0 a[n,w,]"},
        {db(1, 0, retyped), "0 z[]"},
        {db(3, 9, two), "-1 a[web,]b[]" + refusal(3, 744, "apppri_db_sort count error [2]!\r\n")},
        {db(2, 9, two), "-1 a[web,]b[]" + refusal(3, 749, "apppri_db_app count error [1]!\r\n")},
        // A missing count fails the load only where it cannot be one.
        {in("AppSortDB/sortNum", tooLong), "0 " + notFound(961, "sort num")},
        {in("appSortDB.appNum", tooLong), "-1 " + notFound(979, "app num")},
        {in("AppSortDB/ver", tooLong),
         "-1 " + notFound(997, "ver") + refusal(2, 801, "Get version value failed.\r\n")},
        {"<a", "-1 " + error("apppri_analyzeDBFile", 1113, "get root child fail\r\n\r\n")},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(outcome(text), expected) << text;
    }
}

TEST(apppri, refusedElements)
{
    const std::string sortPath = "AppSortDB/sortList/sort/", appPath = sortPath + "appList/app/";
    const std::string unknown = "unknown tag:x\r\n";
    const std::tuple<std::string, int, std::string> cases[] = {
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
    for (const auto &[path, line, message] : cases) {
        const auto depth = static_cast<size_t>(1 + std::count(path.begin(), path.end(), '/'));
        const std::string printed =
            captured([in = in(path, tooLong)] { EXPECT_EQ(analyze(in), -1); });
        EXPECT_EQ(printed, refusal(depth, line, message));
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
    const auto refused = [](int line, const std::string &message) {
        return error("_apppri_strToExpiredTime", line, message);
    };
    const std::string splitter = "[Error](appmngr_string_makeSubStrByChar) ";
    const std::string many = splitter + "453: Too many substrings to string provided \r\n";
    const std::string failed = "ucm_string_makeSubStrByChar FAILED\r\n";
    const std::string badDate = refused(306, failed + "\r\n");
    const std::vector<int32_t> untouched(6, -5);
    const std::tuple<const char *, std::vector<int32_t>, std::string> cases[] = {
        {"2030-01-15", {2030, 1, 15, 0, 0, 0}, ""},
        {" 2030-01-15\t23:59:58", {2030, 1, 15, 23, 59, 58}, ""},
        {"2030/01/15 1 2", untouched, badDate},
        {"2030-01-15-7", untouched, many + badDate},
        {"", untouched, splitter + "428: Some parameter is null.\r\n" + badDate},
        {"2030-01-15 23:59", untouched, refused(336, failed)},
        {"2030-01-15 1:2:3 4 5", untouched, many + refused(295, failed)},
        {"2030-01-15 1:2:3 x", untouched, refused(347, "cnt = ADDRESS\r\n")}, // not 3, the count
    };
    for (const auto &[text, expected, printed] : cases) {
        std::vector<int32_t> time = untouched;
        const std::string lines = captured([&, in = text, result = printed.empty() ? 0 : -1] {
            EXPECT_EQ(_apppri_strToExpiredTime(time.data(), in), result);
        });
        EXPECT_EQ(std::regex_replace(lines, std::regex("= -?\\d{2,}"), "= ADDRESS"), printed);
        EXPECT_EQ(time, expected) << text;
    }
    EXPECT_EQ(outcome(in("AppSortDB/expired", "2030/01/15")),
              "-1 " + badDate + refusal(2, 840, "_apppri_strToExpiredTime FAILED\r\n"));
    int32_t time[6];
    EXPECT_EQ(_apppri_strToExpiredTime(nullptr, "2030-01-15"), -1);
    EXPECT_EQ(_apppri_strToExpiredTime(time, nullptr), -1);
}

TEST(apppri, missingArguments)
{
    const XmlpNode node = {};
    apppri_sort sort = {};
    uint32_t count = 0;
    const std::string printed = captured([&] {
        EXPECT_EQ(apppri_db_parseAppList(nullptr, &sort, &count), -1);
        EXPECT_EQ(apppri_db_parseAppList(&node, nullptr, &count), -1);
        EXPECT_EQ(apppri_db_parseAppList(&node, &sort, nullptr), -1);
        EXPECT_EQ(apppri_readDBFromFlash(), -1); // without the buffers
        EXPECT_EQ(apppri_analyzeDBFile(), -1);
    });
    const std::string refused =
        error("apppri_db_parseAppList", 515, "apppri_db_parseAppList params error!\r\n");
    EXPECT_EQ(printed, refused + refused + refused +
                           "[Error](apppri_readDBFromFlash) 1023: read db flash fail\n" +
                           error("apppri_analyzeDBFile", 1105, "xmlParseMemory error.\r\n"));
}

TEST(apppri, profile)
{
    g_apppri_profile.mapSize = 7;
    EXPECT_EQ(captured(appprio_readParaFromProfile),
              "!!!!!!!!!!!!!!!!!!!!appprio_readParaFromProfile in!!!!!!!!!!!!!!!!!!!!!\r\n");
    EXPECT_EQ(g_apppri_profile.mapSize, 4096u);
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

    apppri_DBReInit();
    EXPECT_EQ(captured([&] { EXPECT_EQ(apppri_initPrimapWithSort(map, 1, 1), -1); }),
              error("apppri_initPrimapWithSort", 1421, "appSortList NULL.\r\n"));
    EXPECT_EQ(apppri_getAppIdByName(""), -1);
    EXPECT_EQ(apppri_getAppNameById(7, name.data(), 33), nullptr);
    EXPECT_EQ(captured(apppri_showDB), "");
}

// What is printed by a load from a file with the image of text where the priority database lies.
static std::string load(const std::string &text, int result)
{
    const std::string path = testing::TempDir() + "apppri_test.img";
    std::ofstream(path, std::ios::binary).seekp(163840) << image(encode(text, 1 << 16));
    appmngr_checkDbPath(path.c_str());
    return captured([&] { EXPECT_EQ(apppri_database_init(), result); });
}

TEST(apppri, sendsTheMap)
{
    const std::string text =
        db(2, 3, sort(1, "a", 3, app(7, "x") + app(4095, "y")) + sort(2, "b", 5, app(7, "z")));
    EXPECT_EQ(load(text, 0) + load(text, 0), "");
    EXPECT_EQ(g_appPriTbl, nullptr);
    const Bytes sent = kernel.message;
    Bytes map(4096);
    map[7] = 5;
    map[4095] = 3;
    appdist_handle channel = {0, 0, kernel.bound, {AF_NETLINK, 0, 0, 0}};
    appdist_send_buffer(&channel, map.data(), 4096);
    EXPECT_EQ(sent, kernel.message);
}

TEST(apppri, failuresOfALoad)
{
    const std::string init = "apppri_database_init", read = "apppri_readAppSortFromDB";
    const std::string notRead = error(init, 2044, read + " failed.\r\n");
    EXPECT_EQ(load(std::string(65536, '1'), -1),
              "[Error](apppri_readDBFromFlash) 1045: Size of buffer \"65536\" is too small.\n" +
                  error(read, 1870, "apppri_readDBFromFlash error.\r\n") + notRead);
    EXPECT_EQ(load(in("x", std::string(65535 - 7, '1')), -1),
              refusal(1, 910, "unknown tag:x\r\n") +
                  error(read, 1876, "apppri_analyzeDBFile error.\r\n") + notRead);
    EXPECT_EQ(load(in("AppSortDB/ver", "1.2.0"), -1),
              error("apppri_initPrimapFromDB", 1381, "appSortList NULL.\r\n") +
                  error("apppri_sendMsgToKernel", 1445, " apppri_initPrimapFromDB\r\n") +
                  error(init, 2050, "apppri_sendMsgToKernel failed.\r\n"));
}

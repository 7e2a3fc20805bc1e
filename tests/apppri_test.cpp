// The priority database, from texts and image files to the message that the kernel would get.

#include "apppri/apppri_internal.h"

#include "appmngr/appmngr.h"
#include "loader/loader.h"
#include "tests/fake_kernel.h"
#include "tests/lzma_image.h"

// ---- Texts -----------------------------------------------------------------------------

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
                               in("appNum", std::to_string(appNum)) + "<appNum/>" +
                               in("sortList", sorts));
}

const std::string huge(512, '1'); // more than any value may have

// ---- What comes of them ----------------------------------------------------------------

// The result; the names in the listing, as "sort[app,app,]sort[]"; what is printed, with
// "[apppri_db_error](apppri_function) line: " as "function:line ".
static std::string outcome(int (*call)())
{
    const char *const shorter[][2] = {
        {"sortId.*sortName: (\\S*).*\r\n.*\r\n", "$1["},
        {" +appId.*: (.*)\r\n", "$1,"},
        {"([,[])\r\n", "$1]"},
        {"\\[apppri_db_error\\]\\((_?)apppri_(\\w+)\\) (\\d+): ", "$1$2:$3 "},
        {"= -?\\d{5,}", "= ADDRESS"},
    };
    int result = 0;
    const std::string printed = capturedOnSmallStack([&] { result = call(); });
    std::string text = std::to_string(result) + " " + captured(apppri_showDB) + printed;
    for (const auto &[pattern, replacement] : shorter) {
        text = edit(text, pattern, replacement);
    }
    return text;
}

// The outcome of reading a file with the image of text where the priority database lies.
static std::string loaded(const std::string &text, int (*load)() = apppri_readAppSortFromDB)
{
    static const std::string path = testing::TempDir() + "apppri_test.img";
    std::ofstream(path, std::ios::binary).seekp(163840) << image(text);
    appmngr_checkDbPath(path.c_str());
    return outcome(load);
}

// What is said of those around when an element is refused.
const std::string inFile = "readAppSortFromDB:1876 apppri_analyzeDBFile error.\r\n";
const std::string atTop = "analyzeDBFile:1139 apppri_db_parseAll FAILED\r\n" + inFile;
const std::string inDb = "db_parseAll:903 apppri_db_parseAppSortDB FAILED\r\n" + atTop;
const std::string inSorts = "db_parseAppSortDB:854 Proc forest FAILED\r\n" + inDb;
const std::string inSort = "db_parseSortList:728 apppri_db_parseSort 0 FAILED\r\n\r\n" + inSorts;
const std::string inApps = "db_parseSort:678 apppri_db_parseAppList error!\r\n" + inSort;
const std::string inApp = "db_parseAppList:529 apppri_db_parseApp error.\r\n" + inApps;

// ---- The tests -------------------------------------------------------------------------

TEST(Apppri, Documents)
{
    const std::string two = sort(1, "a", 2, app(7, "web")) + sort(3, "b", 4, "");
    // A sort is listed by its type, an application by its appName, at the last of them.
    const std::string untyped = in("sort/appList", app(7, "web"));
    const std::string renamed = in("app", "<appName>mm</appName><appName>n</appName>");
    const std::string retyped = in("sort", "<type>1</type><name>z</name><type>2</type>");
    const std::string sortTag = "AppSortDB/sortList/sort/", appTag = sortTag + "appList/app/";
    const std::string splitter = "[Error](appmngr_string_makeSubStrByChar) ";
    const std::string at = "_strToExpiredTime:", failed = " ucm_string_makeSubStrByChar FAILED\r\n";
    const std::string badDate = at + "306" + failed + "\r\n";
    const std::string inDate = "db_parseAppSortDB:840 _apppri_strToExpiredTime FAILED\r\n" + inDb;
    const auto until = [](const char *date) { return in("AppSortDB/expired", date); };
    std::string deep = "1";
    while (deep.size() < 65000) {
        deep = in("a", deep);
    }
    const std::pair<std::string, std::string> cases[] = {
        {"\xEF\xBB\xBF" + db(3, 2, "<sort/>" + untyped + two + "<x/>"), "0 a[web,]b[]"},
        {in("appsortDB", "<SORTNUM>1</SORTNUM>" + in("sortlist/SORT/Type", "9")), "0 []"},
        {db(2, 3, sort(1, "a", 2, renamed + in("app/appId", "2") + app(3, "w")) + retyped),
         "0 a[n,w,]z[]"},
        {db(3, 9, two),
         "-1 a[web,]b[]db_parseSortList:744 apppri_db_sort count error [2]!\r\n" + inSorts},
        {db(2, 9, two),
         "-1 a[web,]b[]db_parseSortList:749 apppri_db_app count error [1]!\r\n" + inSorts},
        // A missing count fails the load only where it cannot be one.
        {in("AppSortDB/sortNum", huge), "0 parseThroughXML:961 apppri sort num not found!\r\n"},
        {in("appSortDB.appNum", huge),
         "-1 parseThroughXML:979 apppri app num not found!\r\n" + inFile},
        {deep, "-1 db_parseAll:910 unknown tag:a\r\n" + atTop},
        {"<a", "-1 analyzeDBFile:1113 get root child fail\r\n\r\n" + inFile},

        {in("AppSortDB/x", "1"), "-1 db_parseAppSortDB:861 unknown tag:x\r\n" + inDb},
        {in("AppSortDB/ver", huge), "-1 parseThroughXML:997 apppri ver not found!\r\n"
                                    "db_parseAppSortDB:801 Get version value failed.\r\n" +
                                        inDb},
        {in("AppSortDB/proModel", huge),
         "-1 db_parseAppSortDB:821 Get pro model value failed.\r\n" + inDb},
        {in("AppSortDB/expired", huge),
         "-1 db_parseAppSortDB:846 Get EXPIRED value failed.\r\n" + inDb},
        {in("AppSortDB/sortList/x", "1"), "-1 db_parseSortList:735 unknown tag:x\r\n" + inSorts},
        {in(sortTag + "x", "1"), "-1 db_parseSort:684 unknown tag:x\r\n" + inSort},
        {in(sortTag + "id", huge), "-1 db_parseSort:613 apppri sortId not found!\r\n" + inSort},
        {in(sortTag + "name", huge), "-1 db_parseSort:635 apppri sortName not found!\r\n" + inSort},
        {in(sortTag + "prio", huge), "-1 db_parseSort:652 apppri prio not found!\r\n" + inSort},
        {in(sortTag + "type", huge), "-1 db_parseSort:669 apppri sortType not found!\r\n" + inSort},
        {in(sortTag + "appList/x", "1"), "-1 db_parseAppList:536 unknown tag:x\r\n" + inApps},
        {in(appTag + "x", "1"), "-1 db_parseApp:486 unknown tag:x\r\n" + inApp},
        {in(appTag + "appId", huge), "-1 db_parseApp:438 apppri appId not found!\r\n" + inApp},
        {in(appTag + "appType", huge), "-1 db_parseApp:456 apppri appType not found!\r\n" + inApp},
        {in(appTag + "appName", huge), "-1 db_parseApp:478 apppri appName not found!\r\n" + inApp},

        {until("2031/01/15 1 2"), "-1 " + badDate + inDate},
        {until("\t"), "-1 " + splitter + "428: Some parameter is null.\r\n" + badDate + inDate},
        {until("2031-01-15 23:59"), "-1 " + at + "336" + failed + inDate},
        {until("2031-01-15 1:2:3 4 5"), "-1 " + splitter +
                                            "453: Too many substrings to string provided \r\n" +
                                            at + "295" + failed + inDate},
        {until("2031-01-15 1 2"),
         "-1 " + at + "347 cnt = ADDRESS\r\n" + inDate}, // not 3, the count
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(loaded(text), expected) << text;
    }
}

TEST(Apppri, Header)
{
    const std::string time = "2030-01-15 23:59:58            "; // fills a field
    const std::string header = in("ver", time) + in("proModel", time + "cut");
    EXPECT_EQ(loaded(in("AppSortDB", header + in("expired", time + "cut"))), "0 ");
    EXPECT_STREQ(apppri_db.ver, "2030-01-15 ");
    EXPECT_EQ(apppri_db.proModel, time);
    loaded(in("AppSortDB/expired", "2031-02-03 4")); // refused
    const decltype(apppri_db.expiredTime) numbers = {2030, 1, 15, 23, 59, 58}, date = {2030, 1, 15};
    EXPECT_EQ(memcmp(apppri_db.expiredTime, numbers, sizeof numbers), 0);
    EXPECT_EQ(loaded(in("AppSortDB/expired", "2030-01-15")), "0 ");
    EXPECT_EQ(memcmp(apppri_db.expiredTime, date, sizeof date), 0);
}

TEST(Apppri, WithoutArgumentsOrDatabase)
{
    const std::pair<int (*)(), std::string> cases[] = {
        {[] { return apppri_db_parseAppList(nullptr, nullptr, nullptr); },
         "-1 db_parseAppList:515 apppri_db_parseAppList params error!\r\n"},
        {[] { return _apppri_strToExpiredTime(nullptr, nullptr); }, "-1 "},
        {apppri_readDBFromFlash, "-1 [Error](apppri_readDBFromFlash) 1023: read db flash fail\n"},
        {apppri_analyzeDBFile, "-1 analyzeDBFile:1105 xmlParseMemory error.\r\n"},
        {[] { return int{apppri_initPrimapFromDB(nullptr)}; },
         "-1 initPrimapFromDB:1381 appSortList NULL.\r\n"},
        {[] { return apppri_initPrimapWithSort(nullptr, 1, 1); },
         "-1 initPrimapWithSort:1421 appSortList NULL.\r\n"},
        {appprio_readParaFromProfile,
         "0 !!!!!!!!!!!!!!!!!!!!appprio_readParaFromProfile in!!!!!!!!!!!!!!!!!!!!!\r\n"},
    };
    apppri_DBReInit();
    for (const auto &[call, expected] : cases) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(outcome(call), expected);
    }
}

TEST(Apppri, LoadsAndLookups)
{
    const std::string apps =
        app(7, "web") + app(4095, "far") + app(4096, "farther") + app(-1, "off");
    const std::string empty = in("sort", "<id>2</id><type>1</type>");
    const std::string last = sort(2, "b", 260, app(7, "videotube with thirty-two letters"));
    std::string text = db(3, 5, sort(1, "a", 3, apps) + empty + last);
    text.resize(65535, ' ');
    EXPECT_EQ(loaded(text, apppri_database_init),
              "0 a[web,far,farther,off,][]b[videotube with thirty-two letter,]");
    Bytes map(4096);
    map[7] = 4; // of 260
    map[4095] = 3;
    EXPECT_EQ(Bytes(kernel.message.begin() + 64, kernel.message.end()), map);
    map.push_back(0); // behind it
    EXPECT_EQ(apppri_initPrimapWithSort(map.data(), 1, 0x105), 0);
    EXPECT_EQ(apppri_initPrimapWithSort(map.data(), 9, 1), 0);
    EXPECT_TRUE(map[7] == 5 && map[4095] == 5 && map[4096] == 0);
    EXPECT_EQ(apppri_initPrimapWithSort(map.data(), 2, 6), 0);
    EXPECT_TRUE(map[7] == 6 && map[4095] == 5);

    EXPECT_EQ(apppri_getAppIdByName("arther"), 4096);
    EXPECT_EQ(apppri_getAppIdByName("letters"), -1);
    EXPECT_EQ(apppri_getAppIdByName("Web"), -1);
    std::string name(34, '#');
    EXPECT_EQ(apppri_getAppNameById(7, name.data(), 2)->type, 8u);
    EXPECT_EQ(name.substr(0, 3), "we#");
    EXPECT_EQ(apppri_getAppNameById(4095, name.data(), 33)->appList->next->appType, 6u);
    EXPECT_EQ(name, "far" + std::string(30, '\0') + "#");
    EXPECT_EQ(apppri_getAppNameById(8, name.data(), 33), nullptr);
    EXPECT_EQ(captured(apppri_showDB),
              "sortId: 1, sortName: a       , priority: 3\r\n  appList:\r\n"
              "      appId: 7   , appName: web\r\n      appId: 4095, appName: far\r\n"
              "      appId: 4096, appName: farther\r\n      appId: -1  , appName: off\r\n\r\n"
              "sortId: 2, sortName:         , priority: 0\r\n  appList:\r\n\r\n"
              "sortId: 2, sortName: b       , priority: 260\r\n  appList:\r\n"
              "      appId: 7   , appName: videotube with thirty-two letter\r\n\r\n");

    // A text that fills its buffer can be read all the same.
    const auto fill = [] {
        EXPECT_EQ(apppri_DBResAlloc() + apppri_readDBFromFlash(), -1);
        const size_t length = strnlen(apppri_db.xmlBuf, 65536);
        apppri_DBResFree();
        return static_cast<int>(length);
    };
    EXPECT_EQ(loaded(std::string(65536, ' '), fill).substr(0, 6), "65535 ");

    EXPECT_EQ(loaded(in("AppSortDB/ver", "1.2.0"), apppri_database_init),
              "-1 initPrimapFromDB:1381 appSortList NULL.\r\n"
              "sendMsgToKernel:1445  apppri_initPrimapFromDB\r\n"
              "database_init:2050 apppri_sendMsgToKernel failed.\r\n");
}

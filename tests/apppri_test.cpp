// The priority database, from texts and image files to the message that the kernel would get.

#include "apppri/apppri_internal.h"

#include "appmngr/appmngr.h"
#include "loader/loader.h"
#include "tests/fake_kernel.h"
#include "tests/lzma_image.h"

#include <regex>

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

// The result, the names in the listing as "sort[app,app,]sort[]", what is printed.
static std::string outcome(int (*call)())
{
    const char *const shorter[][2] = {{"sortId.*sortName: (\\S*).*\r\n.*\r\n", "$1["},
                                      {" +appId.*: (.*)\r\n", "$1,"},
                                      {"([,[])\r\n", "$1]"}};
    int result = 0;
    const std::string printed = capturedOnSmallStack([&] { result = call(); });
    std::string listing = captured(apppri_showDB);
    for (const auto &[pattern, replacement] : shorter) {
        listing = edit(listing, pattern, replacement);
    }
    return std::to_string(result) + " " + listing +
           edit(lines(printed), "= -?\\d{5,}", "= ADDRESS");
}

// The outcome of reading a file with the image of text where the priority database lies.
static std::string loaded(const std::string &text, int (*load)() = apppri_readAppSortFromDB)
{
    static const std::string path = testing::TempDir() + "apppri_test.img";
    std::ofstream(path, std::ios::binary).seekp(163840) << image(text);
    appmngr_checkDbPath(path.c_str());
    return outcome(load);
}

// In the texts that are listed, N*TEXT* stands for N times the text.
TEST(Priority, TextsLoadAsListed)
{
    expectListed("priority-texts.txt", [](std::string text) {
        static const std::regex repetition("(\\d+)\\*([^*]*)\\*");
        for (std::smatch found; std::regex_search(text, found, repetition);) {
            text = found.prefix().str() + repeated(std::stoul(found[1]), found[2]) +
                   found.suffix().str();
        }
        memset(apppri_db.expiredTime, 0xff, sizeof(apppri_db.expiredTime));
        const std::string listed = inOneLine(loaded(text));
        std::string header = apppri_db.ver + ("|" + std::string(apppri_db.proModel)) + "|";
        for (int32_t number : apppri_db.expiredTime) {
            header += " " + std::to_string(number);
        }
        return listed + (header == "|| -1 -1 -1 -1 -1 -1" ? "" : " header " + header);
    });
}

TEST(Priority, NothingIsDoneWithoutArgumentsOrDatabase)
{
    const std::pair<int (*)(), std::string> cases[] = {
        {[] { return apppri_db_parseAppList(nullptr, nullptr, nullptr); },
         "-1 ; apppri_db_parseAppList:515 apppri_db_parseAppList params error!"},
        {[] { return _apppri_strToExpiredTime(nullptr, nullptr); }, "-1 "},
        {apppri_readDBFromFlash, "-1 ; [Error](apppri_readDBFromFlash) 1023: read db flash fail\n"},
        {apppri_analyzeDBFile, "-1 ; apppri_analyzeDBFile:1105 xmlParseMemory error."},
        {[] { return int{apppri_initPrimapFromDB(nullptr)}; },
         "-1 ; apppri_initPrimapFromDB:1381 appSortList NULL."},
        {[] { return apppri_initPrimapWithSort(nullptr, 1, 1); },
         "-1 ; apppri_initPrimapWithSort:1421 appSortList NULL."},
        {appprio_readParaFromProfile,
         "0 ; !!!!!!!!!!!!!!!!!!!!appprio_readParaFromProfile in!!!!!!!!!!!!!!!!!!!!!\r\n"},
    };
    apppri_DBReInit();
    for (const auto &[call, expected] : cases) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(outcome(call), expected);
    }
}

TEST(Priority, LoadsSendTheMapAndFillTheLookups)
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
              "-1 ; apppri_initPrimapFromDB:1381 appSortList NULL.; apppri_sendMsgToKernel:1445  "
              "apppri_initPrimapFromDB; apppri_database_init:2050 apppri_sendMsgToKernel failed.");
}

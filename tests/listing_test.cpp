// The listings and the JSON export of small tables, whole; names of codes, the version.
#include "appmngr/appmngr.h"
#include "tests/capture.h"

static appmngr_app apps[] = {{7, 1, "Bird Call"}, {0xFFFFFFFF, -1, ""}};
static appmngr_appType types[] = {{3, "Voice", {0x80000080, 0x04030304}}, {0xFFFFFFFE, "", {}}};
static appmngr_rule rules[2];

// Among them: texts that fill their field, numbers above 0x7FFFFFFF, a rule of no application.
// Addresses and bitmaps read the same in both byte orders, since they are shown as they lie.
static void fillTables()
{
    memset(apps[1].name, 'n', sizeof(apps[1].name));
    types[1].appBitmap[127] = 0x01000001;

    const appmngr_feature orig = {1, -2, 3, 40, "hex", "16 03 \"01\""};
    appmngr_feature reply = {5, 6, 7, 8, "", ""};
    memset(reply.dpiType, 't', sizeof(reply.dpiType));
    memset(reply.dpiCode, 'c', sizeof(reply.dpiCode));
    const uint32_t from = inet_addr("192.168.168.192"), to = inet_addr("10.1.1.10");
    rules[0] = {8, 0, 0, 0, 53, 1, {}, orig, reply};
    rules[1] = {0xFFFFFFFF, from, to, 5060, 65535, 6, {}, orig, reply};

    g_appmngr_appDb = {"", "Model", "2030-01-15", 2, 2, rules, 2, types};
    memcpy(g_appmngr_appDb.ver, "123456789012", 12);
    g_appmngr_app = apps;
    g_appmngr_count.app = g_appmngr_count.appCur = 2;
}

static void showVersion()
{
    char text[APPMNGR_VERSION_STRING_SIZE];
    EXPECT_EQ(appmngr_getDbVersionString(text), 0);
    puts(text);
}

TEST(Listing, PrintsTheTables)
{
    const std::map<std::string, void (*)()> listings = {
        {"appmngr_showDb", [] { EXPECT_EQ(appmngr_showDb(), 0); }},
        {"appmngr_showAppRules of application -1",
         [] { EXPECT_EQ(appmngr_showAppRules(UINT32_MAX), 0); }},
        {"appmngr_showAppRules of application 8", [] { EXPECT_EQ(appmngr_showAppRules(8), 0); }},
        {"appmngr_showAppTypes", [] { appmngr_showAppTypes(); }},
        {"appmngr_showApps", [] { appmngr_showApps(); }},
        {"appmngr_showApps with a cursor that lies",
         [] {
             g_appmngr_count.appCur = 0xFFFFFFFE;
             g_appmngr_app = nullptr;
             appmngr_showApps();
         }},
        {"appmngr_writeJson",
         [] {
             appmngr_writeJson(stdout);
             rules[0].proto = 17;
             appmngr_writeJson(stdout);
         }},
        {"appmngr_writeJson without rules",
         [] {
             g_appmngr_appDb.rule = nullptr;
             appmngr_writeJson(stdout);
         }},
        {"appmngr_dumpBuffer of 17 bytes", [] { appmngr_dumpBuffer("0123456789abcdef\xFF", 17); }},
        {"appmngr_dumpBuffer of -1 bytes", [] { appmngr_dumpBuffer("", -1); }},
        {"appmngr_dumpBuffer of nothing", [] { appmngr_dumpBuffer(nullptr, 3); }},
        {"appmngr_showXmlDb",
         [] {
             static char text[] = "<AppDB/>";
             g_appmngr_xmlBuf = text;
             appmngr_showXmlDb();
         }},
        {"appmngr_showXmlDesc of none", [] { appmngr_showXmlDesc(); }},
        {"appmngr_errToStr",
         [] {
             for (int16_t code = -9001; code <= -8975; code++) {
                 printf("%d %s\n", code, appmngr_errToStr(code));
             }
         }},
        {"appmngr_getDbVersionString without a database", showVersion},
        {"appmngr_getDbVersionString", [] {
             uint32_t number = UINT32_MAX; // then 0, 1, ...
             for (uint32_t *field :
                  {&g_appmngr_dbBuild, &g_appmngr_dbYear, &g_appmngr_dbMonth, &g_appmngr_dbDay,
                   &g_appmngr_dbHour, &g_appmngr_dbMinute, &g_appmngr_dbSecond}) {
                 *field = number++;
             }
             showVersion();
             EXPECT_EQ(appmngr_getDbVersionString(nullptr), -1);
             EXPECT_EQ(appmngr_getDbBuild(), UINT32_MAX);
         }}};
    expectListed("listings.txt", [&](const std::string &name) {
        fillTables();
        return inOneLine(edit(captured(listings.at(name)), "addr:0x[0-9a-f]{1,8}\r", "addr:\r"));
    });
}

TEST(Export, WritesAFileOrEndsTheProgram)
{
    g_appmngr_appDb.rule = nullptr;
    captured(appmngr_exportJson);
    EXPECT_EQ(contents("database.json"), "{\n\"dpi_rules\":[\n]\n}\n");
    std::filesystem::remove("database.json");
    std::filesystem::create_directory("database.json");
    EXPECT_EXIT(appmngr_exportJson(), testing::ExitedWithCode(255),
                "open database.json failed!\n: Is a directory");
    std::filesystem::remove("database.json");
}

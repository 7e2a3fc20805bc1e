/*
 * The listings and the JSON export of small tables, whole, against the files in tests/expected.
 */
#include "appmngr/appmngr.h"
#include "loader/image.h"
#include "tests/capture.h"

#include <arpa/inet.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>

namespace
{

appmngr_app apps[3];
appmngr_appType types[2];
appmngr_rule rules[2];

/*
 * Among them: texts that fill their field, numbers above 0x7FFFFFFF, a rule of no application.
 * Addresses and bitmaps read the same in both byte orders, since they are shown as they lie.
 */
void fillTables()
{
    apps[0] = {7, 1, "Bird Call"};
    apps[1] = {0xFFFFFFFF, -1, ""};
    apps[2] = {12345, 0, ""};
    memset(apps[1].name, 'n', sizeof apps[1].name);
    types[0] = {3, "Voice", {0x80000080, 0x04030304}};
    types[1] = {0xFFFFFFFE, "", {}};
    types[1].appBitmap[127] = 0x01000001;

    const uint32_t from = inet_addr("192.168.168.192"), to = inet_addr("10.1.1.10");
    rules[0] = {8, 0, 0, 0, 53, 1, {}, {}, {}};
    rules[1] = {0xFFFFFFFF, from, to, 5060, 65535, 6, {}, {1, -2, 3, 40, "hex", "16 03 \"01\""},
                {}};
    memset(rules[1].reply.dpiType, 't', sizeof rules[1].reply.dpiType);
    memset(rules[1].reply.dpiCode, 'c', sizeof rules[1].reply.dpiCode);

    g_appmngr_appDb = {"", "Model", "2030-01-15", 3, 2, rules, 2, types};
    memcpy(g_appmngr_appDb.ver, "123456789012", 12);
    g_appmngr_app = apps;
    g_appmngr_count = {};
    g_appmngr_count.app = g_appmngr_count.appCur = 3;
}

/* Long runs of zeros are shortened: a "." for a line of a bitmap, a word for an empty feature. */
void expectListing(std::string printed, const char *file)
{
    const char *const shorter[][2] = {
        {"addr:0x[0-9a-f]{1,8}\r", "addr:0x*\r"},
        {"(?:00 ){16}\r\n", "."},
        {"Enable: +0\npkt_start: +0\npkt_end: +0\npkt_length: +0\nDPI type: +\nDPI code: +\n",
         "empty\n"},
        {"\"enable\":0, \"start\":0, \"end\":0, \"len\":0,\n\"type\":\"\", \"rule\":\"\"\n",
         "empty\n"},
    };
    for (const auto &[pattern, word] : shorter) {
        printed = std::regex_replace(printed, std::regex(pattern), word);
    }
    EXPECT_EQ(printed, contents(std::string(TARN_EXPECTED "/") + file));
}

TEST(Listing, ofTables)
{
    fillTables();
    expectListing(captured(appmngr_showDb), "show_db.txt");
    expectListing(captured([] { appmngr_showAppRules(0xFFFFFFFF); }), "show_app_rules.txt");
    expectListing(captured(appmngr_showAppTypes), "show_app_types.txt");
    const std::string listed = captured(appmngr_showApps);
    expectListing(listed, "show_apps.txt");

    g_appmngr_count.appCur = 0xFFFFFFFE; /* a cursor that lies */
    EXPECT_EQ(captured(appmngr_showApps), std::regex_replace(listed, std::regex("= 4"), "= -1"));
    g_appmngr_app = nullptr;
    EXPECT_EQ(captured(appmngr_showApps),
              "--------------\nAll application [cnt = -1]\n\n--------------\n");
}

TEST(Listing, ofBuffers)
{
    expectListing(captured([] { appmngr_dumpBuffer("0123456789abcdef\xFF", 17); }),
                  "dump_buffer.txt");
    EXPECT_EQ(captured([] { appmngr_dumpBuffer(nullptr, 3); }), "===\r\nData is NULL!\r\n");

    char text[] = "<AppDB/>";
    const std::string inXml = " in xml format!\n--------------------------------\n";
    EXPECT_EQ(captured(appmngr_showXmlDb), "Show APP DB" + inXml);
    EXPECT_EQ(captured(appmngr_showXmlDesc), "Show APP Desc" + inXml);
    g_appmngr_xmlBuf = text;
    EXPECT_EQ(captured(appmngr_showXmlDb), "Show APP DB" + inXml + "<AppDB/>\n");
    g_appmngr_xmlBuf = nullptr;
}

TEST(Export, writesTheRules)
{
    fillTables();
    EXPECT_EQ(captured(appmngr_exportJson), "Create JSON-Format database success!\n");
    expectListing(contents("database.json"), "database.json");
    rules[0].proto = 17;
    captured(appmngr_exportJson);
    EXPECT_NE(contents("database.json").find("\"proto\":\"udp\""), std::string::npos);
    g_appmngr_appDb.rule = nullptr;
    captured(appmngr_exportJson);
    EXPECT_EQ(contents("database.json"), "{\n\"dpi_rules\":[\n]\n}\n");

    std::filesystem::remove("database.json");
    std::filesystem::create_directory("database.json");
    EXPECT_EXIT(appmngr_exportJson(), testing::ExitedWithCode(255),
                "open database.json failed!\n: Is a directory");
    std::filesystem::remove("database.json");
}

TEST(Stamp, asText)
{
    char text[APPMNGR_VERSION_STRING_SIZE];
    EXPECT_EQ(appmngr_getDbVersionString(text), 0);
    EXPECT_STREQ(text, "0#0000-00-00 00:00:00");
    g_appmngr_dbYear = 2030;
    g_appmngr_dbMonth = 1;
    g_appmngr_dbSecond = 59;
    g_appmngr_dbBuild = 0xFFFFFFFF;
    EXPECT_EQ(appmngr_getDbVersionString(text), 0);
    EXPECT_STREQ(text, "-1#2030-01-00 00:00:59");
    EXPECT_EQ(appmngr_getDbBuild(), 0xFFFFFFFF);
    EXPECT_EQ(appmngr_getDbVersionString(nullptr), -1);
}

} // namespace

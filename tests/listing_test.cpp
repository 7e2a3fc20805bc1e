/*
 * The listings and the JSON export of small tables, whole.
 */
#include "appmngr/appmngr.h"
#include "tests/capture.h"

static appmngr_app apps[] = {{7, 1, "Bird Call"}, {0xFFFFFFFF, -1, ""}};
static appmngr_appType types[] = {{3, "Voice", {0x80000080, 0x04030304}}, {0xFFFFFFFE, "", {}}};
static appmngr_rule rules[2];

/*
 * Among them: texts that fill their field, numbers above 0x7FFFFFFF, a rule of no application.
 * Addresses and bitmaps read the same in both byte orders, since they are shown as they lie.
 */
static void fillTables()
{
    memset(apps[1].name, 'n', sizeof apps[1].name);
    types[1].appBitmap[127] = 0x01000001;

    const appmngr_feature orig = {1, -2, 3, 40, "hex", "16 03 \"01\""};
    appmngr_feature reply = {5, 6, 7, 8, "", ""};
    memset(reply.dpiType, 't', sizeof reply.dpiType);
    memset(reply.dpiCode, 'c', sizeof reply.dpiCode);
    const uint32_t from = inet_addr("192.168.168.192"), to = inet_addr("10.1.1.10");
    rules[0] = {8, 0, 0, 0, 53, 1, {}, orig, reply};
    rules[1] = {0xFFFFFFFF, from, to, 5060, 65535, 6, {}, orig, reply};

    g_appmngr_appDb = {"", "Model", "2030-01-15", 2, 2, rules, 2, types};
    memcpy(g_appmngr_appDb.ver, "123456789012", 12);
    g_appmngr_app = apps;
    g_appmngr_count.app = g_appmngr_count.appCur = 2;
}

/* What action prints, with a word for what is long or is there several times. */
template <typename Action> static std::string listing(Action action)
{
    const char *const shorter[][2] = {
        {"(n){128}|(t){16}|(c){256}", "<$1$2$3>"},
        {"\"", "'"},
        {"======================\nApplication Database\n======================\n"
         "Version:                 123456789012\nProModel:                Model\n"
         "Expired:                 2030-01-15\n",
         "<heading>\n"},
        {"\nORIGINAL:\nEnable:                  1\npkt_start:               -2\n"
         "pkt_end:                 3\npkt_length:              40\n"
         "DPI type:                hex\nDPI code:                16 03 '01'\n"
         "\nREPLY:\nEnable:                  5\npkt_start:               6\n"
         "pkt_end:                 7\npkt_length:              8\n"
         "DPI type:                <t>\nDPI code:                <c>\n\n",
         "<features>\n"},
        {"'feature':\\{\n'orig':\\{\n'enable':1, 'start':-2, 'end':3, 'len':40,\n"
         "'type':'hex', 'rule':'16 03 '01''\n\\},\n'reply':\\{\n'enable':5, 'start':6, "
         "'end':7, 'len':8,\n'type':'<t>', 'rule':'<c>'\n\\}\n\\}\n\\}",
         "<features>"},
        {"\r\nBuffer\r\n===\r\naddr:0x[0-9a-f]{1,8}\r\nlen:512!\r\n", "<bitmap>\n"},
        {"(00 ){16}\r\n", "."},
    };
    std::string printed = captured(action);
    for (const auto &[pattern, word] : shorter) {
        printed = edit(printed, pattern, word);
    }
    return printed;
}

TEST(Listing, ofTables)
{
    fillTables();
    EXPECT_EQ(listing(appmngr_showDb),
              "<heading>\nApp count:               2\nRule count:              2\n"
              "+++++++++++++++++++++++++++\n\nAll Rules:\n---------------\n"
              "Rule index:              0\n--------\nID:                      8\n"
              "name: Not Found!!!\nProtocol:                icmp\n"
              "Source IP:               0\nDestination IP:          0\n"
              "Source Port:             0\nDestination Port:        53\n<features>\n"
              "Rule index:              1\n--------\nID:                      -1\n"
              "name:                     <n>\n\nProtocol:                tcp\n"
              "Source IP:               -1062688576\nDestination IP:          167837962\n"
              "Source Port:             5060\nDestination Port:        65535\n<features>\n"
              "+++++++++++++++++++++++++++\nAll Types:\nType count:              2\n"
              "---------------\n");
    EXPECT_EQ(listing([] { appmngr_showAppRules(0xFFFFFFFF); }),
              "<heading>\n+++++++++++++++++++++++++++\n\nAppId -1 rules:\n---------------\n"
              "Rule index:              1\n--------\nID:                      -1\n"
              "name: <n>\nProtocol:                tcp\n"
              "Source IP:               192.168.168.192\nDestination IP:          10.1.1.10\n"
              "Source Port:             5060\nDestination Port:        65535\n<features>\n");
    EXPECT_EQ(listing(appmngr_showAppTypes),
              "--------------\nAll app type [cnt = 3]\n\n"
              "index =     0, id =      3, name = [Voice]\n<bitmap>\n"
              "80 00 00 80 04 03 03 04 00 00 00 00 00 00 00 00 \r\n"
              "...............................\r\n===============\r\n\n"
              "index =     1, id =     -2, name = []\n<bitmap>\n"
              "...............................00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 01 \r\n"
              "\r\n===============\r\n\n--------------\n");
    EXPECT_EQ(listing(appmngr_showApps),
              "--------------\nAll application [cnt = 3]\n\n"
              "index =     0, appid =     7, visiable = [1], name = [Bird Call]\n"
              "index =     1, appid =    -1, visiable = [-1], name = [<n>]\n--------------\n");
    captured([] { EXPECT_EQ(appmngr_showDb() + appmngr_showAppRules(8), 0); });
    g_appmngr_count.appCur = 0xFFFFFFFE; /* a cursor that lies */
    EXPECT_NE(captured(appmngr_showApps).find("[cnt = -1]"), std::string::npos);
    g_appmngr_app = nullptr;
    EXPECT_EQ(captured(appmngr_showApps),
              "--------------\nAll application [cnt = -1]\n\n--------------\n");
}

TEST(Listing, ofBuffers)
{
    const std::string dump = captured([] { appmngr_dumpBuffer("0123456789abcdef\xFF", 17); });
    EXPECT_EQ(dump.substr(dump.find("len")),
              "len:17!\r\n30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 \r\n"
              "ff \r\n===============\r\n");
    EXPECT_NE(captured([] { appmngr_dumpBuffer("", -1); }).find("len:-1!\r\n\r\n==="),
              std::string::npos);
    EXPECT_EQ(captured([] { appmngr_dumpBuffer(nullptr, 3); }), "===\r\nData is NULL!\r\n");

    char text[] = "<AppDB/>";
    g_appmngr_xmlBuf = text;
    const std::string inXml = " in xml format!\n--------------------------------\n";
    EXPECT_EQ(captured(appmngr_showXmlDb), "Show APP DB" + inXml + "<AppDB/>\n");
    EXPECT_EQ(captured(appmngr_showXmlDesc), "Show APP Desc" + inXml); /* there is none */
}

TEST(Export, writesTheRules)
{
    fillTables();
    const auto json = [] { appmngr_writeJson(stdout); };
    EXPECT_EQ(listing(json),
              "{\n'dpi_rules':[\n{\n'appname':'',\n'appid':8,\n'tuple':{\n"
              "'sip':0, 'dip':0, 'sport':0, 'dport':53,\n'proto':'none'\n},\n<features>,\n"
              "{\n'appname':'',\n'appid':-1,\n'tuple':{\n'sip':-1062688576, 'dip':167837962, "
              "'sport':5060, 'dport':65535,\n'proto':'tcp'\n},\n<features>\n]\n}\n");
    rules[0].proto = 17;
    EXPECT_NE(listing(json).find("'proto':'udp'"), std::string::npos);

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
    uint32_t number = 1;
    for (uint32_t *field : {&g_appmngr_dbYear, &g_appmngr_dbMonth, &g_appmngr_dbDay,
                            &g_appmngr_dbHour, &g_appmngr_dbMinute, &g_appmngr_dbSecond}) {
        *field = number++;
    }
    g_appmngr_dbBuild = 0xFFFFFFFF;
    char text[APPMNGR_VERSION_STRING_SIZE];
    EXPECT_EQ(appmngr_getDbVersionString(text), 0);
    EXPECT_STREQ(text, "-1#0001-02-03 04:05:06");
    EXPECT_EQ(appmngr_getDbVersionString(nullptr), -1);
    EXPECT_EQ(appmngr_getDbBuild(), 0xFFFFFFFF);
}

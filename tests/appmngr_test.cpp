// From XML text to tables: counting, dispatch, handlers, and the text helpers under them.

#include "appmngr/appmngr.h"
#include "appmngr/appmngr_internal.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "tests/capture.h"

#include <arpa/inet.h>

#include <cstring>
#include <vector>

namespace
{
std::string element(const std::string &name, const std::string &content)
{
    return "<" + name + ">" + content + "</" + name + ">";
}

const std::string types = "<appTypeList><appType><id>1</id><name>chat</name></appType>"
                          "<appType><id>40</id><name>video</name></appType></appTypeList>";
const std::string tooLong = element("id", std::string(512, '1')); // for a value
const std::string oneTuple = "<tuple>tcp 0:0 0:0</tuple>";
const std::string oneRule = "<rule><tupleList>" + oneTuple + "</tupleList></rule>";
const std::string oneApp = element("app", element("ruleList", oneRule));

// An application with id 7, what is given, and one rule that loads.
std::string database(const std::string &app, const std::string &rules = "")
{
    return "<AppDB><appList><app><id>7</id>" + app + "<ruleList>" + rules + oneRule +
           "</ruleList></app></appList>" + types + "</AppDB>";
}

// Loads a text into cleared tables: the result, and the lines that it prints.
std::string load(const std::string &text)
{
    int status = -1;
    captured(appmngr_dbReInit);
    const std::string printed = captured([&] {
        appmngr_file_alloc();
        text.copy(g_appmngr_xmlBuf, g_appmngr_settings.xmlBufSize - 1);
        status = appmngr_analyzeDbFile();
        appmngr_file_free();
    });
    return std::to_string(status) + lines(printed);
}

template <typename Record, size_t size>
void expectRecords(const Record *records, uint32_t count, const Record (&expected)[size])
{
    ASSERT_EQ(count, size);
    EXPECT_EQ(memcmp(records, expected, sizeof expected), 0) << typeid(Record).name();
}
} // namespace

TEST(AppMngr, FillsTheTables)
{
    const std::string signature =
        "<enable>1</enable><segment><start>2</start><end>30</end></segment>"
        "<minlength>-4</minlength><dpiType>regex</dpiType>";
    const std::string rules =
        "<ruleList><rule><tupleList><tuple>tcp 0:0 192.0.2.1:443</tuple>"
        "<tuple>UDP\t 192.0.2.2:70000 0:53</tuple><tuple>icmp 0:0 0:0</tuple></tupleList>" +
        element("ori", signature + "<dpiCode>a&lt;b</dpiCode>") + element("rep", signature) +
        "</rule>" + oneRule + "</ruleList>";
    const std::string text =
        "\xEF\xBB\xBF<?xml version=\"1.0\"?><APPDB>"
        "<ver>1.2.3-too-long</ver><proModel>model</proModel><expired>2030-01-01</expired>"
        "<applist><app><id>7</id><name>One</name><visible>1</visible>"
        "<typeIdList><typeId>40</typeId><typeId>1</typeId></typeIdList>" +
        rules +
        "<dnsKwList><dnsKw>one.example</dnsKw><dnsKw>sixteen-letters-</dnsKw></dnsKwList></app>" +
        "<app><id>33</id>" + element("ruleList", oneRule) +
        "<typeIdList><typeId>40</typeId></typeIdList></app></applist>" + types + "</APPDB>";
    EXPECT_EQ(load(text), "0");

    const appmngr_appDb &db = g_appmngr_appDb;
    EXPECT_EQ(std::string(db.ver) + db.proModel + db.expired, "1.2.3-too-lmodel2030-01-01");
    const appmngr_app apps[] = {{7, 1, "One"}, {33, 0, ""}};
    expectRecords(g_appmngr_app, db.appCount, apps);
    const appmngr_appType filled[] = {{1, "chat", {1u << 7}}, {40, "video", {1u << 7, 1u << 1}}};
    expectRecords(db.type, db.typeCount, filled);
    const appmngr_dnsRule keywords[] = {{7, "one.example"}, {7, "sixteen-letters"}};
    expectRecords(g_appmngr_appDns.rule, g_appmngr_appDns.count, keywords);
    const appmngr_feature reply = {1, 2, 30, -4, "regex", ""};
    const appmngr_feature orig = {1, 2, 30, -4, "regex", "a<b"};
    const uint32_t one = inet_addr("192.0.2.1"), two = inet_addr("192.0.2.2");
    const appmngr_rule loaded[] = {{7, 0, one, 0, 443, 6, {}, orig, reply},
                                   {7, two, 0, 70000 - 65536, 53, 17, {}, orig, reply},
                                   {7, 0, 0, 0, 0, 1, {}, orig, reply},
                                   {7, 0, 0, 0, 0, 6, {}, {}, {}},
                                   {33, 0, 0, 0, 0, 6, {}, {}, {}}};
    expectRecords(db.rule, db.ruleCount, loaded);
    EXPECT_EQ(appmngr_getAppById(33), &g_appmngr_app[1]);

    const std::string stars(34, '*');
    EXPECT_EQ(captured(appmngr_dbReInit), stars + "\nFree g_appmngr_appDns.rule\n" + stars + "\n");
    EXPECT_EQ(g_appmngr_appDb.rule, nullptr);
    EXPECT_EQ(g_appmngr_count.tuple, 0u);
}

TEST(AppMngr, ReportsWhatItLeavesOut)
{
    const std::string split =
        "; string_makeSubStrByChar:453 Too many substrings to string provided ";
    const std::string tuple = "; _xmlnode_handler_tuple:";
    const std::string rows[][2] = {
        {"udp 192.0.2.1:53", tuple + "1268 Not match [proto ip:port ip:port] format!"},
        {"tcp 0:0 0:0 0:0", split + tuple + "1268 Not match [proto ip:port ip:port] format!"},
        {"sctp 0:0 0:0", "; Unknown protocol!" + tuple + "1280 appmngr_utils_str2proto failed!"},
        {"tcp 0 0:0", tuple + "1295 ucm_string_makeSubStrByChar failed!"},
        {"tcp 00:0 0:0", tuple + "1318 inet_pton failed! str = [00]"},
        {"tcp 0:0 0:0:0", split + tuple + "1343 Analyze the dest pair ip failed!"},
        {"tcp 0:0 host:0", tuple + "1362 inet_pton failed, str = [host]!"},
        {std::string(512, '1'), tuple + "1247 Not tuple string found!"},
        {"tcp 0:0 " + std::string(70, '1'), tuple + "1343 Analyze the dest pair ip failed!"},
        {"", ""},
    };
    for (const auto &[text, printed] : rows) {
        const std::string rule =
            "<rule><tupleList>" + element("tuple", text) + "</tupleList></rule>";
        EXPECT_EQ(load(database("", rule)), "0" + printed);
        EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
    }
    EXPECT_EQ(load(database("<typeIdList><typeId>2</typeId></typeIdList>")),
              "0; _xmlnode_handler_typeid:1102 _appmngr_getAppTypeBydId FAILED");
    EXPECT_EQ(load("\xFF\xFE" + database("")), "0");
    EXPECT_EQ(load("\xFE\xFF" + database(tooLong)), "0");
    EXPECT_EQ(g_appmngr_app[0].id, 7u);
}

static int handled;

TEST(AppMngr, DispatchesToEveryRowOfATable)
{
    char name[] = "A-Tag-of-18-Bytes!";
    XmlpNode parent = {}, node = {};
    parent.firstChild = &node;
    node.name = name;
    EXPECT_EQ(appmngr_xmlnode_handler(&parent, 0), 0);
    node.type = XMLP_NODE_VALUE;
    const auto unhandled = [&] { EXPECT_EQ(appmngr_xmlnode_handler(&parent, 0), 0); };
    EXPECT_EQ(lines(captured(unhandled)), "; childnode_handler:1894 Null pHandlerInfo");
    EXPECT_EQ(appmngr_childnode_handler(nullptr, 0), 0);

    const auto count = [](XmlpNode *, appmngr_context) { return ++handled; };
    const appmngr_tagHandler other = {"a-tag-of-18-bytes?", APPMNGR_LEAF, nullptr, nullptr};
    std::vector<appmngr_tagHandler> table(71, other);
    for (size_t row : {3u, 5u, 63u, 64u, 69u}) {
        table[row] = {"a-tag-of-18-bytes!", APPMNGR_LEAF, count, nullptr};
    }
    table[70].tag = nullptr;
    appmngr_setHandlerInfo(table.data());
    EXPECT_EQ(appmngr_getHandlerInfo(), table.data());
    EXPECT_EQ(appmngr_xmlnode_handler(&parent, 0), 0);
    EXPECT_EQ(handled, 5);
    appmngr_setHandlerInfo(nullptr);
}

// A faulty tuple leaves what it wrote; the next one in its slot sets only what it reads itself.
TEST(AppMngr, FaultyTupleLeavesItsTraces)
{
    load(database("", "<rule><tupleList><tuple>udp 192.0.2.1:53 x:0</tuple></tupleList>"
                      "<ori><enable>5</enable></ori></rule>"));
    appmngr_rule left[] = {{7, 0, 0, 0, 0, 6, {}, {}, {}}};
    left[0].orig.enable = 5;
    expectRecords(g_appmngr_appDb.rule, g_appmngr_appDb.ruleCount, left);
}

TEST(AppMngr, RefusedDatabases)
{
    const std::string alloc = "; analyzeDbFile:2325 _appmngr_alloc_for_appdb failed";
    const std::string list = element("appList", oneApp);
    std::string manyTypes;
    for (int i = 0; i < 65; i++) {
        manyTypes += "<appType><id>" + std::to_string(i) + "</id></appType>";
    }
    const std::string rows[][2] = {
        {"", "; _checkXml:452 no xml tag found.; _initLock:78 doc is null."},
        {"x", alloc},
        {list, alloc},
        {element("appList", "<app><id>1</id></app>") + types, alloc},
        {list + element("appTypeList", manyTypes), alloc},
        // A type id that cannot be read ends the counting of its type's children.
        {list + element("appTypeList", element("appType", tooLong + "<id>1</id>")), alloc},
    };
    for (const auto &[text, printed] : rows) {
        EXPECT_EQ(load(text.empty() ? "" : element("AppDB", text)), "-1" + printed);
        EXPECT_EQ(g_appmngr_appDb.rule, nullptr);
    }
    EXPECT_EQ(appmngr_getAppById(1), nullptr);
    EXPECT_EQ(appmngr_analyzeDbFile(), -1); // without a text
}

TEST(AppMngr, DescriptionsAreCounted)
{
    load("<AppDesc><appList><app>a</app><app>b</app></appList>"
         "<appTypeList><appType>t</appType></appTypeList><langcnt>3</langcnt>" +
         element("langcnt", std::string(512, '1')) + "</AppDesc>");
    EXPECT_EQ(g_appmngr_count.langcnt, 3u);
    EXPECT_EQ(appmngr_appdesc_alloc(), 0);
    EXPECT_EQ(g_appmngr_appDesc.appCount, 2u);
    EXPECT_EQ(g_appmngr_appDesc.typeCount, 1u);
    appmngr_dbReInit();
    EXPECT_EQ(appmngr_appdesc_alloc(), -1);
    EXPECT_EQ(appmngr_parseThroughXML("root", nullptr), 0);
}

TEST(AppMngr, TablesAreAllocatedAnew)
{
    load(database("<name>n</name>"));
    EXPECT_EQ(_appmngr_alloc_for_appdb(), 0);
    EXPECT_STREQ(g_appmngr_app[0].name, "");
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
    EXPECT_EQ(g_appmngr_appDns.rule, nullptr); // no keyword, no table
}

// The walk meets elements by name alone, and more of them than were counted by path.
TEST(AppMngr, ElementsOutOfPlace)
{
    const std::string extra =
        "<app><id>9</id><dnsKw>past</dnsKw><visible>1</visible>" + oneRule + oneRule +
        "<typeId>1</typeId></app><tuple>bad</tuple><appType><id>5</id><name>n</name></appType>"
        "<ori><tuple>bad</tuple><enable>1</enable></ori>";
    EXPECT_EQ(load("<AppDB>" + extra + "<appList><app><dnsKwList><dnsKw>k</dnsKw></dnsKwList>" +
                   element("ruleList", oneRule) + "</app></appList>" + types + extra + extra +
                   "</AppDB>"),
              "0");
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
    EXPECT_EQ(g_appmngr_appDb.appCount, 1u);
    EXPECT_EQ(g_appmngr_app[0].id, 9u);
    EXPECT_EQ(g_appmngr_count.dnsCur, 1u);
    EXPECT_LE(g_appmngr_appDb.typeCount, 2u);

    EXPECT_EQ(load(database("<id>4096</id><typeId>1</typeId>",
                            "<rule><tupleList>" + oneTuple + oneTuple + "</tupleList>" + oneRule +
                                oneRule +
                                "<dpiType>x</dpiType><dpiCode>x</dpiCode>"
                                "<rep><end>1</end></rep></rule>")),
              "0");
    EXPECT_TRUE(appmngr_isZero512(g_appmngr_appDb.type[0].appBitmap));
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 3u);

    // A dotted name completes a counted path, and is never walked.
    EXPECT_EQ(load("<AppDB>" + element("appList", oneApp + "<app.x>y</app.x>") +
                   "<appList.app>y</appList.app>" + element("appList", oneApp) + types +
                   "</AppDB>"),
              "0");
    EXPECT_EQ(g_appmngr_count.app, 3u);
    EXPECT_EQ(g_appmngr_appDb.appCount, 2u);
}

TEST(AppMngr, DeepDocument)
{
    std::string deep = element("rule", oneTuple);
    for (int i = 0; i < 4500; i++) {
        deep = "<rule><ori>" + deep + "</ori></rule>";
    }
    load(database("", deep));
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
}

TEST(AppMngrText, Pieces)
{
    const std::tuple<std::string, int32_t, std::string> rows[] = {
        {"tcp  1.2.3.4:80\t5.6.7.8:0", 4, "3 tcp 1.2.3.4:80 5.6.7.8:0"},
        {" \r\n\t", 2, "0"},
        {"a b", 3, "2 a b"},
        {"a", 0, "-1"},
    };
    for (const auto &[given, max, expected] : rows) {
        std::string text = given, found;
        char *parts[8] = {};
        captured([&, most = max] {
            const int32_t count = appmngr_string_makeSubStrByChar(text.data(), ' ', most, parts);
            found = std::to_string(count);
            for (int32_t i = 0; i < count; i++) {
                found += std::string(" ") + parts[i];
            }
        });
        EXPECT_EQ(found, expected);
    }
    char text[] = "kept", *save = nullptr;
    EXPECT_EQ(appmngr_string_token(nullptr, " ", &save), nullptr);
    EXPECT_STREQ(appmngr_string_token(text, "ep", &save), "k");
    EXPECT_STREQ(appmngr_string_token(nullptr, "ep", &save), "t");
    EXPECT_EQ(appmngr_string_token(nullptr, "ep", &save), nullptr);
}

TEST(AppMngrText, Values)
{
    std::string numbers;
    for (const char *text : {"", " -12x", "+7", "00012345678", "12345678", "999999999",
                             "4294967297", "2147483648", "99999999999999999999"}) {
        numbers += std::to_string(appmngr_atoi(text)) + " ";
    }
    EXPECT_EQ(numbers, "0 -12 7 12345678 12345678 999999999 1 -2147483648 -1 ");
    const std::pair<std::string, int> marks[] = {
        {"\xFF", 0},     {"\xFF\xFE", 2},     {"\xFE\xFF", 3},
        {"\xEF\xBB", 0}, {"\xEF\xBB\xBF", 1}, {"\xFE\xFFx", 3},
    };
    for (const auto &[text, mark] : marks) {
        EXPECT_EQ(appmngr_checkEncoding(text.data(), static_cast<uint32_t>(text.size())), mark);
    }
    XmlpNode node = {};
    char kept[16] = "kept";
    EXPECT_EQ(appmngr_getNodeString(&node, kept, 0), -1);
    EXPECT_EQ(appmngr_getNodeString(&node, nullptr, 4), -1);
    EXPECT_STREQ(kept, "kept");
    EXPECT_EQ(appmngr_escapeSpecial(nullptr, ""), -1);
    EXPECT_EQ(appmngr_escapeSpecial(kept, "a \"\\b"), 0);
    EXPECT_STREQ(kept, "a\1\2\3b");
}

TEST(AppMngrText, Words)
{
    EXPECT_EQ(appmngr_strcasecmp("AppDB", "appdb"), 0);
    EXPECT_NE(appmngr_strcasecmp("\xC3\x84", "\xC3\xA4"), 0);
    EXPECT_NE(appmngr_strcasecmp("@", "`"), 0);
    EXPECT_EQ(appmngr_strcasecmpSafe(nullptr, "a"), 2147483647);
    EXPECT_EQ(appmngr_string_match("0", "00"), 0);
    EXPECT_STREQ(appmngr_utils_proto2str(appmngr_utils_str2proto("ICMP")), "icmp");
    EXPECT_STREQ(appmngr_utils_proto2str(2), "unknown");
    EXPECT_STREQ(appmngr_errToStr(-8980), "APPMNGR_ERR_FILE_INVALID_LEN");
    EXPECT_STREQ(appmngr_errToStr(-8988), "ERROR NOT IN LIST");
    const std::string refused = captured([] {
        char text[] = "a b", *parts[2];
        EXPECT_EQ(appmngr_string_match(nullptr, ""), 0);
        EXPECT_EQ(appmngr_string_makeSubStrByChar(nullptr, ' ', 1, nullptr), -1);
        EXPECT_EQ(appmngr_string_makeSubStrByChar(text, ' ', 2, parts), -1);
        appmngr_utils_str2proto("sctp");
    });
    EXPECT_EQ(refused, // to the carriage return
              "[Error](appmngr_string_match) 470: Some parameter is null.\r\n"
              "[Error](appmngr_string_makeSubStrByChar) 428: Some parameter is null.\r\n"
              "[Error](appmngr_string_makeSubStrByChar) 453: "
              "Too many substrings to string provided \r\n"
              "Unknown protocol!\r\n");
}

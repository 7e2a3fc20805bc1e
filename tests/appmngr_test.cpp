// From XML text to tables: counting, dispatch, handlers, and the text helpers under them.

#include "appmngr/appmngr.h"
#include "appmngr/appmngr_internal.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "tests/capture.h"

#include <arpa/inet.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{
std::string error(const char *function, int line, const std::string &text)
{
    return std::string("[Error](") + function + ") " + std::to_string(line) + ": " + text + "\n";
}

std::string tupleError(int line, const std::string &text)
{
    return error("_appmngr_xmlnode_handler_tuple", line, text);
}

std::string element(const std::string &name, const std::string &content)
{
    return "<" + name + ">" + content + "</" + name + ">";
}

const std::string types = "<appTypeList><appType><id>1</id><name>chat</name></appType>"
                          "<appType><id>40</id><name>video</name></appType></appTypeList>";

std::string tuples(const std::string &list)
{
    return "<tupleList>" + list + "</tupleList>";
}

const std::string tooLong(512, '1'); // for a value
const std::string oneTuple = "<tuple>tcp 0:0 0:0</tuple>";
const std::string oneRule = element("rule", tuples(oneTuple));

// An application with id 7, what is given, and one rule that loads.
std::string database(const std::string &app, const std::string &rules = "")
{
    return "<AppDB><appList><app><id>7</id>" + app + "<ruleList>" + rules + oneRule +
           "</ruleList></app></appList>" + types + "</AppDB>";
}

// Loads a text into cleared tables. Returns what is printed; *status is the result.
std::string load(const std::string &text, int *status)
{
    captured(appmngr_dbReInit);
    return captured([&] {
        appmngr_file_alloc();
        text.copy(g_appmngr_xmlBuf, g_appmngr_settings.xmlBufSize - 1);
        *status = appmngr_analyzeDbFile();
        appmngr_file_free();
    });
}

std::string load(const std::string &text)
{
    int status = -1;
    std::string printed = load(text, &status);
    EXPECT_EQ(status, 0) << text;
    return printed;
}

struct AppMngr : testing::Test {
    ~AppMngr() override
    {
        captured(appmngr_dbReInit);
    }
};
} // namespace

TEST_F(AppMngr, FillsTheTables)
{
    const std::string signature =
        "<enable>1</enable><segment><start>2</start><end>30</end></segment>"
        "<minlength>-4</minlength><dpiType>regex</dpiType>";
    const std::string rule =
        tuples("<tuple>tcp 0:0 192.0.2.1:443</tuple><tuple>UDP\t 192.0.2.2:70000 0:53</tuple>"
               "<tuple>icmp 0:0 0:0</tuple>") +
        "<ori>" + signature + "<dpiCode>a&lt;b</dpiCode></ori><rep>" + signature + "</rep>";
    EXPECT_EQ(
        load(
            "\xEF\xBB\xBF<?xml version=\"1.0\"?>"
            "<APPDB><ver>1.2.3-too-long</ver><proModel>model</proModel><expired>2030-01-01</"
            "expired>"
            "<applist><app><id>7</id><name>One</name><visible>1</visible>"
            "<typeIdList><typeId>40</typeId><typeId>1</typeId></typeIdList>"
            "<ruleList>" +
            element("rule", rule) + oneRule +
            "</ruleList>"
            "<dnsKwList><dnsKw>one.example</dnsKw><dnsKw>sixteen-letters-</dnsKw></dnsKwList></app>"
            "<app><id>33</id><ruleList>" +
            oneRule + "</ruleList><typeIdList><typeId>40</typeId></typeIdList></app></applist>" +
            types + "</APPDB>"),
        "");

    EXPECT_STREQ(g_appmngr_appDb.ver, "1.2.3-too-l");
    EXPECT_STREQ(g_appmngr_appDb.proModel, "model");
    EXPECT_STREQ(g_appmngr_appDb.expired, "2030-01-01");
    ASSERT_EQ(g_appmngr_appDb.appCount, 2u);
    EXPECT_STREQ(g_appmngr_app[0].name, "One");
    EXPECT_EQ(g_appmngr_app[0].visible, 1);
    EXPECT_EQ(appmngr_getAppById(33), &g_appmngr_app[1]);
    ASSERT_EQ(g_appmngr_appDb.typeCount, 2u);
    EXPECT_STREQ(g_appmngr_appDb.type[1].name, "video");
    EXPECT_EQ(g_appmngr_appDb.type[0].appBitmap[0], 1u << 7);
    EXPECT_EQ(g_appmngr_appDb.type[1].appBitmap[0], 1u << 7);
    EXPECT_EQ(g_appmngr_appDb.type[1].appBitmap[1], 1u << 1);
    ASSERT_EQ(g_appmngr_appDns.count, 2u);
    EXPECT_EQ(g_appmngr_appDns.rule[1].appId, 7u);
    EXPECT_STREQ(g_appmngr_appDns.rule[1].keyword, "sixteen-letters");

    const appmngr_feature none = {}, reply = {1, 2, 30, -4, "regex", ""};
    const appmngr_feature orig = {1, 2, 30, -4, "regex", "a<b"};
    const uint32_t one = inet_addr("192.0.2.1"), two = inet_addr("192.0.2.2");
    const appmngr_rule rules[] = {{7, 0, one, 0, 443, 6, {}, orig, reply},
                                  {7, two, 0, 70000 - 65536, 53, 17, {}, orig, reply},
                                  {7, 0, 0, 0, 0, 1, {}, orig, reply},
                                  {7, 0, 0, 0, 0, 6, {}, none, none},
                                  {33, 0, 0, 0, 0, 6, {}, none, none}};
    ASSERT_EQ(g_appmngr_appDb.ruleCount, 5u);
    EXPECT_EQ(memcmp(g_appmngr_appDb.rule, rules, sizeof rules), 0);
    const std::string stars(34, '*');
    EXPECT_EQ(captured(appmngr_dbReInit), stars + "\nFree g_appmngr_appDns.rule\n" + stars + "\n");
    EXPECT_EQ(g_appmngr_appDb.rule, nullptr);
    EXPECT_EQ(g_appmngr_count.tuple, 0u);
}

TEST_F(AppMngr, ReportsWhatItLeavesOut)
{
    const std::string split =
        error("appmngr_string_makeSubStrByChar", 453, "Too many substrings to string provided \r");
    const std::string rows[][2] = {
        {"<tuple>udp 192.0.2.1:53</tuple>",
         tupleError(1268, "Not match [proto ip:port ip:port] format!")},
        {"<tuple>tcp 0:0 0:0 0:0</tuple>",
         split + tupleError(1268, "Not match [proto ip:port ip:port] format!")},
        {"<tuple>sctp 0:0 0:0</tuple>",
         "Unknown protocol!\r\n" + tupleError(1280, "appmngr_utils_str2proto failed!")},
        {"<tuple>tcp 0 0:0</tuple>", tupleError(1295, "ucm_string_makeSubStrByChar failed!")},
        {"<tuple>tcp 00:0 0:0</tuple>", tupleError(1318, "inet_pton failed! str = [00]")},
        {"<tuple>tcp 0:0 0:0:0</tuple>",
         split + tupleError(1343, "Analyze the dest pair ip failed!")},
        {"<tuple>tcp 0:0 host:0</tuple>", tupleError(1362, "inet_pton failed, str = [host]!")},
        {element("tuple", tooLong), tupleError(1247, "Not tuple string found!")},
        {element("tuple", "tcp 0:0 " + std::string(70, '1')),
         tupleError(1343, "Analyze the dest pair ip failed!")},
        {"<tuple></tuple>", ""},
    };
    for (const auto &[tuple, printed] : rows) {
        EXPECT_EQ(load(database("", element("rule", tuples(tuple)))), printed) << tuple;
        EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
    }
    EXPECT_EQ(load(database("<typeIdList><typeId>2</typeId></typeIdList>")),
              error("_appmngr_xmlnode_handler_typeid", 1102, "_appmngr_getAppTypeBydId FAILED"));
    EXPECT_EQ(load(database(element("id", tooLong))), "");
    EXPECT_EQ(g_appmngr_app[0].id, 7u);
    for (const std::string mark : {"\xFF\xFE", "\xFE\xFF"}) {
        EXPECT_EQ(load(mark + database("")), "");
    }
}

static int handled;

TEST_F(AppMngr, DispatchesToEveryRowOfATable)
{
    char name[] = "A-Tag-of-18-Bytes!";
    XmlpNode parent = {}, node = {};
    parent.firstChild = &node;
    node.name = name;
    EXPECT_EQ(appmngr_xmlnode_handler(&parent, 0), 0);
    node.type = XMLP_NODE_VALUE;
    EXPECT_EQ(captured([&] { EXPECT_EQ(appmngr_xmlnode_handler(&parent, 0), 0); }),
              error("appmngr_childnode_handler", 1894, "Null pHandlerInfo"));
    EXPECT_EQ(appmngr_childnode_handler(nullptr, 0), 0);

    std::vector<appmngr_tagHandler> table(71,
                                          {"a-tag-of-18-bytes?", APPMNGR_LEAF, nullptr, nullptr});
    const auto count = [](XmlpNode *, appmngr_context) { return ++handled; };
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
TEST_F(AppMngr, FaultyTupleLeavesItsTraces)
{
    load(database("", element("rule", tuples("<tuple>udp 192.0.2.1:53 x:0</tuple>") +
                                          "<ori><enable>5</enable></ori>")));
    const appmngr_rule &rule = g_appmngr_appDb.rule[0];
    EXPECT_EQ(rule.proto, 6);
    EXPECT_EQ(rule.orig.enable, 5);
    EXPECT_EQ(rule.sip, 0u);
}

TEST_F(AppMngr, RefusedDatabases)
{
    const std::string alloc =
        error("appmngr_analyzeDbFile", 2325, "_appmngr_alloc_for_appdb failed");
    const std::string app = "<app><id>1</id>" + element("ruleList", oneRule) + "</app>";
    std::string manyTypes;
    for (int i = 0; i < 65; i++) {
        manyTypes += "<appType><id>" + std::to_string(i) + "</id></appType>";
    }
    const std::string rows[][2] = {
        {"", "[ERROR][_checkXml():452]: no xml tag found.\r\n[ERROR][_initLock():78]: doc is "
             "null.\r\n"},
        {"<AppDB>x</AppDB>", alloc},
        {element("AppDB", element("appList", app)), alloc},
        {element("AppDB", element("appList", "<app><id>1</id></app>") + types), alloc},
        {element("AppDB", element("appList", app) + element("appTypeList", manyTypes)), alloc},
        // A type id that cannot be read ends the counting of its type's children.
        {element("AppDB", element("appList", app) +
                              element("appTypeList",
                                      element("appType", element("id", tooLong) + "<id>1</id>"))),
         alloc},
    };
    for (const auto &[text, printed] : rows) {
        int status = 0;
        EXPECT_EQ(load(text, &status), printed);
        EXPECT_EQ(status, -1);
        EXPECT_EQ(g_appmngr_appDb.rule, nullptr);
    }
    EXPECT_EQ(appmngr_getAppById(1), nullptr);
    EXPECT_EQ(appmngr_analyzeDbFile(), -1); // without a text
}

TEST_F(AppMngr, DescriptionsAreCounted)
{
    int status = 0;
    load(element("AppDesc", element("appList", "<app>a</app><app>b</app>") +
                                element("appTypeList", "<appType>t</appType>") +
                                "<langcnt>3</langcnt>" + element("langcnt", tooLong)),
         &status);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(g_appmngr_count.langcnt, 3u);
    EXPECT_EQ(appmngr_appdesc_alloc(), 0);
    EXPECT_EQ(g_appmngr_appDesc.appCount, 2u);
    EXPECT_EQ(g_appmngr_appDesc.typeCount, 1u);
    appmngr_dbReInit();
    EXPECT_EQ(appmngr_appdesc_alloc(), -1);
    EXPECT_EQ(appmngr_parseThroughXML("root", nullptr), 0);
}

TEST_F(AppMngr, TablesAreAllocatedAnew)
{
    load(database("<name>n</name>"));
    EXPECT_EQ(_appmngr_alloc_for_appdb(), 0);
    EXPECT_STREQ(g_appmngr_app[0].name, "");
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
    EXPECT_EQ(g_appmngr_appDns.rule, nullptr); // no keyword, no table
}

// The walk meets elements by name alone, and more of them than were counted by path.
TEST_F(AppMngr, ElementsOutOfPlace)
{
    const std::string dns = "<dnsKwList><dnsKw>k</dnsKw></dnsKwList>";
    const std::string extra =
        "<app><id>9</id><dnsKw>past</dnsKw><visible>1</visible>" + oneRule + oneRule +
        "<typeId>1</typeId></app><tuple>bad</tuple><appType><id>5</id><name>n</name></appType>"
        "<ori><tuple>bad</tuple><enable>1</enable></ori>";
    EXPECT_EQ(load(element(
                  "AppDB",
                  extra + element("appList", element("app", dns + element("ruleList", oneRule))) +
                      types + extra + extra)),
              "");
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
    EXPECT_EQ(g_appmngr_appDb.appCount, 1u);
    EXPECT_EQ(g_appmngr_app[0].id, 9u);
    EXPECT_EQ(g_appmngr_count.dnsCur, 1u);
    EXPECT_LE(g_appmngr_appDb.typeCount, 2u);

    EXPECT_EQ(load(database("<id>4096</id><typeId>1</typeId>",
                            element("rule", tuples(oneTuple + oneTuple) + oneRule + oneRule +
                                                "<dpiType>x</dpiType><dpiCode>x</dpiCode>"
                                                "<rep><end>1</end></rep>"))),
              "");
    EXPECT_TRUE(appmngr_isZero512(g_appmngr_appDb.type[0].appBitmap));
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 3u);

    // A dotted name completes a counted path, and is never walked.
    EXPECT_EQ(
        load(element(
            "AppDB",
            element("appList", element("app", element("ruleList", oneRule)) + "<app.x>y</app.x>") +
                element("appList.app", "y") +
                element("appList", element("app", element("ruleList", oneRule))) + types)),
        "");
    EXPECT_EQ(g_appmngr_count.app, 3u);
    EXPECT_EQ(g_appmngr_appDb.appCount, 2u);
}

TEST_F(AppMngr, DeepDocument)
{
    std::string open;
    std::string close;
    for (int i = 0; i < 9000; i++) {
        open += i % 2 == 0 ? "<rule>" : "<ori>";
        close.insert(0, i % 2 == 0 ? "</rule>" : "</ori>");
    }
    load(database("", open + element("rule", oneTuple) + close));
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 1u);
}

TEST(AppMngrText, Helpers)
{
    const std::tuple<std::string, int32_t, int32_t, std::string> rows[] = {
        {"tcp  1.2.3.4:80\t5.6.7.8:0", 4, 3, "tcp|1.2.3.4:80|5.6.7.8:0|"},
        {" \r\n\t", 2, 0, ""},
        {"a b", 3, 2, "a|b|"},
        {"a b", 2, -1, ""},
        {"a", 0, -1, ""},
    };
    for (const auto &[given, max, count, expected] : rows) {
        std::string text = given, pieces;
        char *parts[8] = {};
        int32_t found = 0;
        captured([&, most = max] {
            found = appmngr_string_makeSubStrByChar(text.data(), ' ', most, parts);
        });
        EXPECT_EQ(found, count);
        for (int32_t i = 0; i < found; i++) {
            pieces += std::string(parts[i]) + "|";
        }
        EXPECT_EQ(pieces, expected);
    }
    EXPECT_EQ(appmngr_strcasecmp("AppDB", "appdb"), 0);
    EXPECT_NE(appmngr_strcasecmp("\xC3\x84", "\xC3\xA4"), 0);
    EXPECT_NE(appmngr_strcasecmp("@", "`"), 0);
    EXPECT_EQ(appmngr_strcasecmpSafe(nullptr, "a"), 2147483647);
    EXPECT_EQ(appmngr_string_match("0", "00"), 0);
    EXPECT_STREQ(appmngr_utils_proto2str(appmngr_utils_str2proto("ICMP")), "icmp");
    EXPECT_STREQ(appmngr_utils_proto2str(2), "unknown");
    const std::pair<const char *, int32_t> numbers[] = {{" -12x", -12},
                                                        {"+7", 7},
                                                        {"", 0},
                                                        {"00012345678", 12345678},
                                                        {"999999999", 999999999},
                                                        {"12345678", 12345678},
                                                        {"4294967297", 1},
                                                        {"2147483648", INT32_MIN},
                                                        {"99999999999999999999", -1}};
    for (const auto &[text, number] : numbers) {
        EXPECT_EQ(appmngr_atoi(text), number);
    }
    XmlpNode node = {};
    char kept[] = "kept";
    EXPECT_EQ(appmngr_getNodeString(&node, kept, 0), -1);
    EXPECT_EQ(appmngr_getNodeString(&node, nullptr, 4), -1);
    EXPECT_STREQ(kept, "kept");
    char *save = nullptr;
    EXPECT_EQ(appmngr_string_token(nullptr, " ", &save), nullptr);
    EXPECT_EQ(appmngr_string_token(kept, "ep", &save), kept + 0);
    EXPECT_STREQ(kept, "k");
    EXPECT_STREQ(appmngr_string_token(nullptr, "ep", &save), "t");
    EXPECT_EQ(appmngr_string_token(nullptr, "ep", &save), nullptr);
    EXPECT_EQ(appmngr_escapeSpecial(nullptr, ""), -1);
    EXPECT_EQ(captured([] {
                  EXPECT_EQ(appmngr_string_match(nullptr, ""), 0);
                  EXPECT_EQ(appmngr_string_makeSubStrByChar(nullptr, ' ', 1, nullptr), -1);
              }),
              error("appmngr_string_match", 470, "Some parameter is null.\r") +
                  error("appmngr_string_makeSubStrByChar", 428, "Some parameter is null.\r"));
    char escaped[16];
    EXPECT_EQ(appmngr_escapeSpecial(escaped, "a \"\\b"), 0);
    EXPECT_STREQ(escaped, "a\1\2\3b");
    EXPECT_STREQ(appmngr_errToStr(-8980), "APPMNGR_ERR_FILE_INVALID_LEN");
    EXPECT_STREQ(appmngr_errToStr(-8988), "ERROR NOT IN LIST");
    const std::pair<std::string, int> marks[] = {{"\xFF", 0},         {"\xFF\xFE", 2},
                                                 {"\xFE\xFF", 3},     {"\xEF\xBB", 0},
                                                 {"\xEF\xBB\xBF", 1}, {"\xFE\xFFx", 3}};
    for (const auto &[text, mark] : marks) {
        EXPECT_EQ(appmngr_checkEncoding(text.data(), static_cast<uint32_t>(text.size())), mark);
    }
}

// From XML text to tables: counting, dispatch, handlers, and the text helpers under them.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "loader/loader.h"
#include "tests/document.h"

const std::string types = "<appTypeList><appType><id>1</id><name>chat</name></appType>"
                          "<appType><id>40</id><name>video</name></appType></appTypeList>";
const std::string keyword = "<dnsKwList><dnsKw>k</dnsKw></dnsKwList>";
const std::string tooLong(512, '1'); // for a value

static std::string rule(const std::string &tuple = "tcp 0:0 0:0", const std::string &more = "")
{
    return in("rule", in("tupleList", in("tuple", tuple)) + more);
}

// An application: what is given, and one rule that loads.
static std::string application(const std::string &content, const std::string &rules = "")
{
    return in("app", content + in("ruleList", rules + rule()));
}

static std::string database(const std::string &applications)
{
    return in("AppDB", in("appList", applications) + types);
}

// Loads a text into cleared tables: the result, and the lines that it prints.
static std::string load(const std::string &text)
{
    captured(appmngr_dbReInit);
    int status = -1;
    const std::string printed = capturedOnSmallStack([&] {
        appmngr_file_alloc();
        text.copy(g_appmngr_xmlBuf, g_appmngr_settings.xmlBufSize - 1);
        status = appmngr_analyzeDbFile();
        appmngr_file_free();
    });
    return std::to_string(status) + lines(printed);
}

template <typename Record, size_t size>
static void expectRecords(const Record *records, uint32_t count, const Record (&expected)[size])
{
    ASSERT_EQ(count, size) << typeid(Record).name();
    for (size_t i = 0; i < size; i++) {
        EXPECT_EQ(memcmp(&records[i], &expected[i], sizeof(*records)), 0)
            << typeid(Record).name() << i;
    }
}

TEST(AppMngr, FillsTheTables)
{
    const std::string signature =
        "<enable>1</enable><segment><start>2</start><end>30</end></segment>"
        "<minlength>-4</minlength><dpiType>regex</dpiType>";
    const std::string rules =
        rule("tcp 0:0 192.0.2.1:443</tuple><tuple>icmp 0:0 0:0</tuple>"
             "<tuple>UDP\t 192.0.2.2:70000 0:53",
             in("ori", signature + "<dpiCode>a&lt;b</dpiCode>") + in("rep", signature));
    const std::string content =
        "<id>7</id><name>One</name><visible>1</visible><typeIdList>"
        "<typeId>40</typeId><typeId>1</typeId></typeIdList><dnsKwList>"
        "<dnsKw>one.example</dnsKw><dnsKw>sixteen-letters-</dnsKw></dnsKwList>";
    const std::string last = "<id>33</id><typeIdList><typeId>40</typeId></typeIdList>";
    std::string others; // more names than are remembered
    for (int i = 0; i < 1000; i++) {
        others += in("x" + std::to_string(i), "1");
    }
    others += in("applist", application(content, rules) + application(last)) + types;
    EXPECT_EQ(load("\xEF\xBB\xBF<?xml version=\"1.0\"?><APPDB><ver>1.2.3-too-long</ver><proModel>"
                   "a-model-with-thirty-two-letters-</proModel><expired>2030-01-01</expired>" +
                   others + "</APPDB>"),
              "0");

    const appmngr_appDb &db = g_appmngr_appDb;
    EXPECT_EQ(std::string(db.ver) + db.proModel + db.expired,
              "1.2.3-too-la-model-with-thirty-two-letters2030-01-01");
    const appmngr_app apps[] = {{7, 1, "One"}, {33, 0, ""}};
    expectRecords(g_appmngr_app, db.appCount, apps);
    const appmngr_appType filled[] = {{1, "chat", {1u << 7}}, {40, "video", {1u << 7, 1u << 1}}};
    expectRecords(db.type, db.typeCount, filled);
    const appmngr_dnsRule keywords[] = {{7, "one.example"}, {7, "sixteen-letters"}};
    expectRecords(g_appmngr_appDns.rule, g_appmngr_appDns.count, keywords);
    const appmngr_feature orig = {1, 2, 30, -4, "regex", "a<b"},
                          reply = {1, 2, 30, -4, "regex", ""};
    const uint32_t one = inet_addr("192.0.2.1"), two = inet_addr("192.0.2.2");
    const appmngr_rule filledIn[] = {{7, 0, one, 0, 443, 6, {}, orig, reply},
                                     {7, 0, 0, 0, 0, 1, {}, orig, reply},
                                     {7, two, 0, 70000 - 65536, 53, 17, {}, orig, reply},
                                     {7, 0, 0, 0, 0, 6, {}, {}, {}},
                                     {33, 0, 0, 0, 0, 6, {}, {}, {}}};
    expectRecords(db.rule, db.ruleCount, filledIn);
    EXPECT_EQ(appmngr_getAppById(33), &g_appmngr_app[1]);

    const std::string stars(34, '*'), freed = stars + "\nFree g_appmngr_appDns.rule\n" + stars;
    EXPECT_EQ(captured(_appmngr_alloc_for_appdb), freed + "\n"); // anew
    EXPECT_EQ(captured(appmngr_dbReInit), freed + "\n");
}

// A faulty tuple leaves what it wrote, and what its rule did; the next one in its place sets only
// what it reads itself.
TEST(AppMngr, ReportsWhatItLeavesOut)
{
    std::string faulty;
    for (const char *tuple : {"tcp 0:0 0:0 0:0", "sctp 0:0 0:0", "tcp 0 0:0", "tcp 00:0 0:0",
                              "udp 192.0.2.1:53 0:0:0", "tcp 0:0 host:0", "", tooLong.data()}) {
        faulty += rule(tuple, "<ori><enable>5</enable></ori>");
    }
    const std::string content = "<id>7</id>" + in("id", tooLong) + "<typeId>2</typeId>";
    EXPECT_EQ(load("\xFE\xFF" + database(application(content, faulty))),
              "0; _appmngr_xmlnode_handler_typeid:1102 _appmngr_getAppTypeBydId FAILED"
              "; appmngr_string_makeSubStrByChar:453 Too many substrings to string provided \r"
              "; _appmngr_xmlnode_handler_tuple:1268 Not match [proto ip:port ip:port] format!"
              "; Unknown protocol!\r\n; _appmngr_xmlnode_handler_tuple:1280 "
              "appmngr_utils_str2proto failed!"
              "; _appmngr_xmlnode_handler_tuple:1295 ucm_string_makeSubStrByChar failed!"
              "; _appmngr_xmlnode_handler_tuple:1318 inet_pton failed! str = [00]"
              "; appmngr_string_makeSubStrByChar:453 Too many substrings to string provided \r"
              "; _appmngr_xmlnode_handler_tuple:1343 Analyze the dest pair ip failed!"
              "; _appmngr_xmlnode_handler_tuple:1362 inet_pton failed, str = [host]!"
              "; _appmngr_xmlnode_handler_tuple:1247 Not tuple string found!");
    const appmngr_rule left[] = {{7, 0, 0, 0, 0, 6, {}, {5, 0, 0, 0, "", ""}, {}}};
    expectRecords(g_appmngr_appDb.rule, g_appmngr_appDb.ruleCount, left);
    EXPECT_EQ(g_appmngr_appDns.rule, nullptr); // no keyword, no table
}

static std::string called; // the names of elements, with the context; "(" and ")" around a walk

static int note(XmlpNode *node, appmngr_context context)
{
    called += node->name + std::to_string(context);
    return -1; // is ignored
}

static int walk(XmlpNode *node, appmngr_context context)
{
    called += "(";
    appmngr_xmlnode_handler(node, context + 1);
    called += ")";
    return 0;
}

template <const appmngr_tagHandler *table> static int change(XmlpNode *, appmngr_context)
{
    appmngr_setHandlerInfo(table);
    return 0;
}

constexpr appmngr_tagHandler shorter[] = {{"b", note}, {}};

TEST(AppMngr, DispatchesToEveryRowOfATable)
{
    const appmngr_tagHandler table[] = {{"in", walk},
                                        {"a", note},
                                        {"a?", note},
                                        {"b", nullptr},
                                        {"b", note},
                                        {"A", note},
                                        {"none", change<nullptr>},
                                        {"other", change<shorter>},
                                        {"in", note},
                                        {"none", note},
                                        {"children", _appmngr_appDbHandlers[0].handler},
                                        {}};
    const std::string noTable = "; appmngr_childnode_handler:1894 Null pHandlerInfo";
    const std::pair<const char *, std::string> rows[] = {
        {"<a>1</a>", "a0a0"},
        {"<B>1</B>", "B0"},
        {"<c>1</c>", ""},
        {"<in><a/><in><b>1</b><c>1</c></in><b>1</b></in>", "((b2)in1b1)in0"},
        {"<children><a>1</a><children><b>1</b></children></children>", "a0a0b0"},
        // The other rows for an element are still those of its own table.
        {"<in><in><none>1</none><a>1</a><a>1</a></in><a>1</a><a>1</a></in>",
         "((none2)in1)in0" + noTable + noTable},
        {"<in><in><other>1</other><a>1</a><b>1</b></in><in>1</in><b>1</b></in>", "((b2)in1b1)in0"},
    };
    for (const auto &[text, expected] : rows) {
        SCOPED_TRACE(text);
        called = "";
        const Document doc = loaded(text, 1);
        const std::string printed = captured([&] {
            appmngr_setHandlerInfo(table);
            EXPECT_EQ(appmngr_xmlnode_handler(doc->tree->root, 0), 0);
        });
        EXPECT_EQ(called + lines(printed), expected);
    }
    appmngr_setHandlerInfo(shorter);
    EXPECT_EQ(appmngr_getHandlerInfo(), shorter);
    const Document doc = loaded("<b>1</b>", 1);
    EXPECT_EQ(appmngr_childnode_handler(doc->tree->root->firstChild, 5), 0);
    EXPECT_EQ(called.substr(called.size() - 2), "b5");
    appmngr_setHandlerInfo(nullptr);
    EXPECT_EQ(captured([&] { appmngr_childnode_handler(doc->tree->root->firstChild, 0); }),
              "[Error](appmngr_childnode_handler) 1894: Null pHandlerInfo\n");
    const std::string null = "; xmlp_getChildNode:983 parent is null.",
                      printed = captured([] {
                          EXPECT_EQ(appmngr_childnode_handler(nullptr, 0) +
                                        appmngr_xmlnode_handler(nullptr, 0) +
                                        appmngr_parseThroughXML("root", nullptr) +
                                        appmngr_parseThroughXML(nullptr, nullptr),
                                    0);
                      });
    EXPECT_EQ(lines(printed), null + null);
}

TEST(AppMngr, KeepsTheCountsOfARejectedDatabase)
{
    // A type id that cannot be read ends the counting of its type's children.
    const std::string unread = in("appType", in("id", tooLong) + "<id>1</id>");
    const std::string list = in("appList", application(""));
    EXPECT_EQ(load(in("AppDB", list + in("appTypeList", unread))),
              "-1; appmngr_analyzeDbFile:2325 _appmngr_alloc_for_appdb failed");
    EXPECT_EQ(appmngr_getAppById(1), nullptr);
    EXPECT_EQ(appmngr_analyzeDbFile(), -1); // without a text

    // The counts stay, without tables, and nobody looks for what they promise.
    const std::string features = rule("tcp 0:0 0:0", "<ori><enable>1</enable></ori>");
    const std::string text =
        in("AppDB", in("appList", application(keyword, features)) +
                        in("appTypeList", in("appType", repeated(65, "<id>1</id>"))));
    EXPECT_EQ(load(text), "-1; appmngr_analyzeDbFile:2325 _appmngr_alloc_for_appdb failed");
    const std::string listed = captured(appmngr_showDb);
    EXPECT_NE(listed.find("Rule count:              2\n"), std::string::npos);
    EXPECT_NE(listed.find("Type count:              65\n"), std::string::npos);
    EXPECT_EQ(captured(appmngr_showAppTypes).find("index"), std::string::npos);
    EXPECT_EQ(_appmngr_getAppTypeBydId(0), nullptr);
    appdist_handle channel = {};
    EXPECT_EQ(appdist_send_app_rules(&channel) + appdist_send_dns_rules(&channel), 0);
    const Document doc = loaded(text, 1);
    g_appmngr_count.ruleCur = g_appmngr_count.typeCur = 1;
    appmngr_setHandlerInfo(_appmngr_appDbHandlers);
    _appmngr_appDbHandlers[0].handler(doc->tree->root, 0);
    appmngr_setHandlerInfo(nullptr);
    EXPECT_TRUE(g_appmngr_count.ruleCur == 1 && g_appmngr_count.typeCur == 1);
}

TEST(AppMngr, CountsDescriptions)
{
    load("<AppDesc><appList><app>a</app><app>b</app></appList><langcnt>3</langcnt>"
         "<appTypeList><appType>t</appType></appTypeList></AppDesc>");
    EXPECT_EQ(g_appmngr_count.langcnt, 3u);
    EXPECT_EQ(appmngr_appdesc_alloc() + appmngr_appdesc_alloc(), 0);
    EXPECT_TRUE(g_appmngr_appDesc.appCount == 2 && g_appmngr_appDesc.typeCount == 1);
    g_appmngr_count.descType = 0;
    EXPECT_EQ(appmngr_appdesc_alloc(), -1);
    EXPECT_TRUE(g_appmngr_appDesc.appCount == 2 && g_appmngr_appDesc.app == nullptr);
}

// The walk meets elements by name alone, more of them than were counted by path, and deeper ones.
TEST(AppMngr, MeetsElementsByNameAlone)
{
    const std::string extra =
        "<app><id>4096</id><dnsKw>past</dnsKw><visible>1</visible><typeId>1</typeId>" +
        rule("tcp 0:0 0:0</tuple><tuple>udp 0:0 0:0",
             rule() + rule() + "<dpiType>x</dpiType><dpiCode>x</dpiCode><rep><end>1</end></rep>") +
        "</app><tuple>bad</tuple><appType><id>5</id><name>n</name></appType>"
        "<ori><tuple>bad</tuple><enable>1</enable></ori>";
    // A dotted name completes a counted path, and is never walked.
    const std::string list =
        "<appList.app>y</appList.app>" + in("appList", application(keyword, rule() + rule()));
    EXPECT_EQ(load("\xFF\xFE<AppDB>" + extra + list + types + extra + extra + "</AppDB>"), "0");
    const appmngr_appDb &db = g_appmngr_appDb;
    EXPECT_TRUE(db.appCount == 2 && db.typeCount == 2 && db.ruleCount == 3);
    EXPECT_TRUE(g_appmngr_count.dnsCur == 1 && appmngr_isZero512(db.type[0].appBitmap));

    const std::string deep =
        repeated(4500, "<rule><ori>") + rule() + repeated(4500, "</ori></rule>");
    EXPECT_EQ(load(database(application("", deep))), "0");
    EXPECT_EQ(db.ruleCount, 1u);
}

TEST(AppMngr, ReadsTextAndNumbers)
{
    std::string numbers;
    for (const char *text : {"", " -12x", "+7", "00012345678", "12345678", "999999999",
                             "4294967297", "2147483648", "99999999999999999999"}) {
        numbers += std::to_string(appmngr_atoi(text)) + " ";
    }
    EXPECT_EQ(numbers, "0 -12 7 12345678 12345678 999999999 1 -2147483648 -1 ");
    EXPECT_EQ(appmngr_checkEncoding("\xFF\xFE", 1), APPMNGR_BOM_NONE);
    EXPECT_EQ(appmngr_checkEncoding("\xFF\xFE", 2), APPMNGR_BOM_UTF16LE);
    EXPECT_EQ(appmngr_checkEncoding("\xFE\xFF", 2), APPMNGR_BOM_UTF16BE);
    EXPECT_EQ(appmngr_checkEncoding("\xEF\xBB\xBF", 2), APPMNGR_BOM_NONE);
    EXPECT_EQ(appmngr_checkEncoding("\xEF\xBB\xBF", 3), APPMNGR_BOM_UTF8);
    char escaped[] = "a\"\\b.";
    EXPECT_EQ(appmngr_escapeSpecial(nullptr, ""), -1);
    EXPECT_EQ(appmngr_escapeSpecial(escaped, "a \"\\b"), 0);
    EXPECT_STREQ(escaped, "a\1\2\3b");
    XmlpNode node = {};
    EXPECT_EQ(appmngr_getNodeString(&node, escaped, 0), -1);
    unsigned char ab[] = "abcd";
    node.value = ab;
    node.valueSize = 4;
    const char *value = appmngr_getNodeValue(&node); // where every one is read
    node.valueSize = 2;
    EXPECT_EQ(appmngr_getNodeString(&node, escaped, 2), 0);
    EXPECT_STREQ(escaped, "a");
    EXPECT_EQ(memcmp(value, "ab\0\0", 4), 0);
    node.valueSize = 0;
    EXPECT_EQ(appmngr_getNodeString(&node, escaped, 2), 0);
    EXPECT_STREQ(escaped, "");

    char word[] = "kept", *save = nullptr;
    EXPECT_EQ(appmngr_string_token(nullptr, " ", &save), nullptr);
    EXPECT_STREQ(appmngr_string_token(word, "ep", &save), "k");
    EXPECT_STREQ(appmngr_string_token(nullptr, "ep", &save), "t");
    EXPECT_EQ(appmngr_string_token(nullptr, "ep", &save), nullptr);
    char pieces[] = "a \r\nb\t", *parts[3] = {word, word, word};
    EXPECT_EQ(appmngr_string_makeSubStrByChar(pieces, ' ', 3, parts), 2);
    EXPECT_STREQ(parts[1], "b");
    EXPECT_EQ(parts[2], nullptr);
    const auto literal = const_cast<char *>("word"); // nothing to write over
    EXPECT_EQ(appmngr_string_makeSubStrByChar(literal, ' ', 3, parts), 1);
    EXPECT_EQ(appmngr_string_token(literal, " ", &save), literal);

    EXPECT_EQ(appmngr_strcasecmp("AZ\x84", "az\xA4"), 0x84 - 0xA4);
    EXPECT_EQ(appmngr_strcasecmpSafe(nullptr, "a"), 2147483647);
    EXPECT_STREQ(appmngr_utils_proto2str(2), "unknown");
    const std::string refused = captured([&] {
        EXPECT_EQ(appmngr_string_match(nullptr, ""), 0);
        EXPECT_EQ(appmngr_string_makeSubStrByChar(nullptr, ' ', 1, parts), -1);
        EXPECT_EQ(appmngr_string_makeSubStrByChar(word, ' ', 0, parts), -1);
        appmngr_utils_str2proto(nullptr);
    });
    EXPECT_EQ(lines(refused),
              "; appmngr_string_match:470 Some parameter is null.\r"
              "; appmngr_string_makeSubStrByChar:428 Some parameter is null.\r"
              "; appmngr_string_makeSubStrByChar:434 Maximum number is invalid. maxNum = 0\r"
              "; Unknown protocol!\r\n");
}

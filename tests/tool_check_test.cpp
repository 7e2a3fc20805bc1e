// The check of tarn-db-tool: each rule alone, what the loader says of the same file, and the places
// that are shown.

#include "check/database.h"
#include "check/device.h"
#include "check/file_kind.h"
#include "check/report.h"
#include "tests/faults.h"
#include "tests/update_file.h"
#include "tool/file.h"

#include <lzma.h>

#include <sstream>

const std::string app =
    "<AppDB><ver>1.2.0</ver><proModel>m</proModel><expired>2999-12-31</expired><appList><app>"
    "<id>7</id><name>n</name><visible>1</visible><typeIdList><typeId>3</typeId></typeIdList>"
    "<ruleList><rule><tupleList><tuple>tcp 0:0 192.0.2.1:80</tuple></tupleList><ori>"
    "<enable>1</enable><segment><start>0</start><end>5</end></segment><minlength>9</minlength>"
    "<dpiType>hex</dpiType><dpiCode>00</dpiCode></ori></rule></ruleList>"
    "<dnsKwList><dnsKw>kw</dnsKw></dnsKwList></app></appList>"
    "<appTypeList><appType><id>3</id><name>t</name></appType></appTypeList></AppDB>";

const std::string sorts =
    "<AppSortDB><ver>1.2.0</ver><expired>2998-12-31 23:59:59</expired><sortNum>1</sortNum>"
    "<appNum>1</appNum><sortList><sort><id>1</id><name>s</name><prio>7</prio><type>1</type>"
    "<appList><app><appId>7</appId><appType>3</appType><appName>n</appName></app></appList>"
    "</sort></sortList></AppSortDB>";

static std::string image(const std::string &text, const std::string &priorities = "")
{
    std::string file = check::packDatabase({"", text}, check::applicationDatabase);
    if (!priorities.empty()) {
        file.resize(check::priorityDatabase.offset);
        file += check::packDatabase({"", priorities}, check::priorityDatabase);
    }
    return file;
}

// An update file with the application database.
static std::string update(uint32_t version = 0x010200, uint32_t magic = 0x04000001,
                          uint32_t reserved = 0)
{
    return entry(0, databaseFile(image(app).substr(4), version, magic, reserved));
}

// An image without its last bytes, with another text length in its header.
static std::string unfinished(size_t missing, const std::string &announced)
{
    std::string bytes = image(app);
    bytes.resize(bytes.size() - missing);
    return bytes.replace(0, 4, word(bytes.size() - 4)).replace(10, announced.size(), announced);
}

// The rules that are broken, in the order of their list.
const std::pair<const char *, std::string> files[] = {
    {"unknown-format", "text"},
    {"unknown-format", patched(image("x"), 1, "\1")},
    {"container-length", container(1, update() + "x")},
    {"container-digest", patched(container(1, update()), 3, "????")},
    {"container-count", container(2, update())},
    {"file-digest", container(1, patched(update(), 43, "????"))},
    {"file-version", container(1, update(0x010300))},
    {"file-magic", container(1, update(0x010200, 0x04000002))},
    {"file-reserved", container(1, update(0x010200, 0, 1))},
    {"image-length", patched(std::string(163840, '\0') + image(sorts), 3, "\r")},
    {"image-size", patched(image(app), 1, "\1")},
    {"image-cut", image(app).substr(0, image(app).size() - 1)},
    {"image-damaged", patched(image(app), image(app).size() - 6, "??????")},
    // An end mark, or as much text as the header announces, says that nothing is missing.
    {"", unfinished(1, "")},
    {"refused-text image-damaged", unfinished(40, "")},
    {"refused-text image-damaged", unfinished(40, "\1")},
    {"refused-text", unfinished(40, std::string(8, '\0'))},
    {"refused-text", unfinished(40, std::string(8, '\xFF'))},
    {"refused-text", image("<AppDB\xF4")}, // a tag, and a character, without an end
    {"text-size", app + std::string(204800 - app.size(), ' ')},
    {"", app + std::string(204799 - app.size(), '\n')},
    {"text-size", check::packDatabase({"", std::string(204800, ' ')}, {"larger", 0, 204800})},
    {"too-many-rules", edit(app, "<tuple>.*</tuple>", repeated(715, "$&"))},
    {"", edit(app, "<tuple>.*</tuple>", repeated(714, "$&"))},
    {"too-many-types duplicate-type-id", edit(app, "<appType>.*</appType>", repeated(65, "$&"))},
    {"duplicate-type-id", edit(app, "<appType>.*</appType>", repeated(64, "$&"))},
    {"long-value", edit(app, "<name>n", "<name>" + std::string(512, 'n'))},
    {"missing-id", edit(app, "</appType>", "$&<appType><name>u</name>$&")},
    {"late-id", edit(app, "(<id>7</id>)(.*)(</app>)", "$2$1$3")},
    {"app-without-rules", edit(app, "</app>", "$&<app><id>8</id>$&")},
    {"uncounted-record", edit(app, "</AppDB>", "<dnsKwList><dnsKw>x</dnsKw></dnsKwList>$&")},
    {"", edit(app, "(<appList>.*</appList>)(<appTypeList>.*</appTypeList>)", "$2$1")},
    // Above 4 MiB, nothing is looked at.
    {"text-size refused-text", "<" + std::string((4 << 20) - 1, ' ')},
    {"text-size", "<" + std::string(4 << 20, ' ')},
    {"container-length", container(1, entry(1, std::string((4 << 20) - 25, 'x')))},
    {"unknown-format", container(1, entry(1, std::string((4 << 20) - 24, 'x')))},
    // The loader prints a line that no other rule foresees.
    {"loader-line misplaced-element", edit(app, "<appList>", "<typeId>9</typeId>$&")}};

// The rules, and an edit of an image with both databases: of the second when it does not change the
// first. What the loader prints a line about:
using Edit = std::tuple<const char *, const char *, const char *>;
const Edit heard[] = {{"no-application unknown-app", "<app>.*</app>", ""},
                      {"refused-text", "</ver>", "</vre>"},
                      {"bad-tuple", "</tuple>", "$&<tuple>tcp 0:0$&"},
                      {"wrong-root", "AppDB", "DB"},
                      {"unknown-type", "</typeId>", "$&<typeId>4$&"},
                      {"no-tuple", "<tuple>.*</tuple>", ""},
                      {"no-type", "<(typeId|appType)>.*</\\1>", ""},
                      {"bad-expiry", "2998-12", "2998/12"},
                      {"refused-element", "</sort>", "<x>1</x>$&"},
                      {"count-mismatch", "Num>1", "Num>2"},
                      {"count-mismatch", "<appNum>1</appNum>", ""},
                      {"bad-expiry", "59:59", "$& 1"},
                      {"bad-expiry", "2998[^<]*", " "},
                      {"bad-tuple", "tcp", "sctp"},
                      {"refused-text", "<appList>", "<!-- -->$&"},
                      {"bad-tuple", ":80", ":80:1"}};

// What it takes without a line, or does not see before it sends.
const Edit unheard[] = {
    {"misplaced-element", "</app>", "<end>1</end>$&"},
    {"unknown-element", "visible", "visibel"},
    {"repeated-element", "</app>", "<id>7</id>$&"},
    {"empty-element", ">1</visible>", "/>"},
    {"ignored-attribute", "<app>", "<app id=\"7\">"},
    {"stray-text", "<appList>", "$&text"},
    {"rule-without-tuple", "</rule>", "$&<rule> $&"},
    {"port-range", ":80", ":65536"},
    {"duplicate-app-id", "<app>.*</app>", "$&$&"},
    {"bad-number", "<visible>1", "<visible>x"},
    {"unclear-expiry", "2999-12-31", "2999-02-29"},
    {"past-expiry", "2998", "2001"},
    {"app-id-range unknown-app", "<id>7", "<id>4096"},
    {"cut-text", "</ver>", "-prerelease$&"},
    {"unlisted-app", "<appName>.*</appName>", ""},
    {"unlisted-sort", "<type>1</type>", ""},
    {"missing-id unknown-app", "<id>7</id>", ""},
    {"missing-id", "<appId>7</appId>", ""},
    {"no-dns-keyword", "<dnsKw>.*</dnsKw>", ""},
    {"no-sort", "<sort>.*</sort>", ""},
    {"unused-type", "<typeId>.*</typeId>", ""},
    {"unknown-app", "<appId>7", "<appId>8"},
    {"priority-range", "<prio>7", "<prio>256"},
    {"json-unsafe", "</dpiCode>", "\"$&"},
    {"app-id-range", "<appId>7", "<appId>4096"},
    {"bad-number", ":80", ":80x"},
    {"unclear-expiry", "2999-12", "2999-13"},
    {"cut-text", ":80", ":00000000000000000000000000000000000000000000000000000000000000080"},
    {"duplicate-app-id", "<appNum>1(.*)(<app><.*</app>)", "<appNum>2$1$2$2"},
    {"misplaced-element", "</AppDB>", "<ruleList><x>1</x></ruleList>$&"}};

static std::string findingsOf(const std::string &file)
{
    std::deque<check::Source> sources;
    check::checkFile({"db", file}, sources);
    return check::reportAsText(sources, false, false).text;
}

static std::string findings; // without numbers, and without what they show

static std::string brokenRules(const std::string &file)
{
    const std::string report = findingsOf(file);
    findings += edit(report, "\n(?!db:)[^\n]*|\\d+", "");
    std::string list;
    for (const check::RuleDescription &rule : check::allRules()) {
        if (report.find("[" + std::string(rule.name) + "]\n") != std::string::npos) {
            list += (list.empty() ? "" : " ") + std::string(rule.name);
        }
    }
    return list;
}

// Each rule is here, and in the documentation.
TEST(ToolCheck, EachRuleAlone)
{
    std::string tested = " ";
    const auto expectRules = [&](const std::string &rules, const std::string &file) {
        EXPECT_EQ(brokenRules(file), rules) << file.substr(0, 2000);
        tested += rules + " ";
    };
    const auto expectEdits = [&](const auto &edits, bool areHeard) {
        for (const auto &[rules, pattern, to] : edits) {
            SCOPED_TRACE(rules);
            const std::string first = edit(app, pattern, to);
            const std::string second = first != app ? sorts : edit(sorts, pattern, to);
            expectRules(rules, image(first, second));
            const std::string lines = check::loadApplicationText(first).lines;
            EXPECT_EQ(!(lines + check::loadPriorityText(second).lines).empty(), areHeard);
        }
    };
    for (const auto &[rules, file] : files) {
        expectRules(rules, file);
    }
    expectEdits(heard, true);
    expectEdits(unheard, false);
    std::istringstream malformed(
        "</a>|<a<|<a>>|<a|<a>|<a></>|<a></b>|<a></a=>|<a></|<a><b|<></>|<a><b<|<a b c/>|<//>|"
        "<a></ ></a>|<a b=\"&\"/>|<a b='1'/>|<a b=\"1\" \"/>|< a b/>|<a=/>|<?a|<?a?>|<a>&</a>|"
        "<a b=\"\" b=\"\"/>|<a><item/><b/></a>|<a><b/><item/></a>");
    for (std::string text; std::getline(malformed, text, '|');) {
        brokenRules(text);
    }
    // Their wording: whoever changes it reads them once more.
    const auto *bytes = reinterpret_cast<const uint8_t *>(findings.data());
    EXPECT_EQ(lzma_crc32(bytes, findings.size(), 0), 3455596139u) << findings;
    const std::string page = tool::readFile(TARN_SOURCE "/docs/check.md").contents;
    for (const check::RuleDescription &rule : check::allRules()) {
        const std::string name = rule.name;
        const char *const word = rule.severity == check::Severity::Error ? "Error" : "Warning";
        const std::string entry = "### " + name + "\n\n**" + word + ".** " + rule.sentence;
        EXPECT_NE(tested.find(" " + name + " "), std::string::npos) << name;
        EXPECT_NE(page.find(entry), std::string::npos) << name;
    }
}

TEST(ToolCheck, WhyAnUpdateIsRefused)
{
    const std::string file = container(1, update());
    faults::countdown = UINT32_MAX;
    findingsOf(file);
    faults::countdown = UINT32_MAX - faults::countdown; // the last allocation, for the update
    EXPECT_EQ(findingsOf(file),
              "db:1:1: error: the update is refused: [Error](appmngr_db_writeAppDbFromDatabase) "
              "2753: alloc memory fail [loader-line]\n1 error, 0 warnings\n");
}

TEST(ToolCheck, NearestName)
{
    std::string found, text = app;
    for (const char *name : {"visibel", "TUPPLE", "teiped", "appLs", "axep", "aa"}) {
        text.insert(text.rfind("</"), "<" + std::string(name) + ">1</" + name + ">");
        const std::string printed = findingsOf(text),
                          last = printed.substr(printed.rfind("name is '"));
        found += last.substr(9, last.find("' [") - 8);
    }
    EXPECT_EQ(found, "visible'tuple'typeId'appList'app'app'");
}

TEST(ToolCheck, ShowsThePlace)
{
    const std::string wide(200, 'w'), most = wide.substr(0, 57), some = wide.substr(0, 39);
    const std::string endTag =
        " error: the end tag is not that of the open element [refused-text]\n";
    const std::string below = std::string(63, ' ') + "^\n",
                      odd = "\xC3\xBF\xF0\x9F\x98\x80\x80\xBF";
    const std::pair<std::string, std::string> places[] = {
        {"\xEF\xBB\xBF<AppDB>\r\n\t<name>\xC3\xA4</nome>\r\n</AppDB>",
         "db:2:12:" + endTag + "\t<name>\xC3\xA4</nome>\n\t          ^\n"},
        {"\xEF\xBB\xBF<AppDB><a b='" + wide + "'/></AppDB>",
         "db:1:13: error: the value of an attribute needs double quotes [refused-text]\n"
         "<AppDB><a b='" +
             some + "...\n            ^\n"},
        {"<AppDB>" + wide + "\x1B</x></AppDB>",
         "db:1:211:" + endTag + "..." + most + "?</x></AppDB>\n" + below},
        {"<" + some + "\xC3\xA4/>", "db:1:1: error: the top element is '" + some + "...', not"},
        // A character is one column, a byte that only continues one is none, and none is cut.
        {"<AppDB>" + odd + "<a></b></AppDB>",
         "db:1:15:" + endTag + "<AppDB>" + odd + "<a></b></AppDB>\n              ^\n"},
        {"<AppDB>\xF0\x9F\x98\x80" + most + "</x>" + wide.substr(0, 36) + "\xE2\x82\xAC</AppDB>",
         "db:1:68:" + endTag + "...\xF0\x9F\x98\x80" + most + "</x>" + wide.substr(0, 36) +
             "...\n" + below},
        {edit(app, "tcp 0:0 192.0.2.1:80", "tcp &amp;:0 x"),
         "db:1:214: error: '&' is no IPv4 address; any address is written 0 "
         "[bad-tuple]\n...</typeId>"
         "</typeIdList><ruleList><rule><tupleList><tuple>tcp &amp;:0 x</tuple></tupleLi"},
    };
    for (const auto &[text, expected] : places) {
        const std::string printed = findingsOf(text);
        EXPECT_EQ(printed.substr(0, expected.size()), expected) << printed;
    }
}

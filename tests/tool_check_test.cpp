#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "loader/loader_internal.h"
#include "tests/program.h"
#include "tests/update_file.h"
#include "tool/check_file.h"
#include "tool/check_report.h"
#include "tool/file.h"
#include "tool/image.h"

#include <deque>
#include <set>

namespace
{

const std::string app =
    "<AppDB><ver>1.2.0</ver><proModel>m</proModel><expired>2999-12-31</expired><appList><app>"
    "<id>7</id><name>n</name><visible>1</visible><typeIdList><typeId>3</typeId></typeIdList>"
    "<ruleList><rule><tupleList><tuple>tcp 0:0 192.0.2.1:80</tuple></tupleList><ori>"
    "<enable>1</enable><segment><start>0</start><end>5</end></segment><minlength>9</minlength>"
    "<dpiType>hex</dpiType><dpiCode>00</dpiCode></ori></rule></ruleList>"
    "<dnsKwList><dnsKw>kw</dnsKw></dnsKwList></app></appList>"
    "<appTypeList><appType><id>3</id><name>t</name></appType></appTypeList></AppDB>";

const std::string sorts =
    "<AppSortDB><ver>1.2.0</ver><expired>2999-12-31 23:59:59</expired><sortNum>1</sortNum>"
    "<appNum>1</appNum><sortList><sort><id>1</id><name>s</name><prio>7</prio><type>1</type>"
    "<appList><app><appId>7</appId><appType>3</appType><appName>n</appName></app></appList>"
    "</sort></sortList></AppSortDB>";

std::string edit(const std::string &text, const std::string &pattern, const std::string &to)
{
    return std::regex_replace(text, std::regex(pattern), to);
}

// The text with each number from 3 on, count of them, in place of #.
std::string numbered(int count, const std::string &text)
{
    std::string all;
    for (int i = 3; i < 3 + count; i++) {
        all += edit(text, "#", std::to_string(i));
    }
    return all;
}

std::string withTypes(int count)
{
    const std::string types = numbered(count, "<appType><id>#</id></appType>");
    return edit(edit(app, "<typeId>.*</typeId>", numbered(count, "<typeId>#</typeId>")),
                "<appType>.*</appType>", types);
}

std::string withTuples(int count)
{
    return edit(app, "<tuple>.*</tuple>", numbered(count, "<tuple>udp 0:# 0:0</tuple>"));
}

std::string image(const std::string &text, const std::string &priorities = "")
{
    std::string file = tool::packDatabase({"", text}, tool::applicationDatabase);
    if (!priorities.empty()) {
        file.resize(tool::priorityDatabase.offset);
        file += tool::packDatabase({"", priorities}, tool::priorityDatabase);
    }
    return file;
}

std::string patched(std::string bytes, size_t offset, const std::string &to)
{
    return bytes.replace(offset, to.size(), to);
}

// An update file with the application database.
std::string update(uint32_t version = 0x010200, uint32_t magic = 0x04000001, uint32_t reserved = 0)
{
    return entry(0, databaseFile(image(app).substr(4), version, magic, reserved));
}

struct Case {
    std::string rules; // that are broken, in the order of their places
    std::string file;
};

const Case cases[] = {
    {"unknown-format", "text"},
    {"unknown-format", " \n"},
    {"unknown-format", patched(image("x"), 1, "\1")},
    {"container-length", container(1, update() + "x")},
    {"container-digest", patched(container(1, update()), 3, "????")},
    {"container-count", container(2, update())},
    {"file-digest", container(1, patched(update(), 43, "????"))},
    {"file-version", container(1, update(0x010300))},
    {"file-magic", container(1, update(0x010200, 0x04000002))},
    {"file-reserved", container(1, update(0x010200, 0, 1))},
    {"image-length", std::string(163840, '\0') + image(sorts)},
    {"image-size", patched(image(app), 1, "\1")},
    {"text-size", app + std::string(204800 - app.size(), ' ')},
    {"refused-text", edit(app, "</ver>", "</vre>")},
    {"refused-text", image("x")},
    {"refused-text", image("<AppDB\xF4")}, // a tag, and a character, without an end
    {"wrong-root", edit(app, "AppDB", "DB")},
    {"long-value", edit(app, "<name>n", "<name>" + std::string(512, 'n'))},
    {"cut-text", edit(app, "<ver>1.2.0", "<ver>1.2.0-release")},
    {"bad-tuple", edit(app, "</tuple>", "</tuple><tuple>tcp 0:0</tuple>")},
    {"unknown-type", edit(app, "</typeId>", "</typeId><typeId>4</typeId>")},
    {"app-id-range", edit(app, "<id>7", "<id>4096")},
    {"missing-id", edit(app, "<id>7</id>", "")},
    {"missing-id", edit(app, "</appType>", "</appType><appType><name>u</name></appType>")},
    {"missing-id", edit(sorts, "<appId>7</appId>", "")},
    {"late-id", edit(app, "(<id>7</id>)(.*)(</app>)", "$2$1$3")},
    {"no-application", edit(app, "<app>.*</app>", "")},
    {"no-type", edit(app, "<typeId>.*</typeId>|<appType>.*</appType>", "")},
    {"no-tuple", edit(app, "<tuple>.*</tuple>", "")},
    {"no-dns-keyword", edit(app, "<dnsKw>.*</dnsKw>", "")},
    {"too-many-types", withTypes(65)},
    {"too-many-rules", withTuples(715)},
    {"uncounted-record", edit(app, "</app>", "<dnsKw>x</dnsKw></app>")},
    {"uncounted-record", edit(app, "</AppDB>", "<dnsKwList><dnsKw>x</dnsKw></dnsKwList></AppDB>")},
    {"refused-element", edit(sorts, "</sort>", "<x>1</x></sort>")},
    {"count-mismatch", edit(sorts, "<appNum>1", "<appNum>2")},
    {"count-mismatch", edit(sorts, "<appNum>1</appNum>", "")},
    {"bad-expiry", edit(sorts, "2999-12-31", "2999/12/31")},
    {"no-sort", edit(sorts, "<sort>.*</sort>", "")},
    {"unlisted-sort", edit(sorts, "<type>1</type>", "")},
    {"unlisted-app", edit(sorts, "<appName>.*</appName>", "")},
    // Only what is out of place makes the loader print a line that no other rule foresees.
    {"loader-line misplaced-element", edit(app, "<appList>", "<typeId>9</typeId><appList>")},
    {"image-cut", image(app).substr(0, image(app).size() - 1)},
    {"image-damaged", patched(image(app), image(app).size() - 6, "??????")},
    {"unknown-element", edit(app, "visible", "visibel")},
    {"misplaced-element", edit(app, "</app>", "<dpiCode>x</dpiCode></app>")},
    {"repeated-element", edit(app, "</ver>", "</ver><ver>1.2.1</ver>")},
    {"repeated-element", edit(app, "</app>", "<id>7</id></app>")},
    {"empty-element", edit(app, "<visible>1</visible>", "<visible/>")},
    {"stray-text", edit(app, "<appList>", "<appList>text")},
    {"ignored-attribute", edit(app, "<app>", "<app id=\"7\">")},
    {"bad-number", edit(app, "<visible>1", "<visible>1x")},
    {"bad-number", edit(app, "<visible>1", "<visible>x")},
    {"port-range", edit(app, ":80", ":65536")},
    {"duplicate-app-id", edit(app, "(<app>.*</app>)", "$1$1")},
    {"duplicate-type-id", edit(app, "(<appType>.*</appType>)", "$1$1")},
    {"rule-without-tuple", edit(app, "</rule>", "</rule><rule> </rule>")},
    {"unused-type", edit(app, "</appType>", "</appType><appType><id>4</id></appType>")},
    {"app-without-rules", edit(app, "</app>", "</app><app><id>8</id></app>")},
    {"priority-range", edit(sorts, "<prio>7", "<prio>256")},
    {"unknown-app", image(app, edit(sorts, "<appId>7", "<appId>8"))},
    {"json-unsafe", edit(app, "<dpiCode>", "<dpiCode>\"")},
    {"unclear-expiry", edit(app, "2999-12-31", "2999-02-29")},
    {"past-expiry", edit(sorts, "2999-12-31", "2001-01-31")},
    // Just as much as there is room for, and other things that are right
    {"", app + std::string(204799 - app.size(), '\n')},
    {"", withTypes(64)},
    {"", withTuples(714)},
    {"", image(app, sorts)},
    {"", container(1, update())},
    {"", edit(app, "(<appList>.*</appList>)(<appTypeList>.*</appTypeList>)", "$2$1")},
};

tool::Report check(const std::string &file)
{
    std::deque<tool::Source> sources;
    tool::checkFile({"db", file}, sources);
    return tool::reportAsText(sources, false, false);
}

// The names of the broken rules, in the order in which they are reported.
std::string brokenRules(const tool::Report &report)
{
    const std::regex name("( )\\[([a-z-]+)\\]\n");
    const auto onlyNames = std::regex_constants::format_no_copy;
    const std::string names = std::regex_replace(report.text, name, "$1$2", onlyNames);
    return names.substr(names.empty() ? 0 : 1);
}

// What the loaders print about the databases of an image file.
std::string loaderLines(const std::string &file)
{
    const std::string path = testing::TempDir() + "tool_check_test.img";
    tool::writeFile(path, file);
    appmngr_checkDbPath(path.c_str());
    std::string printed = captured([] {
        if (appmngr_file_alloc() == 0 && _appmngr_readAppDb() == 0) {
            appmngr_analyzeDbFile();
        }
        appmngr_file_free();
    });
    if (file.size() > tool::priorityDatabase.offset) {
        printed += captured(apppri_readAppSortFromDB);
    }
    captured(appmngr_dbReInit);
    apppri_DBReInit();
    return printed;
}

// Errors about what a loader does without a word, or not before it sends.
const std::set<std::string> silentErrors = {"long-value",     "cut-text",         "app-id-range",
                                            "missing-id",     "late-id",          "no-dns-keyword",
                                            "too-many-rules", "uncounted-record", "no-sort",
                                            "unlisted-sort",  "unlisted-app",     "image-size"};

// The loader prints a line about an error, and about nothing else.
TEST(ToolCheck, EachRuleAlone)
{
    std::set<std::string> tested;
    for (const Case &c : cases) {
        const tool::Report report = check(c.file);
        EXPECT_EQ(brokenRules(report), c.rules) << c.file.substr(0, 2000);
        const std::string rule = c.rules.substr(0, c.rules.find(' '));
        const bool isSilent = report.errors == 0 || silentErrors.count(rule) != 0;
        const bool isSorts = c.file.compare(0, 10, "<AppSortDB") == 0;
        if (c.file[0] == '<' && rule != "text-size") {
            const std::string file = isSorts ? image(app, c.file) : image(c.file);
            EXPECT_EQ(loaderLines(file).empty(), isSilent) << rule;
        } else if (c.file[0] == '\0') {
            EXPECT_EQ(loaderLines(c.file).empty(), isSilent) << rule;
        }
        tested.insert(rule);
    }
    for (const tool::RuleDescription &rule : tool::allRules()) {
        EXPECT_EQ(tested.count(rule.name), 1u) << rule.name;
    }
}

TEST(ToolCheck, ShowsThePlace)
{
    const std::string wide(200, 'w');
    const std::pair<std::string, std::string> places[] = {
        {"\xEF\xBB\xBF<AppDB>\r\n\t<name>\xC3\xA4</nome>\r\n</AppDB>",
         "db:2:12: error: the end tag is not that of the open element [refused-text]\n"
         "\t<name>\xC3\xA4</nome>\n\t          ^\n"},
        {"<AppDB><a b='" + wide + "'/></AppDB>",
         "db:1:13: error: the value of an attribute needs double quotes [refused-text]\n"
         "<AppDB><a b='" +
             wide.substr(0, 39) + "...\n            ^\n"},
        {"<AppDB>" + wide + "\x1B</x></AppDB>",
         "db:1:211: error: the end tag is not that of the open element [refused-text]\n..." +
             wide.substr(0, 57) + "?</x></AppDB>\n" + std::string(63, ' ') + "^\n"},
        {edit(app, "tcp 0:0 192.0.2.1:80", "tcp &amp;:0 x"),
         "db:1:214: error: '&' is no IPv4 address; any address is written 0 [bad-tuple]\n"
         "...</typeId></typeIdList><ruleList><rule><tupleList><tuple>tcp &amp;:0 "
         "x</tuple></tupleLi"},
    };
    for (const auto &[text, expected] : places) {
        const std::string printed = check(text).text;
        EXPECT_EQ(printed.substr(0, expected.size()), expected) << printed;
    }
}

TEST(ToolCheck, Program)
{
    enterFolder("tool_check_test");
    tool::writeFile("warn.img",
                    image(edit(app, ":80", ":80x"), edit(sorts, "<prio>7", "<prio>-1")));
    tool::writeFile("bad.xml", "<AppDB\xFF/>");
    const ProgramCase runs[] = {
        {TARN_SOURCE "/examples/appdb.xml " TARN_SOURCE "/examples/sortdb.xml", 0,
         "...0 errors, 0 warnings\n"},
        {"warn.img", 0,
         "...warn.img:1:228: warning: application database: '80x' has more than digits"},
        {"warn.img", 0, "...^\n0 errors, 2 warnings\n"},
        {"--werror - <warn.img", 1, "...standard input:1:"},
        {"bad.xml warn.img", 1, "...\n1 error, 2 warnings\n"},
        {"--json bad.xml", 1, "...\"message\": \"the top element is 'AppDB\xEF\xBF\xBD', not"},
        {"--json bad.xml", 1, "...,\n      \"rule\": \"wrong-root\",\n"},
        {"--json --werror warn.img", 1, "...\"database\": \"priority database\",\n"},
        {"--rules", 0, "...bad-tuple           error    A tuple is"},
        {"none.xml", 1, "", "...tarn-db-tool: none.xml: No such file or directory\n"},
        {"", 2, "", "...tarn-db-tool: FILE is required\n"},
    };
    expectRuns("tarn-db-tool check ", runs);
}

TEST(ToolCheck, EachRuleIsDocumented)
{
    const std::string page = tool::readFile(TARN_SOURCE "/docs/check.md").contents;
    for (const tool::RuleDescription &rule : tool::allRules()) {
        const char *const severity =
            rule.severity == tool::Severity::Error ? "**Error.** " : "**Warning.** ";
        const std::string entry =
            std::string("### ") + rule.name + "\n\n" + severity + rule.sentence;
        EXPECT_NE(page.find(entry), std::string::npos) << rule.name;
    }
}
} // namespace

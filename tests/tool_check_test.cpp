#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "loader/loader_internal.h"
#include "tests/program.h"
#include "tool/check_file.h"
#include "tool/check_report.h"
#include "tool/command.h"
#include "tool/file.h"
#include "tool/image.h"

#include <nlohmann/json.hpp>

#include <deque>
#include <functional>
#include <random>
#include <set>
#include <vector>

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

// What make gives for each number from first on, count of them.
std::string each(int first, int count, const std::function<std::string(std::string)> &make)
{
    std::string all;
    for (int i = first; i < first + count; i++) {
        all += make(std::to_string(i));
    }
    return all;
}

std::string manyTypes(int count)
{
    const std::string ids =
        each(3, count, [](const std::string &id) { return "<typeId>" + id + "</typeId>"; });
    const std::string types = each(
        3, count, [](const std::string &id) { return "<appType><id>" + id + "</id></appType>"; });
    return edit(edit(app, "<typeId>.*</typeId>", ids), "<appType>.*</appType>", types);
}

std::string manyTuples(int count)
{
    const std::string tuples = each(
        0, count, [](const std::string &port) { return "<tuple>udp 0:" + port + " 0:0</tuple>"; });
    return edit(app, "<tuple>.*</tuple>", tuples);
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

std::string withDigest(std::string container)
{
    md5_digest(reinterpret_cast<unsigned char *>(container.data()), container.data() + 17,
               static_cast<uint32_t>(container.size() - 17));
    return container;
}

std::string des(const std::string &text, int encrypt)
{
    std::string result(text.size() + 8, '\0');
    result.resize(static_cast<size_t>(
        wexal_des_min_do(text.data(), static_cast<int32_t>(text.size()), result.data(),
                         static_cast<int32_t>(result.size()), g_appmngr_databaseKey, encrypt)));
    return result;
}

// A container with one application database, the bytes from offset on of its header replaced.
std::string container(size_t offset = 0, const std::string &to = "")
{
    const std::string packed = image(app);
    const std::string header("\1\2\0\4\0\0\1\0\0\0\0", 11);
    std::string body = packed.substr(0, 4) + '\0' + header + packed.substr(4);
    body = patched(body, offset, to);
    std::string digest(16, '\0');
    md5_digest(reinterpret_cast<unsigned char *>(digest.data()), body.data(),
               static_cast<uint32_t>(body.size()));
    const std::string file = des(digest + body, 1);
    const std::string size = {0, 0, static_cast<char>(file.size() >> 8),
                              static_cast<char>(file.size())};
    return withDigest(std::string(16, '\0') + '\1' + std::string(4, '\0') + size + file);
}

struct Case {
    std::string rules; // that are broken, in the order of their places
    std::string file;
};

const Case cases[] = {
    {"unknown-format", "text"},
    {"container-length", withDigest(container() + "x")},
    {"container-digest", patched(container(), 3, "????")},
    {"container-count", patched(container(), 16, "\2")},
    {"file-digest", withDigest(patched(container(), 60, "????"))},
    {"file-version", container(6, "\3")},
    {"file-magic", container(11, "\2")},
    {"file-reserved", container(15, "\1")},
    {"image-length", std::string(163840, '\0') + image(sorts)},
    {"image-size", patched(image(app), 1, "\1")},
    {"text-size", app + std::string(204800 - app.size(), ' ')},
    {"refused-text", edit(app, "</ver>", "</vre>")},
    {"wrong-root", edit(app, "AppDB", "DB")},
    {"long-value", edit(app, "<name>n", "<name>" + std::string(512, 'n'))},
    {"cut-text", edit(app, "<ver>1.2.0", "<ver>1.2.0-release")},
    {"bad-tuple", edit(app, "</tuple>", "</tuple><tuple>tcp 0:0</tuple>")},
    {"unknown-type", edit(app, "</typeId>", "</typeId><typeId>4</typeId>")},
    {"app-id-range", edit(app, "<id>7", "<id>4096")},
    {"missing-id", edit(app, "<id>7</id>", "")},
    {"late-id", edit(app, "(<id>7</id>)(.*)(</app>)", "$2$1$3")},
    {"no-application", edit(app, "<app>.*</app>", "")},
    {"no-type", edit(app, "<typeId>.*</typeId>|<appType>.*</appType>", "")},
    {"no-tuple", edit(app, "<tuple>.*</tuple>", "")},
    {"no-dns-keyword", edit(app, "<dnsKw>.*</dnsKw>", "")},
    {"too-many-types", manyTypes(65)},
    {"too-many-rules", manyTuples(715)},
    {"uncounted-record", edit(app, "</app>", "<dnsKw>x</dnsKw></app>")},
    {"refused-element", edit(sorts, "</sort>", "<x>1</x></sort>")},
    {"count-mismatch", edit(sorts, "<appNum>1", "<appNum>2")},
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
    {"empty-element", edit(app, "<visible>1</visible>", "<visible/>")},
    {"stray-text", edit(app, "<appList>", "<appList>text")},
    {"ignored-attribute", edit(app, "<app>", "<app id=\"7\">")},
    {"bad-number", edit(app, "<visible>1", "<visible>1x")},
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
    {"", manyTypes(64)},
    {"", manyTuples(714)},
    {"", image(app, sorts)},
    {"", container()},
    {"", edit(app, "(<appList>.*</appList>)(<appTypeList>.*</appTypeList>)", "$2$1")},
};

std::deque<tool::Source> check(const std::string &file)
{
    std::deque<tool::Source> sources;
    tool::checkFile({"db", file}, sources);
    return sources;
}

// The names of the rules that are broken in text, in the order in which they are reported.
std::vector<std::string> brokenRules(const std::string &file)
{
    std::vector<std::string> names;
    const auto report = nlohmann::json::parse(tool::reportAsJson(check(file), false).text);
    for (const auto &finding : report["findings"]) {
        names.push_back(finding["rule"]);
    }
    return names;
}

std::string joined(const std::vector<std::string> &words)
{
    std::string all;
    for (const std::string &word : words) {
        all += (all.empty() ? "" : " ") + word;
    }
    return all;
}

TEST(ToolCheck, EachRuleAlone)
{
    std::set<std::string> tested;
    for (const Case &c : cases) {
        EXPECT_EQ(joined(brokenRules(c.file)), c.rules) << c.file.substr(0, 2000);
        tested.insert(c.rules.substr(0, c.rules.find(' ')));
    }
    for (const tool::RuleDescription &rule : tool::allRules()) {
        EXPECT_EQ(tested.count(rule.name), 1u) << rule.name;
    }
}

// What the loaders print about the databases of an image file.
std::string loaderLines(const std::string &file)
{
    tool::writeFile("corpus.img", file);
    captured(appmngr_dbReInit);
    std::string lines = captured([] {
        appmngr_checkDbPath("corpus.img");
        if (appmngr_file_alloc() == 0 && _appmngr_readAppDb() == 0) {
            appmngr_analyzeDbFile();
        }
        appmngr_file_free();
    });
    if (file.size() > tool::priorityDatabase.offset) {
        lines += captured(apppri_readAppSortFromDB);
    }
    captured(appmngr_dbReInit);
    apppri_DBReInit();
    return lines;
}

// Errors about what a loader does without a word, or not before it sends.
const std::set<std::string> silentErrors = {"long-value",     "cut-text",         "app-id-range",
                                            "missing-id",     "late-id",          "no-dns-keyword",
                                            "too-many-rules", "uncounted-record", "no-sort",
                                            "unlisted-sort",  "unlisted-app",     "image-size"};

// The loader and check agree on what is an error.
void expectAgreement(const std::string &file, size_t &accepted)
{
    const std::string lines = loaderLines(file);
    const tool::Report report = tool::reportAsText(check(file), false, false);
    if (!lines.empty()) {
        EXPECT_GT(report.errors, 0u) << lines << report.text;
        return;
    }
    accepted++;
    size_t explained = 0;
    for (const std::string &name : brokenRules(file)) {
        explained += silentErrors.count(name);
    }
    EXPECT_LE(report.errors, explained) << report.text;
}

// Behind the end tag of the element whose start tag is at from.
size_t elementEnd(const std::string &text, size_t from)
{
    int depth = 0;
    size_t at = from;
    do {
        depth += text[at + 1] == '/' ? -1 : 1;
        at = text.find('<', at + 1);
    } while (depth > 0 && at != std::string::npos);
    return std::min(at, text.size());
}

// The text with an element left out, doubled or moved, or with another character somewhere.
std::string mutated(std::string text, std::mt19937 &random)
{
    std::vector<size_t> starts;
    for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        if (text[at + 1] != '/') {
            starts.push_back(at);
        }
    }
    if (starts.empty()) {
        return text;
    }
    const size_t from = starts[random() % starts.size()];
    const size_t place = starts[random() % starts.size()];
    const unsigned change = random() % 4;
    if (change == 0) {
        text[std::min(from + random() % 20, text.size() - 1)] = "x7 :<a"[random() % 6];
        return text;
    }
    const size_t length = elementEnd(text, from) - from;
    const std::string element = text.substr(from, length);
    if (change != 1) {
        text.insert(place, element);
    }
    return change == 3 ? text
                       : text.erase(change == 2 && place <= from ? from + length : from, length);
}

TEST(ToolCheck, AgreesWithTheLoader)
{
    std::vector<std::string> corpus = {
        image(tool::readFile(TARN_SOURCE "/examples/appdb.xml").contents,
              tool::readFile(TARN_SOURCE "/examples/sortdb.xml").contents)};
    corpus.push_back(image("<AppDB\xF4")); // a tag, and a character, without an end
    for (const Case &c : cases) {
        if (c.file.size() <= tool::priorityDatabase.textLimit && c.file[0] == '<') {
            const bool isApp = c.file.compare(1, 9, "AppSortDB") != 0;
            corpus.push_back(image(isApp ? c.file : app, isApp ? "" : c.file));
        } else if (c.rules.compare(0, 5, "image") == 0) {
            corpus.push_back(c.file);
        }
    }
    std::mt19937 random(1);
    for (int i = 0; i < 200; i++) {
        corpus.push_back(image(mutated(app, random), mutated(sorts, random)));
    }
    size_t accepted = 0;
    for (const std::string &file : corpus) {
        expectAgreement(file, accepted);
    }
    EXPECT_GT(accepted, 30u);
    EXPECT_LT(accepted, corpus.size() - 30);
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
        const std::string printed = tool::reportAsText(check(text), false, false).text;
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
         "...0 errors, 0 warnings\n...", ""},
        {"warn.img", 0,
         "...warn.img:1:228: warning: application database: '80x' has more than digits...", ""},
        {"warn.img", 0, "...^\n0 errors, 2 warnings\n...", ""},
        {"--werror - <warn.img", 1, "...standard input:1:...", ""},
        {"bad.xml warn.img", 1, "...\n1 error, 2 warnings\n...", ""},
        {"--json bad.xml", 1, "...\"message\": \"the top element is 'AppDB\xEF\xBF\xBD', not...",
         ""},
        {"--json --werror warn.img", 1, "...\"database\": \"priority database\",\n...", ""},
        {"--rules", 0, "...bad-tuple           error    A tuple is...", ""},
        {"none.xml", 1, "", "tarn-db-tool: none.xml: No such file or directory\n"},
        {"", 2, "", "tarn-db-tool: FILE is required\n"},
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

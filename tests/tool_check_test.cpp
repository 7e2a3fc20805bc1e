// The check of tarn-db-tool: the findings of each file that is listed, and the places shown.

#include "check/check.h"
#include "tests/faults.h"
#include "tests/lzma_image.h"
#include "tests/update_file.h"

#include <regex>

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

static std::string imageOfBoth(const std::string &text, const std::string &priorities)
{
    std::string file = image(text);
    file.resize(163840);
    return file + image(priorities);
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

static std::string withTuples(size_t count)
{
    return edit(app, "<tuple>.*</tuple>", repeated(count, "$&"));
}

static std::string withTypes(size_t count)
{
    return edit(app, "<appType>.*</appType>", repeated(count, "$&"));
}

const size_t mebibyte = 1 << 20;   // of a longer text, only the size is checked
const size_t mebibytes4 = 4 << 20; // of a longer container, nothing is

const std::map<std::string, std::string> files = {
    {"text", "text"},
    {"image with other bytes in its header", patched(image("x"), 1, "\1")},
    {"container with a byte behind its files", container(1, update() + "x")},
    {"container with another digest", patched(container(1, update()), 3, "????")},
    {"container with a file less than it says", container(2, update())},
    {"container of a file with another digest", container(1, patched(update(), 43, "????"))},
    {"container of version 1.3.0", container(1, update(0x010300))},
    {"container with sorts of version 1.3.0",
     container(1, entry(3, databaseFile(image(sorts).substr(4), 0x010300)))},
    {"container with another magic code", container(1, update(0x010200, 0x04000002))},
    {"container with a reserved field", container(1, update(0x010200, 0, 1))},
    {"image shorter than it says", patched(std::string(163840, '\0') + image(sorts), 3, "\r")},
    {"image longer than 65536 bytes", patched(image(app), 1, "\1")},
    {"image without its last byte", image(app).substr(0, image(app).size() - 1)},
    {"image with other bytes near its end", patched(image(app), image(app).size() - 6, "??????")},
    // An end marker, or as much text as the header announces, says that nothing is missing.
    {"image without its end marker", unfinished(1, "")},
    {"image cut off, of no length", unfinished(40, "")},
    {"image cut off, of another length", unfinished(40, "\1")},
    {"image cut off, of length 0", unfinished(40, std::string(8, '\0'))},
    {"image cut off, of unknown length", unfinished(40, std::string(8, '\xFF'))},
    {"image of an unfinished tag and character", image("<AppDB\xF4")},
    {"text of 204800 bytes", app + std::string(204800 - app.size(), ' ')},
    {"text of 204799 bytes", app + std::string(204799 - app.size(), '\n')},
    {"image of 204800 bytes of text", image(std::string(204800, ' '))},
    {"image of 204799 bytes of text", image(app + std::string(204799 - app.size(), ' '))},
    {"715 rules", withTuples(715)},
    {"714 rules", withTuples(714)},
    {"65 types", withTypes(65)},
    {"64 types", withTypes(64)},
    {"value of 512 bytes", edit(app, "<name>n", "<name>" + std::string(512, 'n'))},
    {"text in Latin-1", edit(app, "<name>n", "<name>\xFC")},
    {"text of 1 MiB", "<" + std::string(mebibyte - 1, ' ')},
    {"text of more than 1 MiB", "<x>" + std::string(mebibyte, ' ') + "</x>"},
    {"text with a comment of 2 MiB", "<!--" + std::string(2 * mebibyte, ' ') + "-->" + app},
    {"text in UTF-16", std::string("\xFF\xFE<\0a\0/\0>\0", 10)},
    {"container of 4 MiB", container(1, entry(1, std::string(mebibytes4 - 25, 'x')))},
    {"container of more than 4 MiB", container(1, entry(1, std::string(mebibytes4 - 24, 'x')))}};

// A line of the list: one of the files; or a text, from its first bracket on; or an edit, as of
// sed, of an image with both databases: of the second when it does not change the first.
static std::string fileOf(const std::string &input)
{
    if (input[0] == '<') {
        return input;
    }
    const size_t to = input.find('~', 2) + 1;
    if (input.compare(0, 2, "s~") != 0) {
        return files.at(input);
    }
    const std::string pattern = input.substr(2, to - 3);
    const std::string replacement = input.substr(to, input.size() - to - 1);
    const std::string first = edit(app, pattern, replacement);
    return imageOfBoth(first, first != app ? sorts : edit(sorts, pattern, replacement));
}

static std::string reportOn(const std::string &file)
{
    std::deque<check::Source> sources;
    check::checkFiles({{"db", file}}, sources);
    return check::reportAsText(sources, {}, false).text;
}

// The findings in a report, without the lines that show their places: of each check the first, and
// how many there are if there are more.
static std::string findingsIn(const std::string &report)
{
    static const std::regex finding("(^|\\n)db:(.*) (\\[[a-z0-9-]+\\])(?=\\n)");
    std::string all;
    std::map<std::string, int> found;
    for (std::sregex_iterator next(report.begin(), report.end(), finding), end; next != end;
         ++next) {
        if (found[(*next)[3]]++ == 0) {
            all += (all.empty() ? "" : "; ") + (*next)[2].str() + " " + (*next)[3].str();
        }
    }
    for (const auto &[check, count] : found) {
        all += count > 1 ? "; " + std::to_string(count) + " " + check : "";
    }
    return all;
}

TEST(Check, FindsWhatIsListed)
{
    std::string found;
    expectListed("findings.txt", [&](const std::string &input) {
        std::string findings = findingsIn(reportOn(fileOf(input)));
        found += "\n" + input + findings;
        return findings;
    });
    for (const auto &[name, file] : files) {
        EXPECT_NE(found.find("\n" + name), found.npos) << name << " is not listed";
    }
    const std::string page = contents(TARN_SOURCE "/docs/check.md");
    for (const check::CheckDescription &check : check::allChecks()) {
        const std::string name = check.name;
        const char *const word = check.severity == check::Severity::Error ? "Error" : "Warning";
        EXPECT_NE(found.find("[" + name + "]"), found.npos) << name << " is not found";
        EXPECT_NE(page.find("### " + name + "\n\n**" + word + ".** " + check.sentence), page.npos)
            << name << " is not documented";
    }
}

TEST(Check, TellsWhyAnUpdateIsRejected)
{
    const std::string file = container(1, update());
    faults::countdown = UINT32_MAX;
    reportOn(file);
    faults::countdown = UINT32_MAX - faults::countdown; // the last allocation, for the update
    EXPECT_EQ(reportOn(file),
              "db:1:1: error: the update fails: [Error](appmngr_db_writeAppDbFromDatabase) "
              "2753: alloc memory fail [loader-line]\n1 error, 0 warnings\n");
}

// tarn-db-tool as its users run it. What README.md and the manual page show is tested there.

#include "check/database.h"
#include "check/failure.h"
#include "loader/loader.h"
#include "tests/program.h"
#include "tests/update_file.h"
#include "tool/file.h"

const std::string app =
    "<AppDB><ver>1.2.3</ver><appList><app><id>7</id><name>Bird \"Call\"</name><typeIdList>"
    "<typeId>3</typeId></typeIdList><ruleList><rule><tupleList><tuple>tcp 0:9 10.1.1.10:443"
    "</tuple></tupleList><ori><dpiType>half-character\xC3\xA9</dpiType></ori></rule></ruleList>"
    "<dnsKwList><dnsKw>lark</dnsKw><dnsKw>bird</dnsKw><dnsKw>bird</dnsKw></dnsKwList></app>"
    "</appList><appTypeList><appType><id>3</id><name>Voice</name></appType></appTypeList></AppDB>";

const std::string sorts =
    "<AppSortDB><ver>1.2.0</ver><expired>2030-12-31</expired><sortNum>2</sortNum>"
    "<appNum>1</appNum><sortList><sort><id>1</id><name>Calls</name><prio>7</prio><type>2</type>"
    "<appList><app><appId>7</appId><appName>Bird</appName><appType>5</appType></app></appList>"
    "</sort><sort><type>9</type></sort></sortList></AppSortDB>";

// What the device finds in the image.
static std::string loaded(std::string image)
{
    image.resize(APPMNGR_IMAGE_SIZE);
    std::string text(check::applicationDatabase.textLimit + 1, '#');
    auto length = static_cast<uint32_t>(text.size());
    appmngr_unpackImage(text.data(), &length, reinterpret_cast<unsigned char *>(image.data()));
    return text.substr(0, length);
}

TEST(Tool, PacksWhatTheDeviceFinds)
{
    for (const std::string &text : {std::string(), noise(64500), noise(204799, 4)}) {
        EXPECT_EQ(loaded(check::packDatabase({"text", text}, check::applicationDatabase)), text)
            << text.size();
    }
}

static int resultOfFsync;

extern "C" int __wrap_fsync(int)
{
    return resultOfFsync;
}

TEST(Tool, ReplacesAFileWholeOrNotAtAll)
{
    enterFolder("tool_test.output");
    tool::writeFile("app.xml", app);
    tool::writeFile("noise", noise(64000));
    tool::writeFile("old.img", "old");
    std::filesystem::permissions("old.img", std::filesystem::perms{04750});
    std::filesystem::create_symlink("old.img", "link.img");
    // The limit would cut off the counts of the coverage as well.
    EXPECT_EQ(
        run("ulimit -f 1; trap '' XFSZ; TARN_COUNTS=/dev/null tarn-db-tool pack noise -o old.img"),
        1);
    resultOfFsync = -1;
    EXPECT_THROW(tool::writeFile("old.img", "new"), check::Failure);
    resultOfFsync = 0;
    EXPECT_EQ(contents("old.img"), "old");
    EXPECT_EQ(run("tarn-db-tool pack app.xml -o link.img; ls | grep -F img."), 1);
    EXPECT_TRUE(std::filesystem::is_symlink("link.img"));
    EXPECT_EQ(loaded(contents("old.img")), app);
    EXPECT_EQ(std::filesystem::status("old.img").permissions(), std::filesystem::perms{0750});
    EXPECT_EQ(run("umask 013; tarn-db-tool pack app.xml -o new.img"), 0);
    EXPECT_EQ(std::filesystem::status("new.img").permissions(), std::filesystem::perms{0664});
}

// A character that does not fit its field whole is replaced.
#define CUT "half-character\xEF\xBF\xBD"
#define RULES                                                                                     \
    R"([{"appId":7,"proto":"tcp","sip":"0","sport":9,"dip":"10.1.1.10","dport":443,)"             \
    R"("orig":{"enable":0,"start":0,"end":0,"minlength":0,"dpiType":")" CUT R"(","dpiCode":""},)" \
    R"("reply":{"enable":0,"start":0,"end":0,"minlength":0,"dpiType":"","dpiCode":""}}])"

const ProgramCase cases[] = {
    {"", 2, "", "...tarn-db-tool: A subcommand is required\n"},
    {"pack app.xml -o old.img --priority sorts.xml"},
    {"pack new.xml --output new.img --priority newsorts.xml"},
    {"unpack --priority - <old.img | cmp - sorts.xml"},
    {"unpack old.img >/dev/full", 1, "", "...standard output: No space left"},
    {"show old.img >/dev/full", 1, "", "...standard output: No space left"},
    {"show old.img >&-", 1, "", "...standard output: Bad file descriptor"},
    {"show - <&-", 1, "", "...standard input: Bad file descriptor"},
    {"--help >/dev/full", 1, "", "...standard output: No space left"},
    {"pack app.xml -o closed.img <&- >&- 2>&- && tarn-db-tool unpack closed.img | cmp - app.xml"},
    {"pack no.xml -o no.img", 1, "", "...tarn-db-tool: no.xml: No such file"},
    {"pack app.xml -o /dev/full", 1, "", "...tarn-db-tool: /dev/full: No space left"},
    {"pack app.xml -o part", 1, "", "...tarn-db-tool: part: Is a directory"},
    {"show part", 1, "", "...tarn-db-tool: part: Is a directory"},
    {"pack app.xml -o no/no.img", 1, "", "...: no/no.img: No such file"},
    {"pack - -o no.img <zeros", 1, "", "..., 1 more than the 204799 "},
    {"pack app.xml --priority zeros -o no.img", 1, "", "..., 139265 more "},
    {"pack noise -o no.img", 1, "", "...than the 65536 "},
    {"unpack /dev/null", 1, "", "...has no application database at offset 0"},
    {"pack app.xml -o - | head -c 30 | tarn-db-tool unpack -", 1, "", "...is cut off"},
    {"pack app.xml -o - | tr ']' '\\377' | tarn-db-tool unpack -", 1, "",
     "...is corrupt after 0 bytes"},

    {"bundle -o no.img --version 1.2.0", 2, "", "...tarn-db-tool: "},
    {"bundle -o no.img --app app.xml --version 1.2.256", 2, "", "...tarn-db-tool: "},
    {"bundle -o no.img --app app.xml --version 1.3.0", 2, "", "...tarn-db-tool: "},
    {"bundle --output up --priority sorts.xml --version 1.2.255 && tarn-db-tool check up", 0,
     "0 errors, 0 warnings\n"},
    {"bundle -o fit --app app.xml --priority fit.xml --version 1.2.0 && tarn-db-tool verify fit", 0,
     "...\nresult: APPMNGR_SUCCESS\n", "..."},
    {"bundle -o no.img --priority large.xml --version 1.2.0", 1, "",
     "...database takes 8 bytes more than the 65528 "},
    {"verify longest", 0, "file 0: type 1, 196575 bytes, ignored\nresult: APPMNGR_SUCCESS\n",
     "file index:0\r\n"},
    {"verify longer", 1, "result: APPMNGR_ERR_FILE_INVALID_LEN\n"},
    {"verify fmt.xml", 1, "result: APPMNGR_ERR_FILE_INVALID_LEN\n"},
    {"verify - <old.img", 1, "result: APPMNGR_ERR_FILE_CHECK\n",
     "[Error](appmngr_db_writeFromDatabase) 2873: MD5 error!\r\n"},
    {"verify --json " TARN_SOURCE "/tests/data/container.bin | compact", 0,
     R"({"files":[{"type":0,"size":56,"ignored":false,"version":"1.2.7","length":17,)"
     R"("magic":"0x04000001"},{"type":1,"size":7,"ignored":true},{"type":3,"size":48,)"
     R"("ignored":false,"version":"9.9.9","length":14,"magic":"0x00000000"}],)"
     R"("result":"APPMNGR_SUCCESS"})",
     "...file index:0"},
    {"seal - - <app.xml | tee sealed | tarn-db-tool unseal - back && cmp -n 12 back app.xml &&"
     " stat -c %s app.xml sealed back",
     0, "431\n448\n432\n"},
    {"seal - sealed < <(head -c 16382 large)"},
    {"seal large sealed", 255, "", "tarn-db-tool: large: not sealed, more than 16382 bytes\n"},

    {"check", 2, "", "...tarn-db-tool: FILE is required\n"},
    {"check --rules", 0, "...bad-tuple           error    A tuple is"},
    {"check new.img", 0, "...^\n0 errors, 2 warnings\n"},
    {"check --werror - <new.img", 1,
     "...standard input:1:313: error: application database: no application has the type 3"},
    {"check --json --werror new.img", 1, "...\"database\": \"priority database\",\n"},
    {"check --json bad.xml", 1,
     "...\"rule\": \"wrong-root\",\n      \"message\": \"the top element is 'AppDB\xEF\xBF\xBD', "
     "not"},

    {"unpack old.img | sed s/tcp/sctp/ | tarn-db-tool pack - -o sctp.img"},
    {"show sctp.img", 0, "...======================\nApplication Database\n",
     "..._appmngr_xmlnode_handler_tuple) 1280: appmngr_utils_str2proto failed!"},
    {"rules - 7 <old.img | grep Dest", 0,
     "Destination IP:          10.1.1.10\nDestination Port:        443\n"},
    {"rules old.img 8", 1, "", "tarn-db-tool: old.img: has no application 8\n"},
    {"types old.img | sed -n 4p", 0, "index =     0, id =      3, name = [Voice]\n"},
    {"export old.img && grep dport database.json", 0,
     "\"sip\":0, \"dip\":167837962, \"sport\":9, \"dport\":443,\n"},
    {"export old.img -C part && cmp database.json part/database.json"},
    {"fmt --compact - <fmt.xml | tee compact.xml && tarn-db-tool fmt compact.xml", 0,
     "<a><b/></a><a>\n  <b/>\n</a>\n"},
    {"unpack old.img | sed 's/.tuple>.*tuple>//' | tarn-db-tool pack - -o bad.img --priority "
     "fmt.xml"},
    {"show bad.img", 1, "", "...bad.img: the application database cannot be loaded"},
    {"priority bad.img", 1, "", "...bad.img: the priority database cannot be loaded"},
    {"fmt zeros 2>&-", 1},
    {"fmt zeros", 1, "", "...tarn-db-tool: zeros: cannot be parsed\n"},
    {"apps --json old.img | compact", 0,
     R"({"applications":[{"id":7,"visible":0,"name":"Bird \"Call\""}]})"},
    {"rules --json - 7 <old.img | compact", 0,
     R"({"id":7,"name":"Bird \"Call\"","rules":)" RULES "}"},
    {"priority --json --map old.img | compact", 0,
     R"({"ver":"1.2.0","proModel":"","expired":"2030-12-31","sorts":[{"id":1,"type":2,)"
     R"("name":"Calls","prio":7,"applications":[{"appId":7,"appType":5,"appName":"Bird"}]},)"
     R"({"id":0,"type":9,"name":"","prio":0,"applications":[]}],)"
     R"("map":[{"appId":7,"priority":7}]})"},
    {"messages --json old.img | compact", 0,
     R"({"messages":[{"nlmsg_len":660,"nlmsg_type":19,"nlmsg_flags":1,"nlmsg_seq":0,)"
     R"("nlmsg_pid":0,"op":0,"count":1,"record_size":596,"records":)" RULES
     R"(},{"nlmsg_len":124,"nlmsg_type":21,"nlmsg_flags":1,"nlmsg_seq":0,"nlmsg_pid":0,"op":0,)"
     R"("count":3,"record_size":20,"records":[{"appId":7,"keyword":"lark"},)"
     R"({"appId":7,"keyword":"bird"},{"appId":7,"keyword":"bird"}]}]})"},
    {"messages --raw part old.img; tail -c16 part/21* | head -c4; wc -c <part/19*", 0, "bird660\n"},
    {"messages --priority --raw part old.img; od -An -tu4 -w28 -N28 part/20-priorities.bin", 0,
     "       4160      65556          0          0          0       4096          1\n"},
    {"messages --raw raw old.img; ls raw", 0, "21-keywords.bin\n",
     "...raw/21-keywords.bin: is no regular file"},

    {"diff old.img new.img", 1,
     "~ header\n    ver             \"1.2.3\" -> \"1.2\"\n"
     "~ type           3  \"Voice\"\n"
     "    applications    [7] -> []\n"
     "~ rule           7  tcp 0:9 10.1.1.10:443\n"
     "    orig.dpiType    \"" CUT "\" -> \"\"\n"
     "+ rule           7  udp 0:0 0:0\n"
     "- keyword        7  \"bird\"\n"},
    {"diff --json old.img new.img | compact", 1,
     R"(...{"ver":"1.2","proModel":"","expired":""}},{"change":"changed","kind":"type","id":3,)"
     R"("old":{"name":"Voice","applications":[7]},"new":{"name":"Voice","applications":[]}},)"},
    {"diff --json - old.img <old.img | compact", 0, R"({"same":true,"changes":[]})"},
    {"diff old.img none", 2, "", "...tarn-db-tool: none: No such file"},
    {"diff - - <old.img", 2, "", "...standard input: is there for one file only"},
    {"diff old.img new.img >/dev/full", 2, "", "...standard output: No space left"}};

const ProgramCase colours[] = {
    {"-h >/dev/null; for no in '' 1; do"
     " NO_COLOR=$no script -qc 'tarn-db-tool diff old.img new.img' /dev/null | tail -1; done",
     0, "\033[31m- keyword        7  \"bird\"\033[0m\r\n- keyword        7  \"bird\"\r\n"}};

TEST(Tool, Subcommands)
{
    enterFolder("tool_test");
    std::filesystem::create_directories("raw/21-keywords.bin");
    std::filesystem::create_directory("part");
    const std::pair<const char *, std::string> files[] = {
        {"app.xml", app},
        {"sorts.xml", sorts},
        {"newsorts.xml", edit(sorts, ">7</p", ">-1</p")},
        {"new.xml",
         edit(edit(app, "<typeId>.*</typeId>|<ori>.*</ori>|<dnsKw>bird</dnsKw>(?=<d)|\\.3(?=</v)",
                   ""),
              "</tuple>", "$&<tuple>udp 0:0 0:0$&")},
        {"bad.xml", "<AppDB\xFF/>"},
        {"fmt.xml", "<a> <b></b></a>"},
        {"zeros", std::string(204800, '\0')},
        {"noise", noise(66000)},
        {"longest", container(1, entry(1, std::string(196575, 'x')))},
        {"longer", container(1, entry(1, std::string(196576, 'x')))},
        {"large", std::string(16383, 'x')}};
    for (const auto &[name, text] : files) {
        tool::writeFile(name, text);
    }
    // The largest database that a container takes, and one of a few bytes more.
    std::string text = noise(64580);
    while (check::packDatabase({"", text}, check::priorityDatabase).size() > 65500) {
        text.pop_back();
    }
    tool::writeFile("fit.xml", text);
    tool::writeFile("large.xml", text + "!?+-!?+-");
    expectRuns("compact() { sed 's/^ *//; s/\": /\":/' | tr -d '\\n'; }; tarn-db-tool ", cases);
    if (run("script -qc true /dev/null") == 0) { // there is a terminal to be had
        expectRuns("tarn-db-tool ", colours);
    }
    EXPECT_FALSE(std::filesystem::exists("no.img"));
}

// tarn-db-tool as its users run it, a test a subcommand. What README.md and the manual page show is
// tested there.

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

// The same with less of one application, another rule and another priority.
const std::string newApp =
    edit(edit(app, "<typeId>.*</typeId>|<ori>.*</ori>|<dnsKw>bird</dnsKw>(?=<d)|\\.3(?=</v)", ""),
         "</tuple>", "$&<tuple>udp 0:0 0:0$&");
const std::string newSorts = edit(sorts, ">7</p", ">-1</p");

// How the rule is listed: a character that does not fit its field whole is replaced.
const std::string cutType = "half-character\xEF\xBF\xBD";
const std::string rules =
    R"([{"appId":7,"proto":"tcp","sip":"0","sport":9,"dip":"10.1.1.10","dport":443,)"
    R"("orig":{"enable":0,"start":0,"end":0,"minlength":0,"dpiType":")" +
    cutType +
    R"(","dpiCode":""},"reply":{"enable":0,"start":0,"end":0,"minlength":0,"dpiType":"",)"
    R"("dpiCode":""}}])";

static void write(const std::string &path, const std::string &text)
{
    std::ofstream(path) << text;
}

// In a folder with the texts, and with images of the old and of the new ones.
struct Tool : testing::Test {
    void SetUp() override
    {
        enterFolder("tool_test");
        write("app.xml", app);
        write("sorts.xml", sorts);
        write("new.xml", newApp);
        write("newsorts.xml", newSorts);
        write("zeros", std::string(204800, '\0'));
        EXPECT_EQ(run("tarn-db-tool pack app.xml -o old.img --priority sorts.xml &&"
                      "tarn-db-tool pack new.xml --output new.img --priority newsorts.xml"),
                  0);
    }

    // An output file of what fails is named no.img.
    void TearDown() override
    {
        EXPECT_FALSE(std::filesystem::exists("no.img"));
    }

    // In the commands, "compact" makes one line of a JSON document.
    static void expectRuns(const std::string &subcommand, const std::vector<ProgramCase> &cases)
    {
        const char *const compact = "compact() { sed 's/^ *//; s/\": /\":/' | tr -d '\\n'; }; ";
        ::expectRuns(compact + ("tarn-db-tool " + subcommand), cases);
    }
};

// What the device finds in the image.
static std::string textIn(std::string image)
{
    image.resize(APPMNGR_IMAGE_SIZE);
    std::string text(204800, '#');
    auto length = static_cast<uint32_t>(text.size());
    appmngr_unpackImage(text.data(), &length, reinterpret_cast<unsigned char *>(image.data()));
    return text.substr(0, length);
}

static int resultOfFsync;

extern "C" int __wrap_fsync(int)
{
    return resultOfFsync;
}

TEST_F(Tool, ReplacesAFileWholeOrNotAtAll)
{
    using std::filesystem::perms, std::filesystem::status;
    write("noise", noise(64000));
    write("old.img", "old");
    std::filesystem::permissions("old.img", perms{04750});
    std::filesystem::create_symlink("old.img", "link.img");
    // With counts of what is reached, they would be cut off as well.
    EXPECT_EQ(run("export COUNTS=$PWD; ulimit -f 1; trap '' XFSZ; tarn-db-tool pack noise "
                  "-o old.img"),
              1);
    resultOfFsync = -1;
    EXPECT_ANY_THROW(tool::writeFile("old.img", "new"));
    resultOfFsync = 0;
    EXPECT_EQ(contents("old.img"), "old");
    EXPECT_EQ(run("tarn-db-tool pack app.xml -o link.img; ls | grep -F img."), 1);
    EXPECT_TRUE(std::filesystem::is_symlink("link.img"));
    EXPECT_EQ(textIn(contents("old.img")), app);
    EXPECT_EQ(status("old.img").permissions(), perms{0750});
    EXPECT_EQ(run("umask 013; tarn-db-tool pack app.xml -o created.img"), 0);
    EXPECT_EQ(status("created.img").permissions(), perms{0664});
}

TEST_F(Tool, needsASubcommandAndSaysWhatCannotBeWrittenOrRead)
{
    expectRuns("", {{"", 2, "", "...tarn-db-tool: A subcommand is required\n"},
                    {"--help >/dev/full", 1, "", "...standard output: No space left"},
                    {"show old.img >/dev/full", 1, "", "...standard output: No space left"},
                    {"show old.img >&-", 1, "", "...standard output: Bad file descriptor"},
                    {"show - <&-", 1, "", "...standard input: Bad file descriptor"},
                    {"show .", 1, "", "...tarn-db-tool: .: Is a directory"}});
}

TEST_F(Tool, packMakesAnImageThatTheDeviceReads)
{
    for (const std::string &text : {std::string(), noise(64500), noise(204799, 4)}) {
        write("text", text);
        EXPECT_EQ(run("tarn-db-tool pack text -o text.img"), 0);
        EXPECT_EQ(textIn(contents("text.img")), text) << text.size();
    }
    write("noise", noise(66000));
    expectRuns("pack",
               {{"app.xml -o any.img <&- >&- 2>&- && tarn-db-tool unpack any.img | cmp - app.xml"},
                {"none.xml -o no.img", 1, "", "...tarn-db-tool: none.xml: No such file"},
                {"app.xml -o /dev/full", 1, "", "...tarn-db-tool: /dev/full: No space left"},
                {"app.xml -o .", 1, "", "...tarn-db-tool: .: Is a directory"},
                {"app.xml -o none/no.img", 1, "", "...: none/no.img: No such file"},
                {"- -o no.img <zeros", 1, "", "..., 1 more than the 204799 "},
                {"app.xml --priority zeros -o no.img", 1, "", "..., 139265 more "},
                {"noise -o no.img", 1, "", "...than the 65536 "}});
}

TEST_F(Tool, unpackWritesTheText)
{
    expectRuns("unpack",
               {{"--priority - <old.img | cmp - sorts.xml"},
                {"old.img >/dev/full", 1, "", "...standard output: No space left"},
                {"/dev/null", 1, "", "...has no application database at offset 0"},
                {"- < <(head -c 30 old.img)", 1, "", "...is cut off"},
                {"- < <(tr ']' '\\377' <old.img)", 1, "", "...is corrupt after 0 bytes"}});
}

TEST_F(Tool, bundleMakesAContainer)
{
    // The largest database that a container takes, and one of a few bytes more.
    std::string text = noise(64580);
    do {
        text.pop_back();
        write("fit.xml", text);
        EXPECT_EQ(run("tarn-db-tool pack fit.xml -o fit.img"), 0);
    } while (std::filesystem::file_size("fit.img") > 65500);
    write("large.xml", text + "!?+-!?+-");
    expectRuns(
        "bundle",
        {{"-o no.img --version 1.2.0", 2, "", "...tarn-db-tool: "},
         {"-o no.img --app app.xml --version 1.2.256", 2, "", "...tarn-db-tool: "},
         {"-o no.img --app app.xml --version 1.3.0", 2, "", "...tarn-db-tool: "},
         {"--output up --priority sorts.xml --version 1.2.255 && tarn-db-tool check up", 0,
          "0 errors, 0 warnings\n"},
         {"-o fit --app app.xml --priority fit.xml --version 1.2.0 && tarn-db-tool verify fit", 0,
          "...\nresult: APPMNGR_SUCCESS\n", "..."},
         {"-o no.img --priority large.xml --version 1.2.0", 1, "",
          "...database takes 8 bytes more than the 65528 "}});
}

TEST_F(Tool, verifyTellsWhatTheDeviceSaysOfAContainer)
{
    write("longest", container(1, entry(1, std::string(196575, 'x'))));
    write("longer", container(1, entry(1, std::string(196576, 'x'))));
    expectRuns("verify",
               {{"longest", 0, "file 0: type 1, 196575 bytes, ignored\nresult: APPMNGR_SUCCESS\n",
                 "file index:0\r\n"},
                {"longer", 1, "result: APPMNGR_ERR_FILE_INVALID_LEN\n"},
                {"- <<<text", 1, "result: APPMNGR_ERR_FILE_INVALID_LEN\n"},
                {"- <old.img", 1, "result: APPMNGR_ERR_FILE_CHECK\n",
                 "[Error](appmngr_db_writeFromDatabase) 2873: MD5 error!\r\n"},
                {"--json " TARN_SOURCE "/tests/data/container.bin | compact", 0,
                 R"({"files":[{"type":0,"size":56,"ignored":false,"version":"1.2.7","length":17,)"
                 R"("magic":"0x04000001"},{"type":1,"size":7,"ignored":true},{"type":3,"size":48,)"
                 R"("ignored":false,"version":"9.9.9","length":14,"magic":"0x00000000"}],)"
                 R"("result":"APPMNGR_SUCCESS"})",
                 "...file index:0"}});
}

TEST_F(Tool, sealCanBeUndone)
{
    write("large", std::string(16383, 'x'));
    expectRuns("seal", {{"- - <app.xml | tee sealed | tarn-db-tool unseal - back &&"
                         " cmp -n 12 back app.xml && stat -c %s app.xml sealed back",
                         0, "431\n448\n432\n"},
                        {"- sealed < <(head -c 16382 large)"},
                        {"large sealed", 255, "",
                         "tarn-db-tool: large: not sealed, more than 16382 bytes\n"}});
}

TEST_F(Tool, checkListsFindings)
{
    write("bad.xml", "<AppDB\xFF/>");
    expectRuns("check",
               {{"", 2, "", "...tarn-db-tool: FILE is required\n"},
                {"--rules", 0, "...bad-tuple           error    A tuple is"},
                {"new.img", 0, "...^\n0 errors, 2 warnings\n"},
                {"--werror - <new.img", 1,
                 "...standard input:1:313: error: application database: no application has the "
                 "type 3"},
                {"--json --werror new.img", 1, "...\"database\": \"priority database\",\n"},
                {"--json bad.xml", 1,
                 "...\"rule\": \"wrong-root\",\n      \"message\": \"the top element is "
                 "'AppDB\xEF\xBF\xBD', not"}});
}

TEST_F(Tool, showPrintsTheTablesThatTheDeviceFills)
{
    write("bad.xml", edit(app, "<tuple>.*tuple>", ""));
    write("sctp.xml", edit(app, "tcp", "sctp"));
    EXPECT_EQ(run("tarn-db-tool pack sctp.xml -o sctp.img &&"
                  "tarn-db-tool pack bad.xml -o bad.img --priority bad.xml"),
              0);
    expectRuns(
        "",
        {{"show sctp.img", 0, "...======================\nApplication Database\n",
          "..._appmngr_xmlnode_handler_tuple) 1280: appmngr_utils_str2proto failed!"},
         {"show bad.img", 1, "", "...bad.img: the application database cannot be loaded"},
         {"priority bad.img", 1, "", "...bad.img: the priority database cannot be loaded"},
         {"priority --json --map old.img | compact", 0,
          R"({"ver":"1.2.0","proModel":"","expired":"2030-12-31","sorts":[{"id":1,"type":2,)"
          R"("name":"Calls","prio":7,"applications":[{"appId":7,"appType":5,"appName":"Bird"}]},)"
          R"({"id":0,"type":9,"name":"","prio":0,"applications":[]}],)"
          R"("map":[{"appId":7,"priority":7}]})"},
         {"types old.img | sed -n 4p", 0, "index =     0, id =      3, name = [Voice]\n"},
         {"apps --json old.img | compact", 0,
          R"({"applications":[{"id":7,"visible":0,"name":"Bird \"Call\""}]})"}});
}

TEST_F(Tool, rulesAreThoseOfAnApplication)
{
    expectRuns("rules", {{"- 7 <old.img | grep Dest", 0,
                          "Destination IP:          10.1.1.10\nDestination Port:        443\n"},
                         {"old.img 8", 1, "", "tarn-db-tool: old.img: has no application 8\n"},
                         {"--json - 7 <old.img | compact", 0,
                          R"({"id":7,"name":"Bird \"Call\"","rules":)" + rules + "}"}});
}

TEST_F(Tool, exportWritesIntoAFolder)
{
    std::filesystem::create_directory("part");
    expectRuns("export", {{"old.img && grep dport database.json", 0,
                           "\"sip\":0, \"dip\":167837962, \"sport\":9, \"dport\":443,\n"},
                          {"old.img -C part && cmp database.json part/database.json"}});
}

TEST_F(Tool, fmtIndentsOrCompacts)
{
    write("fmt.xml", "<a> <b></b></a>");
    expectRuns("fmt", {{"--compact - <fmt.xml | tee compact.xml && tarn-db-tool fmt compact.xml", 0,
                        "<a><b/></a><a>\n  <b/>\n</a>\n"},
                       {"zeros 2>&-", 1},
                       {"zeros", 1, "", "...tarn-db-tool: zeros: cannot be parsed\n"}});
}

TEST_F(Tool, messagesAreThoseThatTheKernelGets)
{
    std::filesystem::create_directory("part");
    std::filesystem::create_directories("raw/21-keywords.bin");
    expectRuns(
        "messages",
        {{"--json old.img | compact", 0,
          R"({"messages":[{"nlmsg_len":660,"nlmsg_type":19,"nlmsg_flags":1,"nlmsg_seq":0,)"
          R"("nlmsg_pid":0,"op":0,"count":1,"record_size":596,"records":)" +
              rules +
              R"(},{"nlmsg_len":124,"nlmsg_type":21,"nlmsg_flags":1,"nlmsg_seq":0,"nlmsg_pid":0,)"
              R"("op":0,"count":3,"record_size":20,"records":[{"appId":7,"keyword":"lark"},)"
              R"({"appId":7,"keyword":"bird"},{"appId":7,"keyword":"bird"}]}]})"},
         {"--raw part old.img; tail -c16 part/21* | head -c4; wc -c <part/19*", 0, "bird660\n"},
         {"--priority --raw part old.img; od -An -tu4 -w28 -N28 part/20-priorities.bin", 0,
          "       4160      65556          0          0          0       4096          1\n"},
         {"--raw raw old.img; ls raw", 0, "21-keywords.bin\n",
          "...raw/21-keywords.bin: is no regular file"}});
}

TEST_F(Tool, diffTellsWhatChanged)
{
    expectRuns(
        "diff",
        {{"old.img new.img", 1,
          "~ header\n    ver             \"1.2.3\" -> \"1.2\"\n~ type           3  \"Voice\"\n"
          "    applications    [7] -> []\n~ rule           7  tcp 0:9 10.1.1.10:443\n"
          "    orig.dpiType    \"" +
              cutType +
              "\" -> \"\"\n+ rule           7  udp 0:0 0:0\n- keyword        7  \"bird\"\n"},
         {"--json old.img new.img | compact", 1,
          R"(...{"ver":"1.2","proModel":"","expired":""}},{"change":"changed","kind":"type","id":3,)"
          R"("old":{"name":"Voice","applications":[7]},"new":{"name":"Voice","applications":[]}},)"},
         {"--json - old.img <old.img | compact", 0, R"({"same":true,"changes":[]})"},
         {"old.img none", 2, "", "...tarn-db-tool: none: No such file"},
         {"- - <old.img", 2, "", "...standard input: is there for one file only"},
         {"old.img new.img >/dev/full", 2, "", "...standard output: No space left"}});
    if (run("script -qc true /dev/null") == 0) { // there is a terminal to be had
        expectRuns("-h >/dev/null; for no in '' 1; do NO_COLOR=$no script -qc",
                   {{"'tarn-db-tool diff old.img new.img' /dev/null | tail -1; done", 0,
                     "\033[31m- keyword        7  \"bird\"\033[0m\r\n"
                     "- keyword        7  \"bird\"\r\n"}});
    }
}

// The subcommands of tarn-db-tool that show what an image or a document holds.

#include "tests/program.h"
#include "tool/file.h"
#include "tool/image.h"

namespace
{

const char *const oldDatabase =
    "<AppDB><ver>1.2.3</ver><appList><app><id>7</id><name>Bird \"Call\"</name><typeIdList>"
    "<typeId>3</typeId></typeIdList><ruleList><rule><tupleList><tuple>tcp 0:0 10.1.1.10:443"
    "</tuple><tuple>udp 0:9 0:0</tuple></tupleList><ori><dpiType>half-character\xC3\xA9</dpiType>"
    "</ori></rule></ruleList><dnsKwList><dnsKw>bird</dnsKw><dnsKw>bird</dnsKw></dnsKwList></app>"
    "</appList><appTypeList><appType><id>3</id><name>Voice</name></appType></appTypeList></AppDB>";

const char *const newDatabase =
    "<AppDB><ver>1.2.4</ver><appList><app><id>8</id></app><app><id>7</id><name>Bird</name>"
    "<ruleList><rule><tupleList><tuple>tcp 0:0 10.1.1.10:443</tuple></tupleList></rule>"
    "</ruleList><dnsKwList><dnsKw>bird</dnsKw><dnsKw>lark</dnsKw></dnsKwList></app></appList>"
    "<appTypeList><appType><id>3</id><name>Voice</name></appType></appTypeList></AppDB>";

const char *const sorts =
    "<AppSortDB><ver>1.2.0</ver><expired>2030-12-31</expired><sortNum>1</sortNum>"
    "<appNum>1</appNum><sortList><sort><id>1</id><name>Calls</name><prio>7</prio><type>2</type>"
    "<appList><app><appId>7</appId><appName>Bird</appName><appType>5</appType></app></appList>"
    "</sort></sortList></AppSortDB>";

#define FEATURE(TYPE) \
    R"({"enable":0,"start":0,"end":0,"minlength":0,"dpiType":")" TYPE R"(","dpiCode":""})"
// A character that does not fit its field whole is replaced.
#define CUT "half-character\xEF\xBF\xBD"
#define RULE(PROTO, SPORT, DIP, DPORT)                                                \
    R"({"appId":7,"proto":")" PROTO R"(","sip":"0","sport":)" SPORT R"(,"dip":")" DIP \
    R"(","dport":)" DPORT R"(,"orig":)" FEATURE(CUT) R"(,"reply":)" FEATURE("") "}"
#define RULES "[" RULE("tcp", "0", "10.1.1.10", "443") "," RULE("udp", "9", "0", "0") "]"

const ProgramCase cases[] = {
    {"unpack old.img | sed s/udp/sctp/ | tarn-db-tool pack - -o sctp.img"},
    {"show sctp.img", 0, "...======================\nApplication Database\n",
     "..._appmngr_xmlnode_handler_tuple) 1280: appmngr_utils_str2proto failed!"},
    {"rules - 7 <old.img | grep Dest | head -2", 0,
     "Destination IP:          10.1.1.10\nDestination Port:        443\n"},
    {"rules old.img 8", 1, "", "tarn-db-tool: old.img: has no application 8\n"},
    {"rules old.img -1", 2, "", "...-1"},
    {"apps old.img | sed -n 4p", 0,
     "index =     0, appid =     7, visiable = [0], name = [Bird \"Call\"]\n"},
    {"types old.img | sed -n 4p", 0, "index =     0, id =      3, name = [Voice]\n"},
    {"export old.img && grep dport database.json | head -1", 0,
     "\"sip\":0, \"dip\":167837962, \"sport\":0, \"dport\":443,\n"},
    {"export old.img -C part && cmp database.json part/database.json"},
    {"export old.img -C none", 1, "", "...tarn-db-tool: none/database.json: No such file"},
    {"export empty.xml", 1, "", "...tarn-db-tool: empty.xml: has no application database"},
    {"fmt fmt.xml", 0, "<a>\n  <b/>\n</a>\n"},
    {"fmt --compact - <fmt.xml", 0, "<a><b/></a>"},
    {"fmt empty.xml", 1, "", "...tarn-db-tool: empty.xml: cannot be parsed\n"},
    {"fmt fmt.xml >/dev/full", 1, "", "...standard output: No space left"},

    {"apps --json old.img | compact", 0,
     R"({"applications":[{"id":7,"visible":0,"name":"Bird \"Call\""}]})"},
    {"types --json old.img | compact", 0,
     R"({"types":[{"id":3,"name":"Voice","applications":[7]}]})"},
    {"rules --json - 7 <old.img | compact", 0,
     R"({"id":7,"name":"Bird \"Call\"","rules":)" RULES "}"},
    {"priority --json --map old.img | compact", 0,
     R"({"ver":"1.2.0","proModel":"","expired":"2030-12-31","sorts":[{"id":1,"type":2,)"
     R"("name":"Calls","prio":7,"applications":[{"appId":7,"appType":5,"appName":"Bird"}]}],)"
     R"("map":[{"appId":7,"priority":7}]})"},
    {"verify --json old.img | compact", 0, R"({"files":[],"result":"APPMNGR_ERR_FILE_CHECK"})",
     "...MD5 error"},
    {"verify --json " TARN_SOURCE "/tests/data/container.bin | compact", 0,
     R"({"files":[{"type":0,"size":56,"ignored":false,"version":"1.2.7","length":17,)"
     R"("magic":"0x04000001"},{"type":1,"size":7,"ignored":true},{"type":3,"size":48,)"
     R"("ignored":false,"version":"9.9.9","length":14,"magic":"0x00000000"}],)"
     R"("result":"APPMNGR_SUCCESS"})",
     "...file index:0"},

    {"messages --json old.img | compact", 0,
     R"({"messages":[{"nlmsg_len":1256,"nlmsg_type":19,"nlmsg_flags":1,"nlmsg_seq":0,)"
     R"("nlmsg_pid":0,"op":0,"count":2,"record_size":596,"records":)" RULES
     R"(},{"nlmsg_len":104,"nlmsg_type":21,"nlmsg_flags":1,"nlmsg_seq":0,"nlmsg_pid":0,"op":0,)"
     R"("count":2,"record_size":20,"records":[{"appId":7,"keyword":"bird"},)"
     R"({"appId":7,"keyword":"bird"}]}]})"},
    {"messages --priority old.img", 0,
     "Message 20: priority map, 4160 bytes\n"
     "  nlmsg_len 4160 nlmsg_type 20 nlmsg_flags 1 nlmsg_seq 0 nlmsg_pid 0 op 0 count 4096 "
     "record_size 1\n"
     "    appId 7     priority 7\n"},
    {"messages --raw raw old.img; ls raw", 0, "21-keywords.bin\n",
     "...raw/21-keywords.bin: is no regular file"},
    {"messages --raw none old.img", 1, "", "...none/19-rules.bin: No such file"},
    {"messages --raw . --json old.img", 2, "", "...excludes"},

    {"diff old.img new.img", 1,
     "~ header\n"
     "    ver             \"1.2.3\" -> \"1.2.4\"\n"
     "~ application    7  \"Bird\"\n"
     "    name            \"Bird \\\"Call\\\"\" -> \"Bird\"\n"
     "+ application    8  \"\"\n"
     "~ type           3  \"Voice\"\n"
     "    applications    [7] -> []\n"
     "~ rule           7  tcp 0:0 10.1.1.10:443\n"
     "    orig.dpiType    \"" CUT "\" -> \"\"\n"
     "- rule           7  udp 0:9 0:0\n"
     "- keyword        7  \"bird\"\n"
     "+ keyword        7  \"lark\"\n"},
    {"diff --json new.img old.img | compact | head -c 110", 0,
     R"({"same":false,"changes":[{"change":"changed","kind":"header",)"
     R"("old":{"ver":"1.2.4","proModel":"","expired":""},)"},
    {"diff - old.img <old.img"},
    {"diff --json old.img old.img | compact", 0, R"({"same":true,"changes":[]})"},
    {"diff old.img none", 2, "", "...tarn-db-tool: none: No such file"},
    {"diff - - <old.img", 2, "", "...standard input: is there for one file only"},
    {"diff old.img new.img >/dev/full", 2, "", "...standard output: No space left"},
    {"diff old.img", 2, "", "...NEW is required"},
    {"-h >/dev/null; script -qc 'tarn-db-tool diff old.img new.img' /dev/null | head -2", 0,
     "\033[33m~ header\r\n    ver             \"1.2.3\" -> \"1.2.4\"\033[0m\r\n"},
    {"-h >/dev/null; NO_COLOR=1 script -qc 'tarn-db-tool diff old.img new.img' /dev/null | head -1",
     0, "~ header\r\n"},
};

TEST(ToolInside, ShowsAndCompares)
{
    enterFolder("tool_inside_test");
    std::filesystem::create_directories("raw/21-keywords.bin");
    std::filesystem::create_directory("part");
    std::string image = tool::packDatabase({"old", oldDatabase}, tool::applicationDatabase);
    image.resize(tool::priorityDatabase.offset);
    tool::writeFile("old.img",
                    image + tool::packDatabase({"sorts", sorts}, tool::priorityDatabase));
    tool::writeFile("new.img", tool::packDatabase({"new", newDatabase}, tool::applicationDatabase));
    tool::writeFile("fmt.xml", "<a> <b></b></a>");
    tool::writeFile("empty.xml", "");
    expectRuns("compact() { sed 's/^ *//; s/\": /\":/' | tr -d '\\n'; }; tarn-db-tool ", cases);
}

} // namespace

// The subcommands of tarn-db-tool that show what an image or a document holds.

#include "tests/program.h"
#include "tool/file.h"
#include "tool/image.h"

namespace
{
const char *const database =
    "<AppDB><ver>1.2.3</ver><appList><app><id>7</id><name>Bird Call</name><visible>1</visible>"
    "<typeIdList><typeId>3</typeId></typeIdList><ruleList><rule><tupleList><tuple>"
    "tcp 0:0 10.1.1.10:443</tuple><tuple>sctp 0:0 0:0</tuple></tupleList></rule></ruleList>"
    "</app></appList><appTypeList><appType><id>3</id></appType></appTypeList></AppDB>";

const ProgramCase cases[] = {
    {"show db.img", 0, "======================\nApplication Database\n...",
     "_appmngr_xmlnode_handler_tuple) 1280: appmngr_utils_str2proto failed!"},
    {"rules - 7 <db.img | grep Dest", 0,
     "Destination IP:          10.1.1.10\nDestination Port:        443\n", "1280"},
    {"rules db.img 8", 1, "", "tarn-db-tool: db.img: has no application 8\n"},
    {"rules db.img -1", 2, "", "-1"},
    {"apps db.img | sed -n 4p", 0,
     "index =     0, appid =     7, visiable = [1], name = [Bird Call]\n", "1280"},
    {"types db.img | sed -n 4p", 0, "index =     0, id =      3, name = []\n", "1280"},
    {"export db.img && grep dport database.json", 0,
     "\"sip\":0, \"dip\":167837962, \"sport\":0, \"dport\":443,\n", "1280"},
    {"export db.img -C sub && cmp database.json sub/database.json", 0, "", "1280"},
    {"export db.img -C none", 1, "", "tarn-db-tool: none/database.json: No such file"},
    {"export empty.xml", 1, "", "tarn-db-tool: empty.xml: has no application database"},
    {"fmt fmt.xml", 0, "<a>\n  <b/>\n</a>\n", ""},
    {"fmt --compact - <fmt.xml", 0, "<a><b/></a>", ""},
    {"fmt empty.xml", 1, "", "tarn-db-tool: empty.xml: cannot be parsed\n"},
    {"fmt fmt.xml >/dev/full", 1, "", "standard output: No space left"},
};

TEST(ToolTables, ShowsWhatAnImageHolds)
{
    enterFolder("tool_tables_test");
    std::filesystem::create_directory("sub");
    tool::writeFile("db.img",
                    tool::packDatabase({"database", database}, tool::applicationDatabase));
    tool::writeFile("fmt.xml", "<a> <b></b></a>");
    tool::writeFile("empty.xml", "");
    expectRuns("tarn-db-tool ", cases);
}
} // namespace

#include "dbimage/dbimage_internal.h"
#include "tests/program.h"
#include "tool/file.h"
#include "tool/image.h"

namespace
{

void enterWithInput()
{
    enterFolder("tool_update_test");
    tool::writeFile("app.xml", "<AppDB/>");
    tool::writeFile("sort.xml", "<AppSortDB/>");
}

TEST(ToolUpdate, BundledDatabasesAreAccepted)
{
    enterWithInput();
    const std::string app = tool::packDatabase({"app", "<AppDB/>"}, tool::applicationDatabase);
    const std::string sort = tool::packDatabase({"sort", "<AppSortDB/>"}, tool::priorityDatabase);
    const std::string verified =
        "file 0: application database, version 1.2.255, length " + std::to_string(app.size() - 4) +
        ", magic 0x04000001\nfile 1: priority database, version 1.2.255, "
        "length " +
        std::to_string(sort.size() - 4) + ", magic 0x04000001\nresult: APPMNGR_SUCCESS\n";
    const ProgramCase cases[] = {
        {"bundle -o up --app app.xml --priority sort.xml --version 1.2.255", 0, "", ""},
        {"verify up", 0, verified.c_str(), "file index:1"},
    };
    expectRuns("tarn-db-tool ", cases);

    const std::string container = contents("up");
    char version[8];
    const auto size = static_cast<uint32_t>((16 + 16 + app.size() - 4 + 7) / 8 * 8);
    ASSERT_EQ(appmngr_db_writeAppDbFromDatabase(0, size, container.data() + 17 + 8, version), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(_appmngr_updateBuf) + 12, app.size()), app);
    _appmngr_freeUpdateBuf();
}

TEST(ToolUpdate, ExitStatusAndOutput)
{
    enterWithInput();
    tool::writeFile("large", std::string(16383, 'x'));
    tool::writeFile("damaged", contents("app.xml") + std::string(16, 'x'));
    const char *const usage = "tarn-db-tool: ";
    const ProgramCase cases[] = {
        {"bundle -o up --version 1.2.0", 2, "", usage},
        {"bundle -o up --app app.xml", 2, "", usage},
        {"bundle -o up --app app.xml --version 1.2.256", 2, "", usage},
        {"bundle -o up --app app.xml --version 1.2.", 2, "", usage},
        {"bundle -o up --app app.xml --version 1.3.0", 2, "", usage},
        {"bundle -o up --app none.xml --version 1.2.0", 1, "", "none.xml: No such file"},
        {"verify up", 1, "", "up: No such file"},
        {"bundle -o up --priority sort.xml --version 1.2.0", 0, "", ""},
        {"verify app.xml", 1, "result: APPMNGR_ERR_FILE_INVALID_LEN\n", ""},
        {"verify - <damaged", 1, "result: APPMNGR_ERR_FILE_CHECK\n",
         "[Error](appmngr_db_writeFromDatabase) 2873: MD5 error!\r\n"},
        {"seal app.xml sealed", 0, "", ""},
        {"unseal sealed back && cat back", 0, "<AppDB/>", ""},
        {"seal large sealed", 255, "", "tarn-db-tool: large: not sealed, more than 16382 bytes\n"},
    };
    expectRuns("tarn-db-tool ", cases);
}

} // namespace

#include "dbimage/dbimage_internal.h"
#include "tool/file.h"
#include "tool/image.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>

namespace
{

class ToolUpdate : public testing::Test
{
protected:
    void SetUp() override
    {
        const std::string folder = testing::TempDir() + "tool_update";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
        std::filesystem::current_path(folder);
        tool::writeFile("app.xml", "<AppDB/>");
        tool::writeFile("sort.xml", "<AppSortDB/>");
    }

    void TearDown() override
    {
        std::filesystem::current_path("/");
    }

    // The exit status, then what the program writes to standard output.
    static std::string run(const std::string &arguments)
    {
        const std::string command = TARN_TOOL_FOLDER "/tarn-db-tool " + arguments + " 2>err >out";
        const int status = std::system(command.c_str()); // NOLINT(cert-env33-c)
        return std::to_string(WEXITSTATUS(status)) + " " + tool::readFile("out").contents;
    }
};

TEST_F(ToolUpdate, BundledDatabasesAreAccepted)
{
    EXPECT_EQ(run("bundle -o up --app app.xml --priority sort.xml --version 1.2.255"), "0 ");
    const std::string app = tool::packDatabase({"app", "<AppDB/>"}, tool::applicationDatabase);
    const std::string sort = tool::packDatabase({"sort", "<AppSortDB/>"}, tool::priorityDatabase);
    EXPECT_EQ(run("verify up"), "0 file 0: application database, version 1.2.255, length " +
                                    std::to_string(app.size() - 4) + ", magic 0x04000001\n" +
                                    "file 1: priority database, version 1.2.255, length " +
                                    std::to_string(sort.size() - 4) + ", magic 0x04000001\n" +
                                    "result: APPMNGR_SUCCESS\n");

    const std::string container = tool::readFile("up").contents;
    char version[8];
    const auto size = static_cast<uint32_t>((16 + 16 + app.size() - 4 + 7) / 8 * 8);
    ASSERT_EQ(appmngr_db_writeAppDbFromDatabase(0, size, container.data() + 17 + 8, version), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(_appmngr_updateBuf) + 12, app.size()), app);
    _appmngr_freeUpdateBuf();
}

TEST_F(ToolUpdate, VerifyNamesTheResult)
{
    ASSERT_EQ(run("bundle -o up --priority sort.xml --version 1.2.0"), "0 ");
    EXPECT_EQ(run("verify app.xml"), "1 result: APPMNGR_ERR_FILE_INVALID_LEN\n");
    tool::writeFile("damaged", tool::readFile("up").contents + "x");
    EXPECT_EQ(run("verify - <damaged"), "1 result: APPMNGR_ERR_FILE_CHECK\n");
    EXPECT_EQ(tool::readFile("err").contents,
              "[Error](appmngr_db_writeFromDatabase) 2873: MD5 error!\r\n");
}

TEST_F(ToolUpdate, RefusedCommandLines)
{
    for (const char *arguments :
         {"--version 1.2.0", "--app app.xml", "--app app.xml --version 1.2.256",
          "--app app.xml --version 1.2.", "--app app.xml --version 1.3.0"}) {
        EXPECT_EQ(run(std::string("bundle -o up ") + arguments), "2 ") << arguments;
    }
    EXPECT_EQ(run("bundle -o up --app none.xml --version 1.2.0"), "1 ");
    EXPECT_FALSE(std::filesystem::exists("up"));
}

TEST_F(ToolUpdate, SealStatusIsThatOfTheFileTool)
{
    EXPECT_EQ(run("seal app.xml sealed"), "0 ");
    EXPECT_EQ(run("unseal sealed back"), "0 ");
    EXPECT_EQ(tool::readFile("back").contents, "<AppDB/>");
    tool::writeFile("large", std::string(16383, 'x'));
    EXPECT_EQ(run("seal large sealed"), "255 ");
    EXPECT_EQ(tool::readFile("err").contents,
              "tarn-db-tool: large: not sealed, more than 16382 bytes\n");
}

} // namespace

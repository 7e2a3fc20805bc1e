#include "appmngr/appmngr_model.h"
#include "loader/image.h"
#include "tests/program.h"
#include "tool/file.h"
#include "tool/image.h"
#include "tool/tables.h"

#include <random>
#include <utility>

namespace
{

using tool::applicationDatabase;
using tool::priorityDatabase;

std::string noise(size_t size, uint32_t alphabet)
{
    std::mt19937 random(static_cast<uint32_t>(size));
    std::string bytes(size, '\0');
    for (char &byte : bytes) {
        byte = static_cast<char>(random() % alphabet);
    }
    return bytes;
}

// What the device finds in the image.
std::string loaded(std::string image, const tool::Database &database)
{
    image.resize(APPMNGR_IMAGE_SIZE);
    std::string text(database.textLimit + 1, '#');
    uint32_t length = database.textLimit + 1;
    appmngr_unpackImage(text.data(), &length, reinterpret_cast<unsigned char *>(image.data()));
    return text.substr(0, length);
}

TEST(PackTest, DeviceFindsTheSameBytes)
{
    const std::pair<const tool::Database &, std::string> cases[] = {
        {applicationDatabase, ""},
        {applicationDatabase, "a"},
        {applicationDatabase, noise(4097, 64)},
        {applicationDatabase, noise(64500, 256)},
        {applicationDatabase, noise(204799, 4)},
        {applicationDatabase, std::string(204799, ' ')},
        {priorityDatabase, noise(65535, 64)},
    };
    for (const auto &[database, text] : cases) {
        const std::string image = tool::packDatabase({"text", text}, database);
        EXPECT_EQ(loaded(image, database), text) << text.size();
    }
}

void enterWithInput(const std::string &folder)
{
    enterFolder(folder);
    tool::writeFile("app.xml", "<AppDB/>");
    tool::writeFile("sort.xml", "<AppSortDB/>");
    tool::writeFile("noise", noise(64000, 256));
}

TEST(ProgramTest, ExitStatusAndOutput)
{
    enterWithInput("tool_test.status");
    const ProgramCase cases[] = {
        {"tarn-db-tool pack app.xml -o both.img --priority sort.xml", 0, "", ""},
        {"tarn-db-tool unpack both.img", 0, "<AppDB/>", ""},
        {"tarn-db-tool unpack --priority - <both.img", 0, "<AppSortDB/>", ""},
        {"tarn-db-tool pack - -o - <app.xml | tarn-db-tool unpack -", 0, "<AppDB/>", ""},
        {"tarn-db-tool unpack both.img >/dev/full", 1, "", "standard output: No space left"},
        {"tarn-db-tool pack no.xml -o no.img", 1, "", "tarn-db-tool: no.xml: No such file"},
        {"tarn-db-tool pack app.xml -o no/no.img", 1, "", ": no/no.img: No such file"},
        {"head -c 204800 /dev/zero | tarn-db-tool pack - -o no.img", 1, "",
         ", 1 more than the 204799 "},
        {"cat noise noise | tarn-db-tool pack app.xml --priority - -o no.img", 1, "",
         ", 62465 more "},
        {"head -c 66000 /dev/urandom | tarn-db-tool pack - -o no.img", 1, "", "than the 65536 "},
        {"tarn-db-tool unpack /dev/null", 1, "", "has no application database at offset 0"},
        {"head -c 30 both.img | tarn-db-tool unpack -", 1, "", "is cut off"},
        {"tr ']' '\\377' <both.img | tarn-db-tool unpack -", 1, "", "is corrupt after 0 bytes"},
        {"tarn-db-tool", 2, "", "tarn-db-tool: A subcommand is required\n"},
        {"tarn-db-tool --help >/dev/null && tarn-db-tool unpack --help >/dev/null", 0, "", ""},
    };
    expectRuns("", cases);
    EXPECT_FALSE(std::filesystem::exists("no.img"));
    EXPECT_EQ(contents("both.img").substr(163840),
              tool::packDatabase({"", "<AppSortDB/>"}, priorityDatabase));
}

TEST(ProgramTest, OutputIsReplacedWholeOrNotAtAll)
{
    enterWithInput("tool_test.output");
    tool::writeFile("old.img", "old");
    std::filesystem::permissions("old.img", std::filesystem::perms{0640});
    std::filesystem::create_symlink("old.img", "link.img");
    EXPECT_EQ(run("ulimit -f 1; trap '' XFSZ; tarn-db-tool pack noise -o old.img"), 1);
    EXPECT_EQ(contents("old.img"), "old");
    EXPECT_EQ(run("tarn-db-tool pack app.xml -o link.img; ls | grep -F img."), 1);
    EXPECT_TRUE(std::filesystem::is_symlink("link.img"));
    EXPECT_EQ(loaded(contents("old.img"), applicationDatabase), "<AppDB/>");
    EXPECT_EQ(std::filesystem::status("old.img").permissions(), std::filesystem::perms{0640});
}

TEST(ExampleTest, ApplicationDatabaseLoadsWithoutALine)
{
    const tool::InputFile text = tool::readFile(TARN_SOURCE "/examples/appdb.xml");
    testing::internal::CaptureStderr();
    tool::loadApplicationTables({"image", tool::packDatabase(text, applicationDatabase)});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(g_appmngr_appDb.appCount, 32u);
    EXPECT_EQ(g_appmngr_appDb.ruleCount, 84u);
    EXPECT_EQ(g_appmngr_count.dnsCur, 36u);
    EXPECT_STREQ(g_appmngr_app[14].name, "茶館聊天");
}

} // namespace

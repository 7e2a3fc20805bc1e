// The subcommands of tarn-db-tool that make files for devices and take them apart.

#include "loader/image.h"
#include "tests/program.h"
#include "tool/file.h"
#include "tool/image.h"

#include <random>

#define EXAMPLES TARN_SOURCE "/examples/"

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
    const std::string texts[] = {
        "", "a", noise(4097, 64), noise(64500, 256), noise(204799, 4), std::string(204799, ' ')};
    for (const std::string &text : texts) {
        const std::string image = tool::packDatabase({"text", text}, applicationDatabase);
        EXPECT_EQ(loaded(image, applicationDatabase), text) << text.size();
    }
    const std::string text = noise(65535, 64);
    EXPECT_EQ(loaded(tool::packDatabase({"text", text}, priorityDatabase), priorityDatabase), text);
}

TEST(ProgramTest, ExitStatusAndOutput)
{
    enterFolder("tool_test.status");
    tool::writeFile("app.xml", "<AppDB/>");
    tool::writeFile("sort.xml", "<AppSortDB/>");
    tool::writeFile("noise", noise(66000, 256));
    tool::writeFile("zeros", std::string(204800, '\0'));
    tool::writeFile("large", std::string(16383, 'x'));
    const std::string app = tool::packDatabase({"", "<AppDB/>"}, applicationDatabase);
    const std::string sort = tool::packDatabase({"", "<AppSortDB/>"}, priorityDatabase);
    const auto verified = [](const std::string &kind, const std::string &image) {
        return kind + " database, version 1.2.255, length " + std::to_string(image.size() - 4) +
               ", magic 0x04000001\n";
    };
    const ProgramCase cases[] = {
        {"pack app.xml -o both.img --priority sort.xml"},
        {"unpack both.img", 0, "<AppDB/>"},
        {"unpack --priority - <both.img", 0, "<AppSortDB/>"},
        {"pack - -o - <app.xml | tarn-db-tool unpack -", 0, "<AppDB/>"},
        {"unpack both.img >/dev/full", 1, "", "...standard output: No space left"},
        {"pack no.xml -o no.img", 1, "", "...tarn-db-tool: no.xml: No such file"},
        {"pack app.xml -o no/no.img", 1, "", "...: no/no.img: No such file"},
        {"pack - -o no.img <zeros", 1, "", "..., 1 more than the 204799 "},
        {"pack app.xml --priority zeros -o no.img", 1, "", "..., 139265 more "},
        {"pack noise -o no.img", 1, "", "...than the 65536 "},
        {"unpack /dev/null", 1, "", "...has no application database at offset 0"},
        {"pack app.xml -o - | head -c 30 | tarn-db-tool unpack -", 1, "", "...is cut off"},
        {"pack app.xml -o - | tr ']' '\\377' | tarn-db-tool unpack -", 1, "",
         "...is corrupt after 0 bytes"},

        {"bundle -o no.img --version 1.2.0", 2, "", "...tarn-db-tool: "},
        {"bundle -o no.img --app app.xml", 2, "", "...tarn-db-tool: "},
        {"bundle -o no.img --app app.xml --version 1.2.256", 2, "", "...tarn-db-tool: "},
        {"bundle -o no.img --app app.xml --version 1.2.", 2, "", "...tarn-db-tool: "},
        {"bundle -o no.img --app app.xml --version 1.3.0", 2, "", "...tarn-db-tool: "},
        {"bundle -o no.img --app no.xml --version 1.2.0", 1, "", "...no.xml: No such file"},
        {"bundle -o sort.up --priority sort.xml --version 1.2.0"},
        {"bundle -o up --app app.xml --priority sort.xml --version 1.2.255"},
        {"verify up", 0,
         "file 0: " + verified("application", app) + "file 1: " + verified("priority", sort) +
             "result: APPMNGR_SUCCESS\n",
         "...file index:1"},
        {"bundle --app " EXAMPLES "appdb.xml --priority " EXAMPLES
         "sortdb.xml -o up --version 1.2.0"},
        {"check up", 0, "...0 errors, 0 warnings\n"},
        {"verify no.img", 1, "", "...no.img: No such file"},
        {"verify app.xml", 1, "result: APPMNGR_ERR_FILE_INVALID_LEN\n"},
        {"verify - <both.img", 1, "result: APPMNGR_ERR_FILE_CHECK\n",
         "[Error](appmngr_db_writeFromDatabase) 2873: MD5 error!\r\n"},
        {"seal app.xml sealed"},
        {"unseal sealed back && cat back", 0, "<AppDB/>"},
        {"seal - - <sort.xml | tarn-db-tool unseal - back; cmp -n 12 back sort.xml"},
        {"seal large sealed", 255, "", "tarn-db-tool: large: not sealed, more than 16382 bytes\n"},

        {"", 2, "", "...tarn-db-tool: A subcommand is required\n"},
        {"--help >/dev/null && tarn-db-tool unpack --help >/dev/null"},
    };
    expectRuns("tarn-db-tool ", cases);
    EXPECT_FALSE(std::filesystem::exists("no.img"));
    EXPECT_EQ(contents("both.img").substr(163840), sort);
}

TEST(ProgramTest, OutputIsReplacedWholeOrNotAtAll)
{
    enterFolder("tool_test.output");
    tool::writeFile("app.xml", "<AppDB/>");
    tool::writeFile("noise", noise(64000, 256));
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

} // namespace

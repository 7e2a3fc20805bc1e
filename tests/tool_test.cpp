// tarn-db-tool as its users run it, from a shell: the commands for each subcommand, and what they
// give, are lists in tests/data/tool. What README.md and the manual page show is tested there.

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
    "<AppSortDB><ver>1.2.0</ver><expired>2999-12-31</expired><sortNum>2</sortNum>"
    "<appNum>1</appNum><sortList><sort><id>1</id><name>Calls</name><prio>7</prio><type>2</type>"
    "<appList><app><appId>7</appId><appName>Bird</appName><appType>5</appType></app></appList>"
    "</sort><sort><type>9</type></sort></sortList></AppSortDB>";

// The same with less of one application, another rule and another priority.
const std::string newApp =
    edit(edit(app, "<typeId>.*</typeId>|<ori>.*</ori>|<dnsKw>bird</dnsKw>(?=<d)|\\.3(?=</v)", ""),
         "</tuple>", "$&<tuple>udp 0:0 0:0$&");
const std::string newSorts = edit(sorts, ">7</p", ">-1</p");

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
        write("noise", noise(66000));
        std::filesystem::create_directory("part");
        EXPECT_EQ(run("tarn-db-tool pack --force app.xml -o old.img --priority sorts.xml &&"
                      "tarn-db-tool pack --force new.xml --output new.img --priority newsorts.xml"),
                  0);
    }

    // An output file of what fails is named no.img.
    void TearDown() override
    {
        EXPECT_FALSE(std::filesystem::exists("no.img"));
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
    EXPECT_EQ(run("export COUNTS=$PWD; ulimit -f 1; trap '' XFSZ; tarn-db-tool pack --force noise "
                  "-o old.img"),
              1);
    resultOfFsync = -1;
    EXPECT_ANY_THROW(tool::writeFile("old.img", "new"));
    resultOfFsync = 0;
    EXPECT_EQ(contents("old.img"), "old");
    EXPECT_EQ(run("tarn-db-tool pack --force app.xml -o link.img; ls | grep -F img."), 1);
    EXPECT_TRUE(std::filesystem::is_symlink("link.img"));
    EXPECT_EQ(textIn(contents("old.img")), app);
    EXPECT_EQ(status("old.img").permissions(), perms{0750});
    EXPECT_EQ(run("umask 013; tarn-db-tool pack --force app.xml -o created.img"), 0);
    EXPECT_EQ(status("created.img").permissions(), perms{0664});
}

TEST_F(Tool, packMakesAnImageThatTheDeviceReads)
{
    for (const std::string &text : {std::string(), noise(64500), noise(204799, 4)}) {
        write("text", text);
        EXPECT_EQ(run("tarn-db-tool pack --force text -o text.img"), 0);
        EXPECT_EQ(textIn(contents("text.img")), text) << text.size();
    }
}

TEST_F(Tool, diffIsColouredForATerminal)
{
    if (run("script -qc true /dev/null") != 0) {
        GTEST_SKIP() << "no terminal is to be had";
    }
    EXPECT_EQ(run("for no in '' 1; do NO_COLOR=$no script -qc 'tarn-db-tool diff old.img new.img' "
                  "/dev/null | grep keyword; done"),
              0);
    EXPECT_EQ(contents("out"), "\033[31m- keyword        7  \"bird\"\033[0m\r\n"
                               "- keyword        7  \"bird\"\r\n");
}

// The largest database that a container takes, and one of a few bytes more.
static void writeDatabasesForABundle()
{
    std::string text = noise(64580);
    do {
        text.pop_back();
        write("fit.xml", text);
        write("large.xml", text + "!?+-!?+-");
        EXPECT_EQ(run("tarn-db-tool pack --force fit.xml -o fit.img"), 0);
    } while (std::filesystem::file_size("fit.img") > 65500);
}

struct Subcommand : Tool, testing::WithParamInterface<const char *> {
};

// In the commands, compact makes a line of a JSON
// document.
TEST_P(Subcommand, doesWhatIsListed)
{
    if (GetParam() == std::string("bundle")) {
        writeDatabasesForABundle();
    }
    write("longest", container(1, entry(1, std::string(196575, 'x'))));
    write("longer", container(1, entry(1, std::string(196576, 'x'))));
    setenv("SOURCE", TARN_SOURCE, 1);
    const std::string compact = "compact() { sed 's/^ *//; s/\": /\":/' | tr -d '\\n'; }; ";
    expectListed(std::string("tool/") + GetParam() + ".txt",
                 [&](const std::string &command) { return outcomeOf(compact + command); });
}

INSTANTIATE_TEST_SUITE_P(Tool, Subcommand,
                         testing::Values("usage", "bundle", "check", "diff", "export", "fmt",
                                         "messages", "pack", "priority", "seal", "show", "unpack",
                                         "verify"),
                         [](const auto &test) { return std::string(test.param); });

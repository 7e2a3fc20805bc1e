// tarn-db-tool pack and unpack - XML texts into an image and back.

#include "tool/commands.h"

#include "check/content.h"
#include "tool/file.h"
#include "tool/options.h"

#include <string>

namespace tool
{

namespace
{

struct {
    std::string paths[2]; // of the texts, in the order of the table of databases
    std::string image;
    bool force = false;
} packed;

struct {
    std::string image;
    bool priority = false;
} unpacked;

void declarePack(CLI::App &parser)
{
    addInput(parser, "APPDB.xml", packed.paths[0], "Application database");
    addOutput(parser, "IMAGE", packed.image, "Image file");
    addOption(parser, "--priority", packed.paths[1], "SORTDB.xml",
              "Priority database to pack with it");
    addForce(parser, packed.force);
}

int runPack()
{
    const check::Texts texts = readTexts(packed.paths, packed.force);
    std::string image = check::packDatabase(*texts[0], check::applicationDatabase);
    if (texts[1]) {
        image.resize(check::priorityDatabase.offset);
        image += check::packDatabase(*texts[1], check::priorityDatabase);
    }
    writeFile(packed.image, image);
    return 0;
}

void declareUnpack(CLI::App &parser)
{
    addDatabase(parser, unpacked.image);
    addFlag(parser, "--priority", unpacked.priority,
            "Use the priority database instead of the application database");
}

int runUnpack()
{
    const check::Database &database =
        unpacked.priority ? check::priorityDatabase : check::applicationDatabase;
    writeStandardOutput(check::textOf(readDatabaseFile(unpacked.image), database));
    return 0;
}

} // namespace

const Command pack = {"pack", "Compress a database into an image that tarn-db-loader loads",
                      declarePack, runPack};

const Command unpack = {"unpack", "Write the XML text of an image to standard output",
                        declareUnpack, runUnpack};

} // namespace tool

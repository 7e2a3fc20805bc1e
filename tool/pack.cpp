// tarn-db-tool pack and unpack - XML texts into an image and back.

#include "tool/commands.h"

#include "check/database.h"
#include "tool/file.h"
#include "tool/options.h"

#include <string>

namespace tool
{

namespace
{

struct {
    std::string application;
    std::string priority; // may be empty
    std::string image;
} packed;

struct {
    std::string image;
    bool priority = false;
} unpacked;

void declarePack(CLI::App &parser)
{
    addInput(parser, "APPDB.xml", packed.application, "Application database");
    addOutput(parser, "IMAGE", packed.image, "Image file");
    addOption(parser, "--priority", packed.priority, "SORTDB.xml",
              "Priority database to pack with it");
}

int runPack()
{
    std::string image =
        check::packDatabase(readFile(packed.application), check::applicationDatabase);
    if (!packed.priority.empty()) {
        image.resize(check::priorityDatabase.offset);
        image += check::packDatabase(readFile(packed.priority), check::priorityDatabase);
    }
    writeFile(packed.image, image);
    return 0;
}

void declareUnpack(CLI::App &parser)
{
    addImage(parser, unpacked.image);
    addFlag(parser, "--priority", unpacked.priority,
            "Use the priority database instead of the application database");
}

int runUnpack()
{
    const check::Database &database =
        unpacked.priority ? check::priorityDatabase : check::applicationDatabase;
    writeStandardOutput(check::unpackDatabase(readFile(unpacked.image), database));
    return 0;
}

} // namespace

const Command pack = {"pack", "Compress a database into an image that tarn-db-loader loads",
                      declarePack, runPack};

const Command unpack = {"unpack", "Write the XML text of an image to standard output",
                        declareUnpack, runUnpack};

} // namespace tool

// tarn-db-tool pack - XML texts into an image.

#include "tool/command.h"
#include "tool/file.h"
#include "tool/image.h"

#include <memory>
#include <string>

namespace tool
{

namespace
{

struct PackOptions {
    std::string appDb;
    std::string priority;
    std::string image;
};

int pack(const PackOptions &options)
{
    std::string image = packDatabase(readFile(options.appDb), applicationDatabase);
    if (!options.priority.empty()) {
        image.resize(priorityDatabase.offset);
        image += packDatabase(readFile(options.priority), priorityDatabase);
    }
    writeFile(options.image, image);
    return 0;
}

} // namespace

Action setupPack(CLI::App &arguments)
{
    const auto options = std::make_shared<PackOptions>();
    arguments.add_option("APPDB.xml", options->appDb, "Application database, - for standard input")
        ->required();
    arguments
        .add_option("-o,--output", options->image, "Image file to write, - for standard output")
        ->required()
        ->type_name("IMAGE");
    arguments.add_option("--priority", options->priority, "Priority database to pack with it")
        ->type_name("SORTDB.xml");
    return [options] { return pack(*options); };
}

} // namespace tool

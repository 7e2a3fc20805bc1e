// tarn-db-tool unpack - the XML text of an image.

#include "tool/command.h"
#include "tool/file.h"
#include "tool/image.h"

#include <memory>
#include <string>

namespace tool
{

namespace
{

struct UnpackOptions {
    std::string image;
    bool priority = false;
};

int unpack(const UnpackOptions &options)
{
    const Database &database = options.priority ? priorityDatabase : applicationDatabase;
    writeStandardOutput(unpackDatabase(readFile(options.image), database));
    return 0;
}

} // namespace

Action setupUnpack(CLI::App &arguments)
{
    const auto options = std::make_shared<UnpackOptions>();
    arguments.add_option("IMAGE", options->image, "Image file, - for standard input")->required();
    arguments.add_flag("--priority", options->priority,
                       "The priority database instead of the application database");
    return [options] { return unpack(*options); };
}

} // namespace tool

// The subcommands of tarn-db-tool.

#include "tool/command.h"

namespace tool
{

const Command commands[] = {
    {"pack", "Compress a database into an image that tarn-db-loader loads", setupPack},
    {"unpack", "Write the XML text of an image to standard output", setupUnpack},
    {"priority", "List the priority database of an image", setupPriority},
    {nullptr, nullptr, nullptr},
};

} // namespace tool

// tarn-db-tool pack - XML texts into an image.

#include "tool/commands.h"
#include "tool/file.h"
#include "tool/image.h"

#include <string>

namespace tool
{

int pack(const Arguments &arguments)
{
    std::string image = packDatabase(readFile(arguments.input), applicationDatabase);
    if (!arguments.priority.empty()) {
        image.resize(priorityDatabase.offset);
        image += packDatabase(readFile(arguments.priority), priorityDatabase);
    }
    writeFile(arguments.output, image);
    return 0;
}

} // namespace tool

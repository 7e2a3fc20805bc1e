// tarn-db-tool pack - XML texts into an image.

#include "check/database.h"
#include "tool/commands.h"
#include "tool/file.h"

#include <string>

namespace tool
{

int pack(const Arguments &arguments)
{
    std::string image = check::packDatabase(readFile(arguments.input), check::applicationDatabase);
    if (!arguments.priority.empty()) {
        image.resize(check::priorityDatabase.offset);
        image += check::packDatabase(readFile(arguments.priority), check::priorityDatabase);
    }
    writeFile(arguments.output, image);
    return 0;
}

} // namespace tool

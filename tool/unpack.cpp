// tarn-db-tool unpack - the XML text of an image.

#include "check/database.h"
#include "tool/commands.h"
#include "tool/file.h"

#include <string>

namespace tool
{

int unpack(const Arguments &arguments)
{
    const check::Database &database =
        arguments.ofPriority ? check::priorityDatabase : check::applicationDatabase;
    writeStandardOutput(check::unpackDatabase(readFile(arguments.input), database));
    return 0;
}

} // namespace tool

// tarn-db-tool unpack - the XML text of an image.

#include "tool/commands.h"
#include "tool/file.h"
#include "tool/image.h"

#include <string>

namespace tool
{

int unpack(const Arguments &arguments)
{
    const Database &database = arguments.ofPriority ? priorityDatabase : applicationDatabase;
    writeStandardOutput(unpackDatabase(readFile(arguments.input), database));
    return 0;
}

} // namespace tool

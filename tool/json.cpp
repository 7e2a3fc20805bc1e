#include "tool/json.h"

#include "tool/file.h"

namespace tool
{

void printJson(const Json &document)
{
    writeStandardOutput(jsonText(document, 2) + "\n");
}

} // namespace tool

// tarn-db-tool export - the rules of an image as database.json.

#include "appmngr/appmngr.h"
#include "check/database.h"
#include "check/device.h"
#include "tool/commands.h"
#include "tool/file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace tool
{

namespace
{

// In memory first, so that the file appears whole or not at all.
std::string rulesAsJson(const std::string &imageName)
{
    char *text = nullptr;
    size_t length = 0;
    FILE *const stream = open_memstream(&text, &length);
    if (stream == nullptr) {
        throw check::Failure(imageName, std::strerror(errno));
    }
    appmngr_writeJson(stream);
    const bool complete = fclose(stream) == 0;
    std::string json(text, length);
    free(text);
    if (!complete) {
        throw check::Failure(imageName, std::strerror(ENOMEM));
    }
    return json;
}

} // namespace

int exportRules(const Arguments &arguments)
{
    const InputFile image = readFile(arguments.input);
    check::loadApplicationTables(image);
    const std::string folder = arguments.output.empty() ? "." : arguments.output;
    writeFile(folder + "/database.json", rulesAsJson(image.name));
    return 0;
}

} // namespace tool

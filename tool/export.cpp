// tarn-db-tool export - the rules of an image as database.json.

#include "tool/commands.h"

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace tool
{

namespace
{

struct {
    std::string image;
    std::string folder; // empty for the current one
} arguments;

void declare(CLI::App &parser)
{
    addDatabase(parser, arguments.image);
    addOption(parser, "-C", arguments.folder, "DIR", "Directory to write database.json to");
}

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

int run()
{
    const InputFile image = readDatabaseFile(arguments.image);
    check::loadApplicationTables(image);
    const std::string folder = arguments.folder.empty() ? "." : arguments.folder;
    writeFile(folder + "/database.json", rulesAsJson(image.name));
    return 0;
}

} // namespace

const Command exportRules = {"export", "Write the rules of an image as database.json", declare,
                             run};

} // namespace tool

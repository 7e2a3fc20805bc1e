// tarn-db-tool export - the rules of an image as database.json.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/failure.h"
#include "tool/file.h"
#include "tool/tables.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace tool
{

namespace
{

struct ExportOptions {
    std::string image;
    std::string folder = ".";
};

// In memory first, so that the file appears whole or not at all.
std::string rulesAsJson(const std::string &imageName)
{
    char *text = nullptr;
    size_t length = 0;
    FILE *const stream = open_memstream(&text, &length);
    if (stream == nullptr) {
        throw Failure(imageName, std::strerror(errno));
    }
    appmngr_writeJson(stream);
    const bool complete = fclose(stream) == 0;
    std::string json(text, length);
    free(text);
    if (!complete) {
        throw Failure(imageName, std::strerror(ENOMEM));
    }
    return json;
}

int exportRules(const ExportOptions &options)
{
    const InputFile image = readFile(options.image);
    loadApplicationTables(image);
    writeFile(options.folder + "/database.json", rulesAsJson(image.name));
    return 0;
}

} // namespace

Action setupExport(CLI::App &arguments)
{
    const auto options = std::make_shared<ExportOptions>();
    arguments.add_option("IMAGE", options->image, "Image file, - for standard input")->required();
    arguments.add_option("-C", options->folder, "Directory to write database.json to")
        ->type_name("DIR");
    return [options] { return exportRules(*options); };
}

} // namespace tool

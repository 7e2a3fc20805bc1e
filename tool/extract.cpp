// tarn-db-tool extract - the files of an update container, as images and texts.

#include "tool/commands.h"

#include "check/content.h"
#include "tool/file.h"
#include "tool/options.h"

#include <cstdio>
#include <fmt/format.h>
#include <string>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string container;
    std::string folder;
} arguments;

void declare(CLI::App &parser)
{
    addInput(parser, "CONTAINER", arguments.container, "Update container");
    addOption(parser, "-C", arguments.folder, "DIR",
              "Directory to write to, instead of the current one");
}

int run()
{
    const InputFile container = readFile(arguments.container, DBIMAGE_CONTAINER_MAX + 1);
    const std::vector<check::ContainedFile> files = check::requireContainer(container);
    std::vector<OutputFile> outputs;
    for (size_t i = 0; i < files.size(); i++) {
        const check::ContainedFile &file = files[i];
        if (file.database == nullptr) {
            fprintf(stderr, "tarn-db-tool: file %zu has type %u, which devices ignore; left out\n",
                    i, file.type);
            continue;
        }
        const bool isPriority = file.database == &check::priorityDatabase;
        const std::string folder = arguments.folder.empty() ? "." : arguments.folder;
        const std::string start =
            fmt::format("{}/{}-{}", folder, i, isPriority ? "priority" : "application");
        outputs.push_back({start + ".xml", check::containedText(file, container.name)});
        outputs.push_back({start + ".img", std::string(file.database->offset, '\0') + file.image});
    }
    writeFiles(outputs);
    return 0;
}

} // namespace

const Command extract = {"extract", "Write the images and texts of an update container to files",
                         declare, run};

} // namespace tool

// tarn-db-tool verify - the files of an update container, and the result of the update.

#include "tool/commands.h"

#include "appmngr/appmngr_model.h"
#include "check/check.h"
#include "check/content.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"

#include <arpa/inet.h>
#include <cstdint>
#include <deque>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string container;
    bool json = false;
} arguments;

void declare(CLI::App &parser)
{
    addInput(parser, "CONTAINER", arguments.container, "Update container");
    addJson(parser, arguments.json);
}

// The files of a container; none if it is damaged.
std::vector<check::ContainedFile> filesOf(const InputFile &container)
{
    try {
        return check::requireContainer(container);
    } catch (const check::Failure &) {
        return {}; // the update says why
    }
}

// Returns what follows the type of a file, and adds the same to json.
std::string describe(const check::ContainedFile &file, Json &json)
{
    if (file.database == nullptr) {
        return fmt::format("{} bytes, ignored", file.size);
    }
    if (!file.header) {
        return fmt::format("{} bytes, cannot be decrypted", file.size);
    }
    const std::string version = check::versionText(*file.header);
    const uint32_t length = ntohl(file.header->length);
    const std::string magic = check::magicText(*file.header);
    json.update({{"version", version}, {"length", length}, {"magic", magic}});
    return fmt::format("version {}, length {}, magic {}", version, length, magic);
}

// Why an update with a container fails, in a sentence; empty if it does not.
std::string faultOf(const InputFile &container, const check::Run &update, size_t fileCount)
{
    if (update.status == 0 && fileCount > 0) {
        return "";
    }
    if (check::kindOf(container.contents) == check::FileKind::Text) {
        return "the file is an XML text, not a container";
    }
    if (check::isPlausible(check::readImages(container.contents))) {
        return "the file is an image, not a container";
    }
    std::deque<check::Source> sources;
    check::checkContainer(container, sources);
    for (const check::Source &source : sources) {
        for (const check::Finding &finding : source.findings) {
            if (check::describe(finding.check).severity == check::Severity::Error) {
                return finding.message;
            }
        }
    }
    return check::firstDiagnostic(update);
}

int run()
{
    const InputFile container = readFile(arguments.container, DBIMAGE_CONTAINER_MAX + 1);
    const check::Run update = check::runUpdate(container.contents);
    const std::vector<check::ContainedFile> files =
        container.contents.size() <= DBIMAGE_CONTAINER_MAX ? filesOf(container)
                                                           : std::vector<check::ContainedFile>();
    const std::string fault = faultOf(container, update, files.size());
    std::string text;
    Json list = Json::array();
    for (const check::ContainedFile &file : files) {
        Json json = {
            {"type", file.type}, {"size", file.size}, {"ignored", file.database == nullptr}};
        text += fmt::format("file {}: {}, ", list.size(),
                            file.database != nullptr ? file.database->name
                                                     : fmt::format("type {}", file.type)) +
                describe(file, json) + "\n";
        list.push_back(json);
    }
    if (arguments.json) {
        printJson({{"files", list},
                   {"result", appmngr_errToStr(static_cast<int16_t>(update.status))},
                   {"fault", fault}});
    } else {
        writeStandardOutput(text + "result: " +
                            (fault.empty() ? "an update with this container succeeds"
                                           : "an update with this container fails: " + fault) +
                            "\n");
    }
    return fault.empty() ? 0 : 1;
}

} // namespace

const Command verify = {"verify", "Check an update container and list its files", declare, run};

} // namespace tool

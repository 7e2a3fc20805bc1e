// tarn-db-tool verify - the files of an update container, and the result of the update.

#include "tool/commands.h"

#include "appmngr/appmngr_model.h"
#include "check/check.h"
#include "check/device.h"
#include "dbimage/dbimage.h"
#include "tool/file.h"
#include "tool/options.h"

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>

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
dbimage_fileTable filesOf(const std::string &container)
{
    const auto size = static_cast<uint32_t>(container.size());
    dbimage_fileTable files = {};
    const bool isIntact = container.size() >= sizeof(dbimage_containerHead) &&
                          container.size() <= DBIMAGE_CONTAINER_MAX &&
                          dbimage_verifyDigest(container.data(), size) != 0 &&
                          dbimage_listFiles(container.data(), size, &files) == nullptr;
    return isIntact ? files : dbimage_fileTable{};
}

// Returns whether the file could be decrypted.
bool readHeader(const dbimage_file &file, dbimage_fileHeader &header)
{
    const check::RedirectedDiagnostics redirection(STDERR_FILENO);
    std::string plain(DBIMAGE_CONTAINER_MAX, '\0');
    uint32_t length = DBIMAGE_CONTAINER_MAX;
    const bool isDecrypted = appmngr_decrypt(plain.data(), &length, file.data, file.size) > 0;
    header = dbimage_readHeader(plain.data());
    return isDecrypted;
}

// Returns what follows the type of a file, and adds the same to json.
std::string describe(const dbimage_file &file, Json &json)
{
    dbimage_fileHeader header = {};
    if (json["ignored"]) {
        return std::to_string(file.size) + " bytes, ignored";
    }
    if (!readHeader(file, header)) {
        return std::to_string(file.size) + " bytes, cannot be decrypted";
    }
    const uint32_t length = ntohl(header.length);
    json["version"] = check::versionText(header);
    json["length"] = length;
    json["magic"] = check::magicText(header);
    return "version " + check::versionText(header) + ", length " + std::to_string(length) +
           ", magic " + check::magicText(header);
}

// Why an update with a container fails, in a sentence; empty if it does not.
std::string faultOf(const InputFile &container, const check::Run &update, uint32_t fileCount)
{
    if (update.status == 0 && fileCount > 0) {
        return "";
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
    const dbimage_fileTable files = filesOf(container.contents);
    const std::string fault = faultOf(container, update, files.count);
    std::string text;
    Json list = Json::array();
    for (uint32_t i = 0; i < files.count; i++) {
        const dbimage_file &file = files.file[i];
        const check::Database *const database = check::databaseOfType(file.type);
        Json json = {{"type", file.type}, {"size", file.size}, {"ignored", database == nullptr}};
        text += "file " + std::to_string(i) + ": " +
                (database != nullptr ? database->name : "type " + std::to_string(file.type)) +
                ", " + describe(file, json) + "\n";
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

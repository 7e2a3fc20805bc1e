// tarn-db-tool verify - the files of an update container, and what a device says of it.

#include "tool/commands.h"

#include "appmngr/appmngr_model.h"
#include "check/device.h"
#include "dbimage/dbimage.h"
#include "tool/file.h"
#include "tool/options.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <unistd.h>
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

// What there is to say of a file of a container.
struct ListedFile {
    uint32_t type;
    uint32_t size;
    const check::Database *database;          // null for a type that devices ignore
    std::optional<dbimage_fileHeader> header; // null when the file cannot be decrypted
};

std::string typeName(const ListedFile &file)
{
    return file.database != nullptr ? file.database->name : "type " + std::to_string(file.type);
}

std::string describe(const ListedFile &file)
{
    if (!file.header) {
        return std::to_string(file.size) +
               (file.database != nullptr ? " bytes, cannot be decrypted" : " bytes, ignored");
    }
    return "version " + check::versionText(*file.header) + ", length " +
           std::to_string(ntohl(file.header->length)) + ", magic " + check::magicText(*file.header);
}

Json toJson(const ListedFile &file)
{
    Json json = {{"type", file.type}, {"size", file.size}, {"ignored", file.database == nullptr}};
    if (file.header) {
        json["version"] = check::versionText(*file.header);
        json["length"] = ntohl(file.header->length);
        json["magic"] = check::magicText(*file.header);
    }
    return json;
}

ListedFile listFile(const dbimage_file &file)
{
    ListedFile listed = {file.type, file.size, nullptr, {}};
    for (const check::Database &database : check::databases) {
        if (database.fileType == file.type) {
            const check::RedirectedDiagnostics redirection(STDERR_FILENO);
            std::string plain(DBIMAGE_CONTAINER_MAX, '\0');
            uint32_t length = DBIMAGE_CONTAINER_MAX;
            listed.database = &database;
            if (appmngr_decrypt(plain.data(), &length, file.data, file.size) > 0) {
                listed.header = dbimage_readHeader(plain.data());
            }
        }
    }
    return listed;
}

// The files of a container; none when its digest or its file table is wrong.
std::vector<ListedFile> listFiles(const std::string &container)
{
    const auto size = static_cast<uint32_t>(container.size());
    dbimage_fileTable table = {};
    if (container.size() < sizeof(dbimage_containerHead) ||
        container.size() > DBIMAGE_CONTAINER_MAX || !dbimage_verifyDigest(container.data(), size) ||
        dbimage_listFiles(container.data(), size, &table) != nullptr) {
        return {};
    }
    std::vector<ListedFile> files(table.count);
    std::transform(table.file, table.file + table.count, files.begin(), listFile);
    return files;
}

void print(const std::vector<ListedFile> &files, const std::string &result)
{
    std::string lines;
    for (size_t i = 0; i < files.size(); i++) {
        lines += "file " + std::to_string(i) + ": " + typeName(files[i]) + ", " +
                 describe(files[i]) + "\n";
    }
    writeStandardOutput(lines + "result: " + result + "\n");
}

void printAsJson(const std::vector<ListedFile> &files, const std::string &result)
{
    Json list = Json::array();
    for (const ListedFile &file : files) {
        list.push_back(toJson(file));
    }
    printJson({{"files", list}, {"result", result}});
}

int run()
{
    const std::string container = readFile(arguments.container).contents;
    const check::Run update = check::runUpdate(container);
    fwrite(update.lines.data(), 1, update.lines.size(), stderr);
    const auto printResult = arguments.json ? printAsJson : print;
    printResult(listFiles(container), appmngr_errToStr(static_cast<int16_t>(update.status)));
    return update.status == 0 ? 0 : 1;
}

} // namespace

const Command verify = {"verify", "Check an update container and list its files", declare, run};

} // namespace tool

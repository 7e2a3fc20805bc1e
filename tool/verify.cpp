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

// The database in files of a type; null for a type that devices ignore.
const check::Database *databaseOf(uint32_t type)
{
    const auto *const found =
        std::find_if(std::begin(check::databases), std::end(check::databases),
                     [type](const check::Database &database) { return database.fileType == type; });
    return found != std::end(check::databases) ? found : nullptr;
}

std::string typeName(uint32_t type)
{
    const check::Database *database = databaseOf(type);
    return database != nullptr ? database->name : "type " + std::to_string(type);
}

// What the header of an encrypted file says; false when the file cannot be decrypted.
bool readHeader(const dbimage_file &file, dbimage_fileHeader &header)
{
    const check::RedirectedDiagnostics redirection(STDERR_FILENO);
    std::string plain(DBIMAGE_CONTAINER_MAX, '\0');
    uint32_t length = DBIMAGE_CONTAINER_MAX;
    const bool decrypted = appmngr_decrypt(plain.data(), &length, file.data, file.size) > 0;
    header = dbimage_readHeader(plain.data());
    return decrypted;
}

// What there is to say of a file of a container.
struct ListedFile {
    uint32_t type;
    uint32_t size;
    bool known; // not ignored
    bool decrypted;
    dbimage_fileHeader header; // of a decrypted one
};

std::string versionText(const dbimage_fileHeader &header)
{
    return std::to_string(header.version[0]) + "." + std::to_string(header.version[1]) + "." +
           std::to_string(header.version[2]);
}

std::string magicText(const dbimage_fileHeader &header)
{
    char text[11];
    snprintf(text, sizeof(text), "0x%08x", ntohl(header.magic));
    return text;
}

std::string describe(const ListedFile &file)
{
    if (!file.decrypted) {
        return std::to_string(file.size) +
               (file.known ? " bytes, cannot be decrypted" : " bytes, ignored");
    }
    return "version " + versionText(file.header) + ", length " +
           std::to_string(ntohl(file.header.length)) + ", magic " + magicText(file.header);
}

Json toJson(const ListedFile &file)
{
    Json json = {{"type", file.type}, {"size", file.size}, {"ignored", !file.known}};
    if (file.decrypted) {
        json["version"] = versionText(file.header);
        json["length"] = ntohl(file.header.length);
        json["magic"] = magicText(file.header);
    }
    return json;
}

// The files of a container; none when its file table is broken.
std::vector<ListedFile> listFiles(const std::string &container)
{
    std::vector<ListedFile> files;
    dbimage_fileTable table = {};
    if (container.size() < sizeof(dbimage_containerHead) ||
        container.size() > DBIMAGE_CONTAINER_MAX ||
        !dbimage_verifyDigest(container.data(), static_cast<uint32_t>(container.size())) ||
        dbimage_listFiles(container.data(), static_cast<uint32_t>(container.size()), &table) !=
            nullptr) {
        return files;
    }
    for (uint32_t i = 0; i < table.count; i++) {
        const dbimage_file &file = table.file[i];
        ListedFile listed = {file.type, file.size, false, false, {}};
        listed.known = databaseOf(file.type) != nullptr;
        listed.decrypted = listed.known && readHeader(file, listed.header);
        files.push_back(listed);
    }
    return files;
}

void print(const std::vector<ListedFile> &files, const std::string &result)
{
    std::string lines;
    for (size_t i = 0; i < files.size(); i++) {
        lines += "file " + std::to_string(i) + ": " + typeName(files[i].type) + ", " +
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

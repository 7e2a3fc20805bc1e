#include "appmngr/appmngr_model.h"
#include "check/device.h"
#include "dbimage/dbimage.h"
#include "tool/commands.h"
#include "tool/file.h"
#include "tool/json.h"

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

std::string typeName(uint32_t type)
{
    switch (type) {
    case DBIMAGE_TYPE_APP:
        return "application database";
    case DBIMAGE_TYPE_PRIORITY:
        return "priority database";
    default:
        return "type " + std::to_string(type);
    }
}

/* What the device has for it; any file of a container fits. */
constexpr uint32_t decryptionRoom = 204800;

/* What the header of an encrypted file says; false when the file cannot be decrypted. */
bool readHeader(const dbimage_file &file, dbimage_fileHeader &header)
{
    const check::RedirectedDiagnostics redirection(STDERR_FILENO);
    std::string plain(decryptionRoom, '\0');
    uint32_t length = decryptionRoom;
    const bool decrypted = appmngr_decrypt(plain.data(), &length, file.data, file.size) > 0;
    header = dbimage_readHeader(plain.data());
    return decrypted;
}

/* What there is to say of a file of a container. */
struct ListedFile {
    uint32_t type;
    uint32_t size;
    bool known; /* not ignored */
    bool decrypted;
    dbimage_fileHeader header; /* of a decrypted one */
};

std::string versionText(const dbimage_fileHeader &header)
{
    return std::to_string(header.version[0]) + "." + std::to_string(header.version[1]) + "." +
           std::to_string(header.version[2]);
}

std::string magicText(const dbimage_fileHeader &header)
{
    char text[11];
    snprintf(text, sizeof text, "0x%08x", ntohl(header.magic));
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

/* The files of a container; none when its file table is broken. */
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
    for (uint32_t i = 0; i < table.count; ++i) {
        const dbimage_file &file = table.file[i];
        ListedFile listed = {file.type, file.size, false, false, {}};
        listed.known = file.type == DBIMAGE_TYPE_APP || file.type == DBIMAGE_TYPE_PRIORITY;
        listed.decrypted = listed.known && readHeader(file, listed.header);
        files.push_back(listed);
    }
    return files;
}

int runUpdate(const std::string &container)
{
    const check::RedirectedDiagnostics redirection(STDERR_FILENO);
    /* What is longer is too long all the same. */
    const size_t length = std::min<size_t>(container.size(), INT32_MAX);
    return appmngr_db_writeFromDatabase(container.data(), static_cast<int32_t>(length));
}

void print(const std::vector<ListedFile> &files, const std::string &result)
{
    std::string lines;
    for (size_t i = 0; i < files.size(); ++i) {
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

} // namespace

int verify(const Arguments &arguments)
{
    const std::string container = readFile(arguments.input).contents;
    const int result = runUpdate(container);
    const auto printResult = arguments.json ? printAsJson : print;
    printResult(listFiles(container), appmngr_errToStr(static_cast<int16_t>(result)));
    return result == 0 ? 0 : 1;
}

} // namespace tool

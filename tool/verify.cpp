#include "appmngr/appmngr_model.h"
#include "dbimage/dbimage_internal.h"
#include "tool/command.h"
#include "tool/diagnostics.h"
#include "tool/file.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

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
    const DiagnosticsOnStandardError redirection;
    std::string plain(decryptionRoom, '\0');
    uint32_t length = decryptionRoom;
    const bool decrypted = appmngr_decrypt(plain.data(), &length, file.data, file.size) > 0;
    header = _dbimage_readHeader(plain.data());
    return decrypted;
}

std::string describe(const dbimage_file &file)
{
    const bool known = file.type == DBIMAGE_TYPE_APP || file.type == DBIMAGE_TYPE_PRIORITY;
    dbimage_fileHeader header = {};
    if (!known || !readHeader(file, header)) {
        return std::to_string(file.size) +
               (known ? " bytes, cannot be decrypted" : " bytes, ignored");
    }
    char text[80];
    snprintf(text, sizeof text, "version %u.%u.%u, length %u, magic 0x%08x", header.version[0],
             header.version[1], header.version[2], ntohl(header.length), ntohl(header.magic));
    return text;
}

/* The files of a container, a line for each; nothing when its file table is broken. */
std::string listFiles(const std::string &container)
{
    std::string lines;
    dbimage_fileTable table = {};
    if (_dbimage_listFiles(reinterpret_cast<const unsigned char *>(container.data()),
                           static_cast<uint32_t>(container.size()), &table) == nullptr) {
        for (uint32_t i = 0; i < table.count; ++i) {
            const dbimage_file &file = table.file[i];
            lines += "file " + std::to_string(i) + ": " + typeName(file.type) + ", " +
                     describe(file) + "\n";
        }
    }
    return lines;
}

int runUpdate(const std::string &container)
{
    const DiagnosticsOnStandardError redirection;
    /* What is longer is too long all the same. */
    const size_t length = std::min<size_t>(container.size(), INT32_MAX);
    return appmngr_db_writeFromDatabase(container.data(), static_cast<int32_t>(length));
}

int verify(const std::string &path)
{
    const std::string container = readFile(path).contents;
    const int result = runUpdate(container);
    const bool sized = container.size() >= sizeof(dbimage_containerHead) &&
                       container.size() <= DBIMAGE_CONTAINER_MAX;
    writeStandardOutput((sized ? listFiles(container) : "") +
                        "result: " + appmngr_errToStr(static_cast<int16_t>(result)) + "\n");
    return result == 0 ? 0 : 1;
}

} // namespace

Action setupVerify(CLI::App &arguments)
{
    const auto path = std::make_shared<std::string>();
    arguments.add_option("CONTAINER", *path, "Update container, - for standard input")->required();
    return [path] { return verify(*path); };
}

} // namespace tool

#include "check/database.h"
#include "dbimage/dbimage.h"
#include "tool/commands.h"
#include "tool/file.h"

#include <arpa/inet.h>
#include <charconv>
#include <string>

namespace tool
{

namespace
{

constexpr char series[] = "1.2.";
constexpr size_t seriesLength = sizeof(series) - 1;

/* Returns N of a version 1.2.N, or -1. */
int patchLevel(const std::string &version)
{
    const char *const end = version.data() + version.size();
    uint8_t patch = 0;
    if (version.compare(0, seriesLength, series) != 0) {
        return -1;
    }
    const auto parsed = std::from_chars(version.data() + seriesLength, end, patch);
    return parsed.ec == std::errc() && parsed.ptr == end ? patch : -1;
}

template <typename Record> void append(std::string &bytes, const Record &record)
{
    bytes.append(reinterpret_cast<const char *>(&record), sizeof record);
}

std::string encrypt(const std::string &plain)
{
    std::string encrypted(plain.size() + 8, '\0');
    const int length =
        wexal_des_min_do(plain.data(), static_cast<int32_t>(plain.size()), encrypted.data(),
                         static_cast<int32_t>(encrypted.size()), g_appmngr_databaseKey, 1);
    encrypted.resize(static_cast<size_t>(length));
    return encrypted;
}

/* The encrypted database file of a packed image, whose length field goes into the header. */
std::string databaseFile(const std::string &image, int patch)
{
    dbimage_fileHeader header = {};
    const std::string payload = image.substr(sizeof header.length);
    header.length = htonl(static_cast<uint32_t>(payload.size()));
    header.version[0] = 1;
    header.version[1] = 2;
    header.version[2] = static_cast<uint8_t>(patch);
    header.magic = htonl(DBIMAGE_MAGIC);
    std::string body;
    append(body, header);
    body += payload;

    std::string digest(DBIMAGE_DIGEST_SIZE, '\0');
    md5_digest(reinterpret_cast<unsigned char *>(digest.data()), body.data(),
               static_cast<uint32_t>(body.size()));
    return encrypt(digest + body);
}

/* The entry for the database in the file at path. */
std::string entry(const std::string &path, uint8_t type, const check::Database &database, int patch)
{
    const InputFile text = readFile(path);
    const std::string file = databaseFile(check::packDatabase(text, database), patch);
    /* The device decrypts it into the buffer for the text and wants a block to spare. */
    const size_t limit = database.textLimit + 1 - 8;
    if (file.size() > limit) {
        throw check::Failure(text.name, "the encrypted " + std::string(database.name) + " takes " +
                                            std::to_string(file.size() - limit) +
                                            " bytes more than the " + std::to_string(limit) +
                                            " there is room for");
    }
    const dbimage_entryHead head = {type, {}, htonl(static_cast<uint32_t>(file.size()))};
    std::string bytes;
    append(bytes, head);
    return bytes + file;
}

} // namespace

std::string checkVersion(const std::string &version)
{
    return patchLevel(version) < 0 ? "must be 1.2.N with N from 0 to 255" : "";
}

int bundle(const Arguments &arguments)
{
    const int patch = patchLevel(arguments.version);
    dbimage_containerHead head = {};
    std::string entries;
    if (!arguments.input.empty()) {
        entries += entry(arguments.input, DBIMAGE_TYPE_APP, check::applicationDatabase, patch);
        ++head.fileCount;
    }
    if (!arguments.priority.empty()) {
        entries += entry(arguments.priority, DBIMAGE_TYPE_PRIORITY, check::priorityDatabase, patch);
        ++head.fileCount;
    }
    md5_digest(head.digest, entries.data(), static_cast<uint32_t>(entries.size()));
    std::string container;
    append(container, head);
    writeFile(arguments.output, container + entries);
    return 0;
}

} // namespace tool

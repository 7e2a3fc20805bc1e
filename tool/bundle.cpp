// tarn-db-tool bundle - databases into an update container.

#include "tool/commands.h"

#include "check/database.h"
#include "dbimage/dbimage.h"
#include "tool/file.h"
#include "tool/options.h"

#include <arpa/inet.h>
#include <charconv>
#include <string>

namespace tool
{

namespace
{

struct {
    std::string paths[2]; // of the texts, in the order of the table of databases; may be empty
    std::string version;
    std::string container;
    bool force = false;
} arguments;

constexpr size_t blockSize = 8; // of the encryption

constexpr char series[] = "1.2.";
constexpr size_t seriesLength = sizeof(series) - 1;

// Returns N of a version 1.2.N, or -1.
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
    bytes.append(reinterpret_cast<const char *>(&record), sizeof(record));
}

std::string encrypt(const std::string &plain)
{
    std::string encrypted(plain.size() + blockSize, '\0');
    const int length =
        wexal_des_min_do(plain.data(), static_cast<int32_t>(plain.size()), encrypted.data(),
                         static_cast<int32_t>(encrypted.size()), g_appmngr_databaseKey, 1);
    encrypted.resize(static_cast<size_t>(length));
    return encrypted;
}

// The encrypted database file of a packed image, whose length field goes into the header.
std::string databaseFile(const std::string &image, int patch)
{
    dbimage_fileHeader header = {};
    const std::string payload = image.substr(sizeof(header.length));
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

// The entry for the database of this text.
std::string entry(const InputFile &text, const check::Database &database, int patch)
{
    const std::string file = databaseFile(check::packDatabase(text, database), patch);
    // The device decrypts it into the buffer for the text and wants a block to spare.
    const size_t limit = database.textLimit + 1 - blockSize;
    if (file.size() > limit) {
        throw check::Failure(text.name, "the encrypted " + std::string(database.name) + " is " +
                                            std::to_string(file.size()) + " bytes; the limit is " +
                                            std::to_string(limit));
    }
    const dbimage_entryHead head = {
        database.fileType, {}, htonl(static_cast<uint32_t>(file.size()))};
    std::string bytes;
    append(bytes, head);
    return bytes + file;
}

std::string checkVersion(const std::string &version)
{
    return patchLevel(version) < 0 ? "must be 1.2.N with N from 0 to 255" : "";
}

void declare(CLI::App &parser)
{
    addOutput(parser, "CONTAINER", arguments.container, "Container file");
    addOption(parser, "--version", arguments.version, "1.2.N", "Version of the databases");
    require(parser, "--version", checkVersion);
    addOption(parser, "--app", arguments.paths[0], "APPDB.xml",
              "Application database, - for standard input");
    addOption(parser, "--priority", arguments.paths[1], "SORTDB.xml", "Priority database");
    requireOneOf(parser, {"--app", "--priority"});
    addForce(parser, arguments.force);
}

int run()
{
    const int patch = patchLevel(arguments.version);
    dbimage_containerHead head = {};
    std::string entries;
    const check::Texts texts = readTexts(arguments.paths, arguments.force);
    for (size_t i = 0; i < texts.size(); i++) {
        if (texts[i]) {
            entries += entry(*texts[i], check::databases[i], patch);
            head.fileCount++;
        }
    }
    md5_digest(head.digest, entries.data(), static_cast<uint32_t>(entries.size()));
    std::string container;
    append(container, head);
    writeFile(arguments.container, container + entries);
    return 0;
}

} // namespace

const Command bundle = {"bundle", "Pack and encrypt databases into an update container", declare,
                        run};

} // namespace tool

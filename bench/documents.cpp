// The files of the documents: written once, then mapped.

#include "bench/documents.h"

#include "bench/generator.h"

#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench
{

namespace
{

// Images of the largest text that a loader reads, and of smaller ones.
constexpr size_t imageLimit = 204799;
constexpr size_t imageCount = 8;

std::vector<Document> listDocuments()
{
    constexpr struct {
        const char *name;
        size_t bytes;
        size_t texts;
    } sizes[] = {{"25KB", 25000, 64},
                 {"50KB", 50000, 32},
                 {"100KB", 100000, 16},
                 {"200KB", 200000, 8},
                 {"2MB", 2000000, 1}};

    std::vector<Document> list;
    for (const char *kind : {"database", "text", "deep", "records", "attributes"}) {
        for (const auto &size : sizes) {
            const bool isPacked = kind == std::string("database") && size.bytes <= imageLimit;
            Document document = {kind, size.name, size.bytes, {}, {}};
            document.texts.resize(size.texts);
            document.images.resize(isPacked ? imageCount : 0);
            list.push_back(document);
        }
    }
    return list;
}

std::string pathOf(const std::string &folder, const Document &document, size_t number,
                   const char *suffix)
{
    return folder + "/" + document.kind + "-" + document.size + "-" + std::to_string(number) +
           suffix;
}

bool writeFile(const std::string &path, const std::string &bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    return file.good();
}

// Maps the file; empty when it cannot be.
std::string_view mapFile(const std::string &path)
{
    struct stat status = {};
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    void *bytes = MAP_FAILED;
    if (file >= 0 && fstat(file, &status) == 0 && status.st_size > 0) {
        bytes = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ, MAP_PRIVATE, file, 0);
    }
    if (file >= 0) {
        close(file);
    }
    return bytes != MAP_FAILED ? std::string_view(static_cast<const char *>(bytes),
                                                  static_cast<size_t>(status.st_size))
                               : std::string_view();
}

bool mapFiles(const std::string &folder, const Document &document, const char *suffix,
              std::vector<std::string_view> &files)
{
    for (size_t i = 0; i < files.size(); i++) {
        files[i] = mapFile(pathOf(folder, document, i, suffix));
        if (files[i].empty()) {
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<Document> &documents()
{
    static std::vector<Document> list = listDocuments();
    return list;
}

bool writeDocuments(const std::string &folder)
{
    for (const Document &document : documents()) {
        for (size_t i = 0; i < document.texts.size(); i++) {
            const std::string text =
                generate(document.kind, document.bytes, static_cast<uint32_t>(i + 1));
            if (!writeFile(pathOf(folder, document, i, ".xml"), text)) {
                return false;
            }
            if (i < document.images.size() &&
                !writeFile(pathOf(folder, document, i, ".img"), packImage(text))) {
                return false;
            }
        }
    }
    return true;
}

bool openDocuments(const std::string &folder)
{
    for (Document &document : documents()) {
        if (!mapFiles(folder, document, ".xml", document.texts) ||
            !mapFiles(folder, document, ".img", document.images)) {
            return false;
        }
    }
    return true;
}

} // namespace bench

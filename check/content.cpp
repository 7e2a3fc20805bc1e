// What is in a file of any kind: XML text, image or update container.

#include "check/content.h"

#include "appmngr/appmngr.h"
#include "appmngr/appmngr_model.h"
#include "check/check.h"
#include "check/device.h"
#include "check/document.h"

#include <algorithm>
#include <fmt/format.h>

namespace check
{

namespace
{

// Many times what any device takes; what is longer is not looked at.
constexpr size_t longestContainer = 4 << 20;

// Whether a file begins as an XML document does: with a BOM or with a tag.
bool looksLikeXml(const std::string &file)
{
    const auto start = static_cast<uint32_t>(std::min<size_t>(file.size(), 3));
    if (appmngr_getBomSize(appmngr_checkEncoding(file.data(), start)) > 0) {
        return true;
    }
    const size_t first = file.find_first_not_of(" \t\r\n");
    return first != npos && file[first] == '<';
}

bool isDigestRight(const std::string &container)
{
    return dbimage_verifyDigest(container.data(), static_cast<uint32_t>(container.size())) != 0;
}

bool looksLikeContainer(const std::string &file)
{
    const auto size = static_cast<uint32_t>(file.size());
    if (file.size() < sizeof(dbimage_containerHead) || file.size() > longestContainer) {
        return false;
    }
    dbimage_fileTable table = {};
    // A digest is not right by chance.
    return isDigestRight(file) ||
           (!looksLikeXml(file) && dbimage_listFiles(file.data(), size, &table) == nullptr &&
            table.count > 0);
}

// Almost any bytes decompress to something.
bool isPlausible(const Image &image)
{
    return image.isThere && (looksLikeXml(image.text) ||
                             (!image.text.empty() && image.length <= APPMNGR_IMAGE_SIZE));
}

ContainedFile readFile(const dbimage_file &file)
{
    ContainedFile contained = {file.type, file.size, databaseOfType(file.type), {}, {}};
    if (contained.database != nullptr) {
        // A device decrypts into the buffer that the text is unpacked into later.
        uint32_t length = contained.database->textLimit + 1;
        std::string plain(length, '\0');
        const Run run = captureRun(
            [&] { return appmngr_decrypt(plain.data(), &length, file.data, file.size); });
        if (run.status > 0) {
            contained.header = dbimage_readHeader(plain.data());
            dbimage_completeImage(plain.data());
            plain.resize(length);
            contained.image = plain.substr(offsetof(dbimage_fileHeader, reserved));
        }
    }
    return contained;
}

std::optional<std::string> textInXml(const InputFile &file, const Database &database)
{
    Source source = {file.name, "", file.contents, true};
    const Document document(source);
    if (!source.findings.empty()) {
        throw Failure(file.name, source.findings.front().message);
    }
    const bool isThere = document.top() != nullptr && isNamed(document.top(), database.root);
    const uint32_t limit = (isThere ? database : applicationDatabase).textLimit;
    if (source.text.size() > limit) {
        throw Failure(file.name, fmt::format("the text is {} bytes; the limit is {}",
                                             source.text.size(), limit));
    }
    return isThere ? std::optional(source.text) : std::nullopt;
}

std::string textInImage(const std::string &file, const Image &image, const Database &database)
{
    const std::string name = database.name;
    if (!image.isComplete) {
        throw Failure(file, "the image of the " + name + " is cut off: it should have " +
                                std::to_string(image.length - sizeof(uint32_t)) +
                                " bytes after its length field");
    }
    if (!image.isIntact) {
        throw Failure(file, "the image of the " + name + " is corrupt after " +
                                std::to_string(image.text.size()) + " bytes of text");
    }
    if (image.text.size() > database.textLimit) {
        throw Failure(file, "the text of the " + name + " is longer than the limit of " +
                                std::to_string(database.textLimit) + " bytes");
    }
    return image.text;
}

std::optional<std::string> textInImageFile(const InputFile &file, const Database &database)
{
    const Image image = readImage(file.contents, database.offset, database);
    if (!isPlausible(image) && !isPlausible(readImages(file.contents))) {
        throw Failure(file.name, "is not an XML text, an image or an update container");
    }
    if (!image.isThere || !hasImage(file.contents, database)) {
        return {};
    }
    return textInImage(file.name, image, database);
}

std::optional<std::string> textInContainer(const InputFile &file, const Database &database)
{
    std::optional<std::string> text;
    for (const ContainedFile &contained : requireContainer(file)) {
        if (contained.database == &database) {
            text = containedText(contained, file.name);
        }
    }
    return text;
}

} // namespace

FileKind kindOf(const std::string &file)
{
    return looksLikeContainer(file) ? FileKind::Container
           : looksLikeXml(file)     ? FileKind::Text
                                    : FileKind::Image;
}

Images readImages(const std::string &file)
{
    return {readImage(file, applicationDatabase.offset, applicationDatabase),
            readImage(file, priorityDatabase.offset, priorityDatabase)};
}

bool isPlausible(const Images &images)
{
    return isPlausible(images[0]) || isPlausible(images[1]);
}

bool hasImage(const std::string &file, const Database &database)
{
    return file.find_first_not_of('\0', database.offset) < database.offset + APPMNGR_IMAGE_SIZE;
}

std::vector<ContainedFile> readContainer(const std::string &container, const dbimage_fault **fault)
{
    dbimage_fileTable table = {};
    *fault = dbimage_listFiles(container.data(), static_cast<uint32_t>(container.size()), &table);
    std::vector<ContainedFile> files;
    std::transform(table.file, table.file + table.count, std::back_inserter(files), readFile);
    return files;
}

std::vector<ContainedFile> requireContainer(const InputFile &file)
{
    if (kindOf(file.contents) != FileKind::Container) {
        throw Failure(file.name, "is not an update container");
    }
    const dbimage_fault *fault = nullptr;
    std::vector<ContainedFile> files = readContainer(file.contents, &fault);
    if (fault != nullptr || !isDigestRight(file.contents)) {
        throw Failure(file.name, "is damaged; tarn-db-tool verify says how");
    }
    return files;
}

std::string containedText(const ContainedFile &file, const std::string &container)
{
    if (!file.header) {
        throw Failure(container,
                      "the " + std::string(file.database->name) + " cannot be decrypted");
    }
    return textInImage(container, readImage(file.image, 0, *file.database), *file.database);
}

std::optional<std::string> findText(const InputFile &file, const Database &database)
{
    switch (kindOf(file.contents)) {
    case FileKind::Text:
        return textInXml(file, database);
    case FileKind::Container:
        return textInContainer(file, database);
    default:
        return textInImageFile(file, database);
    }
}

std::string textOf(const InputFile &file, const Database &database)
{
    std::optional<std::string> text = findText(file, database);
    if (!text) {
        throw Failure(file.name, "has no " + std::string(database.name));
    }
    return *text;
}

} // namespace check

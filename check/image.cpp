// Images: the length field, the compressed stream, the texts in it.

#include "check/check_internal.h"

#include "check/database.h"
#include "loader/loader.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace check
{

namespace
{

constexpr uint32_t lengthSize = 4;
constexpr uint32_t shortestBody = 14; // the header before the stream

// What a device reads of a file for a database.
std::string regionOf(const std::string &file, const Database &database)
{
    return file.substr(std::min<size_t>(database.offset, file.size()), APPMNGR_IMAGE_SIZE);
}

// The bytes that the length field announces behind itself.
uint32_t announcedLength(std::string_view region)
{
    uint32_t length = 0;
    for (size_t i = 0; i < lengthSize; i++) {
        const unsigned char byte = i < region.size() ? static_cast<unsigned char>(region[i]) : 0;
        length = length << 8 | byte;
    }
    return length;
}

// The text that a device finds in the region; longer than the limit of the database when it finds
// more than it has room for.
std::string deviceText(std::string region, const Database &database)
{
    region.resize(APPMNGR_IMAGE_SIZE);
    std::string text(database.textLimit + 1, '\0');
    uint32_t length = database.textLimit + 1;
    appmngr_unpackImage(text.data(), &length,
                        reinterpret_cast<const unsigned char *>(region.data()));
    text.resize(length);
    return text;
}

// Almost any bytes decompress to something.
bool isPlausible(const std::string &region, const Database &database)
{
    const uint32_t length = announcedLength(region);
    if (length < shortestBody) {
        return false;
    }
    const std::string text = deviceText(region, database);
    return looksLikeXml(text) || (!text.empty() && length <= APPMNGR_IMAGE_SIZE - lengthSize);
}

// Reports what is wrong with the stream of an image that is there as a whole.
void checkStream(const std::string &region, const Database &database, Source &source)
{
    try {
        const Database here = {database.name, 0, database.textLimit};
        unpackDatabase({"", region}, here);
    } catch (const Failure &failure) {
        // Behind the name of the file, here an empty one, stands the reason.
        source.add(Check::ImageDamaged, 0, std::string(failure.what()).substr(2));
    }
}

// Reports what is wrong with the image of a region but for its stream; true for nothing.
bool checkLength(const std::string &region, const std::string &name, Source &source)
{
    const uint64_t length = uint64_t{announcedLength(region)} + lengthSize;
    const std::string subject = "the image of the " + name + " takes " + std::to_string(length);
    if (length > APPMNGR_IMAGE_SIZE) {
        source.add(Check::ImageSize, 0,
                   subject + " bytes; there is room for " + std::to_string(APPMNGR_IMAGE_SIZE));
    } else if (length > region.size()) {
        source.add(Check::ImageCut, 0,
                   subject + " bytes, of which the file has " + std::to_string(region.size()));
    } else {
        return true;
    }
    return false;
}

} // namespace

bool looksLikeImage(const std::string &file)
{
    return isPlausible(regionOf(file, applicationDatabase), applicationDatabase) ||
           isPlausible(regionOf(file, priorityDatabase), priorityDatabase);
}

void checkImage(const InputFile &image, const Database &database, Source &fileSource,
                std::deque<Source> &sources, AppIds &appIds)
{
    const std::string name = database.name;
    const std::string &region = image.contents;
    if (announcedLength(region) < shortestBody) {
        fileSource.add(Check::ImageLength, 0,
                       "the length field of the " + name + " is " +
                           std::to_string(announcedLength(region)) + ", less than 14");
        return;
    }
    const std::string text = deviceText(region, database);
    if (text.size() > database.textLimit) {
        fileSource.add(Check::TextSize, 0,
                       "the text of the " + name + " takes more than the " +
                           std::to_string(database.textLimit) + " bytes there is room for");
        return;
    }
    if (checkLength(region, name, fileSource)) {
        checkStream(region, database, fileSource);
    }
    sources.push_back({image.name, name, text, {}});
    checkText(database, sources.back(), appIds);
}

void checkImageFile(const InputFile &file, std::deque<Source> &sources)
{
    Source &fileSource = sources.emplace_back(Source{file.name, "", "", {}});
    AppIds appIds;
    checkImage({file.name, regionOf(file.contents, applicationDatabase)}, applicationDatabase,
               fileSource, sources, appIds);
    const std::string region = regionOf(file.contents, priorityDatabase);
    const bool isEmpty = region.find_first_not_of('\0') == std::string::npos;
    if (!isEmpty) {
        checkImage({file.name, region}, priorityDatabase, fileSource, sources, appIds);
    }
}

} // namespace check

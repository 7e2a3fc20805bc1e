// Images: the length field, the compressed stream, the texts in it.

#include "check/check_internal.h"

#include "appmngr/appmngr_model.h"
#include "check/values.h"

namespace check
{

namespace
{

// Reports what is wrong with an image but for its text.
void checkImageItself(const Image &image, const Database &database, Source &source)
{
    const std::string name = "the image of the " + std::string(database.name);
    const std::string length = std::to_string(image.length);
    if (image.length > APPMNGR_IMAGE_SIZE) {
        source.add(Check::ImageSize, 0,
                   name + " is " + length + " bytes; the limit is " +
                       std::to_string(APPMNGR_IMAGE_SIZE));
    } else if (!image.isComplete) {
        source.add(Check::ImageCut, 0,
                   name + " is " + length + " bytes, but the file has only " +
                       std::to_string(image.present) + " of them");
    } else if (!image.isIntact) {
        source.add(Check::ImageDamaged, 0,
                   name + " is corrupt after " + std::to_string(image.text.size()) +
                       " bytes of text");
    }
    checkNearLimit(image.length, APPMNGR_IMAGE_SIZE, "bytes of an image", 0, source);
}

} // namespace

void checkImage(const Image &image, const Database &database, Source &file,
                std::deque<Source> &sources, AppIds &appIds)
{
    const std::string name = database.name;
    if (!image.isThere) {
        file.add(Check::ImageLength, 0,
                 "the length field of the " + name + " is " +
                     std::to_string(image.length - sizeof(uint32_t)) + "; the minimum is 14");
    } else if (image.text.size() > database.textLimit) {
        file.add(Check::TextSize, 0,
                 "the text of the " + name + " is longer than the limit of " +
                     std::to_string(database.textLimit) + " bytes");
    } else {
        checkImageItself(image, database, file);
        sources.push_back({file.file, name, image.text});
        checkNearLimit(image.text.size(), database.textLimit, "bytes of text", 0, sources.back());
        checkText(database, sources.back(), appIds);
    }
}

void checkImageFile(const InputFile &file, const Images &images, std::deque<Source> &sources)
{
    Source &source = sources.emplace_back(Source{file.name, "", ""});
    AppIds appIds;
    checkImage(images[0], applicationDatabase, source, sources, appIds);
    // An image file may end before the priority database, or hold only zeros there.
    if (hasImage(file.contents, priorityDatabase)) {
        checkImage(images[1], priorityDatabase, source, sources, appIds);
    }
    appIds.reportUnknown();
}

} // namespace check

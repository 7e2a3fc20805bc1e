// The table of databases; packing a text into an image and getting it back.

#include "check/database.h"

#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/loader.h"

#include <algorithm>
#include <lzma.h>
#include <string_view>

namespace check
{

static void freeBuffers()
{
    appmngr_file_free();
}

const Database databases[] = {
    {"application database", "AppDB", g_appmngr_settings.imageOffset,
     g_appmngr_settings.xmlBufSize - 1, DBIMAGE_TYPE_APP, true, appmngr_file_alloc,
     &g_appmngr_xmlBuf, appmngr_analyzeDbFile, freeBuffers, appmngr_dbReInit},
    {"priority database", "AppSortDB", APPPRI_IMAGE_OFFSET, g_apppri_profile.bufSize - 1,
     DBIMAGE_TYPE_PRIORITY, false, apppri_DBResAlloc, &apppri_db.xmlBuf, apppri_analyzeDBFile,
     apppri_DBResFree, apppri_DBReInit},
};
const Database &applicationDatabase = databases[0];
const Database &priorityDatabase = databases[1];

namespace
{

constexpr uint32_t lengthSize = 4;
constexpr uint32_t headerSize = imageHead - lengthSize;
constexpr uint32_t propertiesSize = 5;
constexpr uint32_t unpackedSizeAt = 6;

struct Compressed {
    unsigned char properties[propertiesSize];
    std::string stream;
};

void requireFit(const InputFile &text, const std::string &what, size_t size, size_t limit)
{
    if (size > limit) {
        throw Failure(text.name, what + " is " + std::to_string(size) + " bytes; the limit is " +
                                     std::to_string(limit));
    }
}

Compressed compress(const InputFile &text)
{
    const std::string &input = text.contents;
    lzma_options_lzma options = {};
    const bool presetKnown = lzma_lzma_preset(&options, 9 | LZMA_PRESET_EXTREME) == 0;
    options.dict_size =
        std::max(static_cast<uint32_t>(input.size()), static_cast<uint32_t>(LZMA_DICT_SIZE_MIN));
    const lzma_filter filters[] = {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}};

    Compressed result = {};
    // More than incompressible input and the end marker grow to.
    result.stream.resize(input.size() + input.size() / 4 + 256);
    size_t length = 0;
    if (!presetKnown || lzma_properties_encode(&filters[0], result.properties) != LZMA_OK ||
        lzma_raw_buffer_encode(filters, nullptr, reinterpret_cast<const uint8_t *>(input.data()),
                               input.size(), reinterpret_cast<uint8_t *>(result.stream.data()),
                               &length, result.stream.size()) != LZMA_OK) {
        throw Failure(text.name, "cannot be compressed");
    }
    result.stream.resize(length);
    return result;
}

void appendBigEndian32(std::string &bytes, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    }
}

void appendLittleEndian64(std::string &bytes, uint64_t value)
{
    for (int shift = 0; shift < 64; shift += 8) {
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    }
}

uint64_t littleEndian64(const unsigned char *bytes)
{
    uint64_t value = 0;
    for (int i = 7; i >= 0; i--) {
        value = value << 8 | bytes[i];
    }
    return value;
}

// An end marker proves a stream complete. Without one the header's text length does, when the
// packer filled it in: neither 0 nor the all-ones of an unknown length.
bool endsTooEarly(const unsigned char *header, uint32_t textLength)
{
    const uint64_t announced = littleEndian64(header + unpackedSizeAt);
    return announced != 0 && announced != UINT64_MAX && announced != textLength;
}

uint32_t bigEndian32(std::string_view bytes)
{
    uint32_t value = 0;
    for (size_t i = 0; i < 4; i++) {
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return value;
}

} // namespace

const Database *databaseOfType(uint32_t type)
{
    const auto *const found =
        std::find_if(std::begin(databases), std::end(databases),
                     [type](const Database &database) { return database.fileType == type; });
    return found != std::end(databases) ? found : nullptr;
}

size_t compressedSize(const InputFile &text)
{
    return compress(text).stream.size();
}

std::string packDatabase(const InputFile &text, const Database &database)
{
    const std::string name = database.name;
    requireFit(text, "the text of the " + name, text.contents.size(), database.textLimit);
    const Compressed compressed = compress(text);

    const size_t length = headerSize + compressed.stream.size();
    requireFit(text, "the image of the " + name, lengthSize + length, APPMNGR_IMAGE_SIZE);
    std::string image;
    appendBigEndian32(image, static_cast<uint32_t>(length));
    image.push_back('\0');
    image.append(compressed.properties, compressed.properties + propertiesSize);
    appendLittleEndian64(image, text.contents.size());
    return image + compressed.stream;
}

Image readImage(const std::string &file, uint32_t offset, const Database &database)
{
    std::string region = file.substr(std::min<size_t>(offset, file.size()), APPMNGR_IMAGE_SIZE);
    Image image = {};
    image.present = region.size();
    region.resize(APPMNGR_IMAGE_SIZE);
    const uint32_t announced = bigEndian32(region);
    image.length = uint64_t{announced} + lengthSize;
    image.isThere = announced >= headerSize;
    image.isComplete = image.length <= image.present;
    if (image.isThere) {
        const auto *header = reinterpret_cast<const unsigned char *>(region.data()) + lengthSize;
        uint32_t bodyLength = std::min(announced, APPMNGR_IMAGE_SIZE - lengthSize);
        uint32_t textLength = database.textLimit + 1;
        image.text.resize(textLength);
        const int result = appmngr_lzmaUnpack(image.text.data(), &textLength, header, &bodyLength);
        image.text.resize(textLength);
        image.isIntact = result == APPMNGR_LZMA_ERR_INPUT_END ? !endsTooEarly(header, textLength)
                                                              : result == APPMNGR_LZMA_OK;
    }
    return image;
}

} // namespace check

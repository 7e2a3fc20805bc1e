// Packing a text into a database image.

#include "bench/documents.h"
#include "loader/loader.h"

#include <cstdint>
#include <cstdlib>
#include <lzma.h>

namespace bench
{

std::string packImage(std::string_view text)
{
    enum : size_t { LENGTH_SIZE = 4, HEADER_SIZE = 14, PROPERTIES_AT = 5 };

    lzma_options_lzma options;
    if (lzma_lzma_preset(&options, 9 | LZMA_PRESET_EXTREME) != 0) {
        std::abort();
    }
    options.dict_size = static_cast<uint32_t>(text.size());
    const lzma_filter filters[] = {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}};

    std::string image(APPMNGR_IMAGE_SIZE, '\0');
    auto *bytes = reinterpret_cast<uint8_t *>(image.data());
    size_t end = LENGTH_SIZE + HEADER_SIZE;
    if (lzma_properties_encode(&filters[0], bytes + PROPERTIES_AT) != LZMA_OK ||
        lzma_raw_buffer_encode(filters, nullptr, reinterpret_cast<const uint8_t *>(text.data()),
                               text.size(), bytes, &end, image.size()) != LZMA_OK) {
        std::abort();
    }
    const auto length = static_cast<uint32_t>(end - LENGTH_SIZE);
    for (unsigned i = 0; i < LENGTH_SIZE; i++) {
        bytes[i] = static_cast<uint8_t>(length >> (24 - 8 * i));
    }
    image.resize(end);
    return image;
}

} // namespace bench

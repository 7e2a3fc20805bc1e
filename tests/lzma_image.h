/*
 * Database images made with the encoder of liblzma.
 */
#pragma once

#include "tests/capture.h"

#include <lzma.h>

/* Length, a byte, 5 bytes of properties, 8 bytes, a raw LZMA1 stream; what does not count is 0. */
inline std::string image(const std::string &text)
{
    lzma_options_lzma options;
    lzma_lzma_preset(&options, 6);
    options.dict_size = 65536;
    const lzma_filter filters[] = {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    std::string file(text.size() + 4096, '\0');
    auto *bytes = reinterpret_cast<uint8_t *>(file.data());
    size_t end = 18;
    lzma_properties_encode(filters, bytes + 5);
    lzma_raw_buffer_encode(filters, nullptr, reinterpret_cast<const uint8_t *>(text.data()),
                           text.size(), bytes, &end, file.size());
    const uint32_t length = htonl(static_cast<uint32_t>(end - 4));
    memcpy(bytes, &length, sizeof(length));
    return file.substr(0, end);
}

/*
 * Database images made with the encoder of liblzma.
 */
#ifndef TESTS_LZMA_IMAGE_H
#define TESTS_LZMA_IMAGE_H

#include <arpa/inet.h>
#include <lzma.h>

#include <string>

/* The 5 property bytes and a raw LZMA1 stream. */
struct Stream {
    std::string properties, data;
};

inline Stream encode(const std::string &text, uint32_t dictionary)
{
    lzma_options_lzma options;
    lzma_lzma_preset(&options, 6);
    options.dict_size = dictionary;
    lzma_filter filters[] = {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    Stream stream = {std::string(5, '\0'), std::string(text.size() + 4096, '\0')};
    lzma_properties_encode(filters, reinterpret_cast<uint8_t *>(stream.properties.data()));
    size_t written = 0;
    const auto *in = reinterpret_cast<const uint8_t *>(text.data());
    auto *out = reinterpret_cast<uint8_t *>(stream.data.data());
    lzma_raw_buffer_encode(filters, nullptr, in, text.size(), out, &written, stream.data.size());
    stream.data.resize(written);
    return stream;
}

inline std::string image(uint32_t length, const Stream &stream)
{
    length = htonl(length);
    return std::string(reinterpret_cast<const char *>(&length), 4) + "?" + stream.properties +
           "ignored!" + stream.data;
}

inline std::string image(const Stream &stream)
{
    return image(static_cast<uint32_t>(stream.data.size()) + 14, stream);
}

#endif

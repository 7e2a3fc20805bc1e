// Decompression of a database image.
//
//     0         4          5              10              18
//     +---------+----------+--------------+---------------+--------------------------+
//     | length  | ignored  | LZMA         | ignored       | raw LZMA1 stream, end    |
//     | N, BE   |          | properties   |               | mark optional            |
//     +---------+----------+--------------+---------------+--------------------------+
//      4 bytes   1 byte     5 bytes        8 bytes         N - 14 bytes

#include "loader/loader.h"

#include <lzma.h>
#include <stdlib.h>

enum : uint32_t { LENGTH_SIZE = 4, HEADER_SIZE = 14, PROPERTIES_AT = 1, PROPERTIES_SIZE = 5 };

// A decoder for the 5 property bytes, with a dictionary of at most limit bytes.
static lzma_ret initDecoder(lzma_stream *stream, const unsigned char *properties, uint32_t limit)
{
    lzma_filter filters[] = {{LZMA_FILTER_LZMA1, nullptr}, {LZMA_VLI_UNKNOWN, nullptr}};
    lzma_ret result = lzma_properties_decode(&filters[0], nullptr, properties, PROPERTIES_SIZE);
    if (result == LZMA_OK) {
        auto *options = static_cast<lzma_options_lzma *>(filters[0].options);
        // The file may ask for 4 GiB; what lies further back than the output begins is never used.
        if (options->dict_size > limit) {
            options->dict_size = limit;
        }
        result = lzma_raw_decoder(stream, filters);
        free(options);
    }
    return result;
}

static int resultOf(lzma_ret result, const lzma_stream *stream)
{
    switch (result) {
    case LZMA_STREAM_END:
        return APPMNGR_LZMA_OK;
    case LZMA_OK:
    case LZMA_BUF_ERROR:
        return stream->avail_out == 0 ? APPMNGR_LZMA_OK : APPMNGR_LZMA_ERR_INPUT_END;
    case LZMA_MEM_ERROR:
    case LZMA_MEMLIMIT_ERROR:
        return APPMNGR_LZMA_ERR_MEMORY;
    case LZMA_OPTIONS_ERROR:
        return APPMNGR_LZMA_ERR_PROPERTIES;
    default:
        return APPMNGR_LZMA_ERR_DATA;
    }
}

int appmngr_lzmaUnpack(void *dest, uint32_t *destLen, const unsigned char *src, uint32_t *srcLen)
{
    if (*srcLen < HEADER_SIZE) {
        return APPMNGR_LZMA_ERR_INPUT_END;
    }
    lzma_stream stream = LZMA_STREAM_INIT;
    stream.next_in = src + HEADER_SIZE;
    stream.avail_in = *srcLen - HEADER_SIZE;
    stream.next_out = static_cast<uint8_t *>(dest);
    stream.avail_out = *destLen;

    lzma_ret result = initDecoder(&stream, src + PROPERTIES_AT, *destLen);
    while (result == LZMA_OK && stream.avail_out > 0) {
        result = lzma_code(&stream, LZMA_RUN);
    }
    *destLen = static_cast<uint32_t>(stream.total_out);
    *srcLen = static_cast<uint32_t>(stream.total_in) + HEADER_SIZE;
    int status = resultOf(result, &stream);
    lzma_end(&stream);
    return status;
}

void appmngr_unpackImage(char *text, uint32_t *textLen, const unsigned char *image)
{
    uint32_t length = static_cast<uint32_t>(image[0]) << 24 |
                      static_cast<uint32_t>(image[1]) << 16 | static_cast<uint32_t>(image[2]) << 8 |
                      image[3];
    if (length > APPMNGR_IMAGE_SIZE - LENGTH_SIZE) {
        length = APPMNGR_IMAGE_SIZE - LENGTH_SIZE;
    }
    // A fault is left to those who read the text: what was decoded before it may still serve.
    appmngr_lzmaUnpack(text, textLen, image + LENGTH_SIZE, &length);
}

// The database file, and the image in it:
//
//     0         4          5              10              18
//     +---------+----------+--------------+---------------+-----------------------------+
//     | length  | ignored  | LZMA         | ignored       | raw LZMA1 stream,           |
//     | N, BE   |          | properties   |               | with or without end marker  |
//     +---------+----------+--------------+---------------+-----------------------------+
//      4 bytes   1 byte     5 bytes        8 bytes         N - 14 bytes

#include "loader/loader.h"

#include <lzma.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// In bytes; the header begins after the length.
static constexpr uint32_t lengthSize = 4, headerSize = 14, propertiesAt = 1, propertiesSize = 5;

static const char *databasePath;

int appmngr_checkDbPath(const char *path)
{
    databasePath = path;
    FILE *file = path != nullptr ? fopen(path, "r") : nullptr;
    if (file == nullptr) {
        return -1;
    }
    fclose(file);
    return 0;
}

int appmngr_readFile(uint32_t offset, uint32_t size, void *buffer)
{
    FILE *file = buffer != nullptr && databasePath != nullptr ? fopen(databasePath, "r") : nullptr;
    if (file == nullptr) {
        return -1;
    }
    // Unchecked: a pipe is read from where it is, and the decoder copes with a file that ends
    // early.
    (void)fseek(file, static_cast<long>(offset), SEEK_SET);
    const size_t items = fread(buffer, size, 1, file);
    (void)items;
    fclose(file);
    return 0;
}

// A decoder for the 5 property bytes, with a dictionary of at most limit bytes.
static lzma_ret initDecoder(lzma_stream *stream, const unsigned char *properties, uint32_t limit)
{
    lzma_filter filters[] = {{LZMA_FILTER_LZMA1, nullptr}, {LZMA_VLI_UNKNOWN, nullptr}};
    lzma_ret result = lzma_properties_decode(&filters[0], nullptr, properties, propertiesSize);
    if (result == LZMA_OK) {
        auto *options = static_cast<lzma_options_lzma *>(filters[0].options);
        // The file may ask for 4 GiB, but nothing before the start of the output is ever used.
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
    if (*srcLen < headerSize) {
        return APPMNGR_LZMA_ERR_INPUT_END;
    }
    lzma_stream stream = LZMA_STREAM_INIT;
    stream.next_in = src + headerSize;
    stream.avail_in = *srcLen - headerSize;
    stream.next_out = static_cast<uint8_t *>(dest);
    stream.avail_out = *destLen;

    lzma_ret result = initDecoder(&stream, src + propertiesAt, *destLen);
    while (result == LZMA_OK && stream.avail_out > 0) {
        result = lzma_code(&stream, LZMA_RUN);
    }
    *destLen = static_cast<uint32_t>(stream.total_out);
    *srcLen = static_cast<uint32_t>(stream.total_in) + headerSize;
    const int status = resultOf(result, &stream);
    lzma_end(&stream);
    return status;
}

void appmngr_unpackImage(char *text, uint32_t *textLen, const unsigned char *image)
{
    uint32_t length = static_cast<uint32_t>(image[0]) << 24 |
                      static_cast<uint32_t>(image[1]) << 16 | static_cast<uint32_t>(image[2]) << 8 |
                      image[3];
    if (length > APPMNGR_IMAGE_SIZE - lengthSize) {
        length = APPMNGR_IMAGE_SIZE - lengthSize;
    }
    // The text decoded up to a fault may still serve; its readers find out.
    appmngr_lzmaUnpack(text, textLen, image + lengthSize, &length);
}

int _appmngr_readAppDb(void)
{
    if (g_appmngr_imageBuf != nullptr) {
        memset(g_appmngr_imageBuf, 0, APPMNGR_IMAGE_SIZE);
    }
    if (appmngr_readFile(g_appmngr_settings.imageOffset, APPMNGR_IMAGE_SIZE, g_appmngr_imageBuf) ==
        -1) {
        perror("read db flash fail\n");
        return -1;
    }
    const uint32_t size = g_appmngr_settings.xmlBufSize;
    uint32_t written = size;
    appmngr_unpackImage(g_appmngr_xmlBuf, &written, g_appmngr_imageBuf);
    g_appmngr_xmlBuf[written < size ? written : size - 1] = '\0';
    if (size <= written) {
        APPMNGR_ERROR(2167, "Size of buffer \"%d\" is too small.\n", static_cast<int>(size));
        return -1;
    }
    return 0;
}

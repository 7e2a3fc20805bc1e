/*
 * Searching and copying short strings a word at a time. The words at the two ends of a string may
 * overlap, so that none reaches past it. Most strings of a document are so short that calling the C
 * library costs more than the work.
 */
#ifndef XMLP_WORDS_H
#define XMLP_WORDS_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

template <typename Word> static inline uint64_t _wordAt(const char *bytes)
{
    Word word;
    memcpy(&word, bytes, sizeof(word));
    return word;
}

/* Not 0 when a byte of the word is written as an entity. */
static inline uint64_t _entitiesIn(uint64_t word)
{
    const uint64_t ones = 0x0101010101010101;
    const uint64_t bracket = (word | ones * ('<' ^ '>')) ^ ones * ('<' | '>');
    const uint64_t ampersand = word ^ ones * '&';
    /* A borrow sets the highest bit of a byte that was 0. */
    const uint64_t zeros = ((bracket - ones) & ~bracket) | ((ampersand - ones) & ~ampersand);
    return zeros & ones * 0x80;
}

/* Whether one of the bytes, at least one, is written as an entity. */
static inline bool _needEntity(const char *bytes, size_t length)
{
    const char *end = bytes + length;
    if (length >= 8) {
        uint64_t found = _entitiesIn(_wordAt<uint64_t>(end - 8));
        for (; end - bytes > 8; bytes += 8) {
            found |= _entitiesIn(_wordAt<uint64_t>(bytes));
        }
        return found != 0;
    }
    if (length >= 4) {
        return _entitiesIn(_wordAt<uint32_t>(bytes) | _wordAt<uint32_t>(end - 4) << 32) != 0;
    }
    return _entitiesIn(_wordAt<uint8_t>(bytes) | _wordAt<uint8_t>(bytes + length / 2) << 8 |
                       _wordAt<uint8_t>(end - 1) << 16) != 0;
}

/* Copies length bytes; returns the position behind them. */
static inline char *_copyBytes(char *dst, const char *src, size_t length)
{
    if (length >= 8) {
        for (size_t i = 0; i + 8 < length; i += 8) {
            memcpy(dst + i, src + i, 8);
        }
        memcpy(dst + length - 8, src + length - 8, 8);
    } else if (length >= 4) {
        memcpy(dst, src, 4);
        memcpy(dst + length - 4, src + length - 4, 4);
    } else {
        for (size_t i = 0; i < length; i++) {
            dst[i] = src[i];
        }
    }
    return dst + length;
}

#endif

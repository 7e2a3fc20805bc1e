/*
 * Short strings, looked at and copied by the word. The words at the two ends of a string may
 * overlap, so that none reaches out of it. Most strings of a document are so short that a call of
 * the C library costs more than the work.
 */
#ifndef XMLP_WORDS_H
#define XMLP_WORDS_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

static inline uint64_t _word8(const char *bytes)
{
    uint64_t word = 0;
    memcpy(&word, bytes, sizeof word);
    return word;
}

static inline uint64_t _word4(const char *bytes)
{
    uint32_t word = 0;
    memcpy(&word, bytes, sizeof word);
    return word;
}

static inline uint64_t _word1(const char *bytes)
{
    return static_cast<unsigned char>(*bytes);
}

/* Not 0 when a byte of the word is written as an entity. */
static inline uint64_t _entitiesIn(uint64_t word)
{
    const uint64_t ones = 0x0101010101010101;
    uint64_t bracket = (word | ones * ('<' ^ '>')) ^ ones * ('<' | '>');
    uint64_t ampersand = word ^ ones * '&';
    /* A borrow goes into the highest bit of a byte that was 0. */
    uint64_t zeros = ((bracket - ones) & ~bracket) | ((ampersand - ones) & ~ampersand);
    return zeros & ones * 0x80;
}

/* Whether one of the bytes is written as an entity. */
static inline bool _anyEntity(const char *bytes, size_t length)
{
    const char *end = bytes + length;
    if (length >= 8) {
        uint64_t found = _entitiesIn(_word8(end - 8));
        for (; end - bytes > 8; bytes += 8) {
            found |= _entitiesIn(_word8(bytes));
        }
        return found != 0;
    }
    if (length >= 4) {
        return _entitiesIn(_word4(bytes) | _word4(end - 4) << 32) != 0;
    }
    return length != 0 && _entitiesIn(_word1(bytes) | _word1(bytes + length / 2) << 8 |
                                      _word1(end - 1) << 16) != 0;
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

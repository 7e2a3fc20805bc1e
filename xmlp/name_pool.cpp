// The name pool of a static tree.
//
// All distinct element names, attribute names and attribute values of a document, each beginning
// on a word of 4 bytes and ended by a NUL:
//
//     0           4           8           12            16            20
//     +-----------+-----------+-----------+-------------+-------------+----- - -
//     | t u p l   | e 0 0 0   | n a m e   | 00 FF FF 00 | 00 00 00 00 | 0 ...
//     +-----------+-----------+-----------+-------------+-------------+----- - -
//
// A string whose length is a multiple of 4 is followed by the word 00 FF FF 00: its first byte is
// the terminator, the others tell the word from a free one. The first all-zero word ends the pool.
//
// A string is there wherever, from a word on, its bytes and a NUL stand; so one that equals the
// tail of a longer string shares its bytes. The index finds the first such place: it maps the
// first word of a string and the place of the rest to the place of the whole, and is asked word
// by word from the end of the string to its beginning.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

enum : uint32_t { WORD = 4 };

int _initNamePool(XmlpNamePool *pool, uint32_t textLength)
{
    *pool = {};
    // A string of n bytes takes at most n + 4 and has at least 2 bytes of markup beside it, an
    // attribute's two strings together 3; so twice the text is room enough.
    pool->base = static_cast<char *>(calloc(1, 2 * static_cast<size_t>(textLength) + 4096));
    return pool->base != nullptr ? 0 : -1;
}

void _freeNamePool(XmlpNamePool *pool)
{
    free(pool->base);
    _freePairMap(&pool->places);
    *pool = {};
}

// Up to 4 bytes as a number, filled up with zeros.
static uint32_t wordAt(const char *bytes, uint32_t count)
{
    uint32_t word = 0;
    memcpy(&word, bytes, count);
    return word;
}

char *_findName(const XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    if (pool == nullptr || bytes == nullptr) {
        XMLP_ERROR(474, "invalid params.");
        return nullptr;
    }
    uint32_t at = length - length % WORD;
    uint32_t place = _getPair(&pool->places, wordAt(bytes + at, length % WORD), 0);
    while (place != 0 && at > 0) {
        at -= WORD;
        place = _getPair(&pool->places, wordAt(bytes + at, WORD), place);
    }
    return place != 0 ? pool->base + static_cast<size_t>(place - 1) * WORD
                      : pool->base + pool->used;
}

int _saveName(XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    char *name = _findName(pool, bytes, length);
    if (name != pool->base + pool->used) {
        return 0;
    }
    memcpy(name, bytes, length);
    uint32_t at = length - length % WORD;
    if (at == length) {
        memcpy(name + length, "\0\xFF\xFF", WORD);
    }
    uint32_t first = static_cast<uint32_t>(pool->used / WORD) + 1;
    pool->used += at + WORD;

    uint32_t rest = 0;
    for (uint32_t count = length % WORD;; count = WORD, at -= WORD) {
        uint32_t word = wordAt(bytes + at, count);
        uint32_t place = _getPair(&pool->places, word, rest);
        if (place == 0) {
            place = first + at / WORD;
            if (_putPair(&pool->places, word, rest, place) != 0) {
                return -1;
            }
        }
        rest = place;
        if (at == 0) {
            return 0;
        }
    }
}

uint32_t _saveNameAttr(const char *tag, char terminator, XmlpNamePool *pool, int *status)
{
    if (tag == nullptr || pool == nullptr || status == nullptr) {
        XMLP_ERROR(510, "invalid params.");
        return 0;
    }
    XmlpTagReader reader = {tag, terminator};
    XmlpSlice name = _readTagName(&reader);
    XmlpSlice value;
    *status = _saveName(pool, name.bytes, name.length);
    uint32_t count = 0;
    while (*status == 0 && _readTagAttr(&reader, &name, &value) > 0) {
        count++;
        *status = _saveName(pool, name.bytes, name.length);
        if (*status == 0 && value.length > 0) {
            *status = _saveName(pool, value.bytes, value.length);
        }
    }
    return count;
}

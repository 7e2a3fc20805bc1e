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

enum : uint32_t { WORD = XMLP_POOL_WORD };

// Makes room for size bytes more and the free word behind them.
static int reserve(XmlpNamePool *pool, size_t size)
{
    size_t needed = pool->used + size + WORD;
    if (needed <= pool->capacity) {
        return 0;
    }
    size_t capacity = needed > 2 * pool->capacity ? needed + 4096 : 2 * pool->capacity;
    auto *base = static_cast<char *>(realloc(pool->base, capacity));
    if (base == nullptr) {
        return -1;
    }
    memset(base + pool->used, 0, capacity - pool->used);
    pool->base = base;
    pool->capacity = capacity;
    return 0;
}

int _initNamePool(XmlpNamePool *pool)
{
    *pool = {};
    return reserve(pool, 0);
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
    return place != 0 ? _nameAt(pool, place) : pool->base + pool->used;
}

// Tells the index of a string that was put at the end of the pool, and of its tails. Returns its
// place, or 0 without memory.
static uint32_t addPlaces(XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    const auto first = static_cast<uint32_t>(pool->used / WORD) + 1;
    uint32_t at = length - length % WORD;
    uint32_t count = length % WORD;
    uint32_t rest = 0;
    for (;;) {
        uint32_t word = wordAt(bytes + at, count);
        uint32_t place = _getPair(&pool->places, word, rest);
        if (place == 0) {
            place = first + at / WORD;
            if (_putPair(&pool->places, word, rest, place) != 0) {
                return 0;
            }
        }
        if (at == 0) {
            return place;
        }
        rest = place;
        at -= WORD;
        count = WORD;
    }
}

uint32_t _saveName(XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    char *name = _findName(pool, bytes, length);
    if (name != pool->base + pool->used) {
        return static_cast<uint32_t>((name - pool->base) / WORD) + 1;
    }
    size_t size = static_cast<size_t>(length) - length % WORD + WORD;
    if (reserve(pool, size) != 0) {
        return 0;
    }
    name = pool->base + pool->used;
    memcpy(name, bytes, length);
    if (length % WORD == 0) {
        memcpy(name + length, "\0\xFF\xFF", WORD);
    }
    uint32_t place = addPlaces(pool, bytes, length);
    pool->used += size;
    return place;
}

/* ---- Names of elements --------------------------------------------------------------------- */

// The same few names come again and again, and most have at most 16 bytes: their first and last
// 8 bytes and the length tell them exactly.
enum : uint32_t { RECENT_LENGTH = 16 };

// 4 to 8 bytes as a number.
static uint64_t upTo8(const char *bytes, uint32_t count)
{
    return static_cast<uint64_t>(wordAt(bytes, WORD)) << 32 | wordAt(bytes + count - WORD, WORD);
}

static XmlpRecentName keyOf(const char *bytes, uint32_t length)
{
    if (length < WORD) {
        return {wordAt(bytes, length), 0, length, 0};
    }
    if (length <= 8) {
        return {upTo8(bytes, length), 0, length, 0};
    }
    return {upTo8(bytes, 8), upTo8(bytes + length - 8, 8), length, 0};
}

// Stores the name of an element. Returns its place, or 0 without memory.
static uint32_t saveElementName(XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    if (length > RECENT_LENGTH) {
        return _saveName(pool, bytes, length);
    }
    XmlpRecentName key = keyOf(bytes, length);
    uint64_t hash = (key.first ^ key.last ^ length) * 0x9E3779B97F4A7C15u;
    XmlpRecentName *recent = &pool->recent[hash >> 58];
    if (recent->place == 0 || recent->first != key.first || recent->last != key.last ||
        recent->length != length) {
        *recent = key;
        recent->place = _saveName(pool, bytes, length);
    }
    return recent->place;
}

int _saveNameAttr(const char *text, XmlpElement *element, XmlpNamePool *pool, size_t *attrs)
{
    if (text == nullptr || element == nullptr || pool == nullptr || attrs == nullptr) {
        XMLP_ERROR(510, "invalid params.");
        return -1;
    }
    element->place = saveElementName(pool, text + element->name, element->nameLength);
    if (element->isBare || element->place == 0) {
        return element->place != 0 ? 0 : -1;
    }
    XmlpTagReader reader = _readerOf(text, element);
    XmlpSlice name;
    XmlpSlice value;
    while (_readTagAttr(&reader, &name, &value) > 0) {
        if (_saveName(pool, name.bytes, name.length) == 0 ||
            (value.length > 0 && _saveName(pool, value.bytes, value.length) == 0)) {
            return -1;
        }
        ++*attrs;
    }
    return 0;
}

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
// tail of a longer string shares its bytes. The index, a hash table with open addressing, knows
// the first place of every string and of every such tail. A hash is made word by word from the end
// of the string to its beginning, so that those of the tails come along.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

enum : uint32_t { WORD = XMLP_POOL_WORD, FIRST_SLOTS = 256 };

/* ---- The index ----------------------------------------------------------------------------- */

// The slot from index on that has the hash, or the free one that ends the search.
static XmlpNameSlot *slotFrom(const XmlpNamePool *pool, size_t index, uint32_t hash)
{
    for (;; index++) {
        XmlpNameSlot *slot = &pool->slots[index & (pool->slotCount - 1)];
        if (slot->place == 0 || slot->hash == hash) {
            return slot;
        }
    }
}

static XmlpNameSlot *firstSlot(const XmlpNamePool *pool, uint64_t hash)
{
    return slotFrom(pool, static_cast<uint32_t>(hash), static_cast<uint32_t>(hash));
}

static XmlpNameSlot *nextSlot(const XmlpNamePool *pool, const XmlpNameSlot *slot)
{
    return slotFrom(pool, static_cast<size_t>(slot - pool->slots) + 1, slot->hash);
}

static void addPlace(XmlpNamePool *pool, uint64_t hash, uint32_t place)
{
    XmlpNameSlot *slot = firstSlot(pool, hash);
    while (slot->place != 0) {
        slot = nextSlot(pool, slot);
    }
    *slot = {static_cast<uint32_t>(hash), place};
    pool->placeCount++;
}

// Makes room for count places more. A quarter of the slots stays free.
static int reservePlaces(XmlpNamePool *pool, size_t count)
{
    size_t slotCount = pool->slotCount;
    while (slotCount / 4 * 3 < pool->placeCount + count) {
        slotCount = slotCount == 0 ? size_t{FIRST_SLOTS} : 2 * slotCount;
    }
    if (slotCount == pool->slotCount) {
        return 0;
    }
    auto *slots = static_cast<XmlpNameSlot *>(calloc(slotCount, sizeof(XmlpNameSlot)));
    if (slots == nullptr) {
        return -1;
    }
    const XmlpNamePool old = *pool;
    pool->slots = slots;
    pool->slotCount = slotCount;
    pool->placeCount = 0;
    for (size_t i = 0; i < old.slotCount; i++) {
        if (old.slots[i].place != 0) {
            addPlace(pool, old.slots[i].hash, old.slots[i].place);
        }
    }
    free(old.slots);
    return 0;
}

/* ---- Strings and their tails --------------------------------------------------------------- */

// The first 4 bytes of a string as a number, filled up with zeros.
static uint32_t firstWord(const char *bytes, uint32_t length)
{
    uint32_t word = 0;
    if (length >= WORD) {
        memcpy(&word, bytes, WORD);
    } else {
        memcpy(&word, bytes, length);
    }
    return word;
}

// The position behind the last word of a string, the one with its NUL.
static uint32_t endOf(uint32_t length)
{
    return length - length % WORD + WORD;
}

// The hash of a string, from that of the tail behind its first word.
static uint64_t addWord(uint64_t rest, const char *bytes, uint32_t length)
{
    uint64_t hash = (rest ^ firstWord(bytes, length)) * 0x9E3779B97F4A7C15u;
    return hash ^ (hash >> 32);
}

// The hash of a string. The slots that it and its tails need come near meanwhile.
static uint64_t hashOf(const XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    uint64_t hash = pool->seed;
    for (uint32_t at = endOf(length); at > 0;) {
        at -= WORD;
        hash = addWord(hash, bytes + at, length - at);
        __builtin_prefetch(&pool->slots[hash & (pool->slotCount - 1)]);
    }
    return hash;
}

// The place of the string, or 0.
static uint32_t placeOf(const XmlpNamePool *pool, uint64_t hash, const char *bytes, uint32_t length)
{
    const XmlpNameSlot *slot = firstSlot(pool, hash);
    while (slot->place != 0) {
        const char *name = _nameAt(pool, slot->place);
        if (strncmp(name, bytes, length) == 0 && name[length] == '\0') {
            break;
        }
        slot = nextSlot(pool, slot);
    }
    return slot->place;
}

// Adds the places of a string that is not in the index, and of its tails that are not: all that
// are longer than the longest one that is.
static void addPlaces(XmlpNamePool *pool, const char *bytes, uint32_t length, uint32_t place)
{
    uint32_t known = endOf(length);
    uint64_t hash = pool->seed;
    while (known > 0) {
        uint64_t longer = addWord(hash, bytes + known - WORD, length - known + WORD);
        if (firstSlot(pool, longer)->place == 0) {
            break;
        }
        hash = longer;
        known -= WORD;
    }
    if (known < endOf(length) && placeOf(pool, hash, bytes + known, length - known) == 0) {
        known = endOf(length); // another string has its hash
        hash = pool->seed;
    }
    while (known > 0) {
        known -= WORD;
        hash = addWord(hash, bytes + known, length - known);
        addPlace(pool, hash, place + known / WORD);
    }
}

/* ---- The pool ------------------------------------------------------------------------------ */

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
    if (reserve(pool, 0) != 0 || reservePlaces(pool, 1) != 0) {
        return -1;
    }
    // Where the memory lies differs from process to process, so that nobody can write a text whose
    // hashes collide.
    pool->seed = reinterpret_cast<uintptr_t>(pool->base);
    return 0;
}

void _freeNamePool(XmlpNamePool *pool)
{
    free(pool->base);
    free(pool->slots);
    free(pool->attrPlaces);
    *pool = {};
}

char *_findName(const XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    if (pool == nullptr || bytes == nullptr) {
        XMLP_ERROR(474, "invalid params.");
        return nullptr;
    }
    uint32_t place = placeOf(pool, hashOf(pool, bytes, length), bytes, length);
    return place != 0 ? _nameAt(pool, place) : pool->base + pool->used;
}

uint32_t _saveName(XmlpNamePool *pool, const char *bytes, uint32_t length)
{
    char *name = _findName(pool, bytes, length);
    auto place = static_cast<uint32_t>((name - pool->base) / WORD) + 1;
    if (name != pool->base + pool->used) {
        return place;
    }
    size_t size = endOf(length);
    if (reserve(pool, size) != 0 || reservePlaces(pool, size / WORD) != 0) {
        return 0;
    }
    name = pool->base + pool->used;
    memcpy(name, bytes, length);
    if (length % WORD == 0) {
        memcpy(name + length, "\0\xFF\xFF", WORD);
    }
    addPlaces(pool, bytes, length, place);
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
    return static_cast<uint64_t>(firstWord(bytes, WORD)) << 32 |
           firstWord(bytes + count - WORD, WORD);
}

static XmlpRecentName keyOf(const char *bytes, uint32_t length)
{
    if (length < WORD) {
        return {firstWord(bytes, length), 0, length, 0};
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
    XmlpRecentName *recent = &pool->recent[hash >> (64 - XMLP_RECENT_BITS)];
    if (recent->place == 0 || recent->first != key.first || recent->last != key.last ||
        recent->length != length) {
        *recent = key;
        recent->place = _saveName(pool, bytes, length);
    }
    return recent->place;
}

/* ---- Strings of attributes ----------------------------------------------------------------- */

// Stores a name or value of an attribute, and its place for _nextAttrString. 0, or -1 without
// memory.
static int saveAttrString(XmlpNamePool *pool, XmlpSlice slice)
{
    if (pool->attrPlaceCount == pool->attrPlaceCapacity) {
        size_t capacity = 2 * pool->attrPlaceCapacity + 256;
        auto *places =
            static_cast<uint32_t *>(realloc(pool->attrPlaces, capacity * sizeof(uint32_t)));
        if (places == nullptr) {
            return -1;
        }
        pool->attrPlaces = places;
        pool->attrPlaceCapacity = capacity;
    }
    uint32_t place = _saveName(pool, slice.bytes, slice.length);
    pool->attrPlaces[pool->attrPlaceCount++] = place;
    return place != 0 ? 0 : -1;
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
        if (saveAttrString(pool, name) != 0 ||
            (value.length > 0 && saveAttrString(pool, value) != 0)) {
            return -1;
        }
        ++*attrs;
    }
    return 0;
}

char *_nextAttrString(XmlpNamePool *pool)
{
    return _nameAt(pool, pool->attrPlaces[pool->attrPlacesRead++]);
}

// Finding and storing strings in a name pool.

#include "xmlp/name_pool.h"

#include <stdlib.h>
#include <string.h>
#include <sys/random.h>

enum : size_t { WORD = XMLP_POOL_WORD, FEWEST_SLOTS = 256, MOST_SLOTS_AT_FIRST = 16384 };

/* ---- The index ----------------------------------------------------------------------------- */

// The slot from index on that has the hash, or the free one that ends the search.
static XmlpNameSlot *slotFrom(const XmlpNamePool *pool, size_t index, uint64_t hash)
{
    for (;; index++) {
        XmlpNameSlot *slot = &pool->slots[index & (pool->slotCount - 1)];
        if (slot->place == 0 || slot->hash == static_cast<uint32_t>(hash)) {
            return slot;
        }
    }
}

static XmlpNameSlot *nextSlot(const XmlpNamePool *pool, const XmlpNameSlot *slot)
{
    return slotFrom(pool, static_cast<size_t>(slot - pool->slots) + 1, slot->hash);
}

static XmlpNameSlot *freeSlot(const XmlpNamePool *pool, uint64_t hash)
{
    XmlpNameSlot *slot = slotFrom(pool, static_cast<uint32_t>(hash), hash);
    while (slot->place != 0) {
        slot = nextSlot(pool, slot);
    }
    return slot;
}

// Makes room for count places more. A quarter of the slots stays free.
static int reservePlaces(XmlpNamePool *pool, size_t count)
{
    size_t slotCount = pool->slotCount;
    while (slotCount / 4 * 3 < pool->placeCount + count) {
        slotCount *= 4;
    }
    if (slotCount == pool->slotCount) {
        return 0;
    }
    auto *slots = static_cast<XmlpNameSlot *>(calloc(slotCount, sizeof(XmlpNameSlot)));
    if (slots == nullptr) {
        return -1;
    }
    XmlpNameSlot *old = pool->slots;
    const size_t oldCount = pool->slotCount;
    pool->slots = slots;
    pool->slotCount = slotCount;
    // From a free slot on, so that those with the same hash keep their order.
    size_t first = 0;
    while (old[first].place != 0) {
        first++;
    }
    for (size_t i = first; i < first + oldCount; i++) {
        const XmlpNameSlot *slot = &old[i & (oldCount - 1)];
        if (slot->place != 0) {
            *freeSlot(pool, slot->hash) = *slot;
        }
    }
    free(old);
    return 0;
}

/* ---- Strings and their tails --------------------------------------------------------------- */

// The first word of a string of length bytes as a number, that of a shorter one with its length.
static uint32_t firstWord(const char *bytes, size_t length)
{
    uint32_t word = 0;
    if (length >= WORD) {
        memcpy(&word, bytes, WORD);
    } else if (length > 0) {
        const auto at = [bytes](size_t i) {
            return uint32_t{static_cast<unsigned char>(bytes[i])};
        };
        const auto size = static_cast<uint32_t>(length);
        word = at(0) | at(length / 2) << 8 | at(length - 1) << 16 | size << 24;
    }
    return word;
}

// The hash of a string of length bytes, from that of the tail behind its first word.
static uint64_t addWord(uint64_t rest, const char *bytes, size_t length)
{
    const uint64_t hash = (rest ^ firstWord(bytes, length)) * 0x9E3779B97F4A7C15u;
    return hash ^ (hash >> 32);
}

static char *nameAt(const XmlpNamePool *pool, uint32_t place)
{
    return pool->base + static_cast<size_t>(place - 1) * WORD;
}

// Stores the string with what ends it. Most strings are shorter than a call of memcpy is worth.
static void copyWords(char *name, const char *bytes, size_t length)
{
    for (; length >= WORD; name += WORD, bytes += WORD, length -= WORD) {
        memcpy(name, bytes, WORD);
    }
    memcpy(name, length == 0 ? "\0\xFF\xFF" : "\0\0\0", WORD);
    for (size_t i = 0; i < length; i++) {
        name[i] = bytes[i];
    }
}

// Whether the string stands at name, with nothing behind it.
static bool standsAt(const char *name, const char *bytes, size_t length)
{
    for (; length >= WORD; name += WORD, bytes += WORD, length -= WORD) {
        if (firstWord(name, WORD) != firstWord(bytes, WORD)) {
            return false;
        }
    }
    return firstWord(name, length) == firstWord(bytes, length) && name[length] == '\0';
}

// The place of the string, or 0.
static uint32_t find(const XmlpNamePool *pool, uint64_t hash, const char *bytes, size_t length)
{
    const XmlpNameSlot *slot = slotFrom(pool, static_cast<uint32_t>(hash), hash);
    for (; slot->place != 0; slot = nextSlot(pool, slot)) {
        const char *name = nameAt(pool, slot->place);
        if (name + length < pool->base + pool->used && standsAt(name, bytes, length)) {
            break;
        }
    }
    return slot->place;
}

/* ---- The pool ------------------------------------------------------------------------------ */

uint64_t _randomSeed(void)
{
    // Where the kernel has no random bytes yet, the place of the stack has to do.
    uint64_t seed = reinterpret_cast<uintptr_t>(&seed);
    (void)!getrandom(&seed, sizeof(seed), GRND_NONBLOCK);
    return seed;
}

int _initNamePool(XmlpNamePool *pool, size_t expected)
{
    size_t slotCount = FEWEST_SLOTS;
    while (slotCount < MOST_SLOTS_AT_FIRST && slotCount < expected * 2) {
        slotCount *= 2;
    }
    *pool = {nullptr, 0, nullptr, slotCount, 0, 0};
    pool->slots = static_cast<XmlpNameSlot *>(calloc(slotCount, sizeof(XmlpNameSlot)));
    if (pool->slots == nullptr) {
        return -1;
    }
    pool->seed = _randomSeed();
    return 0;
}

void _freeNameIndex(XmlpNamePool *pool)
{
    free(pool->slots);
    pool->slots = nullptr;
}

char *_saveName(XmlpNamePool *pool, const char *bytes, size_t length)
{
    const size_t size = _pooledSize(length);
    if (reservePlaces(pool, size / WORD) != 0) {
        return nullptr;
    }
    // From the shortest tail on. With one that is there, all shorter ones are.
    uint64_t hash = pool->seed;
    size_t at = size;
    while (at > 0) {
        const uint64_t longer = addWord(hash, bytes + at - WORD, length - at + WORD);
        if (slotFrom(pool, static_cast<uint32_t>(longer), longer)->place == 0) {
            break;
        }
        hash = longer;
        at -= WORD;
    }
    const uint32_t known = at < size ? find(pool, hash, bytes + at, length - at) : 0;
    if (known != 0 && at == 0) {
        return nameAt(pool, known);
    }
    if (known == 0) { // no tail is there, or another string has its hash
        hash = pool->seed;
        at = size;
    }
    char *name = pool->base + pool->used;
    copyWords(name, bytes, length);
    for (; at > 0; at -= WORD) {
        hash = addWord(hash, bytes + at - WORD, length - at + WORD);
        const size_t place = (pool->used + at) / WORD;
        *freeSlot(pool, hash) = {static_cast<uint32_t>(hash), static_cast<uint32_t>(place)};
        pool->placeCount++;
    }
    pool->used += size;
    return name;
}

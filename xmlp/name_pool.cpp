// Finding and storing strings in a name pool.

#include "xmlp/name_pool.h"
#include "xmlp/words.h"

#include <stdlib.h>
#include <sys/random.h>

static constexpr size_t WORD = XMLP_POOL_WORD;
static constexpr size_t FIRST_SLOTS = 1024;

// The slot from index on that has the hash, or the free one that ends the search.
static XmlpNameSlot *slotFrom(const XmlpNamePool *pool, size_t index, uint32_t hash)
{
    for (;; index++) {
        XmlpNameSlot *slot = &pool->slots[index & (pool->slotCount - 1)];
        if (slot->poolIndex == 0 || slot->hash == hash) {
            return slot;
        }
    }
}

// Behind all that have the same hash.
static void addSlot(XmlpNamePool *pool, XmlpNameSlot added)
{
    size_t index = added.hash;
    while (pool->slots[index & (pool->slotCount - 1)].poolIndex != 0) {
        index++;
    }
    pool->slots[index & (pool->slotCount - 1)] = added;
}

// Makes room for count slots more. A quarter of them stays free.
static int reserveSlots(XmlpNamePool *pool, size_t count)
{
    size_t slotCount = pool->slotCount;
    while (slotCount / 4 * 3 < pool->usedSlots + count) {
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
    while (old[first].poolIndex != 0) {
        first++;
    }
    for (size_t i = first; i < first + oldCount; i++) {
        const XmlpNameSlot slot = old[i & (oldCount - 1)];
        if (slot.poolIndex != 0) {
            addSlot(pool, slot);
        }
    }
    free(old);
    return 0;
}

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

// Returns the string where it was stored first, or null.
static char *find(const XmlpNamePool *pool, uint32_t hash, const char *bytes, size_t length)
{
    for (size_t index = hash;;) {
        const XmlpNameSlot *slot = slotFrom(pool, index, hash);
        if (slot->poolIndex == 0) {
            return nullptr;
        }
        char *name = pool->base + (slot->poolIndex - 1) * WORD;
        if (name + length < pool->base + pool->used && memcmp(name, bytes, length) == 0 &&
            name[length] == '\0') {
            return name;
        }
        index = static_cast<size_t>(slot - pool->slots) + 1;
    }
}

int _initNamePool(XmlpNamePool *pool)
{
    auto *slots = static_cast<XmlpNameSlot *>(calloc(FIRST_SLOTS, sizeof(XmlpNameSlot)));
    *pool = {nullptr, 0, slots, FIRST_SLOTS, 0, 0};
    // Where the kernel has no random bytes yet, an address on the stack has to do.
    pool->seed = reinterpret_cast<uintptr_t>(&slots);
    (void)!getrandom(&pool->seed, sizeof(pool->seed), GRND_NONBLOCK);
    return slots != nullptr ? 0 : -1;
}

void _freeNameIndex(XmlpNamePool *pool)
{
    free(pool->slots);
    pool->slots = nullptr;
}

char *_saveName(XmlpNamePool *pool, const char *bytes, size_t length)
{
    const size_t size = length - length % WORD + WORD;
    if (reserveSlots(pool, size / WORD) != 0) {
        return nullptr;
    }
    // From the shortest tail on. With one that is there, all shorter ones are.
    uint64_t hash = pool->seed;
    size_t at = size;
    while (at > 0) {
        const uint64_t longer = addWord(hash, bytes + at - WORD, length - at + WORD);
        const auto key = static_cast<uint32_t>(longer);
        if (slotFrom(pool, key, key)->poolIndex == 0) {
            break;
        }
        hash = longer;
        at -= WORD;
    }
    char *name =
        at < size ? find(pool, static_cast<uint32_t>(hash), bytes + at, length - at) : nullptr;
    if (name != nullptr && at == 0) {
        return name;
    }
    if (name == nullptr) { // no tail is there, or another string has its hash
        hash = pool->seed;
        at = size;
    }
    name = pool->base + pool->used;
    memcpy(name + size - WORD, length % WORD == 0 ? "\0\xFF\xFF" : "\0\0\0", WORD);
    _copyBytes(name, bytes, length);
    for (; at > 0; at -= WORD) {
        hash = addWord(hash, bytes + at - WORD, length - at + WORD);
        const size_t poolIndex = (pool->used + at) / WORD;
        addSlot(pool, {static_cast<uint32_t>(hash), static_cast<uint32_t>(poolIndex)});
        pool->usedSlots++;
    }
    pool->used += size;
    return name;
}

// A hash table from pairs of numbers to numbers, with open addressing.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

enum : uint32_t { FIRST_SLOTS = 256 };

// The slot of the pair, or the free one where it belongs.
static XmlpPairSlot *slotOf(const XmlpPairMap *map, uint32_t a, uint32_t b)
{
    static constexpr uint64_t factor = 0x9E3779B97F4A7C15u;
    uint64_t hash = (((static_cast<uint64_t>(a) << 32) | b) ^ map->seed) * factor;
    hash = (hash ^ (hash >> 32)) * factor;
    auto index = static_cast<uint32_t>(hash >> 32);
    for (;; index++) {
        XmlpPairSlot *slot = &map->slots[index & (map->slotCount - 1)];
        if (slot->value == 0 || (slot->a == a && slot->b == b)) {
            return slot;
        }
    }
}

static int grow(XmlpPairMap *map)
{
    XmlpPairMap larger = {};
    larger.slotCount = map->slotCount == 0 ? FIRST_SLOTS : 2 * map->slotCount;
    larger.slots = static_cast<XmlpPairSlot *>(calloc(larger.slotCount, sizeof(XmlpPairSlot)));
    if (larger.slots == nullptr) {
        return -1;
    }
    larger.used = map->used;
    // Where the memory lies differs from process to process, so that nobody can write a text
    // whose pairs collide.
    larger.seed = reinterpret_cast<uintptr_t>(larger.slots);
    for (uint32_t i = 0; i < map->slotCount; i++) {
        const XmlpPairSlot *slot = &map->slots[i];
        if (slot->value != 0) {
            *slotOf(&larger, slot->a, slot->b) = *slot;
        }
    }
    free(map->slots);
    *map = larger;
    return 0;
}

uint32_t _getPair(const XmlpPairMap *map, uint32_t a, uint32_t b)
{
    return map->slotCount == 0 ? 0 : slotOf(map, a, b)->value;
}

int _putPair(XmlpPairMap *map, uint32_t a, uint32_t b, uint32_t value)
{
    if (map->used >= map->slotCount / 2 && grow(map) != 0) {
        return -1;
    }
    XmlpPairSlot *slot = slotOf(map, a, b);
    map->used += slot->value == 0 ? 1 : 0;
    *slot = {a, b, value};
    return 0;
}

void _freePairMap(XmlpPairMap *map)
{
    free(map->slots);
    *map = {};
}

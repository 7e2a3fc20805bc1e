// The attribute names of a tag that has many: is one of them the beginning of an earlier one?
//
// A hash table knows where each name comes first. One that comes again is a beginning, and so is
// one that is found when the beginnings of the names before it are looked up. Only such lengths are
// looked up as names have, which keeps the work within the number of the tag's bytes.

#include "xmlp/name_pool.h"
#include "xmlp/tag.h"

#include <stdlib.h>

namespace
{
struct Slot {
    uint32_t hash;
    uint32_t number; // of the attribute, counted from 1; 0 for a free slot
};

struct Names {
    XmlpSlice *items;
    size_t count;
    Slot *slots;
    size_t slotCount;        // a power of two
    unsigned char *isLength; // whether a name is so long
    uint64_t seed;
};
} // namespace

// The hash of a name from that of all but its last byte.
static uint64_t addByte(uint64_t hash, char byte)
{
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x9E3779B97F4A7C15u;
    return hash ^ (hash >> 32);
}

// The slot of the name, if its number is greater than after, or the free one that ends the search.
static Slot *slotOf(const Names *names, uint64_t hash, XmlpSlice name, size_t after)
{
    for (size_t i = static_cast<uint32_t>(hash);; i++) {
        Slot *slot = &names->slots[i & (names->slotCount - 1)];
        if (slot->number == 0) {
            return slot;
        }
        const XmlpSlice *known = &names->items[slot->number - 1];
        if (slot->number > after && slot->hash == static_cast<uint32_t>(hash) &&
            known->length == name.length && memcmp(known->bytes, name.bytes, name.length) == 0) {
            return slot;
        }
    }
}

// Enters the names. Returns the number of the first that comes again, or the count.
XMLP_COLD static size_t enterNames(Names *names)
{
    for (size_t i = 0; i < names->count; i++) {
        const XmlpSlice name = names->items[i];
        uint64_t hash = names->seed;
        for (size_t at = 0; at < name.length; at++) {
            hash = addByte(hash, name.bytes[at]);
        }
        Slot *slot = slotOf(names, hash, name, 0);
        if (slot->number != 0) {
            return i;
        }
        *slot = {static_cast<uint32_t>(hash), static_cast<uint32_t>(i + 1)};
        names->isLength[name.length] = 1;
    }
    return names->count;
}

// Returns the number of the first name, before that numbered end, that is a beginning of an earlier
// one; or end.
XMLP_COLD static size_t firstBeginning(const Names *names, size_t end)
{
    size_t first = end;
    for (size_t i = 0; i < first; i++) {
        const XmlpSlice name = names->items[i];
        uint64_t hash = names->seed;
        for (size_t length = 0; length < name.length; length++) {
            if (names->isLength[length] != 0) {
                const Slot *slot = slotOf(names, hash, {name.bytes, length}, i + 1);
                if (slot->number != 0 && slot->number - 1 < first) {
                    first = slot->number - 1;
                }
            }
            hash = addByte(hash, name.bytes[length]);
        }
    }
    return first;
}

XMLP_COLD int _findBeginning(XmlpTag tag, size_t count, const char **found)
{
    Names names = {nullptr, count, nullptr, 64, nullptr, _randomSeed()};
    while (names.slotCount < 2 * count) {
        names.slotCount *= 2;
    }
    names.items = static_cast<XmlpSlice *>(calloc(count, sizeof(XmlpSlice)));
    names.slots = static_cast<Slot *>(calloc(names.slotCount, sizeof(Slot)));
    size_t longest = 0;
    for (size_t i = 0; names.items != nullptr && i < count; i++) {
        XmlpSlice value;
        _nextAttr(&tag, &names.items[i], &value);
        longest = names.items[i].length > longest ? names.items[i].length : longest;
    }
    names.isLength = static_cast<unsigned char *>(calloc(longest + 1, 1));
    int status = -1;
    if (names.items != nullptr && names.slots != nullptr && names.isLength != nullptr) {
        const size_t first = firstBeginning(&names, enterNames(&names));
        *found = first < count ? names.items[first].bytes : nullptr;
        status = 0;
    }
    free(names.items);
    free(names.slots);
    free(names.isLength);
    return status;
}

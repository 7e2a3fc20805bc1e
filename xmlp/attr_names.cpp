// The attribute names of a tag that has many: is one of them the beginning of an earlier one?
//
// Sorted, the names that begin with another one follow it, so that the beginnings of each name lie
// on a chain that leads back from it, each the beginning of the one before it on the way.

#include "xmlp/tag.h"

#include <stdlib.h>
#include <string.h>

namespace
{
struct Entry {
    XmlpSlice name;
    size_t number;          // of the attribute in its tag
    const Entry *beginning; // the longest other name that this one begins with, or null
};
} // namespace

static bool beginsWith(XmlpSlice name, XmlpSlice beginning)
{
    return beginning.length <= name.length &&
           memcmp(name.bytes, beginning.bytes, beginning.length) == 0;
}

// By name; of equal ones the last comes first.
static int compare(const void *a, const void *b)
{
    const auto *left = static_cast<const Entry *>(a);
    const auto *right = static_cast<const Entry *>(b);
    const size_t leftLength = left->name.length;
    const size_t rightLength = right->name.length;
    const int order = memcmp(left->name.bytes, right->name.bytes,
                             leftLength < rightLength ? leftLength : rightLength);
    if (order != 0) {
        return order;
    }
    if (leftLength != rightLength) {
        return leftLength < rightLength ? -1 : 1;
    }
    return left->number < right->number ? 1 : -1;
}

int _findBeginning(XmlpTag tag, size_t count, const char **found)
{
    auto *entries = static_cast<Entry *>(malloc(count * sizeof(Entry)));
    if (entries == nullptr) {
        return -1;
    }
    XmlpSlice value;
    for (size_t i = 0; i < count; i++) {
        _nextAttr(&tag, &entries[i].name, &value);
        entries[i].number = i;
    }
    qsort(entries, count, sizeof(Entry), compare);
    const Entry *first = nullptr;
    for (size_t i = 0; i < count; i++) {
        const Entry *beginning = i > 0 ? &entries[i - 1] : nullptr;
        while (beginning != nullptr && !beginsWith(entries[i].name, beginning->name)) {
            beginning = beginning->beginning;
        }
        entries[i].beginning = beginning;
        for (; beginning != nullptr; beginning = beginning->beginning) {
            if (beginning->number > entries[i].number &&
                (first == nullptr || beginning->number < first->number)) {
                first = beginning;
            }
        }
    }
    *found = first != nullptr ? first->name.bytes : nullptr;
    free(entries);
    return 0;
}

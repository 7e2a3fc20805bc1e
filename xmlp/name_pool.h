/*
 * The name pool of a static tree: all distinct element names, attribute names and attribute values
 * of a document, each at a multiple of 4 bytes and terminated by a NUL:
 *
 *     0           4           8           12            16            20
 *     +-----------+-----------+-----------+-------------+-------------+
 *     | t u p l   | e 0 0 0   | n a m e   | 00 FF FF 00 | i d 0 0     |
 *     +-----------+-----------+-----------+-------------+-------------+
 *
 * A string whose length is a multiple of 4 is followed by the word 00 FF FF 00: its first byte is
 * the terminator, the others tell the word from a free one.
 *
 * A string counts as stored wherever its bytes and a NUL stand at a multiple of 4; so one that
 * equals the tail of a longer string shares its bytes. The index, a hash table with open
 * addressing, has the first word of every string and of every such tail. A hash is computed word by
 * word from the end of the string to its beginning, which yields those of its tails on the way.
 */
#ifndef XMLP_NAME_POOL_H
#define XMLP_NAME_POOL_H

#include <stddef.h>
#include <stdint.h>

#pragma GCC visibility push(hidden)

static constexpr size_t XMLP_POOL_WORD = 4;

/* A string in the index, or the tail of one. */
struct XmlpNameSlot {
    uint32_t hash;
    uint32_t poolIndex; /* of its first word, counted from 1; 0 for a free slot */
};

struct XmlpNamePool {
    char *base; /* for the caller to set */
    size_t used;
    XmlpNameSlot *slots;
    size_t slotCount; /* a power of two */
    size_t usedSlots;
    uint64_t seed; /* random, so that nobody can write a text whose hashes collide */
};

/* Makes an empty pool. 0, or -1 without memory. */
int _initNamePool(XmlpNamePool *pool);

/* Frees the index; the strings stay. */
void _freeNameIndex(XmlpNamePool *pool);

/*
 * Returns the string of length bytes in the pool, stored now if it was not there; or null. It takes
 * length + XMLP_POOL_WORD bytes at most.
 */
char *_saveName(XmlpNamePool *pool, const char *bytes, size_t length);

#pragma GCC visibility pop

#endif

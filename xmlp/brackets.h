/*
 * The brackets of a text, "<" and ">", a bit for each byte.
 *
 * A byte inside a multi-byte character is not a bracket, whatever its value: the text is stepped
 * through from character to character, however broken these may be.
 */
#ifndef XMLP_BRACKETS_H
#define XMLP_BRACKETS_H

#include <stddef.h>
#include <stdint.h>

#pragma GCC visibility push(hidden)

static constexpr size_t XMLP_BLOCK = 64;

struct XmlpBrackets {
    uint64_t *blocks; /* bit i of block n is that of byte n * XMLP_BLOCK + i */
    size_t blockCount;
    size_t count; /* of all brackets */
};

/* Fills in brackets for the size bytes at text. 0, or -1 without memory; blocks is to be freed. */
int _findBrackets(XmlpBrackets *brackets, const char *text, size_t size);

/* The brackets from some block on. */
struct XmlpBracketCursor {
    const char *block; /* the 64 bytes of text that bits describes */
    uint64_t bits;     /* of the brackets still to come */
    const uint64_t *next;
    const uint64_t *end;
};

static inline XmlpBracketCursor _firstBlock(const XmlpBrackets *brackets, const char *text)
{
    const uint64_t *blocks = brackets->blocks;
    return {text, blocks[0], blocks + 1, blocks + brackets->blockCount};
}

/* Returns the next bracket, or null after the last. */
static inline const char *_nextBracket(XmlpBracketCursor *cursor)
{
    while (cursor->bits == 0) {
        if (cursor->next == cursor->end) {
            return nullptr;
        }
        cursor->block += XMLP_BLOCK;
        cursor->bits = *cursor->next++;
    }
    const char *bracket = cursor->block + __builtin_ctzll(cursor->bits);
    cursor->bits &= cursor->bits - 1;
    return bracket;
}

#pragma GCC visibility pop

#endif

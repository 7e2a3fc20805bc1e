// Finding the brackets, a block of 64 bytes at a time.

#include "xmlp/brackets.h"
#include "xmlp/wide.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

static size_t countBits(uint64_t bits)
{
    bits -= bits >> 1 & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<size_t>(bits * 0x0101010101010101 >> 56);
}

// The brackets of a block without those inside characters. *inside has a bit for each byte at the
// beginning of the block that belongs to a character before it, and is set for the next block.
static uint64_t outsideCharacters(const char *block, uint64_t brackets, uint64_t *inside)
{
    uint64_t leads = 0;
    for (size_t i = 0; i < XMLP_BLOCK; i += XMLP_CHUNK) {
        leads |= uint64_t{_bitsOf(_areAtLeast(_loadChunk(block + i), 0xC2))} << i;
    }
    // Only a character that begins within 3 bytes of a bracket, or of the next block, can hide one.
    const uint64_t near = brackets >> 1 | brackets >> 2 | brackets >> 3 | uint64_t{7} << 61;
    leads = (leads & near) != 0 ? leads : 0;
    uint64_t hidden = *inside;
    *inside = 0;
    for (; leads != 0; leads &= leads - 1) {
        const int at = __builtin_ctzll(leads);
        if ((hidden >> at & 1) == 0) {
            const uint64_t following = (uint64_t{1} << (_utf8Length(block[at]) - 1)) - 1;
            hidden |= following << at << 1;
            *inside |= following >> (63 - at);
        }
    }
    return brackets & ~hidden;
}

static uint64_t bracketsOf(const char *block, uint64_t *inside)
{
    const XmlpChunk oneBit = _fill(static_cast<unsigned char>(~('<' ^ '>')));
    uint64_t brackets = 0;
    XmlpChunk any = {};
    for (size_t i = 0; i < XMLP_BLOCK; i += XMLP_CHUNK) {
        const XmlpChunk chunk = _loadChunk(block + i);
        brackets |= uint64_t{_bitsOf(_areEqual(chunk & oneBit, _fill('<' & '>')))} << i;
        any |= chunk;
    }
    return _anyHigh(any) || *inside != 0 ? outsideCharacters(block, brackets, inside) : brackets;
}

int _findBrackets(XmlpBrackets *brackets, const char *text, size_t size)
{
    const size_t whole = size / XMLP_BLOCK;
    *brackets = {static_cast<uint64_t *>(malloc((whole + 1) * sizeof(uint64_t))), whole + 1, 0};
    if (brackets->blocks == nullptr) {
        return -1;
    }
    char rest[XMLP_BLOCK] = {};
    memcpy(rest, text + whole * XMLP_BLOCK, size % XMLP_BLOCK);
    uint64_t inside = 0;
    for (size_t i = 0; i <= whole; i++) {
        const char *block = i < whole ? text + i * XMLP_BLOCK : rest;
        brackets->blocks[i] = bracketsOf(block, &inside);
        brackets->count += countBits(brackets->blocks[i]);
    }
    return 0;
}

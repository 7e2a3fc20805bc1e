// Finding the brackets, a block of 64 bytes at a time.

#include "xmlp/brackets.h"
#include "xmlp/wide.h"

#include <stdlib.h>

namespace
{
// Bytes that begin a character of at least 2, 3 and 4 bytes.
struct Leads {
    uint64_t of2;
    uint64_t of3;
    uint64_t of4;
};
} // namespace

// How many blocks a count in each byte of a chunk can take before it passes 255.
enum : size_t { BLOCKS_PER_COUNT = 16 };

static size_t sumOf(XmlpChunk counts)
{
    unsigned char bytes[XMLP_CHUNK];
    memcpy(bytes, &counts, sizeof(bytes));
    size_t sum = 0;
    for (unsigned char byte : bytes) {
        sum += byte;
    }
    return sum;
}

static Leads leadsOf(const char *block)
{
    Leads leads = {};
    for (size_t i = 0; i < XMLP_BLOCK; i += XMLP_CHUNK) {
        const XmlpChunk chunk = _loadChunk(block + i);
        const XmlpChunk none = _areAtLeast(chunk, 0xF5);
        leads.of2 |= uint64_t{_bitsOf(_areAtLeast(chunk, 0xC2) & ~none)} << i;
        leads.of3 |= uint64_t{_bitsOf(_areAtLeast(chunk, 0xE0) & ~none)} << i;
        leads.of4 |= uint64_t{_bitsOf(_areAtLeast(chunk, 0xF0) & ~none)} << i;
    }
    return leads;
}

// The brackets of a block without those inside of characters. *inside has a bit for each byte at
// the block's beginning that belongs to a character before it, and is set for the next block.
static uint64_t outsideCharacters(const char *block, uint64_t brackets, uint64_t *inside)
{
    Leads leads = leadsOf(block);
    uint64_t hidden = *inside | leads.of2 << 1 | leads.of3 << 2 | leads.of4 << 3;
    if ((hidden & (brackets | leads.of2)) != 0) {
        // A broken character; one that begins inside of another one hides nothing.
        hidden = *inside;
        for (uint64_t left = leads.of2; left != 0; left &= left - 1) {
            const uint64_t lead = left & -left;
            if ((hidden & lead) == 0) {
                hidden |=
                    (leads.of2 & lead) << 1 | (leads.of3 & lead) << 2 | (leads.of4 & lead) << 3;
            }
        }
        leads = {leads.of2 & ~hidden, leads.of3 & ~hidden, leads.of4 & ~hidden};
    }
    *inside = leads.of2 >> 63 | leads.of3 >> 62 | leads.of4 >> 61;
    return brackets & ~hidden;
}

static size_t countBits(uint64_t bits)
{
    bits -= bits >> 1 & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<size_t>(bits * 0x0101010101010101 >> 56);
}

// The brackets of a block; its quotes are added up.
static uint64_t bracketsOf(const char *block, XmlpChunk *quotes, uint64_t *inside)
{
    const XmlpChunk oneBit = _fill(static_cast<unsigned char>(~('<' ^ '>')));
    uint64_t brackets = 0;
    XmlpChunk any = {};
    for (size_t i = 0; i < XMLP_BLOCK; i += XMLP_CHUNK) {
        const XmlpChunk chunk = _loadChunk(block + i);
        brackets |= uint64_t{_bitsOf(_areEqual(chunk & oneBit, _fill('<' & '>')))} << i;
        *quotes = _count(*quotes, _areEqual(chunk, _fill('"')));
        any |= chunk;
    }
    if (_anyHigh(any) || *inside != 0) {
        brackets = outsideCharacters(block, brackets, inside);
    }
    return brackets;
}

// The bytes of a block from each odd bracket to before the next one. *inTag is all ones when the
// block begins between such two, and is set for the next block.
static uint64_t tagBytesOf(uint64_t brackets, uint64_t *inTag)
{
    for (unsigned shift = 1; shift < XMLP_BLOCK; shift *= 2) {
        brackets ^= brackets << shift;
    }
    brackets ^= *inTag;
    *inTag = 0 - (brackets >> 63);
    return brackets;
}

int _findBrackets(XmlpBrackets *brackets, const char *text, size_t size)
{
    const size_t whole = size / XMLP_BLOCK;
    *brackets = {};
    brackets->blockCount = whole + 1;
    brackets->blocks = static_cast<uint64_t *>(malloc((whole + 1) * sizeof(uint64_t)));
    if (brackets->blocks == nullptr) {
        return -1;
    }
    char rest[XMLP_BLOCK] = {};
    memcpy(rest, text + whole * XMLP_BLOCK, size % XMLP_BLOCK);
    uint64_t inside = 0;
    uint64_t inTag = 0;
    XmlpChunk quotes = {};
    for (size_t i = 0; i <= whole; i++) {
        const char *block = i < whole ? text + i * XMLP_BLOCK : rest;
        brackets->blocks[i] = bracketsOf(block, &quotes, &inside);
        brackets->count += countBits(brackets->blocks[i]);
        const uint64_t there = i < whole ? ~uint64_t{0} : (uint64_t{1} << size % XMLP_BLOCK) - 1;
        brackets->tagBytes += countBits(tagBytesOf(brackets->blocks[i], &inTag) & there);
        if (i % BLOCKS_PER_COUNT == BLOCKS_PER_COUNT - 1 || i == whole) {
            brackets->quotes += sumOf(quotes);
            quotes = XmlpChunk();
        }
    }
    return 0;
}

/*
 * Many bytes of a text at a time: a vector of 16 where the processor has them (SSE2, NEON), a word
 * of 8 elsewhere. XMLP_NO_VECTOR forces words everywhere.
 *
 * A comparison yields a chunk in which the matching bytes have their highest bit set and the others
 * are zero; such chunks combine with | and &.
 */
#ifndef XMLP_WIDE_H
#define XMLP_WIDE_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#if (defined(__SSE2__) || defined(__ARM_NEON)) && !defined(XMLP_NO_VECTOR)
#define XMLP_VECTOR 1
typedef unsigned char XmlpChunk __attribute__((vector_size(16)));
#else
typedef uint64_t XmlpChunk;
#endif

static constexpr size_t XMLP_CHUNK = sizeof(XmlpChunk);

static inline XmlpChunk _loadChunk(const char *bytes)
{
    XmlpChunk chunk;
    memcpy(&chunk, bytes, sizeof(chunk));
    return chunk;
}

/* The highest bits of 8 bytes; that of the first byte is the lowest. */
static inline unsigned _gatherBits(uint64_t flags)
{
    flags = flags >> 7 & 0x0101010101010101;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return static_cast<unsigned>(flags * 0x0102040810204080 >> 56);
#else
    return static_cast<unsigned>(flags * 0x8040201008040201 >> 56);
#endif
}

#ifdef XMLP_VECTOR

static inline XmlpChunk _fill(unsigned char byte)
{
    return XmlpChunk{} + byte;
}

static inline XmlpChunk _areEqual(XmlpChunk chunk, XmlpChunk to)
{
    return reinterpret_cast<XmlpChunk>(chunk == to);
}

/* byte is at least 0x80. */
static inline XmlpChunk _areAtLeast(XmlpChunk chunk, unsigned char byte)
{
    return reinterpret_cast<XmlpChunk>(chunk >= _fill(byte));
}

/* byte is at most 0x80. Bytes of 0x80 or more may match or not. */
static inline XmlpChunk _areBelow(XmlpChunk chunk, unsigned char byte)
{
    return reinterpret_cast<XmlpChunk>(chunk < _fill(byte));
}

/* The highest bit of each byte; that of the first byte is the lowest. */
static inline unsigned _bitsOf(XmlpChunk flags)
{
#ifdef __SSE2__
    typedef char Bytes __attribute__((vector_size(16)));
    return static_cast<unsigned>(__builtin_ia32_pmovmskb128(reinterpret_cast<Bytes>(flags)));
#else
    uint64_t halves[2];
    memcpy(halves, &flags, sizeof(halves));
    return _gatherBits(halves[0]) | _gatherBits(halves[1]) << 8;
#endif
}

/* Whether the first length bytes, 1 to 16, at a and b are equal; 16 bytes are there. */
static inline bool _areSame(const char *a, const char *b, size_t length)
{
    const unsigned same = _bitsOf(_areEqual(_loadChunk(a), _loadChunk(b)));
    return (~same & ((1u << length) - 1)) == 0;
}

#else

static constexpr uint64_t XMLP_ONES = 0x0101010101010101;
static constexpr uint64_t XMLP_HIGHS = 0x80 * XMLP_ONES;

static inline XmlpChunk _fill(unsigned char byte)
{
    return XMLP_ONES * byte;
}

static inline XmlpChunk _areEqual(XmlpChunk chunk, XmlpChunk to)
{
    const uint64_t differ = chunk ^ to;
    return ~(((differ & ~XMLP_HIGHS) + ~XMLP_HIGHS) | differ) & XMLP_HIGHS;
}

static inline XmlpChunk _areBelow(XmlpChunk chunk, unsigned char byte)
{
    return ~((chunk | XMLP_HIGHS) - XMLP_ONES * byte) & XMLP_HIGHS;
}

static inline XmlpChunk _areAtLeast(XmlpChunk chunk, unsigned char byte)
{
    return ((chunk & ~XMLP_HIGHS) + XMLP_ONES * (0x100u - byte)) & chunk & XMLP_HIGHS;
}

static inline unsigned _bitsOf(XmlpChunk flags)
{
    return _gatherBits(flags);
}

static inline bool _areSame(const char *a, const char *b, size_t length)
{
    const uint64_t differ = _loadChunk(a) ^ _loadChunk(b);
    if (length > XMLP_CHUNK) {
        const size_t at = length - XMLP_CHUNK;
        return differ == 0 && _loadChunk(a + at) == _loadChunk(b + at);
    }
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return differ << (64 - 8 * length) == 0;
#else
    return differ >> (64 - 8 * length) == 0;
#endif
}

#endif

/* Whether any flag is set, or any byte at least 0x80. */
static inline bool _anyHigh(XmlpChunk chunk)
{
    return _bitsOf(chunk) != 0;
}

#endif

/*
 * The scanner: the marks of a text, "<" and ">", in order.
 *
 * It steps from character to character, so that a byte inside a multi-byte character is never
 * taken for a mark, and a character that passes the end of the text is its end. Ampersands are
 * noted wherever they stand, since entities are replaced byte by byte. The scanner looks at 64
 * bytes at a time and takes a bit for each of them that one of this concerns.
 */
#ifndef XMLP_SCANNER_H
#define XMLP_SCANNER_H

#include "xmlp/xmlp_internal.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

enum : unsigned { XMLP_SCAN_BLOCK = 64 };

struct XmlpScanner {
    const char *block;  /* the bytes that bits tells of */
    const char *end;    /* of the text */
    const char *resume; /* behind the last multi-byte character */
    uint64_t bits;
    bool ampersand; /* one was passed; for the caller to clear */
};

/* The bits of size (at most 64) bytes, one by one. */
static inline uint64_t _scanBytes(const char *block, size_t size)
{
    uint64_t bits = 0;
    for (size_t i = 0; i < size; i++) {
        bool found = _isByte(block[i], XMLP_MARK) || block[i] == '&' || _stepOf(block[i]) > 1;
        bits |= static_cast<uint64_t>(found) << i;
    }
    return bits;
}

#ifdef __SSE2__
/* The bits of 64 bytes, 16 by 16; bytes that no character begins with are among them. */
static inline uint64_t _scanBlock(const char *block)
{
    const __m128i oneBit = _mm_set1_epi8(static_cast<char>(~('<' ^ '>')));
    const __m128i bracket = _mm_set1_epi8('<' & '>');
    const __m128i ampersand = _mm_set1_epi8('&');
    const __m128i lead = _mm_set1_epi8(static_cast<char>(0xC2));
    uint64_t bits = 0;
    for (unsigned i = 0; i < XMLP_SCAN_BLOCK; i += 16) {
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(block + i));
        __m128i found = _mm_cmpeq_epi8(_mm_and_si128(bytes, oneBit), bracket);
        found = _mm_or_si128(found, _mm_cmpeq_epi8(bytes, ampersand));
        found = _mm_or_si128(found, _mm_cmpeq_epi8(_mm_max_epu8(bytes, lead), bytes));
        bits |= static_cast<uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(found))) << i;
    }
    return bits;
}
#else
static inline uint64_t _scanBlock(const char *block)
{
    return _scanBytes(block, XMLP_SCAN_BLOCK);
}
#endif

static inline void _loadBlock(XmlpScanner *scanner)
{
    auto left = static_cast<size_t>(scanner->end - scanner->block);
    scanner->bits =
        left >= XMLP_SCAN_BLOCK ? _scanBlock(scanner->block) : _scanBytes(scanner->block, left);
}

static inline void _beginScan(XmlpScanner *scanner, const char *text, const char *end)
{
    *scanner = {text, end, text, 0, false};
    _loadBlock(scanner);
}

/* Returns the next mark, or the end of the text. */
static inline const char *_nextMark(XmlpScanner *scanner)
{
    for (;;) {
        while (scanner->bits != 0) {
            const char *p = scanner->block + __builtin_ctzll(scanner->bits);
            scanner->bits &= scanner->bits - 1;
            if (*p == '&') {
                scanner->ampersand = true;
            } else if (p >= scanner->resume) {
                if (_isByte(*p, XMLP_MARK)) {
                    return p;
                }
                scanner->resume = p + _stepOf(*p);
            }
        }
        if (scanner->end - scanner->block <= static_cast<ptrdiff_t>(XMLP_SCAN_BLOCK)) {
            return scanner->end;
        }
        scanner->block += XMLP_SCAN_BLOCK;
        _loadBlock(scanner);
    }
}

#endif

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
    bool isPlain;   /* all bits are those of marks */
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
/*
 * The bits of 64 bytes, 16 by 16; bytes that no character begins with are among them. Tells whether
 * all are those of marks.
 */
static inline uint64_t _scanBlock(const char *block, bool *isPlain)
{
    const __m128i oneBit = _mm_set1_epi8(static_cast<char>(~('<' ^ '>')));
    const __m128i bracket = _mm_set1_epi8('<' & '>');
    const __m128i ampersand = _mm_set1_epi8('&');
    const __m128i lead = _mm_set1_epi8(static_cast<char>(0xC2));
    __m128i others = _mm_setzero_si128();
    uint64_t bits = 0;
    for (unsigned i = 0; i < XMLP_SCAN_BLOCK; i += 16) {
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(block + i));
        __m128i mark = _mm_cmpeq_epi8(_mm_and_si128(bytes, oneBit), bracket);
        __m128i other = _mm_or_si128(_mm_cmpeq_epi8(bytes, ampersand),
                                     _mm_cmpeq_epi8(_mm_max_epu8(bytes, lead), bytes));
        others = _mm_or_si128(others, other);
        __m128i found = _mm_or_si128(mark, other);
        bits |= static_cast<uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(found))) << i;
    }
    *isPlain = _mm_movemask_epi8(others) == 0;
    return bits;
}

/*
 * Whether the length bytes at name, at most 16 and no marks, are ones that ASCII names consist of;
 * false, too, for a name with control characters. 16 bytes must be there.
 */
static inline bool _isShortName(const char *name, size_t length)
{
    __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(name));
    __m128i other = _mm_cmplt_epi8(bytes, _mm_set1_epi8('!')); /* not ASCII, blank or control */
    for (char delimiter : "\"&/=") {
        other = _mm_or_si128(other, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(delimiter)));
    }
    unsigned bits = static_cast<unsigned>(_mm_movemask_epi8(other));
    return (bits & ((1u << length) - 1)) == 0;
}
#else
static inline uint64_t _scanBlock(const char *block, bool *isPlain)
{
    *isPlain = false;
    return _scanBytes(block, XMLP_SCAN_BLOCK);
}

static inline bool _isShortName(const char * /*name*/, size_t /*length*/)
{
    return false;
}
#endif

static inline void _loadBlock(XmlpScanner *scanner)
{
    auto left = static_cast<size_t>(scanner->end - scanner->block);
    scanner->isPlain = false;
    scanner->bits = left >= XMLP_SCAN_BLOCK ? _scanBlock(scanner->block, &scanner->isPlain)
                                            : _scanBytes(scanner->block, left);
    scanner->isPlain = scanner->isPlain && scanner->resume <= scanner->block;
}

static inline void _beginScan(XmlpScanner *scanner, const char *text, const char *end)
{
    *scanner = {text, end, text, 0, false, false};
    _loadBlock(scanner);
}

/* Returns the next mark, or the end of the text. */
static inline const char *_nextMark(XmlpScanner *scanner)
{
    for (;;) {
        while (scanner->bits != 0) {
            const char *p = scanner->block + __builtin_ctzll(scanner->bits);
            scanner->bits &= scanner->bits - 1;
            if (scanner->isPlain) {
                return p;
            }
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

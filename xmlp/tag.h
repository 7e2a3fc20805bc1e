/*
 * Reading the name and the attributes of a tag.
 */
#ifndef XMLP_TAG_H
#define XMLP_TAG_H

#include "xmlp/wide.h"
#include "xmlp/xmlp_internal.h"

#include <string.h>

#pragma GCC visibility push(hidden)

/* A tag that is being read. Its ">", which no name or value contains, ends every scan. */
struct XmlpTag {
    const char *p;   /* the current position, or that of the fault */
    const char *end; /* of the text, or a position before it */
    char terminator; /* ">" of a start tag, "/" of an empty-element tag */
    bool isLoose;    /* see _readLoosely */
    bool isWide;     /* a multi-byte character was met, which may hide a NUL */
};

static inline const char *_skipBlanks(const char *p)
{
    while (_hasClass(*p, XMLP_BLANK)) {
        p++;
    }
    return p;
}

/* The bytes of a chunk that may end a name or, if isValue, an attribute's value. */
template <bool isValue> static inline XmlpChunk _stopsOf(XmlpChunk chunk)
{
    /* Those that are not ASCII, blank or control. */
    XmlpChunk stops = chunk | _areBelow(chunk, isValue ? ' ' : '!');
    constexpr unsigned char delimiters[] = {'"', '&', '/', '>'};
    for (unsigned char delimiter : delimiters) {
        stops |= _areEqual(chunk, _fill(delimiter));
    }
    return isValue ? stops : stops | _areEqual(chunk, _fill('='));
}

/* Returns the end of the name or, if isValue, of the attribute's value at the tag's position. */
template <bool isValue> static inline const char *_skip(XmlpTag *tag)
{
    const char *p = tag->p;
    for (;;) {
        unsigned stops = 1;
        if (tag->end - p >= static_cast<ptrdiff_t>(XMLP_CHUNK)) {
            stops = _bitsOf(_stopsOf<isValue>(_loadChunk(p)));
        }
        if (stops == 0) {
            p += XMLP_CHUNK;
            continue;
        }
        p += __builtin_ctz(stops);
        if (!_hasClass(*p, isValue ? XMLP_ATTR_VALUE : XMLP_NAME) ||
            (isValue && *p == tag->terminator)) {
            return p;
        }
        tag->isWide = tag->isWide || _utf8Length(*p) > 1;
        p += _utf8Length(*p);
    }
}

/* A NUL inside a multi-byte character ends the name or value. */
static inline XmlpSlice _sliceOf(const XmlpTag *tag, const char *from, const char *to)
{
    const auto length = static_cast<size_t>(to - from);
    return {from, tag->isWide ? strnlen(from, length) : length};
}

/*
 * Reads the name that the tag begins with, and the blanks after it. Its first byte may be any but
 * the terminator; a blank or a NUL there makes it empty. 0, or the line that reports the fault.
 */
static inline int _readName(XmlpTag *tag, XmlpSlice *name)
{
    const char *begin = tag->p;
    if (*begin == tag->terminator) {
        return 155;
    }
    tag->isWide = _utf8Length(*begin) > 1;
    tag->p = begin + _utf8Length(*begin);
    const char *end = _skip<false>(tag);
    tag->p = end;
    if (*end != tag->terminator && !_hasClass(*end, XMLP_BLANK)) {
        return 169;
    }
    tag->p = _skipBlanks(end);
    const bool isEmpty = *begin == '\0' || _hasClass(*begin, XMLP_BLANK);
    *name = _sliceOf(tag, begin, isEmpty ? begin : end);
    return 0;
}

/* Reads the tag up to its attributes. 0, or -1 for a fault of the tag. */
static inline int _beginTag(XmlpTag *tag, XmlpSlice *name)
{
    if (_readName(tag, name) != 0) {
        return -1;
    }
    if (!_hasClass(*name->bytes, XMLP_BLANK)) {
        return 0;
    }
    XmlpFinding fault;
    tag->isLoose = true;
    tag->p = name->bytes;
    return _checkNameAttr(name->bytes, tag->terminator, &fault);
}

/* Reads the next attribute and the blanks after it. 0, or the line that reports the fault. */
static inline int _readAttr(XmlpTag *tag, XmlpSlice *name, XmlpSlice *value)
{
    const char *&p = tag->p;
    const char *begin = p;
    if (!_hasClass(*p, XMLP_NAME)) {
        return 188;
    }
    p = _skip<false>(tag);
    *name = _sliceOf(tag, begin, p);
    if (*p == tag->terminator) {
        return 232;
    }
    p = _skipBlanks(p);
    if (*p != '=') {
        return 199;
    }
    p = _skipBlanks(p + 1);
    if (*p != '"') {
        return 205;
    }
    begin = ++p;
    p = _skip<true>(tag);
    if (*p == tag->terminator) {
        return 232;
    }
    if (*p != '"') {
        return 223;
    }
    *value = _sliceOf(tag, begin, p);
    p = _skipBlanks(p + 1);
    return 0;
}

/*
 * Reads the next attribute of a tag that begins with a blank, which hides its name from the check:
 * each word is an attribute's name, and the next two quotes enclose its value. 1, 0 when there are
 * no more, or -1 for one that the tag cuts off.
 */
int _readLoosely(XmlpTag *tag, XmlpSlice *name, XmlpSlice *value);

/* Reads the next attribute, whatever the tag. 1, 0 when there are no more, or -1. */
static inline int _nextAttr(XmlpTag *tag, XmlpSlice *name, XmlpSlice *value)
{
    if (tag->isLoose) {
        return _readLoosely(tag, name, value);
    }
    if (*tag->p == tag->terminator) {
        return 0;
    }
    return _readAttr(tag, name, value) == 0 ? 1 : -1;
}

/*
 * Sets *found to the first of the count attribute names from the tag's position on that is the
 * beginning of an earlier one, or to null. 0, or -1 without memory.
 */
int _findBeginning(XmlpTag tag, size_t count, const char **found);

#pragma GCC visibility pop

#endif

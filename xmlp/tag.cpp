// Tags: checking what stands in one, reading its parts.

#include "xmlp/xmlp_internal.h"

#include <string.h>

static const char *skipBlanks(const char *p)
{
    while (_isByte(*p, XMLP_BLANK)) {
        p++;
    }
    return p;
}

const char *_skipWhiteSpace(const char *p)
{
    if (p == nullptr) {
        XMLP_ERROR(121, "buf is null.");
        return nullptr;
    }
    return skipBlanks(p);
}

/* ---- Checking ------------------------------------------------------------------------------ */

// A tag's ">" is a byte of neither names nor attribute values, so that no scan here passes it.

static const char *skipName(const char *p)
{
    while (_isByte(*p, XMLP_NAME)) {
        p += _stepOf(*p);
    }
    return p;
}

// Passes an attribute and the blanks behind it. Returns 0, or the line that reports the fault that
// *attr then points at.
static int passAttr(const char **attr, char terminator)
{
    const char *&p = *attr;
    if (!_isByte(*p, XMLP_NAME)) {
        return 188;
    }
    p = skipName(p);
    if (*p == terminator) {
        return 232;
    }
    p = skipBlanks(p);
    if (*p != '=') {
        return 199;
    }
    p = skipBlanks(p + 1);
    if (*p != '"') {
        return 205;
    }
    p++;
    while (*p != terminator && _isByte(*p, XMLP_ATTR_VALUE)) {
        p += _stepOf(*p);
    }
    if (*p == terminator) {
        return 232;
    }
    if (*p != '"') {
        return 223;
    }
    p = skipBlanks(p + 1);
    return 0;
}

int _checkNameAttr(const char *tag, char terminator)
{
    if (tag == nullptr) {
        XMLP_ERROR(148, "buf is null.");
        return -1;
    }
    if (*tag == terminator) {
        _refuseAt(tag);
        XMLP_ERROR(155, "error xml tag name.");
        return -1;
    }
    const char *p = skipName(tag + _stepOf(*tag));
    if (*p != terminator && !_isByte(*p, XMLP_BLANK)) {
        _refuseAt(p);
        XMLP_ERROR(169, "error xml tag name.");
        return -1;
    }
    p = skipBlanks(p);
    while (*p != terminator) {
        int fault = passAttr(&p, terminator);
        if (fault != 0) {
            _refuseAt(p);
            // The doubled word is kept on purpose.
            XMLP_ERROR(fault, fault == 232 ? "error xml attributeibute." : "error xml attribute.");
            return -1;
        }
    }
    return 0;
}

/* ---- Reading ------------------------------------------------------------------------------- */

static XmlpSlice slice(const char *from, const char *to)
{
    return {from, static_cast<uint32_t>(strnlen(from, static_cast<size_t>(to - from)))};
}

XmlpSlice _readTagName(XmlpTagReader *reader)
{
    const char *name = reader->p;
    const char *p = name;
    while (*p != reader->terminator && *p != '>' && !_isByte(*p, XMLP_BLANK)) {
        p += _stepOf(*p);
    }
    reader->p = p;
    return slice(name, p);
}

XmlpTagReader _readerOf(const char *text, const XmlpElement *element)
{
    return {text + element->attrs, element->end != 0 ? '>' : '/'};
}

int _readTagAttr(XmlpTagReader *reader, XmlpSlice *name, XmlpSlice *value)
{
    const char *p = skipBlanks(reader->p);
    if (*p == reader->terminator || *p == '>') {
        return 0;
    }
    const char *start = p;
    while (*p != '=' && *p != '>' && !_isByte(*p, XMLP_BLANK)) {
        p += _stepOf(*p);
    }
    *name = slice(start, p);
    while (*p != '"' && *p != '>') {
        p += _stepOf(*p);
    }
    start = *p == '"' ? p + 1 : p;
    for (p = start; *p != '"' && *p != '>';) {
        p += _stepOf(*p);
    }
    if (*p != '"') {
        return -1;
    }
    *value = slice(start, p);
    reader->p = p + 1;
    return 1;
}

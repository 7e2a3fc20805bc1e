// What may be wrong with a tag, and what is read of one that is not quite right.

#include "xmlp/tag.h"

static int found(XmlpFinding *fault, const char *function, int line, const char *message,
                 const char *at)
{
    *fault = {function, line, message, at};
    return -1;
}

XMLP_COLD int _checkNameAttr(const char *tag, char terminator, XmlpFinding *fault)
{
    XmlpTag reader = {tag, tag, terminator, false, false};
    XmlpSlice name;
    XmlpSlice value;
    int line = _readName(&reader, &name);
    if (line != 0) {
        return found(fault, __func__, line, "error xml tag name.", reader.p);
    }
    while (*reader.p != terminator) {
        line = _readAttr(&reader, &name, &value);
        if (line != 0) {
            // The doubled word is kept on purpose.
            const char *message =
                line == 232 ? "error xml attributeibute." : "error xml attribute.";
            return found(fault, __func__, line, message, reader.p);
        }
    }
    return 0;
}

XMLP_COLD int _checkEndTag(const char *open, const char *name, const char *close,
                           XmlpFinding *fault)
{
    const char *p = open;
    for (; name < close; name++, p++) {
        if (*p != *name) {
            return found(fault, "_subXml", 322, "not same tag name.", name);
        }
        if (!_isByte(*name, XMLP_NAME)) { // says "valid" of an invalid byte, on purpose
            return found(fault, "_subXml", 327, "valid tag name.", name);
        }
    }
    if (*p != '>' && !_isByte(*p, XMLP_BLANK)) {
        return found(fault, "_subXml", 350, "not same tag name.", close);
    }
    return *p == '>' ? 0 : _checkNameAttr(open, '>', fault);
}

XMLP_COLD int _readLoosely(XmlpTag *tag, XmlpSlice *name, XmlpSlice *value)
{
    tag->isWide = true; // unchecked, that is
    const char *p = _skipBlanks(tag->p);
    if (*p == tag->terminator || *p == '>') {
        return 0;
    }
    const char *begin = p;
    while (*p != '=' && *p != '>' && !_isByte(*p, XMLP_BLANK)) {
        p += _stepOf(*p);
    }
    *name = _sliceOf(tag, begin, p);
    while (*p != '"' && *p != '>') {
        p += _stepOf(*p);
    }
    begin = *p == '"' ? p + 1 : p;
    for (p = begin; *p != '"' && *p != '>';) {
        p += _stepOf(*p);
    }
    if (*p != '"') {
        return -1;
    }
    *value = _sliceOf(tag, begin, p);
    tag->p = p + 1;
    return 1;
}

// The rare cases of reading a tag: one with a fault, one whose name is hidden by a blank, one with
// many attributes.

#include "xmlp/tag.h"

#include <stdlib.h>

static int rejected(XmlpFinding *fault, const char *function, int line, const char *message,
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
        return rejected(fault, __func__, line, "error xml tag name.", reader.p);
    }
    while (*reader.p != terminator) {
        line = _readAttr(&reader, &name, &value);
        if (line != 0) {
            // The doubled word is kept on purpose.
            const char *message =
                line == 232 ? "error xml attributeibute." : "error xml attribute.";
            return rejected(fault, __func__, line, message, reader.p);
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
            return rejected(fault, "_subXml", 322, "not same tag name.", name);
        }
        if (!_hasClass(*name, XMLP_NAME)) { // says "valid" of an invalid byte, on purpose
            return rejected(fault, "_subXml", 327, "valid tag name.", name);
        }
    }
    if (*p != '>' && !_hasClass(*p, XMLP_BLANK)) {
        return rejected(fault, "_subXml", 350, "not same tag name.", close);
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
    while (*p != '=' && *p != '>' && !_hasClass(*p, XMLP_BLANK)) {
        p += _utf8Length(*p);
    }
    *name = _sliceOf(tag, begin, p);
    while (*p != '"' && *p != '>') {
        p += _utf8Length(*p);
    }
    begin = *p == '"' ? p + 1 : p;
    for (p = begin; *p != '"' && *p != '>';) {
        p += _utf8Length(*p);
    }
    if (*p != '"') {
        return -1;
    }
    *value = _sliceOf(tag, begin, p);
    tag->p = p + 1;
    return 1;
}

namespace
{
struct AttrName {
    uint64_t key; // its first 8 bytes, which mostly decide the order
    const char *bytes;
    const char *earliest; // of this name and all that it is the beginning of
    uint32_t length;
    uint32_t next; // the first name in order that it is not the beginning of
};
} // namespace

static uint64_t keyOf(XmlpSlice name)
{
    uint64_t key = 0;
    for (size_t i = 0; i < sizeof(key); i++) {
        key = key << 8 | (i < name.length ? static_cast<unsigned char>(name.bytes[i]) : 0u);
    }
    return key;
}

// In byte order, the beginning of another name before that; of equal names, the last one first.
static int compareNames(const void *left, const void *right)
{
    const auto *a = static_cast<const AttrName *>(left);
    const auto *b = static_cast<const AttrName *>(right);
    if (a->key != b->key) {
        return a->key < b->key ? -1 : 1;
    }
    const int order = memcmp(a->bytes, b->bytes, a->length < b->length ? a->length : b->length);
    if (order != 0) {
        return order;
    }
    return (a->length == b->length ? a->bytes < b->bytes : a->length > b->length) ? 1 : -1;
}

XMLP_COLD int _findBeginning(XmlpTag tag, size_t count, const char **found)
{
    auto *names = static_cast<AttrName *>(calloc(count, sizeof(AttrName)));
    if (names == nullptr) {
        return -1;
    }
    for (size_t i = 0; i < count; i++) {
        XmlpSlice name = {};
        XmlpSlice value = {};
        _nextAttr(&tag, &name, &value);
        names[i] = {keyOf(name), name.bytes, name.bytes, static_cast<uint32_t>(name.length), 0};
    }
    qsort(names, count, sizeof(AttrName), compareNames);
    // Backwards: the names that a name is the beginning of follow it, each with its own.
    *found = nullptr;
    for (size_t i = count; i-- > 0;) {
        AttrName *name = &names[i];
        size_t next = i + 1;
        while (next < count && names[next].length >= name->length &&
               memcmp(names[next].bytes, name->bytes, name->length) == 0) {
            const AttrName *longer = &names[next];
            name->earliest = longer->earliest < name->earliest ? longer->earliest : name->earliest;
            next = longer->next;
        }
        name->next = static_cast<uint32_t>(next);
        if (name->earliest < name->bytes && (*found == nullptr || name->bytes < *found)) {
            *found = name->bytes;
        }
    }
    free(names);
    return 0;
}

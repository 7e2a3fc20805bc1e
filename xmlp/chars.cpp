// Byte-level rules: which bytes may stand where, how long a character is, the three entities.

#include "xmlp/words.h"
#include "xmlp/xmlp_internal.h"

#include <string.h>

static constexpr bool isOneOf(unsigned byte, const char *set, unsigned size)
{
    for (unsigned i = 0; i < size; i++) {
        if (static_cast<unsigned char>(set[i]) == byte) {
            return true;
        }
    }
    return false;
}

static constexpr XmlpByteTable makeClasses()
{
    XmlpByteTable table = {};
    for (unsigned byte = 0; byte < 256; byte++) {
        unsigned classes = 0;
        classes |= isOneOf(byte, " \t\n\r", 4) ? XMLP_BLANK : 0u;
        classes |= isOneOf(byte, "\0\t\n\r \"&/<=>", 11) ? 0u : XMLP_NAME;
        classes |= isOneOf(byte, "\0&\"<>", 5) ? 0u : XMLP_ATTR_VALUE;
        classes |= isOneOf(byte, "&/<>", 4) ? 0u : XMLP_TEXT;
        table.byte[byte] = static_cast<unsigned char>(classes);
    }
    return table;
}

static constexpr XmlpByteTable makeUtf8Lengths()
{
    XmlpByteTable table = {};
    for (unsigned byte = 0; byte < 256; byte++) {
        table.byte[byte] = byte < 0xC2 || byte > 0xF4 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    }
    return table;
}

extern constexpr XmlpByteTable _xmlp_classes = makeClasses();
extern constexpr XmlpByteTable _xmlp_utf8Lengths = makeUtf8Lengths();

// Whether all bytes are of a class. A null buffer is reported under the function and line.
static int areOfClass(unsigned byteClass, const void *buf, uint32_t length, const char *function,
                      int line)
{
    if (buf == nullptr) {
        _xmlp_report(function, line, "buf is null.");
        return 0;
    }
    const auto *bytes = static_cast<const char *>(buf);
    uint32_t i = 0;
    while (i < length && _hasClass(bytes[i], byteClass)) {
        i++;
    }
    return i == length ? 1 : 0;
}

int xmlp_nameCmp(const char *slice, uint32_t length, const char *name)
{
    if (slice == nullptr || name == nullptr) {
        return XMLP_FAIL(383, "invalid params.");
    }
    return strlen(name) == length && memcmp(slice, name, length) == 0 ? 0 : -1;
}

int xmlp_isValidChar(const void *buf, uint32_t length)
{
    return areOfClass(XMLP_TEXT, buf, length, __func__, 421);
}

int xmlp_isValidName(const void *buf, uint32_t length)
{
    return areOfClass(XMLP_NAME, buf, length, __func__, 458);
}

int xmlp_isValidAttrValue(const void *buf, uint32_t length)
{
    return areOfClass(XMLP_ATTR_VALUE, buf, length, __func__, 502);
}

namespace
{
struct Entity {
    char character;
    uint32_t length;
    const char *text;
};
} // namespace

static constexpr Entity entities[] = {{'<', 4, "&lt;"}, {'>', 4, "&gt;"}, {'&', 5, "&amp;"}};

static const Entity *entityOf(char character)
{
    for (const Entity &entity : entities) {
        if (entity.character == character) {
            return &entity;
        }
    }
    return nullptr;
}

// The entity that the text begins with, or null.
static const Entity *entityAt(const char *text, const char *end)
{
    for (const Entity &entity : entities) {
        if (static_cast<size_t>(end - text) >= entity.length &&
            memcmp(text, entity.text, entity.length) == 0) {
            return &entity;
        }
    }
    return nullptr;
}

// The number of bytes that escaping adds to a text.
static uint64_t addedLen(const char *text, uint32_t length)
{
    uint64_t added = 0;
    for (uint32_t i = 0; i < length; i++) {
        added += (text[i] == '&' ? 4u : 0u) + ((text[i] | 2) == '>' ? 3u : 0u);
    }
    return added;
}

uint64_t _escapedLen(const char *text, uint32_t length)
{
    uint64_t total = length;
    for (; length >= 8; text += 8, length -= 8) {
        total += _needEntity(text, 8) ? addedLen(text, 8) : 0;
    }
    return total + addedLen(text, length);
}

uint32_t xmlp_transStrLen(const void *str, uint32_t length)
{
    if (str == nullptr) {
        XMLP_ERROR(541, "str is null.");
        return 0;
    }
    return static_cast<uint32_t>(_escapedLen(static_cast<const char *>(str), length));
}

static char *putEscaped(char *to, const char *text, uint32_t length)
{
    for (uint32_t i = 0; i < length; i++) {
        const Entity *entity = entityOf(text[i]);
        if (entity == nullptr) {
            *to++ = text[i];
        } else {
            to = _copyBytes(to, entity->text, entity->length);
        }
    }
    return to;
}

char *xmlp_transStr(void *dst, const void *src, uint32_t length)
{
    if (dst == nullptr || src == nullptr) {
        XMLP_ERROR(584, "invalid params.");
        return nullptr;
    }
    auto *to = static_cast<char *>(dst);
    const auto *text = static_cast<const char *>(src);
    for (; length >= 8; text += 8, length -= 8) {
        to = _needEntity(text, 8) ? putEscaped(to, text, 8) : _copyBytes(to, text, 8);
    }
    return putEscaped(to, text, length);
}

// Un-escapes the text up to end into dst, or only counts when dst is null. Returns the first "&"
// that begins no known entity, or end; sets *length to that of the text before it, un-escaped.
static const char *unescape(char *dst, const char *text, const char *end, size_t *length)
{
    *length = 0;
    for (;;) {
        const void *found = memchr(text, '&', static_cast<size_t>(end - text));
        const char *stop = found != nullptr ? static_cast<const char *>(found) : end;
        const auto size = static_cast<size_t>(stop - text);
        if (dst != nullptr) {
            memcpy(dst + *length, text, size);
        }
        *length += size;
        const Entity *entity = entityAt(stop, end);
        if (entity == nullptr) {
            return stop;
        }
        if (dst != nullptr) {
            dst[*length] = entity->character;
        }
        ++*length;
        text = stop + entity->length;
    }
}

const char *_badEntity(const char *text, size_t length)
{
    size_t unescaped;
    return unescape(nullptr, text, text + length, &unescaped);
}

uint32_t xmlp_unTransStrLen(const void *str, uint32_t length)
{
    if (str == nullptr) {
        XMLP_ERROR(641, "str is null.");
        return 0;
    }
    const char *end = static_cast<const char *>(str) + length;
    size_t unescaped;
    const char *stop = unescape(nullptr, static_cast<const char *>(str), end, &unescaped);
    return stop == end ? static_cast<uint32_t>(unescaped) : 0;
}

char *xmlp_unTransStr(void *dst, const void *src, uint32_t length)
{
    if (dst == nullptr || src == nullptr) {
        XMLP_ERROR(705, "invalid params.");
        return nullptr;
    }
    auto *to = static_cast<char *>(dst);
    const char *end = static_cast<const char *>(src) + length;
    size_t unescaped;
    const char *stop = unescape(to, static_cast<const char *>(src), end, &unescaped);
    return stop == end ? to + unescaped : nullptr;
}

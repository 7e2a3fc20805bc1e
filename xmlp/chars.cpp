// Byte-level rules: which bytes may stand where, the three entities, the step over a character.

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

static constexpr XmlpByteTable makeSteps()
{
    XmlpByteTable table = {};
    for (unsigned byte = 0; byte < 256; byte++) {
        table.byte[byte] = byte < 0xC2 || byte > 0xF4 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    }
    return table;
}

extern constexpr XmlpByteTable _xmlp_classes = makeClasses();
extern constexpr XmlpByteTable _xmlp_steps = makeSteps();

// Whether all bytes are of a class; line reports, for function, that there are none.
static int allOf(unsigned byteClass, const void *buf, uint32_t length, const char *function,
                 int line)
{
    if (buf == nullptr) {
        _xmlp_report(function, line, "buf is null.");
        return 0;
    }
    const auto *bytes = static_cast<const char *>(buf);
    for (uint32_t i = 0; i < length; i++) {
        if (!_isByte(bytes[i], byteClass)) {
            return 0;
        }
    }
    return 1;
}

int xmlp_nameCmp(const char *slice, uint32_t length, const char *name)
{
    if (slice == nullptr || name == nullptr) {
        return XMLP_FAIL(383, "invalid params.");
    }
    return strnlen(name, length) == length && memcmp(slice, name, length) == 0 &&
                   name[length] == '\0'
               ? 0
               : -1;
}

int xmlp_isValidChar(const void *buf, uint32_t length)
{
    return allOf(XMLP_TEXT, buf, length, __func__, 421);
}

int xmlp_isValidName(const void *buf, uint32_t length)
{
    return allOf(XMLP_NAME, buf, length, __func__, 458);
}

int xmlp_isValidAttrValue(const void *buf, uint32_t length)
{
    return allOf(XMLP_ATTR_VALUE, buf, length, __func__, 502);
}

namespace
{
struct Entity {
    char character;
    uint32_t length;
    const char *text;
};
} // namespace

// In the order in which they are tried.
static constexpr Entity entities[] = {{'<', 4, "&lt;"}, {'>', 4, "&gt;"}, {'&', 5, "&amp;"}};

static constexpr const Entity *entityOf(char character)
{
    for (const Entity &entity : entities) {
        if (entity.character == character) {
            return &entity;
        }
    }
    return nullptr;
}

// The entity that the text at an "&" begins with, or null.
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

static constexpr XmlpByteTable makeEscapedLengths()
{
    XmlpByteTable table = {};
    for (unsigned byte = 0; byte < 256; byte++) {
        const Entity *entity = entityOf(static_cast<char>(byte));
        table.byte[byte] = static_cast<unsigned char>(entity != nullptr ? entity->length : 1);
    }
    return table;
}

static constexpr XmlpByteTable escapedLengths = makeEscapedLengths();

static uint32_t escapedLen(const char *bytes, uint32_t length)
{
    uint32_t total = 0;
    for (uint32_t i = 0; i < length; i++) {
        total += escapedLengths.byte[static_cast<unsigned char>(bytes[i])];
    }
    return total;
}

static char *putEscaped(char *dst, const char *bytes, uint32_t length)
{
    for (uint32_t i = 0; i < length; i++) {
        const Entity *entity = entityOf(bytes[i]);
        if (entity == nullptr) {
            *dst++ = bytes[i];
        } else {
            memcpy(dst, entity->text, entity->length);
            dst += entity->length;
        }
    }
    return dst;
}

uint32_t xmlp_transStrLen(const void *str, uint32_t length)
{
    if (str == nullptr) {
        XMLP_ERROR(541, "str is null.");
        return 0;
    }
    const auto *bytes = static_cast<const char *>(str);
    uint32_t total = 0;
    for (; length >= 8; bytes += 8, length -= 8) {
        total += _anyEntity(bytes, 8) ? escapedLen(bytes, 8) : 8;
    }
    return total + escapedLen(bytes, length);
}

char *xmlp_transStr(void *dst, const void *src, uint32_t length)
{
    if (dst == nullptr || src == nullptr) {
        XMLP_ERROR(584, "invalid params.");
        return nullptr;
    }
    auto *to = static_cast<char *>(dst);
    const auto *bytes = static_cast<const char *>(src);
    for (; length >= 8; bytes += 8, length -= 8) {
        to = _anyEntity(bytes, 8) ? putEscaped(to, bytes, 8) : _copyBytes(to, bytes, 8);
    }
    return putEscaped(to, bytes, length);
}

// The next "&" of the text, or its end.
static const char *nextAmpersand(const char *text, const char *end)
{
    const void *found = memchr(text, '&', static_cast<size_t>(end - text));
    return found != nullptr ? static_cast<const char *>(found) : end;
}

// The first "&" of the text that begins no entity, or its end; takes off *length what the entities
// before it are longer than their characters.
static const char *passEntities(const char *text, const char *end, uint32_t *length)
{
    const char *p = nextAmpersand(text, end);
    while (p < end) {
        const Entity *entity = entityAt(p, end);
        if (entity == nullptr) {
            break;
        }
        *length -= entity->length - 1;
        p = nextAmpersand(p + entity->length, end);
    }
    return p;
}

uint32_t xmlp_unTransStrLen(const void *str, uint32_t length)
{
    if (str == nullptr) {
        XMLP_ERROR(641, "str is null.");
        return 0;
    }
    const auto *text = static_cast<const char *>(str);
    const char *end = text + length;
    return passEntities(text, end, &length) == end ? length : 0;
}

const char *_badEntity(const char *str, uint32_t length)
{
    return passEntities(str, str + length, &length);
}

char *xmlp_unTransStr(void *dst, const void *src, uint32_t length)
{
    if (dst == nullptr || src == nullptr) {
        XMLP_ERROR(705, "invalid params.");
        return nullptr;
    }
    auto *to = static_cast<char *>(dst);
    const auto *text = static_cast<const char *>(src);
    const char *end = text + length;
    while (text < end) {
        const char *stop = nextAmpersand(text, end);
        memcpy(to, text, static_cast<size_t>(stop - text));
        to += stop - text;
        text = stop;
        if (text < end) {
            const Entity *entity = entityAt(text, end);
            if (entity == nullptr) {
                return nullptr;
            }
            *to++ = entity->character;
            text += entity->length;
        }
    }
    return to;
}

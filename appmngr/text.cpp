// Small text helpers: protocol names, comparison, splitting, bitmaps, escaping.

#include "appmngr/appmngr_internal.h"

#include <limits.h>
#include <stdio.h>
#include <string.h>

static constexpr struct {
    uint32_t number;
    const char *name;
} protocols[] = {{6, "tcp"}, {17, "udp"}, {1, "icmp"}};

uint32_t appmngr_utils_str2proto(const char *name)
{
    for (const auto &protocol : protocols) {
        if (appmngr_strcasecmpSafe(name, protocol.name) == 0) {
            return protocol.number;
        }
    }
    puts("Unknown protocol!\r");
    return APPMNGR_PROTO_UNKNOWN;
}

const char *appmngr_utils_proto2str(uint32_t number)
{
    for (const auto &protocol : protocols) {
        if (protocol.number == number) {
            return protocol.name;
        }
    }
    return "unknown";
}

int appmngr_strcasecmp(const char *a, const char *b)
{
    while (*a != '\0' && (*a == *b || _appmngr_lower(*a) == _appmngr_lower(*b))) {
        a++;
        b++;
    }
    return _appmngr_lower(*a) - _appmngr_lower(*b);
}

int appmngr_strcasecmpSafe(const char *a, const char *b)
{
    return a == nullptr || b == nullptr ? INT_MAX : appmngr_strcasecmp(a, b);
}

int appmngr_string_match(const char *a, const char *b)
{
    if (a == nullptr || b == nullptr) {
        APPMNGR_ERROR(470, "Some parameter is null.\r\n");
        return 0;
    }
    return strcmp(a, b) == 0;
}

char *appmngr_string_token(char *text, const char *delimiters, char **save)
{
    char *token = text != nullptr ? text : *save;
    if (token == nullptr) {
        return nullptr;
    }
    token += strspn(token, delimiters);
    *save = token + strcspn(token, delimiters);
    if (*save == token) {
        return nullptr;
    }
    if (**save != '\0') {
        *(*save)++ = '\0';
    }
    return token;
}

int32_t appmngr_string_makeSubStrByChar(char *text, char separator, int32_t maxNum, char **parts)
{
    if (text == nullptr || parts == nullptr) {
        APPMNGR_ERROR(428, "Some parameter is null.\r\n");
        return -1;
    }
    if (maxNum <= 0) {
        APPMNGR_ERROR(434, "Maximum number is invalid. maxNum = %d\r\n", maxNum);
        return -1;
    }
    // A NUL would end the list of delimiters before the first of them.
    const auto isDelimiter = [separator](char c) {
        return separator != '\0' && (c == separator || c == '\t' || c == '\r' || c == '\n');
    };
    int32_t count = 0;
    for (;;) {
        while (isDelimiter(*text)) {
            text++;
        }
        if (*text == '\0') {
            parts[count] = nullptr;
            return count;
        }
        parts[count++] = text;
        while (*text != '\0' && !isDelimiter(*text)) {
            text++;
        }
        if (*text != '\0') {
            *text++ = '\0';
        }
        if (count == maxNum) {
            APPMNGR_ERROR(453, "Too many substrings to string provided \r\n");
            return -1;
        }
    }
}

void appmngr_setBit(uint32_t *words, uint32_t n)
{
    words[n / 32] |= UINT32_C(1) << (n % 32);
}

int appmngr_isZero512(const void *block)
{
    static constexpr unsigned char zeros[512] = {};
    return memcmp(block, zeros, sizeof(zeros)) == 0;
}

int appmngr_escapeSpecial(char *dest, const char *text)
{
    static constexpr char specials[] = " \"\\";
    if (dest == nullptr || text == nullptr) {
        return -1;
    }
    for (; *text != '\0'; text++) {
        const char *special = strchr(specials, *text);
        *dest++ = special != nullptr ? static_cast<char>(special - specials + 1) : *text;
    }
    *dest = '\0';
    return 0;
}

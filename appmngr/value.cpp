// The values of elements, as text and as numbers.

#include "appmngr/appmngr.h"

#include <stdlib.h>
#include <string.h>

static char valueBuf[512];
static uint32_t valueLength; // of the value in it; zeros follow

const char *appmngr_getNodeValue(const XmlpNode *node)
{
    if (node == nullptr || node->valueSize >= sizeof(valueBuf)) {
        return nullptr;
    }
    const uint32_t length = node->valueSize;
    if (length > 0) {
        // Not memcpy: compilers expand it, for lengths of this range, into something slower.
        memmove(valueBuf, node->value, length);
    }
    if (length < valueLength) {
        memset(valueBuf + length, 0, valueLength - length);
    }
    valueLength = length;
    return valueBuf;
}

void appmngr_freeNodeValue(const char *text)
{
    (void)text;
}

int32_t appmngr_atoi(const char *text)
{
    // Nearly all numbers are fewer than nine digits with nothing before them, and fit.
    constexpr int manyDigits = 9;
    int32_t number = 0;
    int digits = 0;
    while (digits < manyDigits && text[digits] >= '0' && text[digits] <= '9') {
        number = number * 10 + (text[digits++] - '0');
    }
    if (digits > 0 && digits < manyDigits) {
        return number;
    }
    // The cut from 64 to 32 bits is part of it.
    return static_cast<int32_t>(static_cast<uint32_t>(strtoll(text, nullptr, 10)));
}

int appmngr_getNodeInt(const XmlpNode *node, int32_t *out)
{
    const char *text = appmngr_getNodeValue(node);
    if (text == nullptr) {
        return -1;
    }
    *out = appmngr_atoi(text);
    appmngr_freeNodeValue(text);
    return 0;
}

int appmngr_getNodeString(const XmlpNode *node, char *dest, uint32_t size)
{
    const char *text = appmngr_getNodeValue(node);
    if (dest == nullptr || size == 0 || text == nullptr) {
        return -1;
    }
    strncpy(dest, text, size - 1); // clears the rest
    dest[size - 1] = '\0';
    return 0;
}

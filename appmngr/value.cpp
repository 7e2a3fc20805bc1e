// The values of elements, as text and as numbers.

#include "appmngr/appmngr.h"

#include <stdlib.h>
#include <string.h>

static char valueBuf[512];

const char *appmngr_getNodeValue(const XmlpNode *node)
{
    if (node == nullptr || node->valueSize >= sizeof(valueBuf)) {
        return nullptr;
    }
    if (node->valueSize > 0) {
        memcpy(valueBuf, node->value, node->valueSize);
    }
    valueBuf[node->valueSize] = '\0';
    return valueBuf;
}

void appmngr_freeNodeValue(const char *text)
{
    (void)text;
}

int32_t appmngr_atoi(const char *text)
{
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
    const char *text = dest != nullptr && size > 0 ? appmngr_getNodeValue(node) : nullptr;
    if (text == nullptr) {
        return -1;
    }
    memset(dest, 0, size);
    memcpy(dest, text, strnlen(text, size - 1));
    appmngr_freeNodeValue(text);
    return 0;
}

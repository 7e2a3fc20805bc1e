// The block of a static tree, and the names in it.

#include "xmlp/store.h"

int _initStore(XmlpStore *store, uint64_t size, uint64_t nodeCount)
{
    if (!store->isStatic) {
        return 0;
    }
    if (_initNamePool(&store->pool) != 0) {
        return 1509;
    }
    // An attribute takes at least 3 bytes of the text; the strings of a tag, with what ends each of
    // them in the pool, at most twice as many bytes as the tag.
    const uint64_t valuesAt = 2 * size;
    const uint64_t attrsAt = (valuesAt + size + XMLP_CHUNK) / 16 * 16 + 16;
    const uint64_t nodesAt = attrsAt + (size / 3 + 1) * sizeof(XmlpAttr);
    const uint64_t blockSize = nodesAt + nodeCount * sizeof(XmlpNode);
    if (blockSize <= SIZE_MAX) {
        store->block = static_cast<char *>(malloc(static_cast<size_t>(blockSize)));
    }
    if (store->block == nullptr) {
        return 1572;
    }
    store->pool.base = store->block;
    store->values = store->block + valuesAt;
    store->attrs = reinterpret_cast<XmlpAttr *>(store->block + attrsAt);
    store->nodes = reinterpret_cast<XmlpNode *>(store->block + nodesAt);
    return 0;
}

void _remember(XmlpStore *store, XmlpSlice name, char *pooled)
{
    const auto length = static_cast<uint32_t>(name.length);
    if (name.length - 1 < XMLP_SHORT_NAME && xmlp_isValidName(name.bytes, length) != 0) {
        XmlpShortName *known = _shortNameAt(store, name);
        *known = {{}, pooled, length};
        memcpy(known->bytes, name.bytes, name.length);
    }
}

char *_storeName(XmlpStore *store, XmlpSlice name)
{
    const XmlpShortName *known = _recall(store, name);
    if (known != nullptr) {
        return known->pooled;
    }
    char *pooled = _storeString(store, name);
    _remember(store, name, pooled);
    return pooled;
}

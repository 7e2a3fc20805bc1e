// From text to tree in one pass.
//
// The pass goes from bracket to bracket. It checks each tag where it stands and builds its node at
// once. But faults are reported in an order of their own: first what is wrong with the text at all,
// and of that the attributes of a start tag only when its end tag is met; then what keeps a tree
// from being built. So when something is wrong with a start tag, or with the tree, the pass stops
// building, keeps the fault of the tree in mind, and goes on to check the rest.
//
// A static tree is one block, with room left free between its parts:
//
//     +-----------+----------------+-------------------+---------------+--------------------+
//     | name pool | values, back   | attribute records | document node | a node record for  |
//     |           | to back        |                   |               | each element       |
//     +-----------+----------------+-------------------+---------------+--------------------+
//
// It begins with the name of the top element, and freeing that name frees it. How much each part
// takes at most is known from the number of brackets and quotes of the text,
// and from the bytes in and between its tags.

#include "xmlp/brackets.h"
#include "xmlp/name_pool.h"
#include "xmlp/tag.h"

#include <stdlib.h>
#include <string.h>

namespace
{
// An element that is open.
struct Open {
    const char *tag;     // its name in the text
    const char *content; // behind its start tag
    XmlpNode *node;
    uint32_t nameLength; // 0 when its end tag needs a closer look
    uint32_t number;     // of the element in document order
};

// A name that was met before, up to 16 bytes long.
enum : size_t { SHORT_NAME = 16, SHORT_NAMES = 256 };
struct ShortName {
    char bytes[SHORT_NAME];
    char *pooled;    // null in a dynamic tree
    uint32_t length; // 0 for none
    bool isItem;
};

struct Builder {
    const char *text;
    const char *end;
    bool isStatic;
    bool isBuilding;
    XmlpFinding treeFault; // why not, when it is the tree's fault; no function for none
    XmlpRejection *rejection;

    Open *open; // the document, and the elements around the one at hand
    size_t depth;
    size_t capacity;

    XmlpNode *root;
    XmlpNamePool pool; // of a static tree, like the next three
    char *values;
    XmlpAttr *attrs;
    XmlpNode *nodes;

    uint32_t count; // of elements
    const char *origin;
    XmlpLocation *locations; // null when nobody asks for them
    ShortName shortNames[SHORT_NAMES];
};
} // namespace

/* ---- Faults -------------------------------------------------------------------------------- */

XMLP_COLD static int textFault(Builder *builder, const char *function, int line,
                               const char *message, const char *at)
{
    builder->rejection->fault = {function, line, message, at};
    return -1;
}

static int tagFault(Builder *builder, int line, const char *at)
{
    return textFault(builder, "_subXml", line, "error xml tag.", at);
}

// Ends the building of the tree. Only the first fault counts.
XMLP_COLD static int treeFault(Builder *builder, const char *function, int line,
                               const char *message, const char *at)
{
    if (builder->isBuilding) {
        builder->isBuilding = false;
        builder->treeFault = {function, line, message, at};
    }
    return -1;
}

static int outOfMemory(Builder *builder, const char *function, int line)
{
    return treeFault(builder, function, line, "malloc failed.", nullptr);
}

/* ---- Names and attributes ------------------------------------------------------------------ */

// A string of a tag as the tree keeps it; line reports a copy for which there is no memory.
static char *keep(Builder *builder, XmlpSlice slice, int line)
{
    char *kept = builder->isStatic ? _saveName(&builder->pool, slice.bytes, slice.length)
                                   : _copyString(slice.bytes, slice.length);
    if (kept == nullptr) {
        outOfMemory(builder, builder->isStatic ? "xmlp_parse" : "_getNameAttr",
                    builder->isStatic ? 1509 : line);
    }
    return kept;
}

// Where a name of length bytes in the text is remembered. Told apart by its first two and its last
// two bytes; of a name of one byte, a bracket is one of these.
static inline ShortName *shortNameAt(Builder *builder, const char *name, size_t length)
{
    uint16_t first;
    uint16_t last;
    memcpy(&first, name, sizeof(first));
    memcpy(&last, name + length - sizeof(last), sizeof(last));
    const uint32_t key = first + (uint32_t{last} << 16) + static_cast<uint32_t>(length);
    return &builder->shortNames[key * 0x9E3779B1u >> 24];
}

// What is remembered of the name, or null.
static inline const ShortName *recall(Builder *builder, const char *name, size_t length)
{
    if (length - 1 >= SHORT_NAME || builder->end - name < static_cast<ptrdiff_t>(SHORT_NAME)) {
        return nullptr;
    }
    const ShortName *known = shortNameAt(builder, name, length);
    return known->length == length && _areSame(known->bytes, name, length) ? known : nullptr;
}

static bool isItemName(XmlpSlice name)
{
    return name.length == strlen(_xmlp_itemName) &&
           memcmp(name.bytes, _xmlp_itemName, name.length) == 0;
}

// Whether each byte of the name may stand in one; bytes inside of its characters were not looked at
// when it was read.
static bool isValidName(XmlpSlice name)
{
    return xmlp_isValidName(name.bytes, static_cast<uint32_t>(name.length)) != 0;
}

// Remembers the name, if it is one to be remembered.
static void remember(Builder *builder, XmlpSlice name, char *pooled)
{
    if (name.length - 1 < SHORT_NAME && isValidName(name)) {
        ShortName *known = shortNameAt(builder, name.bytes, name.length);
        *known = {{}, pooled, static_cast<uint32_t>(name.length), isItemName(name)};
        memcpy(known->bytes, name.bytes, name.length);
    }
}

// The name of an element or attribute as a static tree keeps it.
static char *keepName(Builder *builder, XmlpSlice name)
{
    const ShortName *known = recall(builder, name.bytes, name.length);
    if (known != nullptr) {
        return known->pooled;
    }
    char *kept = keep(builder, name, 0);
    remember(builder, name, kept);
    return kept;
}

static XmlpAttr *newAttr(Builder *builder)
{
    XmlpAttr *attr =
        builder->isStatic ? builder->attrs++ : static_cast<XmlpAttr *>(malloc(sizeof(XmlpAttr)));
    if (attr != nullptr) {
        *attr = {};
    }
    return attr;
}

// So many names of attributes are compared with each other as they come. Those of a tag that has
// more are looked at in the end.
enum : size_t { FEW_ATTRS = 16 };

static int existedFault(Builder *builder, const char *name)
{
    return treeFault(builder, "_getNameAttr", 690, "attr name existed.", name);
}

// Appends the attributes of the tag to the node's empty list. 0, or -1 with either the tree at
// fault or, without a word, the tag.
static int buildAttrs(Builder *builder, XmlpTag tag, XmlpNode *node)
{
    const XmlpTag begin = tag;
    size_t count = 0;
    XmlpAttr *last = nullptr;
    XmlpSlice name;
    XmlpSlice value;
    int more;
    while ((more = _nextAttr(&tag, &name, &value)) > 0) {
        if (count++ < FEW_ATTRS &&
            _hasAttrName(node->attrs, name.bytes, static_cast<uint32_t>(name.length))) {
            return existedFault(builder, name.bytes);
        }
        XmlpAttr *attr = newAttr(builder);
        if (attr == nullptr) {
            return outOfMemory(builder, "_getNameAttr", last == nullptr ? 672 : 771);
        }
        // The list owns it now; -fanalyzer loses sight of it and takes it for leaked.
        if (last == nullptr) {
            node->attrs = attr;
        } else {
            last->next = attr;
        }
        last = attr;
        attr->name = builder->isStatic ? keepName(builder, name) : keep(builder, name, 708);
        attr->value = value.length > 0 ? keep(builder, value, 744) : nullptr;
        if (!builder->isBuilding) {
            return -1;
        }
    }
    const char *existed = nullptr;
    if ((more == 0 || tag.isLoose) && count > FEW_ATTRS &&
        _findBeginning(begin, count, &existed) != 0) {
        return treeFault(builder, "_getNameAttr", 0, "", nullptr);
    }
    if (existed != nullptr) {
        return existedFault(builder, existed);
    }
    return more < 0 && tag.isLoose ? treeFault(builder, "_getNameAttr", 0, "", tag.p) : more;
}

// Gives the element's node its name and the attributes of its tag. 0, or -1 as buildAttrs.
__attribute__((noinline)) static int readTag(Builder *builder, Open *element, char terminator)
{
    XmlpTag tag = {element->tag, builder->end, terminator, false, false};
    XmlpSlice name;
    if (_readName(&tag, &name) != 0) {
        return -1;
    }
    if (_isByte(*name.bytes, XMLP_BLANK)) {
        XmlpFinding fault;
        tag.isLoose = true;
        tag.p = name.bytes;
        if (_checkNameAttr(name.bytes, terminator, &fault) != 0) {
            return -1;
        }
    }
    XmlpNode *node = element->node;
    const bool isItem = isItemName(name);
    node->type = isItem ? XMLP_NODE_ITEM : XMLP_NODE_NONE;
    if (builder->isStatic) {
        node->name = keepName(builder, name);
    } else {
        node->name = isItem ? _xmlp_itemName : keep(builder, name, 645);
        remember(builder, name, nullptr);
    }
    if (node->name == nullptr) {
        return -1;
    }
    element->nameLength = isValidName(name) ? static_cast<uint32_t>(name.length) : 0;
    return buildAttrs(builder, tag, node);
}

/* ---- Elements ------------------------------------------------------------------------------ */

// The memory of a new node. Returns null, with the tree at fault, without memory.
static inline XmlpNode *newNode(Builder *builder)
{
    XmlpNode *node =
        builder->isStatic ? builder->nodes++ : static_cast<XmlpNode *>(malloc(sizeof(XmlpNode)));
    if (node == nullptr) {
        outOfMemory(builder, "xmlp_initNode", 827);
    }
    return node;
}

// Makes new memory the last child of parent.
static inline void beginNode(XmlpNode *node, XmlpNode *parent)
{
    XmlpNode *prev = parent->lastChild;
    *node = {nullptr, nullptr, 0, XMLP_NODE_NONE, nullptr, parent, prev, nullptr, nullptr, nullptr};
    if (prev != nullptr) {
        prev->next = node;
    } else {
        parent->firstChild = node;
    }
    parent->lastChild = node;
}

// Types the parent of a new node, unless that is the document node. 0 or -1.
static inline int setType(Builder *builder, const XmlpNode *node, const char *name)
{
    const bool isItem = node->type == XMLP_NODE_ITEM;
    XmlpNode *parent = node->parent;
    if (parent == builder->root) {
        return 0;
    }
    if (isItem && parent->type == XMLP_NODE_STRUCT) {
        return treeFault(builder, "_setType", 822, "single element is named item.", name);
    }
    if (!isItem && parent->type == XMLP_NODE_LIST) {
        return treeFault(builder, "_setType", 840, "tag name is not item.", name);
    }
    parent->type = isItem ? XMLP_NODE_LIST : XMLP_NODE_STRUCT;
    return 0;
}

// Builds the node of the element whose tag's name begins at name and ends, with all else of the
// tag, at stop. 0, or -1 with either the tree at fault or, without a word, the tag.
static inline int buildNode(Builder *builder, const char *name, const char *stop, Open *element)
{
    XmlpNode *node = newNode(builder);
    if (node == nullptr) {
        return -1;
    }
    beginNode(node, builder->open[builder->depth - 1].node);
    element->node = node;
    const auto length = static_cast<size_t>(stop - name);
    const ShortName *known = recall(builder, name, length);
    if (known == nullptr) {
        return readTag(builder, element, *stop) == 0 ? setType(builder, node, name) : -1;
    }
    element->nameLength = known->length;
    node->type = known->isItem ? XMLP_NODE_ITEM : XMLP_NODE_NONE;
    node->name = known->pooled;
    if (!builder->isStatic) {
        node->name = known->isItem ? _xmlp_itemName : keep(builder, {name, length}, 645);
        if (node->name == nullptr) {
            return -1;
        }
    }
    return setType(builder, node, name);
}

__attribute__((noinline)) static int growOpen(Builder *builder)
{
    const size_t capacity = builder->capacity == 0 ? 64 : 2 * builder->capacity;
    auto *open = static_cast<Open *>(realloc(builder->open, capacity * sizeof(Open)));
    if (open == nullptr) {
        return textFault(builder, "xmlp_parse", 1509, "malloc failed.", nullptr);
    }
    builder->open = open;
    builder->capacity = capacity;
    return 0;
}

static uint32_t offsetOf(const Builder *builder, const char *p)
{
    return static_cast<uint32_t>(p - builder->origin);
}

// Takes the start tag or empty-element tag whose name lies before its ">" at close. 0, or -1 with
// the fault of the tag's own text, if it is the tag's.
__attribute__((always_inline)) static inline int startElement(Builder *builder, const char *name,
                                                              const char *close)
{
    if (builder->depth == builder->capacity && growOpen(builder) != 0) {
        return -1;
    }
    const bool isEmpty = close[-1] == '/';
    Open *element = &builder->open[builder->depth];
    element->tag = name;
    element->content = close + 1;
    element->nameLength = 0;
    element->number = builder->count++;
    if (builder->isBuilding &&
        buildNode(builder, name, isEmpty ? close - 1 : close, element) != 0) {
        builder->isBuilding = false;
        element->nameLength = 0;
    }
    if (builder->locations != nullptr) {
        const uint32_t content = offsetOf(builder, close + 1);
        builder->locations[element->number] = {offsetOf(builder, name - 1), content, content};
    }
    if (!isEmpty) {
        builder->depth++;
        return 0;
    }
    return builder->isBuilding ? 0 : _checkNameAttr(name, '/', &builder->rejection->fault);
}

// Copies length bytes with whole chunks, and past them. Returns whether an "&" may be among them.
static inline bool copyChunks(char *to, const char *from, size_t length)
{
    XmlpChunk ampersands = {};
    for (size_t i = 0; i < length; i += XMLP_CHUNK) {
        const XmlpChunk chunk = _loadChunk(from + i);
        memcpy(to + i, &chunk, sizeof(chunk));
        ampersands |= _areEqual(chunk, _fill('&'));
    }
    return _anyHigh(ampersands);
}

// The value's bytes in the area of the static tree, un-escaped. Sets *size; 0, with null, for a bad
// entity.
static inline char *placeValue(Builder *builder, XmlpSlice text, size_t *size)
{
    char *value = builder->values;
    bool mayHaveEntity = true;
    *size = text.length;
    if (builder->end - (text.bytes + text.length) >= static_cast<ptrdiff_t>(XMLP_CHUNK)) {
        mayHaveEntity = copyChunks(value, text.bytes, text.length);
    }
    if (mayHaveEntity) {
        const char *end = xmlp_unTransStr(value, text.bytes, static_cast<uint32_t>(text.length));
        *size = end != nullptr ? static_cast<size_t>(end - value) : 0;
    }
    if (*size == 0) {
        return nullptr;
    }
    builder->values += *size;
    return value;
}

// A copy of the value, un-escaped. Sets *size, 0 for a bad entity; null then and without memory.
static char *copyValue(XmlpSlice text, size_t *size)
{
    const auto length = static_cast<uint32_t>(text.length);
    const bool isPlain = memchr(text.bytes, '&', length) == nullptr;
    *size = isPlain ? length : xmlp_unTransStrLen(text.bytes, length);
    char *value = *size != 0 ? static_cast<char *>(malloc(*size)) : nullptr;
    if (value == nullptr) {
        return nullptr;
    }
    if (isPlain) {
        memcpy(value, text.bytes, length);
    } else {
        xmlp_unTransStr(value, text.bytes, length);
    }
    return value;
}

// Gives a leaf the text up to stop. 0 or -1.
static inline int buildValue(Builder *builder, const Open *element, const char *stop)
{
    XmlpNode *node = element->node;
    const XmlpSlice text = {element->content, static_cast<size_t>(stop - element->content)};
    if (text.length == 0 || node->firstChild != nullptr) {
        return 0;
    }
    size_t size = 0;
    char *value = builder->isStatic ? placeValue(builder, text, &size) : copyValue(text, &size);
    if (value == nullptr && size != 0) {
        return treeFault(builder, "_makeDtree", 0, "", nullptr);
    }
    if (value == nullptr) {
        return treeFault(builder, builder->isStatic ? "_makeStree" : "_makeDtree",
                         builder->isStatic ? 904 : 1180, "invalid value.",
                         _badEntity(text.bytes, static_cast<uint32_t>(text.length)));
    }
    node->value = reinterpret_cast<unsigned char *>(value);
    node->valueSize = static_cast<uint32_t>(size);
    if (node->type == XMLP_NODE_NONE) {
        node->type = XMLP_NODE_VALUE;
    }
    return 0;
}

// Takes the end tag whose name lies before its ">" at close. 0, or -1 with the fault.
static inline int endElement(Builder *builder, const char *name, const char *close)
{
    Open *element = &builder->open[builder->depth - 1];
    const auto length = static_cast<size_t>(close - name);
    const bool isShort =
        length <= SHORT_NAME && builder->end - name >= static_cast<ptrdiff_t>(SHORT_NAME);
    const bool isSame =
        element->nameLength == length &&
        (isShort ? _areSame(element->tag, name, length) : memcmp(element->tag, name, length) == 0);
    if (!isSame && _checkEndTag(element->tag, name, close, &builder->rejection->fault) != 0) {
        return -1;
    }
    if (builder->isBuilding) {
        buildValue(builder, element, name - 2);
    }
    if (builder->locations != nullptr) {
        builder->locations[element->number].end = offsetOf(builder, close + 1);
    }
    builder->depth--;
    return 0;
}

/* ---- The document -------------------------------------------------------------------------- */

// The top element, from its start tag to its end tag. 0 or -1.
static int readTop(Builder *builder, XmlpBracketCursor *cursor)
{
    XmlpBracketCursor brackets = *cursor;
    do {
        const char *p = _nextBracket(&brackets);
        if (p == nullptr) {
            return tagFault(builder, 374, builder->end);
        }
        if (*p == '>') {
            return tagFault(builder, p[-1] == '/' ? 305 : 367, p);
        }
        const char *close = _nextBracket(&brackets);
        if (close == nullptr) {
            const bool isEmptyEnd = builder->end - p == 2 && p[1] == '/';
            return isEmptyEnd ? textFault(builder, "_subXml", 0, "", p)
                              : tagFault(builder, 374, builder->end);
        }
        if (*close == '<') {
            return tagFault(builder, 272, close);
        }
        if (builder->depth == 1 || p[1] != '/') { // the top element's, or not an end tag
            if (startElement(builder, p + 1, close) != 0) {
                builder->rejection->tagLine = 298;
                return -1;
            }
        } else if (close[-1] == '/') {
            return tagFault(builder, 305, close);
        } else if (endElement(builder, p + 2, close) != 0) {
            return -1;
        }
    } while (builder->depth > 1);
    *cursor = brackets;
    return 0;
}

static int topFault(Builder *builder, int line, const char *at)
{
    return textFault(builder, "_checkXml", line, "error xml tag.", at);
}

static int readDocument(Builder *builder, XmlpBracketCursor brackets)
{
    XmlpBracketCursor top = brackets;
    const char *p = _nextBracket(&brackets);
    if (p == nullptr) {
        return textFault(builder, "_checkXml", 452, "no xml tag found.", builder->end);
    }
    if (*p == '>') {
        return topFault(builder, 424, p);
    }
    if (builder->end - p > 1 && p[1] == '/') {
        return topFault(builder, 411, p);
    }
    p = _nextBracket(&brackets);
    if (p == nullptr) {
        return 0; // a tag that does not end is no element
    }
    if (*p == '<') {
        return topFault(builder, 406, p);
    }
    if (readTop(builder, &top) != 0) {
        XmlpRejection *rejection = builder->rejection;
        const bool isEmpty = builder->depth == 1; // its tag is all that there is of it
        rejection->tagLine = isEmpty ? 0 : rejection->tagLine;
        rejection->elementLines = isEmpty ? 0 : builder->depth - 2;
        rejection->topLine = isEmpty ? 431 : 441;
        return -1;
    }
    p = _nextBracket(&top);
    return p == nullptr ? 0 : topFault(builder, *p == '<' ? 406 : 424, p);
}

/* ---- Memory -------------------------------------------------------------------------------- */

// Lays out the block of a static tree. Returns it, or null without memory.
static char *allocateBlock(Builder *builder, const XmlpBrackets *found)
{
    const auto size = static_cast<uint64_t>(builder->end - builder->text);
    const uint64_t textBytes = size - found->tagBytes;
    const uint64_t nodes = uint64_t{_elementBound(found)} + 1;
    const uint64_t attrs = _attrBound(found);
    const uint64_t valuesAt = found->tagBytes + (nodes + 2 * attrs) * XMLP_POOL_WORD;
    const uint64_t attrsAt = (valuesAt + textBytes + XMLP_CHUNK) / 16 * 16 + 16;
    const uint64_t nodesAt = attrsAt + attrs * sizeof(XmlpAttr);
    const uint64_t blockSize = nodesAt + nodes * sizeof(XmlpNode);
    if (_initNamePool(&builder->pool, found->quotes) != 0) {
        outOfMemory(builder, "xmlp_parse", 1509);
        return nullptr;
    }
    auto *block = blockSize <= SIZE_MAX
                      ? static_cast<char *>(malloc(static_cast<size_t>(blockSize)))
                      : nullptr;
    if (block == nullptr) {
        outOfMemory(builder, "xmlp_parse", 1572);
        return nullptr;
    }
    builder->pool.base = block;
    builder->values = block + valuesAt;
    builder->attrs = reinterpret_cast<XmlpAttr *>(block + attrsAt);
    builder->nodes = reinterpret_cast<XmlpNode *>(block + nodesAt);
    return block;
}

static XmlpLocation *allocateLocations(Builder *builder, const XmlpBrackets *found)
{
    auto *locations =
        static_cast<XmlpLocation *>(calloc(_elementBound(found) + 1, sizeof(XmlpLocation)));
    if (locations == nullptr) {
        outOfMemory(builder, "xmlp_parse", 1509);
    }
    return locations;
}

// Builds the tree of a text whose brackets were found. Returns the document node, or null.
static XmlpNode *build(Builder *builder, const XmlpBrackets *found, XmlpLocationList *locations)
{
    if (growOpen(builder) != 0) {
        return nullptr;
    }
    char *block = builder->isStatic ? allocateBlock(builder, found) : nullptr;
    builder->locations = locations != nullptr ? allocateLocations(builder, found) : nullptr;
    if (builder->isBuilding) {
        builder->root = newNode(builder);
    }
    if (builder->root != nullptr) {
        *builder->root = {};
    }
    builder->open[builder->depth++] = {builder->text, builder->text, builder->root, 0, 0};
    int status = readDocument(builder, _firstBlock(found, builder->text));
    if (status == 0 && !builder->isBuilding) {
        builder->rejection->fault = builder->treeFault;
        status = -1;
    }
    XmlpNode *root = builder->root;
    if (status != 0) {
        free(builder->locations);
        free(block);
        if (!builder->isStatic && root != nullptr) {
            xmlp_delDtree(root);
        }
        return nullptr;
    }
    if (locations != nullptr) {
        *locations = {builder->locations, builder->count};
    }
    if (block != nullptr && builder->count == 0) {
        root = reinterpret_cast<XmlpNode *>(block); // where a tree without names is freed
        *root = {};
    }
    return root;
}

XmlpNode *_buildTree(const char *text, const char *end, uint32_t isStatic, const char *origin,
                     XmlpLocationList *locations, XmlpRejection *rejection)
{
    *rejection = {};
    XmlpBrackets found;
    Builder builder = {};
    builder.text = text;
    builder.end = end;
    builder.isStatic = isStatic != 0;
    builder.isBuilding = true;
    builder.rejection = rejection;
    builder.origin = origin;
    XmlpNode *root = nullptr;
    if (_findBrackets(&found, text, static_cast<size_t>(end - text)) != 0) {
        textFault(&builder, "xmlp_parse", 1509, "malloc failed.", nullptr);
    } else {
        root = build(&builder, &found, locations);
    }
    free(found.blocks);
    free(builder.open);
    _freeNameIndex(&builder.pool);
    return root;
}

// From text to tree in one pass.
//
// The pass goes from bracket to bracket. It checks each tag where it stands and builds its node at
// once. But faults are not reported in the order in which the pass meets them: all those of the
// text come first, that of a start tag only once its end tag was met, and then those of the tree,
// such as a repeated attribute. So at a fault of a start tag or of the tree, the pass stops
// building, remembers the fault if it is the tree's, and goes on to check the rest of the text.

#include "xmlp/brackets.h"
#include "xmlp/store.h"
#include "xmlp/tag.h"

namespace
{
// An element that is open.
struct Open {
    const char *tag;     // its name in the text
    const char *content; // after its start tag
    XmlpNode *node;
    size_t nameLength; // 0 when its end tag needs a closer look
    uint32_t number;   // of the element in document order
};

struct Builder {
    const char *end; // of the text
    bool isBuilding;
    XmlpFinding treeFault; // that ended the building
    XmlpRejection *rejection;

    Open *open; // the document, and the elements around the current position
    size_t depth;
    size_t capacity;

    XmlpNode *root;
    XmlpStore store;

    uint32_t count; // of elements
    const char *origin;
    XmlpLocation *locations; // null unless they are asked for
};
} // namespace

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

// For a string of a tag; dynamicLine reports it for a dynamic tree.
static int outOfStrings(Builder *builder, int dynamicLine)
{
    return builder->store.isStatic ? outOfMemory(builder, "xmlp_parse", 1509)
                                   : outOfMemory(builder, "_getNameAttr", dynamicLine);
}

// Up to this many attribute names of a tag are compared pair by pair as they come. If there are
// more, all are compared at the end, by sorting them.
static constexpr size_t FEW_ATTRS = 16;

// Appends the attributes of the tag to the node's empty list. 0 or -1; a fault of the tag, unlike
// one of the tree, is not recorded.
static int buildAttrs(Builder *builder, XmlpTag tag, XmlpNode *node)
{
    XmlpStore *store = &builder->store;
    const XmlpTag begin = tag;
    const char *existed = nullptr;
    size_t count = 0;
    XmlpAttr *last = nullptr;
    XmlpSlice name;
    XmlpSlice value;
    int more;
    while ((more = _nextAttr(&tag, &name, &value)) > 0) {
        if (count++ < FEW_ATTRS &&
            _hasAttrName(node->attrs, name.bytes, static_cast<uint32_t>(name.length))) {
            existed = name.bytes;
            break;
        }
        XmlpAttr *attr = _newAttr(store);
        if (attr == nullptr) {
            return outOfMemory(builder, "_getNameAttr", last == nullptr ? 672 : 771);
        }
        *attr = {};
        (last == nullptr ? node->attrs : last->next) = attr;
        last = attr;
        attr->name = store->isStatic ? _storeName(store, name) : _storeString(store, name);
        if (attr->name == nullptr) {
            return outOfStrings(builder, 708);
        }
        attr->value = value.length > 0 ? _storeString(store, value) : nullptr;
        if (attr->value == nullptr && value.length > 0) {
            return outOfStrings(builder, 744);
        }
    }
    if (count > FEW_ATTRS && (more == 0 || tag.isLoose) &&
        _findBeginning(begin, count, &existed) != 0) {
        return treeFault(builder, "_getNameAttr", 0, "", nullptr);
    }
    if (existed != nullptr) {
        return treeFault(builder, "_getNameAttr", 690, "attr name existed.", existed);
    }
    return more < 0 && tag.isLoose ? treeFault(builder, "_getNameAttr", 0, "", tag.p) : more;
}

// Initializes the node as the last child of parent.
static inline void beginNode(XmlpNode *node, XmlpNode *parent)
{
    XmlpNode *prev = parent->lastChild;
    *node = {nullptr, nullptr, 0, XMLP_NODE_NONE, nullptr, parent, prev, nullptr, nullptr, nullptr};
    (prev != nullptr ? prev->next : parent->firstChild) = node;
    parent->lastChild = node;
}

// Sets the type of a new node's parent, unless that is the document node. 0 or -1.
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

static inline bool isItemName(XmlpSlice name)
{
    return name.length == 4 && memcmp(name.bytes, _xmlp_itemName, 4) == 0;
}

// Builds the node of the element whose start tag ends at stop, which is its ">" or the "/" before
// it. 0 or -1, as buildAttrs.
static inline int buildNode(Builder *builder, Open *element, const char *stop)
{
    XmlpStore *store = &builder->store;
    XmlpNode *node = _newNode(store);
    if (node == nullptr) {
        return outOfMemory(builder, "xmlp_initNode", 827);
    }
    beginNode(node, builder->open[builder->depth - 1].node);
    element->node = node;
    XmlpTag tag = {element->tag, builder->end, *stop, false, false};
    XmlpSlice name = {element->tag, static_cast<size_t>(stop - element->tag)};
    const XmlpShortName *known = _recall(store, name);
    const bool isRead = known == nullptr;
    if (isRead) {
        if (_beginTag(&tag, &name) != 0) {
            return -1;
        }
        known = _recall(store, name);
    }
    const bool isItem = isItemName(name);
    node->type = isItem ? XMLP_NODE_ITEM : XMLP_NODE_NONE;
    if (store->isStatic) {
        node->name = known != nullptr ? known->pooled : _storeName(store, name);
    } else {
        node->name = isItem ? _xmlp_itemName : _storeString(store, name);
        if (known == nullptr) {
            _remember(store, name, nullptr);
        }
    }
    if (node->name == nullptr) {
        return outOfStrings(builder, 645);
    }
    // Reading a name does not check the bytes inside its characters.
    const bool isValid =
        known != nullptr || xmlp_isValidName(name.bytes, static_cast<uint32_t>(name.length)) != 0;
    element->nameLength = isValid ? name.length : 0;
    if (isRead && buildAttrs(builder, tag, node) != 0) {
        return -1;
    }
    return setType(builder, node, element->tag);
}

// Gives a leaf the text up to stop.
static inline void buildValue(Builder *builder, const Open *element, const char *stop)
{
    XmlpNode *node = element->node;
    const XmlpSlice text = {element->content, static_cast<size_t>(stop - element->content)};
    if (text.length == 0 || node->firstChild != nullptr) {
        return;
    }
    if (_storeValue(&builder->store, node, text) == 0) {
        if (node->type == XMLP_NODE_NONE) {
            node->type = XMLP_NODE_VALUE;
        }
        return;
    }
    const bool isStatic = builder->store.isStatic;
    const char *bad = _badEntity(text.bytes, text.length);
    if (bad == stop) { // memory is short
        treeFault(builder, "_makeDtree", 0, "", nullptr);
    } else {
        treeFault(builder, isStatic ? "_makeStree" : "_makeDtree", isStatic ? 904 : 1180,
                  "invalid value.", bad);
    }
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

// Parses the start tag or empty-element tag whose name lies before its ">" at close. 0, or -1 with
// the fault if it is one of the text.
static inline int startElement(Builder *builder, const char *name, const char *close)
{
    if (builder->depth == builder->capacity && growOpen(builder) != 0) {
        return -1;
    }
    const bool isEmpty = close[-1] == '/';
    Open *element = &builder->open[builder->depth];
    *element = {name, close + 1, nullptr, 0, builder->count++};
    if (builder->isBuilding && buildNode(builder, element, isEmpty ? close - 1 : close) != 0) {
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

// Parses the end tag whose name lies before its ">" at close. 0, or -1 with the fault.
static inline int endElement(Builder *builder, const char *name, const char *close)
{
    const Open *element = &builder->open[builder->depth - 1];
    const auto length = static_cast<size_t>(close - name);
    const bool isShort =
        length <= XMLP_SHORT_NAME && builder->end - name >= static_cast<ptrdiff_t>(XMLP_SHORT_NAME);
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

// Builds the tree of a text whose brackets were found. 0 or -1.
static int build(Builder *builder, const XmlpBrackets *found, const char *text, bool isLocating)
{
    if (growOpen(builder) != 0) {
        return -1;
    }
    const size_t nodeCount = found->count / 2 + 1; // each element has a tag of two brackets
    const int line =
        _initStore(&builder->store, static_cast<uint64_t>(builder->end - text), nodeCount);
    if (line != 0) {
        outOfMemory(builder, "xmlp_parse", line);
    }
    if (isLocating) {
        builder->locations = static_cast<XmlpLocation *>(calloc(nodeCount, sizeof(XmlpLocation)));
        if (builder->locations == nullptr) {
            outOfMemory(builder, "xmlp_parse", 1509);
        }
    }
    builder->root = builder->isBuilding ? _newNode(&builder->store) : nullptr;
    if (builder->root != nullptr) {
        *builder->root = {};
    } else {
        outOfMemory(builder, "xmlp_initNode", 827);
    }
    builder->open[builder->depth++] = {text, text, builder->root, 0, 0};
    const int status = readDocument(builder, _firstBlock(found, text));
    if (status == 0 && !builder->isBuilding) {
        builder->rejection->fault = builder->treeFault;
        return -1;
    }
    return status;
}

XmlpNode *_buildTree(const char *text, const char *end, uint32_t isStatic, const char *origin,
                     XmlpLocationList *locations, XmlpRejection *rejection)
{
    *rejection = {};
    Builder builder = {};
    builder.end = end;
    builder.isBuilding = true;
    builder.rejection = rejection;
    builder.origin = origin;
    XmlpStore *store = &builder.store;
    store->isStatic = isStatic != 0;
    store->textEnd = end;
    XmlpBrackets found;
    const int status = _findBrackets(&found, text, static_cast<size_t>(end - text)) == 0
                           ? build(&builder, &found, text, locations != nullptr)
                           : textFault(&builder, "xmlp_parse", 1509, "malloc failed.", nullptr);
    XmlpNode *root = builder.root;
    if (status != 0) {
        free(builder.locations);
        free(store->block);
        if (!store->isStatic && root != nullptr) {
            xmlp_delDtree(root);
        }
        root = nullptr;
    } else if (store->isStatic && builder.count == 0) { // without a name, freed as the root
        root = reinterpret_cast<XmlpNode *>(store->block);
        *root = {};
    }
    if (root != nullptr && locations != nullptr) {
        *locations = {builder.locations, builder.count};
    }
    free(found.blocks);
    free(builder.open);
    _freeNameIndex(&store->pool);
    return root;
}

/*
 * What the files of xmlp share among themselves.
 */
#ifndef XMLP_XMLP_INTERNAL_H
#define XMLP_XMLP_INTERNAL_H

#include "xmlp/xmlp.h"

#include <stddef.h>

#pragma GCC visibility push(hidden)
extern "C" {

/* ---- Diagnostics ----------------------------------------------------------------------- */

void _xmlp_report(const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

/* Prints "[ERROR][function():line]: message" CR LF; line is part of the message. */
#define XMLP_ERROR(line, ...) _xmlp_report(__func__, line, __VA_ARGS__)

/* ---- Bytes ----------------------------------------------------------------------------- */

/* What a byte may be part of. */
enum : unsigned {
    XMLP_BLANK = 1,       /* blank, tab, LF, CR */
    XMLP_NAME = 2,        /* element and attribute names */
    XMLP_ATTR_VALUE = 4,  /* attribute values */
    XMLP_TEXT = 8,        /* text that needs no escaping */
    XMLP_ASCII_NAME = 16, /* names, of ASCII characters only */
    XMLP_MARK = 32        /* "<", ">" */
};

struct XmlpByteTable {
    unsigned char byte[256];
};

extern const XmlpByteTable _xmlp_classes;

/* The number of bytes of the UTF-8 character that a byte begins; 1 where none begins. */
extern const XmlpByteTable _xmlp_steps;

static inline bool _isByte(char byte, unsigned byteClass)
{
    return (_xmlp_classes.byte[static_cast<unsigned char>(byte)] & byteClass) != 0;
}

static inline uint32_t _stepOf(char byte)
{
    return _xmlp_steps.byte[static_cast<unsigned char>(byte)];
}

/* Returns the first "&" of the text that begins no known entity, or the end of the text. */
const char *_badEntity(const char *str, uint32_t length);

/* ---- Document -------------------------------------------------------------------------- */

/* Where a lock on the document would go; they only check the handle. */
int _initLock(XmlpDoc *doc);
void _lock(XmlpDoc *doc);
void _unLock(XmlpDoc *doc);
void _destroyLock(XmlpDoc *doc);

/* The name of every item of a dynamic tree, shared by all of them and never freed. */
extern char _xmlp_itemName[];

/* Frees the name of a node, unless it is the shared one. */
void _freeNodeName(XmlpNode *node);

/* Frees an attribute list with its names and values. */
void _freeAttrList(XmlpAttr *attrs);

/* A NUL-terminated copy of length bytes at bytes, or null. */
char *_copyString(const char *bytes, size_t length);

/* 1 when some child of parent has this name. */
int _hasChildName(const XmlpNode *parent, const char *name);

/*
 * 1 when the length bytes at name are the beginning of an attribute's name: a stored "abc"
 * matches a new "ab".
 */
int _hasAttrName(const XmlpAttr *attrs, const char *name, uint32_t length);

/* ---- Parser: faults -------------------------------------------------------------------- */

/* Where the text that is being parsed is refused; null until then. */
extern const char *_xmlp_refusedAt;

/* Notes where the text is refused; the first note holds. */
static inline void _refuseAt(const char *p)
{
    if (_xmlp_refusedAt == nullptr) {
        _xmlp_refusedAt = p;
    }
}

/* ---- Parser: tags ---------------------------------------------------------------------- */

/* Returns the first byte from p on that is not blank. There must be one, a tag's ">" say. */
const char *_skipWhiteSpace(const char *p);

/*
 * Checks name and attributes of the tag whose name begins at tag, up to terminator: ">" for a
 * start tag, "/" for an empty-element tag. The tag must be closed by a ">".
 */
int _checkNameAttr(const char *tag, char terminator);

/* A run of bytes of the text, without terminator. */
struct XmlpSlice {
    const char *bytes;
    uint32_t length;
};

/*
 * Reads the parts of a checked tag, one after the other, and never passes the tag's ">". A NUL
 * byte ends the name or value that it lies in.
 */
struct XmlpTagReader {
    const char *p;
    char terminator;
};

XmlpSlice _readTagName(XmlpTagReader *reader);

/* 1 for an attribute, 0 when there are no more, -1 for one that does not complete in the tag. */
int _readTagAttr(XmlpTagReader *reader, XmlpSlice *name, XmlpSlice *value);

/* ---- Parser: check pass ---------------------------------------------------------------- */

/* An element that the check pass met; positions count from the text's first byte. */
struct XmlpElement {
    uint32_t name; /* behind the "<" of its start tag */
    uint32_t nameLength;
    uint32_t attrs;  /* behind the name */
    uint32_t close;  /* the ">" of its start tag */
    uint32_t end;    /* the "<" of its end tag; 0 for an empty-element tag */
    uint32_t parent; /* number of the element around it, counted from 1; 0 for the top element */
    uint32_t place;  /* of its name in the pool */
    bool isBare;     /* its tag holds nothing but the name, and that is ASCII */
    bool isLeaf;     /* no element lies in it */
    bool hasEntity;  /* its text, if it is a leaf, may hold one */
};

/* A reader for the attributes in the start tag of an element of the text. */
XmlpTagReader _readerOf(const char *text, const XmlpElement *element);

/* The elements of a text, in document order. */
struct XmlpElementList {
    XmlpElement *items;
    uint32_t count;
    uint32_t capacity;
    bool outOfMemory; /* it could not grow */
};

/*
 * Checks all of the text that follows the declaration and lists its elements. 0 or -1; the caller
 * frees list->items in either case.
 */
int _checkXml(const char *start, const char *end, XmlpElementList *list);

/* ---- Parser: name pool ----------------------------------------------------------------- */

/* A place that is in the index of a pool. */
struct XmlpNameSlot {
    uint32_t hash;
    uint32_t place; /* 0 for a free slot */
};

enum : uint32_t { XMLP_RECENT_BITS = 8 };

/* A short name met before, told by its first and last 8 bytes. */
struct XmlpRecentName {
    uint64_t first;
    uint64_t last;
    uint32_t length;
    uint32_t place; /* 0 for none */
};

/*
 * The names of a static tree; see name_pool.cpp. The place of a string is the number of the word
 * that it begins on, counted from 1.
 */
struct XmlpNamePool {
    char *base;  /* zero-filled from used on */
    size_t used; /* bytes up to the first all-zero word, which is there */
    size_t capacity;
    XmlpNameSlot *slots;
    size_t slotCount; /* a power of two */
    size_t placeCount;
    uint64_t seed;        /* of the hashes */
    uint32_t *attrPlaces; /* of the names and values of attributes, in document order */
    size_t attrPlaceCount;
    size_t attrPlaceCapacity;
    size_t attrPlacesRead;
    XmlpRecentName recent[1 << XMLP_RECENT_BITS];
};

enum : uint32_t { XMLP_POOL_WORD = 4 };

static inline char *_nameAt(const XmlpNamePool *pool, uint32_t place)
{
    return pool->base + static_cast<size_t>(place - 1) * XMLP_POOL_WORD;
}

/* 0, or -1 without memory. */
int _initNamePool(XmlpNamePool *pool);
void _freeNamePool(XmlpNamePool *pool);

/* Returns the position of the string in the pool, or that of the first free word. */
char *_findName(const XmlpNamePool *pool, const char *bytes, uint32_t length);

/* Stores the string, unless it is there. Returns its place, or 0 without memory. */
uint32_t _saveName(XmlpNamePool *pool, const char *bytes, uint32_t length);

/*
 * Stores name, attribute names and non-empty attribute values of an element of the text, sets the
 * element's place, and adds the number of its attributes to *attrs. 0, or -1 without memory.
 */
int _saveNameAttr(const char *text, XmlpElement *element, XmlpNamePool *pool, size_t *attrs);

/*
 * Returns the next of the attribute names and values that _saveNameAttr stored, in the order in
 * which it did.
 */
char *_nextAttrString(XmlpNamePool *pool);

/* ---- Parser: tree building ------------------------------------------------------------- */

/* An attribute name, and a fork in the tree of names. */
struct XmlpAttrEntry {
    XmlpSlice name;
    uint32_t byte; /* the names below the fork agree up to this byte, */
    unsigned bit;  /* and to this bit of it */
    uint32_t links[2];
};

/* The attribute names of one tag; see attr_names.cpp. All zero, it is empty. */
struct XmlpAttrNames {
    uint32_t count;         /* all names */
    XmlpAttrEntry *entries; /* those in the tree; for the owner to free */
    uint32_t used;
    uint32_t capacity;
    uint32_t top; /* the link to the tree */
};

/*
 * Adds the name of a new attribute; attrs are those before it. Returns what _hasAttrName says of
 * it, or -1 without memory.
 */
int _addAttrName(XmlpAttrNames *names, const XmlpAttr *attrs, const char *name, uint32_t length);

/*
 * Names node and builds its attribute list for an element of the text. Static: the strings are
 * those of pool, the records are taken from *attrsOut, which moves on. Dynamic: all are allocated.
 */
int _getNameAttr(const char *text, const XmlpElement *element, XmlpNode *node, XmlpAttr **attrsOut,
                 uint32_t isStatic, XmlpNamePool *pool);

/* The length of an element's value, un-escaped; 0 for none and for one with a bad entity. */
uint32_t _valueLength(const char *text, const XmlpElement *element);

/* Types a node that was linked and named, and its parent with it. */
int _setType(XmlpNode *node, uint32_t isStatic);

/*
 * Build the tree of a checked text from its elements; static in the areas for values, attribute
 * records and node records. They return the document node, or null.
 */
XmlpNode *_makeStree(const char *text, const XmlpElementList *list, XmlpNamePool *pool,
                     char *values, XmlpAttr *attrs, XmlpNode *nodes);
XmlpNode *_makeDtree(const char *text, const XmlpElementList *list);

/* ---- Path-addressed operations --------------------------------------------------------- */

/*
 * What the frame around an operation has to know of it: its name, the lines that it reports under
 * and the node types that it accepts, XMLP_TYPE_BIT of each. Line 0 stands for a check that it
 * does not make, or for a refusal without a line.
 */
struct XmlpFrame {
    const char *name;
    int invalidParams;
    int staticXml;
    int nodeNotExist;
    int errorNodeType;
    unsigned types;
    int unkownMode = 0; /* spelled as it is printed */
    int posOverRange = 0;
};

#define XMLP_TYPE_BIT(type) (1u << (type))

/* Reports "invalid params.". */
void _refuseParams(const XmlpFrame *frame);

/* The argument check; complete tells whether the operation has what it needs besides. */
static inline int _checkParams(const XmlpFrame *frame, const XmlpDoc *doc, const char *path,
                               bool complete)
{
    if (doc == nullptr || path == nullptr || !complete) {
        _refuseParams(frame);
        return -1;
    }
    return 0;
}

/* Locks the document and returns the node at path; unlocked again and null when refused. */
XmlpNode *_lockNode(const XmlpFrame *frame, XmlpDoc *doc, const char *path);

/* _checkParams and _lockNode. */
static inline XmlpNode *_openPath(const XmlpFrame *frame, XmlpDoc *doc, const char *path,
                                  bool complete)
{
    return _checkParams(frame, doc, path, complete) == 0 ? _lockNode(frame, doc, path) : nullptr;
}

/* Fills in a copy of the value of node with terminator bytes 0 behind it. Reports nothing. */
int _copyNodeValue(XmlpValue *copy, const XmlpNode *node, uint32_t terminator);

/* Adds the attributes in order, up to the first that fails. */
int _addAttrPairs(XmlpNode *node, const XmlpAttrPair *attrs, uint32_t count);

/* -1, reported, unless the positions are strictly increasing; quietly so for none. */
int _checkOrder(const uint32_t *pos, uint32_t count);

/* Returns a new node, without name and type, with copies of the item's value and attributes. */
XmlpNode *_item2Node(const XmlpItem *item);

/* ---- Serializer ------------------------------------------------------------------------ */

/* Length of the text of an attribute list, and of an element's own tags, attributes and value. */
uint64_t _attrsLen(const XmlpAttr *attr);
uint64_t _nodeLen(const XmlpNode *node);

/* Length of the text of an element and all below it: compact, and formatted at level. */
uint64_t _treeLen(const XmlpNode *node);
uint64_t _formatLen(const XmlpNode *node, uint32_t level);

/* Write that text at dst, without terminator; they return the position behind it. */
char *_tree2Xml(const XmlpNode *node, char *dst);
char *_tree2FormatXml(const XmlpNode *node, char *dst, uint32_t level);

} /* extern "C" */
#pragma GCC visibility pop

#endif

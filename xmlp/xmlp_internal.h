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
    XMLP_BLANK = 1,      /* blank, tab, LF, CR */
    XMLP_NAME = 2,       /* element and attribute names */
    XMLP_ATTR_VALUE = 4, /* attribute values */
    XMLP_TEXT = 8        /* text that needs no escaping */
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

/* ---- Parser: marks and tags ------------------------------------------------------------ */

/*
 * Returns the first "<" or ">" from p on, or end. The search steps from character to character, so
 * a byte inside a multi-byte character is never taken for a mark; a character that passes end is
 * the end.
 */
const char *_nextMark(const char *p, const char *end);

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

/* Checks all of the text that follows the declaration. */
int _checkXml(const char *start, const char *end);

/*
 * Checks an element's content from position on. openName is where the name in its start tag
 * begins. Returns the position behind its end tag, or null.
 */
const char *_subXml(const char *openName, const char *position, const char *end);

/* ---- Parser: name pool ----------------------------------------------------------------- */

struct XmlpPairSlot {
    uint32_t a;
    uint32_t b;
    uint32_t value; /* 0 for a free slot */
};

/* Numbers other than 0 by pairs of numbers. All zero, it is empty. */
struct XmlpPairMap {
    XmlpPairSlot *slots;
    uint32_t slotCount; /* a power of two, or 0 */
    uint32_t used;
    uint64_t seed;
};

/* Returns the number of the pair, 0 when it has none. */
uint32_t _getPair(const XmlpPairMap *map, uint32_t a, uint32_t b);

/* Gives the pair a number. 0, or -1 without memory. */
int _putPair(XmlpPairMap *map, uint32_t a, uint32_t b, uint32_t value);
void _freePairMap(XmlpPairMap *map);

/* The names of a static tree; see name_pool.cpp. */
struct XmlpNamePool {
    char *base;         /* zero-filled from used on */
    size_t used;        /* bytes up to the first all-zero word */
    XmlpPairMap places; /* word numbers, plus one, by first word of a string and place of its rest */
};

/* Gives pool room for all names of a text of textLength bytes. 0, or -1 without memory. */
int _initNamePool(XmlpNamePool *pool, uint32_t textLength);
void _freeNamePool(XmlpNamePool *pool);

/* Returns the position of the string in the pool, or that of the first free word. */
char *_findName(const XmlpNamePool *pool, const char *bytes, uint32_t length);

/* Stores the string, unless it is there. 0, or -1 without memory. */
int _saveName(XmlpNamePool *pool, const char *bytes, uint32_t length);

/*
 * Stores name, attribute names and non-empty attribute values of a checked tag. Returns the number
 * of attributes; *status becomes 0, or -1 without memory.
 */
uint32_t _saveNameAttr(const char *tag, char terminator, XmlpNamePool *pool, int *status);

/* ---- Parser: tree building ------------------------------------------------------------- */

/* The attribute names of one tag; see attr_names.cpp. All zero, it is empty. */
struct XmlpAttrNames {
    uint32_t count;
    XmlpPairMap tree;
};

/*
 * Adds the name of a new attribute; attrs are those before it. Returns what _hasAttrName says of
 * it, or -1 without memory.
 */
int _addAttrName(XmlpAttrNames *names, const XmlpAttr *attrs, const char *name, uint32_t length);

/*
 * Names node and builds its attribute list from a checked tag. Static: the strings are those of
 * pool, the records are taken from *attrsOut, which moves on. Dynamic: all are allocated.
 */
int _getNameAttr(const char *tag, char terminator, XmlpNode *node, XmlpAttr **attrsOut,
                 uint32_t isStatic, const XmlpNamePool *pool);

/* Types a node that was linked and named, and its parent with it. */
int _setType(XmlpNode *node, uint32_t isStatic);

/*
 * Build the tree of a checked text; static in the areas for values, attribute records and node
 * records. They return the document node, or null.
 */
XmlpNode *_makeStree(const char *text, uint32_t length, const XmlpNamePool *pool, char *values,
                     XmlpAttr *attrs, XmlpNode *nodes);
XmlpNode *_makeDtree(const char *text, uint32_t length);

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

/* The argument check; complete tells whether the operation has what it needs besides. */
int _checkParams(const XmlpFrame *frame, const XmlpDoc *doc, const char *path, bool complete);

/* Locks the document and returns the node at path; unlocked again and null when refused. */
XmlpNode *_lockNode(const XmlpFrame *frame, XmlpDoc *doc, const char *path);

/* _checkParams and _lockNode. */
XmlpNode *_openPath(const XmlpFrame *frame, XmlpDoc *doc, const char *path, bool complete);

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

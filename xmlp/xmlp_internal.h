/*
 * What the files of xmlp share among themselves.
 */
#ifndef XMLP_XMLP_INTERNAL_H
#define XMLP_XMLP_INTERNAL_H

#include "xmlp/xmlp.h"

#include <stddef.h>

#pragma GCC visibility push(hidden)
extern "C" {

void _xmlp_report(const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

/* The same line several times, as for each of the elements around a fault. */
void _xmlp_reportOften(size_t times, const char *function, int line, const char *message);

/* Prints "[ERROR][function():line]: message" CR LF; line is part of the message. */
#define XMLP_ERROR(line, ...) _xmlp_report(__func__, line, __VA_ARGS__)

/* The same, as what a function that fails with -1 returns. */
#define XMLP_FAIL(line, ...) (XMLP_ERROR(line, __VA_ARGS__), -1)

/* Code that only rejected texts run: small rather than fast. */
#define XMLP_COLD __attribute__((cold))

/* What a byte may be part of. */
constexpr unsigned XMLP_BLANK = 1;      /* blank, tab, LF, CR */
constexpr unsigned XMLP_NAME = 2;       /* element and attribute names */
constexpr unsigned XMLP_ATTR_VALUE = 4; /* attribute values */
constexpr unsigned XMLP_TEXT = 8;       /* text that needs no escaping */

struct XmlpByteTable {
    unsigned char byte[256];
};

extern const XmlpByteTable _xmlp_classes;

/* The number of bytes of the UTF-8 character that a byte begins; 1 where none begins. */
extern const XmlpByteTable _xmlp_utf8Lengths;

static inline bool _hasClass(char byte, unsigned byteClass)
{
    return (_xmlp_classes.byte[static_cast<unsigned char>(byte)] & byteClass) != 0;
}

static inline uint32_t _utf8Length(char byte)
{
    return _xmlp_utf8Lengths.byte[static_cast<unsigned char>(byte)];
}

/* Returns the first "&" of the text that begins no known entity, or the end of the text. */
const char *_badEntity(const char *text, size_t length);

/* The length of an escaped text; xmlp_transStrLen gives the lowest 32 bits of it. */
uint64_t _escapedLen(const char *text, uint32_t length);

/* Where a lock on the document would go; they only check the handle. */
int _initLock(XmlpDoc *doc);
void _lock(XmlpDoc *doc);
void _unLock(XmlpDoc *doc);
void _destroyLock(XmlpDoc *doc);

/* The name of every item of a dynamic tree: shared, never freed. */
extern char _xmlp_itemName[];

/* Frees an attribute list with its names and values. */
void _freeAttrList(XmlpAttr *attrs);

/* Returns a copy of size bytes followed by zeros 0 bytes, or null. */
unsigned char *_copyBytes(const void *bytes, size_t size, size_t zeros);

/* Returns a NUL-terminated copy of length bytes, or null. */
char *_copyString(const char *bytes, size_t length);

/* 1 if some child of parent has this name. */
int _hasChildName(const XmlpNode *parent, const char *name);

/* 1 if some attribute's name begins with the length bytes at name: "ab" matches a stored "abc". */
int _hasAttrName(const XmlpAttr *attrs, const char *name, uint32_t length);

/* What is wrong with a text, and where. */
struct XmlpFinding {
    const char *function; /* that reports it */
    int line;             /* 0 for a fault that is not reported */
    const char *message;
    const char *at; /* in the text; null when memory is short */
};

/* All that is printed about a rejected text, in this order. */
struct XmlpRejection {
    XmlpFinding fault;
    int tagLine;         /* of _subXml for the tag; 0 for none */
    size_t elementLines; /* how many lines of _subXml for the elements around it */
    int topLine;         /* of _checkXml for the top element; 0 for none */
};

/* A run of bytes of the text, without terminator. */
struct XmlpSlice {
    const char *bytes;
    size_t length;
};

/* Checks the name and attributes of the tag whose name begins at tag. 0, or -1 with the fault. */
int _checkNameAttr(const char *tag, char terminator, XmlpFinding *fault);

/*
 * Compares the end tag whose name ends at its ">" at close with the start tag whose name begins at
 * open, and checks the latter. 0, or -1 with the fault.
 */
int _checkEndTag(const char *open, const char *name, const char *close, XmlpFinding *fault);

/*
 * Checks the text from text to end, which is what follows the declaration, and builds its tree.
 * Returns the document node, or null with *rejection filled in. The locations, null when nobody
 * asks for them, count from origin.
 */
XmlpNode *_buildTree(const char *text, const char *end, uint32_t isStatic, const char *origin,
                     XmlpLocationList *locations, XmlpRejection *rejection);

/*
 * What differs between operations: the name and lines that they report, the node types that they
 * accept. Line 0 stands for a check that is not made or fails without a message.
 */
struct XmlpOperation {
    const char *name;
    int invalidParams;
    int staticXml;
    int nodeNotExist;
    int errorNodeType = 0;
    int unkownMode = 0; /* spelled as it is printed */
    int posOverRange = 0;
    uint32_t type = XMLP_NODE_LIST;
    uint32_t otherType = XMLP_NODE_NONE;
};

/* Locks the document and returns the node at path; null, reported and unlocked, if it fails. */
XmlpNode *_lockNode(const XmlpOperation &operation, XmlpDoc *doc, const char *path);

/* The same after checking the arguments. complete is false if any other argument is missing. */
static inline XmlpNode *_openPath(const XmlpOperation &operation, XmlpDoc *doc, const char *path,
                                  bool complete)
{
    if (doc == nullptr || path == nullptr || !complete) {
        _xmlp_report(operation.name, operation.invalidParams, "invalid params.");
        return nullptr;
    }
    return _lockNode(operation, doc, path);
}

/* Stores a copy of the node's value followed by zeros 0 bytes. Reports nothing. */
int _copyNodeValue(XmlpValue *copy, const XmlpNode *node, uint32_t zeros);

/* Adds the attributes in order, up to the first that fails. */
int _addAttrPairs(XmlpNode *node, const XmlpAttrPair *pairs, uint32_t count);

/* 0 if the positions strictly increase, or -1 after reporting; without a message for none. */
int _checkOrder(const uint32_t *pos, uint32_t count);

/* Returns a new node, without name and type, with copies of the item's value and attributes. */
XmlpNode *_item2Node(const XmlpItem *item);

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

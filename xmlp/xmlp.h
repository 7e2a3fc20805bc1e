/*
 * xmlp - a small XML document library.
 *
 * A document is a tree of nodes behind a reference-counted handle. It is either
 *   static   built by the parser in one single allocation, read-only; or
 *   dynamic  every node, name, value and attribute an allocation of its own, editable.
 *
 * Accepted text: UTF-8, an optional byte-order mark and declaration, one top element; elements
 * with double-quoted attributes and text; the entities &lt; &gt; &amp;. No comments, CDATA,
 * document types or further processing instructions.
 *
 * Unless a function says otherwise, statuses are 0 on success and -1 on failure, predicates are
 * 1 or 0, lookups give a pointer or null. Every failure prints one line on standard output:
 * "[ERROR][function():line]: message" CR LF. Lengths and sizes are in bytes. Nothing here locks:
 * a document belongs to one thread at a time; different documents have nothing in common.
 */
#ifndef XMLP_XMLP_H
#define XMLP_XMLP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Records --------------------------------------------------------------------------- */

/* Node types. */
enum {
    XMLP_NODE_NONE = 0,   /* a leaf without value, or the document node */
    XMLP_NODE_STRUCT = 1, /* has children, none of them named "item" */
    XMLP_NODE_VALUE = 2,  /* has a value */
    XMLP_NODE_LIST = 3,   /* has children, all of them named "item" */
    XMLP_NODE_ITEM = 4    /* child of a list */
};

/* Index of the last child, position behind the last child. */
#define XMLP_LAST 0xFFFFFFFFu

/* Packed, since a record may lie at any byte address inside a static tree's block. */
#define XMLP_PACKED __attribute__((packed))

/* An attribute; 12 bytes on a 32-bit target. */
typedef struct XMLP_PACKED XmlpAttr {
    char *name;            /* NUL-terminated */
    char *value;           /* NUL-terminated; null for an attribute without value */
    struct XmlpAttr *next; /* null at the end */
} XmlpAttr;

/* An element, or the nameless document node above the top element; 40 bytes on a 32-bit target. */
typedef struct XMLP_PACKED XmlpNode {
    char *name;           /* NUL-terminated; null in the document node only */
    unsigned char *value; /* valueSize bytes of un-escaped text without terminator, or null */
    uint32_t valueSize;
    uint32_t type; /* XMLP_NODE_... */
    XmlpAttr *attrs;
    struct XmlpNode *parent;
    struct XmlpNode *prev;
    struct XmlpNode *next;
    struct XmlpNode *firstChild;
    struct XmlpNode *lastChild;
} XmlpNode;

/* A document; six 32-bit words on a 32-bit target. */
typedef struct XmlpTree {
    uint32_t isStatic;     /* 1 static, 0 dynamic */
    uint32_t headerLen;    /* 0 when the text had no XML declaration */
    unsigned char *header; /* the text's first headerLen bytes, through its declaration; or null */
    XmlpNode *root;        /* the document node */
    uint32_t lock;         /* reserved for the lock hooks */
    uint32_t refCount;     /* holders of the document */
} XmlpTree;

/* What callers hold. */
typedef struct XmlpDoc {
    XmlpTree *tree;
} XmlpDoc;

/* ---- Documents ------------------------------------------------------------------------- */

/*
 * Parses length bytes at buffer into a new document held once. isStatic is 1 for a static tree,
 * 0 for a dynamic one. The buffer is neither changed nor kept.
 * Returns the handle, to be given back with xmlp_releaseDoc, or null.
 */
XmlpDoc *xmlp_loadDoc(const char *buffer, uint32_t length, uint32_t isStatic);

/* Like xmlp_loadDoc, but leaves refCount at 0. */
XmlpDoc *xmlp_xml2Tree(const char *xmlBuf, uint32_t length, uint32_t isStatic);

/*
 * Parses length bytes at xmlBuf into a document record without a handle; refCount is 0.
 * Returns the record or null after reporting what is wrong with the text.
 */
XmlpTree *xmlp_parse(const char *xmlBuf, uint32_t length, uint32_t isStatic);

/* Why a text was rejected. */
typedef struct XmlpFault {
    const char *function; /* the function and line that would have reported it first */
    int line;             /* 0 for a fault that nothing reports */
    const char *message;  /* without the line's end; never null */
    uint32_t offset;      /* in bytes from the buffer's beginning; XMLP_NOWHERE: memory is short */
} XmlpFault;

#define XMLP_NOWHERE 0xFFFFFFFFu

/* Where an element stands, in bytes from the buffer's beginning. */
typedef struct XmlpLocation {
    uint32_t tag;     /* the "<" of its start tag */
    uint32_t content; /* behind its start tag */
    uint32_t end;     /* behind its end tag, or its empty-element tag */
} XmlpLocation;

/* The elements of a document in the order of their start tags, which is that of a walk down. */
typedef struct XmlpLocationList {
    XmlpLocation *items; /* the caller's to free */
    uint32_t count;
} XmlpLocationList;

/*
 * Like xmlp_loadDoc, but prints nothing: returns null with *fault filled in when the text is
 * rejected. locations, unless it is null, receives the locations of the elements; nothing to free
 * when the result is null.
 */
XmlpDoc *xmlp_readDoc(const char *buffer, uint32_t length, uint32_t isStatic, XmlpFault *fault,
                      XmlpLocationList *locations);

/* Adds a holder; returns the same handle, or null for a null one. */
XmlpDoc *xmlp_copyDoc(XmlpDoc *doc);

/* Gives up one hold; the last one frees tree, header, record and handle. */
void xmlp_releaseDoc(XmlpDoc *doc);

/* Frees the header copy and the tree, but neither the XmlpTree record nor the handle. */
void xmlp_destroyXmlTree(XmlpDoc *doc);

/* ---- Nodes ----------------------------------------------------------------------------- */

/* Returns a new node with all fields zero, or null. Linked into a tree, the tree owns it. */
XmlpNode *xmlp_initNode(void);

/*
 * Link node as first or last child of parent. Names, types and existing links are not checked; only
 * a link that would close a circle is rejected, without a line.
 */
int xmlp_insNodeFirst(XmlpNode *node, XmlpNode *parent);
int xmlp_insNodeLast(XmlpNode *node, XmlpNode *parent);

/* Link node as next or previous sibling of ref, which must have a parent. */
int xmlp_insNodeAfter(XmlpNode *node, XmlpNode *ref);
int xmlp_insNodeBefore(XmlpNode *node, XmlpNode *ref);

/* Links node so that it becomes child number position (0 first, XMLP_LAST last) of parent. */
int xmlp_addChildNode(XmlpNode *node, XmlpNode *parent, uint32_t position);

/* Returns child number index (0 first, XMLP_LAST last), or null. */
XmlpNode *xmlp_getChildNode(const XmlpNode *parent, uint32_t index);

/*
 * Returns the first child whose name is exactly the length bytes at name, which need no
 * terminator; or null.
 */
XmlpNode *xmlp_getChildNodeByName(const XmlpNode *parent, const char *name, uint32_t length);

/* Return the number of children and of attributes; 0 for a null node. */
uint32_t xmlp_getChildNodeCount(const XmlpNode *node);
uint32_t xmlp_getNodeAttrCount(const XmlpNode *node);

/*
 * Gives node of a dynamic tree a copy of name. Fails for an invalid name and for one that a
 * child of the same parent has, node itself included.
 */
int xmlp_setNodeName(XmlpNode *node, const char *name);

/*
 * Gives a leaf of a dynamic tree a copy of the valueSize bytes at value; a null value of size 0
 * clears it. The type stays.
 */
int xmlp_setNodeValue(XmlpNode *pNode, const void *value, uint32_t valueSize);

/* Unlinks and frees a leaf of a dynamic tree. */
int xmlp_delNode(XmlpNode *node);

/* Unlinks and frees a node of a dynamic tree and all below it. */
int xmlp_delDtree(XmlpNode *node);

/* Frees the block of a static tree. */
int xmlp_delStree(XmlpNode *rootNode);

/* ---- Attributes of a node -------------------------------------------------------------- */

/* Appends an attribute with copies of name and value; a null value is an attribute without. */
int xmlp_addNodeAttr(XmlpNode *node, const char *name, const char *value);

/* Unlinks and frees the attribute. */
int xmlp_delNodeAttr(XmlpNode *node, const char *name);

/* Replaces the attribute's value by a copy of value, or by none. */
int xmlp_setNodeAttr(XmlpNode *node, const char *name, const char *value);

/* Gives a copy of the attribute's value, which the caller frees, or null when it has none. */
int xmlp_getNodeAttr(const XmlpNode *node, const char *name, char **out);

/* 1 when the attribute exists with exactly this value; a null value asks for one without. */
int xmlp_isNodeAttr(const XmlpNode *node, const char *name, const char *value);

/* ---- Names, characters, escaping ------------------------------------------------------- */

/* 0 when the length bytes at slice are the NUL-terminated name, -1 otherwise. */
int xmlp_nameCmp(const char *slice, uint32_t length, const char *name);

/* 1 when none of the bytes is & / < or >. */
int xmlp_isValidChar(const void *buf, uint32_t length);

/* 1 when none of the bytes is NUL, blank, tab, LF, CR or one of " & / < = >. */
int xmlp_isValidName(const void *buf, uint32_t length);

/* 1 when none of the bytes is NUL or one of & " < >. */
int xmlp_isValidAttrValue(const void *buf, uint32_t length);

/* Returns the length of the text with < > & written as entities. */
uint32_t xmlp_transStrLen(const void *str, uint32_t length);

/*
 * Writes the text with < > & as entities, without terminator. dst holds xmlp_transStrLen bytes.
 * Returns the position behind the last byte written, or null.
 */
char *xmlp_transStr(void *dst, const void *src, uint32_t length);

/* Returns the length of the text with its entities replaced; 0 when one of them is unknown. */
uint32_t xmlp_unTransStrLen(const void *str, uint32_t length);

/*
 * Writes the text with its entities replaced, without terminator. dst holds xmlp_unTransStrLen
 * bytes. Returns the position behind the last byte written, or null for an unknown entity.
 */
char *xmlp_unTransStr(void *dst, const void *src, uint32_t length);

/* ---- Path-addressed interface ---------------------------------------------------------- */

/*
 * These operations name their node by a path from the document node: "/" is the document node,
 * "/a/b" the first child named b of the top element a. A path begins with a slash and has neither
 * indexes nor wildcards. Those that change something refuse a static document.
 *
 * Items, the children of a list element, are numbered from 0. Several of them are addressed by
 *   XMLP_POS_RUN   the count consecutive items from pos[0] on; or
 *   XMLP_POS_LIST  the count items pos[0] .. pos[count - 1], in strictly increasing order.
 * When one of them does not exist, nothing is read or changed.
 */
enum { XMLP_POS_RUN = 0, XMLP_POS_LIST = 1 };

/* A value. data has size bytes and, where it is returned, is the caller's to free. */
typedef struct XmlpValue {
    uint32_t size;
    unsigned char *data; /* null when there is none */
} XmlpValue;

/* An attribute. value is null for one without and, where it is returned, the caller's to free. */
typedef struct XmlpAttrPair {
    const char *name;
    char *value;
} XmlpAttrPair;

/* A new item. */
typedef struct XmlpItem {
    uint32_t attrCount;
    const XmlpAttrPair *attrs;
    uint32_t valueSize;
    const unsigned char *value; /* null for an item without value */
} XmlpItem;

/* Returns the node that path leads to, or null; reports only null arguments and empty names. */
XmlpNode *xmlp_seekXml(const XmlpDoc *doc, const char *path);

/* 1 when path leads to a node. */
int xmlp_isExist(const XmlpDoc *doc, const char *path);

/*
 * Returns a record with a copy of the value of a node of type XMLP_NODE_VALUE or XMLP_NODE_NONE;
 * a 0 byte, not counted in size, follows it. The caller frees data and record.
 */
XmlpValue *xmlp_getValue(XmlpDoc *doc, const char *path);

/* Gives a node of type XMLP_NODE_VALUE a copy of the valueSize bytes at value. */
int xmlp_setValue(XmlpDoc *doc, const char *path, const void *value, uint32_t valueSize);

/* Renames a node; its parent must have no child of that name. */
int xmlp_setName(XmlpDoc *doc, const char *path, const char *name);

/*
 * Adds a child with copies of name, value (null for none) and attrCount attributes, so that it
 * becomes child number position (0 first, XMLP_LAST last). The node at path has type
 * XMLP_NODE_STRUCT, or XMLP_NODE_NONE and becomes XMLP_NODE_STRUCT, even when the add then fails.
 */
int xmlp_add(XmlpDoc *doc, const char *path, uint32_t position, const char *name,
             const XmlpValue *value, const XmlpAttrPair *attrs, uint32_t attrCount);

/* Returns the number of children. */
uint32_t xmlp_getChildCount(XmlpDoc *doc, const char *path);

/* Deletes a node and all below it; never the document node. */
int xmlp_delete(XmlpDoc *doc, const char *path);

/* Gives, in pair->value, a copy of the value of the attribute pair->name. */
int xmlp_getAttr(XmlpDoc *doc, const char *path, XmlpAttrPair *pair);

/* Replace the value of an attribute, add an attribute, delete one. */
int xmlp_setAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair);
int xmlp_addAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair);
int xmlp_deleteAttr(XmlpDoc *doc, const char *path, const char *name);

/* 1 when the list at path has an item number position. */
int xmlp_isItemExist(XmlpDoc *doc, const char *path, uint32_t position);

/*
 * Returns an array of count records with copies of the addressed items' values, each followed by
 * a 0 byte not counted in size. *outCount becomes the number of records filled: fewer than count
 * when memory is short. Null when nothing could be read. The caller frees each data and the array.
 */
XmlpValue *xmlp_getItemValue(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                             uint32_t count, uint32_t *outCount);

/*
 * Returns an array of *outCount records with copies, without a 0 byte, of the values of the items
 * that have every one of the pairCount attributes with exactly its value. Null when there is none;
 * then *outCount is 0, or unchanged if the call was refused or memory was short. The caller frees
 * each data and the array.
 */
XmlpValue *xmlp_getItemValueByAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pairs,
                                   uint32_t pairCount, uint32_t *outCount);

/* Gives item after item a copy of its value of values; returns the number set. */
uint32_t xmlp_setItemValue(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpValue *values,
                           const uint32_t *pos, uint32_t count);

/*
 * Inserts count new items so that the first becomes item number position (0 first, XMLP_LAST
 * behind the last). A node of type XMLP_NODE_NONE becomes a list. Stops at the first item that
 * fails; returns the number inserted.
 */
uint32_t xmlp_addItem(XmlpDoc *doc, const char *path, const XmlpItem *items, uint32_t position,
                      uint32_t count);

/*
 * Deletes the addressed items; XMLP_POS_RUN from XMLP_LAST on means all of them. An item that has
 * children stays and is reported; only the deletion of all stops and fails there.
 */
int xmlp_deleteItem(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                    uint32_t count);

/*
 * Get, set, add and delete one attribute of each addressed item: that of pairs[0] for the first,
 * pairs[1] for the next, or the same name for all of them. They stop at the first failure and
 * return the number of items done.
 */
uint32_t xmlp_getItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count);
uint32_t xmlp_setItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count);
uint32_t xmlp_addItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count);
uint32_t xmlp_deleteItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const char *name,
                             const uint32_t *pos, uint32_t count);

/* ---- Serializer ------------------------------------------------------------------------ */

/*
 * Return the document as XML text: compact, without any byte between its tags, or formatted, one
 * tag per line and indented by two blanks a level. The text is NUL-terminated, of *pLen bytes
 * without the terminator, and the caller's to free. A text of more than 0xFFFFFFFE bytes counts as
 * memory that is short; then, and whenever else memory is short, the result is null and *pLen the
 * length, 0xFFFFFFFF for one that does not fit or could not be added up. xmlp_dumpDoc locks the
 * document.
 */
char *xmlp_dumpDoc(XmlpDoc *doc, int compact, uint32_t *pLen);
char *xmlp_tree2Xml(const XmlpDoc *doc, int compact, uint32_t *pLen);

#ifdef __cplusplus
}
#endif

#endif

/*
 * A small XML library.
 *
 * A document is a tree of nodes behind a reference-counted handle. It is either
 *   static   built by the parser in one allocation, read-only; or
 *   dynamic  editable: every node, name, value and attribute has an allocation of its own.
 *
 * Accepted text: UTF-8 with an optional BOM and XML declaration; one top element; elements with
 * double-quoted attributes and text; the entities &lt; &gt; &amp;. No comments, CDATA sections,
 * document types or other processing instructions.
 *
 * Unless stated otherwise, a status is 0 on success and -1 on failure, a predicate 1 or 0, a lookup
 * a pointer or null. Every failure prints "[ERROR][function():line]: message" CR LF on standard
 * output. Lengths and sizes are in bytes. Names, values and texts that are passed in are copied.
 * Nothing here locks: one thread at a time may use a document; different documents share nothing.
 */
#ifndef XMLP_XMLP_H
#define XMLP_XMLP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Node types. */
enum {
    XMLP_NODE_NONE = 0,   /* a leaf without value, or the document node */
    XMLP_NODE_STRUCT = 1, /* has children, none of them named "item" */
    XMLP_NODE_VALUE = 2,  /* has a value */
    XMLP_NODE_LIST = 3,   /* has children, all of them named "item" */
    XMLP_NODE_ITEM = 4    /* child of a list */
};

/* The index of the last child; the position behind the last child. */
#define XMLP_LAST 0xFFFFFFFFu

/* Packed: a record may lie at any byte address in the block of a static tree. */
#define XMLP_PACKED __attribute__((packed))

/* An attribute; 12 bytes on a 32-bit target. */
typedef struct XMLP_PACKED XmlpAttr {
    char *name;            /* NUL-terminated */
    char *value;           /* NUL-terminated; null if there is none */
    struct XmlpAttr *next; /* null at the end */
} XmlpAttr;

/* An element, or the nameless document node above the top element; 40 bytes on a 32-bit target. */
typedef struct XMLP_PACKED XmlpNode {
    char *name;           /* NUL-terminated; null only in the document node */
    unsigned char *value; /* valueSize bytes of unescaped text, not terminated; or null */
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
    uint32_t headerLen;    /* 0 if the text has no XML declaration */
    unsigned char *header; /* a copy of the text up to the end of its declaration; or null */
    XmlpNode *root;        /* the document node */
    uint32_t lock;         /* reserved */
    uint32_t refCount;     /* number of holders */
} XmlpTree;

/* The handle of a document. */
typedef struct XmlpDoc {
    XmlpTree *tree;
} XmlpDoc;

/* ---- Documents ------------------------------------------------------------------------- */

/*
 * Parses the length bytes at buffer into a tree that is static if isStatic is 1, dynamic if it is
 * 0. Returns a handle with refCount 1, to be released with xmlp_releaseDoc, or null.
 */
XmlpDoc *xmlp_loadDoc(const char *buffer, uint32_t length, uint32_t isStatic);

/* The same with refCount 0. */
XmlpDoc *xmlp_xml2Tree(const char *xmlBuf, uint32_t length, uint32_t isStatic);

/* The same without a handle. Returns the document record, or null. */
XmlpTree *xmlp_parse(const char *xmlBuf, uint32_t length, uint32_t isStatic);

/* Why a text was rejected. */
typedef struct XmlpFault {
    const char *function; /* the function and line that would have reported it first */
    int line;             /* 0 for a fault that is not reported */
    const char *message;  /* without a line end; never null */
    uint32_t offset;      /* from the start of the buffer; XMLP_NOWHERE: out of memory */
} XmlpFault;

#define XMLP_NOWHERE 0xFFFFFFFFu

/* The location of an element, as offsets from the start of the buffer. */
typedef struct XmlpLocation {
    uint32_t tag;     /* of the "<" of its start tag */
    uint32_t content; /* behind its start tag */
    uint32_t end;     /* behind its end tag or empty-element tag */
} XmlpLocation;

/* The locations of all elements in document order. */
typedef struct XmlpLocationList {
    XmlpLocation *items; /* the caller frees it */
    uint32_t count;
} XmlpLocationList;

/*
 * Like xmlp_loadDoc, but prints nothing: if it fails, it returns null and fills in *fault. If it
 * succeeds, *locations receives the locations of the elements, unless locations is null.
 */
XmlpDoc *xmlp_readDoc(const char *buffer, uint32_t length, uint32_t isStatic, XmlpFault *fault,
                      XmlpLocationList *locations);

/* Adds a holder. Returns doc. */
XmlpDoc *xmlp_copyDoc(XmlpDoc *doc);

/* Removes a holder; with the last one, frees everything, the handle included. */
void xmlp_releaseDoc(XmlpDoc *doc);

/* Frees the header and the nodes, but neither the XmlpTree record nor the handle. */
void xmlp_destroyXmlTree(XmlpDoc *doc);

/* ---- Nodes ----------------------------------------------------------------------------- */

/* Returns a new node with all fields zero, or null. The tree it is linked into owns it. */
XmlpNode *xmlp_initNode(void);

/*
 * Link node as first or last child of parent, or as next or previous sibling of ref, which must
 * have a parent. Names, types and existing links are not checked, but a link that would close a
 * cycle is rejected without a message.
 */
int xmlp_insNodeFirst(XmlpNode *node, XmlpNode *parent);
int xmlp_insNodeLast(XmlpNode *node, XmlpNode *parent);
int xmlp_insNodeAfter(XmlpNode *node, XmlpNode *ref);
int xmlp_insNodeBefore(XmlpNode *node, XmlpNode *ref);

/* Links node as child number position of parent (0: first, XMLP_LAST: last). */
int xmlp_addChildNode(XmlpNode *node, XmlpNode *parent, uint32_t position);

/* Returns child number index (0: first, XMLP_LAST: last), or null. */
XmlpNode *xmlp_getChildNode(const XmlpNode *parent, uint32_t index);

/* Returns the first child that is named by the length bytes at name, or null. */
XmlpNode *xmlp_getChildNodeByName(const XmlpNode *parent, const char *name, uint32_t length);

/* Return the number of children or attributes; 0 for a null node. */
uint32_t xmlp_getChildNodeCount(const XmlpNode *node);
uint32_t xmlp_getNodeAttrCount(const XmlpNode *node);

/* Renames node. Fails if the name is invalid or a child of the same parent, even node, has it. */
int xmlp_setNodeName(XmlpNode *node, const char *name);

/* Replaces the value of a leaf; a null value of size 0 clears it. The type stays. */
int xmlp_setNodeValue(XmlpNode *pNode, const void *value, uint32_t valueSize);

/* Unlink and free a leaf or, with all below it, any node of a dynamic tree. */
int xmlp_delNode(XmlpNode *node);
int xmlp_delDtree(XmlpNode *node);

/* Frees the block of a static tree. */
int xmlp_delStree(XmlpNode *rootNode);

/* Append an attribute, change the value of one, delete one. A null value stands for none. */
int xmlp_addNodeAttr(XmlpNode *node, const char *name, const char *value);
int xmlp_setNodeAttr(XmlpNode *node, const char *name, const char *value);
int xmlp_delNodeAttr(XmlpNode *node, const char *name);

/* Stores in *out a copy of the attribute's value, which the caller frees, or null for none. */
int xmlp_getNodeAttr(const XmlpNode *node, const char *name, char **out);

/* 1 if there is an attribute with this name and value; a null value stands for none. */
int xmlp_isNodeAttr(const XmlpNode *node, const char *name, const char *value);

/* ---- Names, characters, escaping ------------------------------------------------------- */

/* 0 if the length bytes at slice equal the NUL-terminated name, otherwise -1. */
int xmlp_nameCmp(const char *slice, uint32_t length, const char *name);

/* 1 if no byte is one of & / < >. */
int xmlp_isValidChar(const void *buf, uint32_t length);

/* 1 if no byte is NUL, space, tab, LF, CR or one of " & / < = >. */
int xmlp_isValidName(const void *buf, uint32_t length);

/* 1 if no byte is NUL or one of & " < >. */
int xmlp_isValidAttrValue(const void *buf, uint32_t length);

/* Returns the length of the text with < > & written as entities. */
uint32_t xmlp_transStrLen(const void *str, uint32_t length);

/* Writes that text to dst, without terminator. Returns the position behind it, or null. */
char *xmlp_transStr(void *dst, const void *src, uint32_t length);

/* Returns the length of the text with its entities replaced; 0 if one of them is unknown. */
uint32_t xmlp_unTransStrLen(const void *str, uint32_t length);

/* Writes that text to dst, without terminator. Returns the position behind it, or null. */
char *xmlp_unTransStr(void *dst, const void *src, uint32_t length);

/* ---- Path-addressed interface ---------------------------------------------------------- */

/*
 * These take the path of a node: "/" is the document node, "/a/b" the first child b of the top
 * element a. There are no relative paths, indexes or wildcards. A static document is rejected by
 * those that change something.
 *
 * Items, the children of a list, are numbered from 0. The mode tells which ones are addressed:
 *   XMLP_POS_RUN   count consecutive items, beginning with pos[0]
 *   XMLP_POS_LIST  the items pos[0] to pos[count - 1], strictly increasing
 * If one of them does not exist, nothing is read or changed.
 */
enum { XMLP_POS_RUN = 0, XMLP_POS_LIST = 1 };

/* A value. */
typedef struct XmlpValue {
    uint32_t size;
    unsigned char *data; /* size bytes, or null; the caller frees it where it is returned */
} XmlpValue;

/* An attribute. */
typedef struct XmlpAttrPair {
    const char *name;
    char *value; /* null if there is none; the caller frees it where it is returned */
} XmlpAttrPair;

/* A new item. */
typedef struct XmlpItem {
    uint32_t attrCount;
    const XmlpAttrPair *attrs;
    uint32_t valueSize;
    const unsigned char *value; /* null if there is none */
} XmlpItem;

/* Returns the node at path, or null. Reports only null arguments and empty names. */
XmlpNode *xmlp_seekXml(const XmlpDoc *doc, const char *path);

/* 1 if there is a node at path. */
int xmlp_isExist(const XmlpDoc *doc, const char *path);

/*
 * Returns a copy of the value, followed by a 0 byte that size does not count. The type must be
 * XMLP_NODE_VALUE or XMLP_NODE_NONE. The caller frees data and record.
 */
XmlpValue *xmlp_getValue(XmlpDoc *doc, const char *path);

/* Replaces the value of a node of type XMLP_NODE_VALUE. */
int xmlp_setValue(XmlpDoc *doc, const char *path, const void *value, uint32_t valueSize);

/* Renames a node. Its parent must not have a child of that name. */
int xmlp_setName(XmlpDoc *doc, const char *path, const char *name);

/*
 * Adds a child as xmlp_addChildNode does, without a value if value is null. The node at path must
 * have type XMLP_NODE_STRUCT or XMLP_NODE_NONE; it becomes XMLP_NODE_STRUCT even if the add fails.
 */
int xmlp_add(XmlpDoc *doc, const char *path, uint32_t position, const char *name,
             const XmlpValue *value, const XmlpAttrPair *attrs, uint32_t attrCount);

/* Returns the number of children. */
uint32_t xmlp_getChildCount(XmlpDoc *doc, const char *path);

/* Deletes a node and all below it. The document node is rejected. */
int xmlp_delete(XmlpDoc *doc, const char *path);

/* Get (into pair->value), set, add and delete an attribute. */
int xmlp_getAttr(XmlpDoc *doc, const char *path, XmlpAttrPair *pair);
int xmlp_setAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair);
int xmlp_addAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair);
int xmlp_deleteAttr(XmlpDoc *doc, const char *path, const char *name);

/* 1 if the list at path has an item number position. */
int xmlp_isItemExist(XmlpDoc *doc, const char *path, uint32_t position);

/*
 * Returns an array of the addressed items' values, each like that of xmlp_getValue, or null.
 * *outCount becomes their number, less than count if memory is short. The caller frees each data
 * and the array.
 */
XmlpValue *xmlp_getItemValue(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                             uint32_t count, uint32_t *outCount);

/*
 * Returns the *outCount values of the items that have all of the pairCount attributes with exactly
 * their values; no 0 byte follows them. Null if there is none, then *outCount is 0; null also if
 * the call is rejected or memory is short, then *outCount is unchanged. The caller frees each data
 * and the array.
 */
XmlpValue *xmlp_getItemValueByAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pairs,
                                   uint32_t pairCount, uint32_t *outCount);

/* Sets the values of the addressed items, up to the first failure; returns the number set. */
uint32_t xmlp_setItemValue(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpValue *values,
                           const uint32_t *pos, uint32_t count);

/*
 * Inserts count items, the first as number position (XMLP_LAST: behind the last), up to the first
 * failure; returns the number inserted. A node of type XMLP_NODE_NONE becomes a list.
 */
uint32_t xmlp_addItem(XmlpDoc *doc, const char *path, const XmlpItem *items, uint32_t position,
                      uint32_t count);

/*
 * Deletes the addressed items, or all for XMLP_POS_RUN and pos[0] XMLP_LAST. An item that has
 * children is kept and reported; only the deletion of all stops there and fails.
 */
int xmlp_deleteItem(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                    uint32_t count);

/*
 * Get, set, add and delete an attribute of each addressed item: pairs[0] of the first, pairs[1] of
 * the next and so on, or name of all. They stop at the first failure and return the number done.
 */
uint32_t xmlp_getItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count);
uint32_t xmlp_setItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count);
uint32_t xmlp_addItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count);
uint32_t xmlp_deleteItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const char *name,
                             const uint32_t *pos, uint32_t count);

/*
 * Return the document as XML text: compact, or one tag per line, indented by two spaces per level.
 * It has *pLen bytes and a terminating NUL; the caller frees it. Null if memory is short or the
 * text is longer than 0xFFFFFFFE bytes; *pLen is then its length, 0xFFFFFFFF if that does not fit
 * or is unknown. xmlp_dumpDoc locks the document.
 */
char *xmlp_dumpDoc(XmlpDoc *doc, int compact, uint32_t *pLen);
char *xmlp_tree2Xml(const XmlpDoc *doc, int compact, uint32_t *pLen);

#ifdef __cplusplus
}
#endif

#endif

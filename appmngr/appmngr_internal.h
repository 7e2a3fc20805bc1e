/*
 * What the files of appmngr share among themselves.
 */
#ifndef APPMNGR_APPMNGR_INTERNAL_H
#define APPMNGR_APPMNGR_INTERNAL_H

#include "appmngr/appmngr.h"
#include "appmngr/appmngr_model.h"

#pragma GCC visibility push(hidden)
extern "C" {

/*
 * Allocates the zeroed tables for the counts of g_appmngr_count; an earlier load's are released.
 * Returns 0, or -1 when memory is short, and when there is no tuple, no type, no application or
 * more than APPMNGR_TYPE_MAX types: then the counts stand without tables.
 */
int _appmngr_alloc_for_appdb(void);

/* Returns the first type with this id, or null. */
appmngr_appType *_appmngr_getAppTypeBydId(uint32_t id);

/* Sends the rule and DNS keyword tables to the kernel. Returns 0, or -1 after reporting. */
int _appmngr_sendMsgToKernel(void);

/* ---- The walk -------------------------------------------------------------------------- */

/* The handlers of the application database's elements. */
extern const appmngr_tagHandler _appmngr_appDbHandlers[];

/* What the children of a container are given as context. */
typedef enum appmngr_below {
    APPMNGR_SAME,     /* that of the container */
    APPMNGR_ZERO,     /* 0 */
    APPMNGR_ONE,      /* 1 */
    APPMNGR_OWN_COUNT /* the address of a counter of its own, starting at 0 */
} appmngr_below;

/* A handler that has the children of its element walked and does nothing before. */
typedef struct appmngr_container {
    appmngr_handler handler;
    appmngr_below below;
    void (*leave)(appmngr_context below); /* what it does after, with the children's context */
} appmngr_container;

/* All of them; a row with a null handler ends the table. */
extern const appmngr_container _appmngr_containers[];

/*
 * Does the work of container on node. Containers below it are not called but walked in the same
 * way. Returns 0, or -1 when memory is short.
 */
int _appmngr_walk(const appmngr_container *container, XmlpNode *node, appmngr_context context);

/* appmngr_xmlnode_handler, but for the result: -1 when memory is short. */
int _appmngr_walkChildren(XmlpNode *node, appmngr_context context);

/* Two of them; both print what they cannot read. */
int _appmngr_xmlnode_handler_tuple(XmlpNode *node, appmngr_context context);
int _appmngr_xmlnode_handler_typeid(XmlpNode *node, appmngr_context context);

} /* extern "C" */
#pragma GCC visibility pop

#endif

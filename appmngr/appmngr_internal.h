/*
 * What the files of appmngr share among themselves.
 */
#ifndef APPMNGR_APPMNGR_INTERNAL_H
#define APPMNGR_APPMNGR_INTERNAL_H

#include "appmngr/appmngr.h"

#pragma GCC visibility push(hidden)
extern "C" {

/* ---- The walk -------------------------------------------------------------------------- */

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

/*
 * What the files of appmngr share among themselves.
 */
#ifndef APPMNGR_APPMNGR_INTERNAL_H
#define APPMNGR_APPMNGR_INTERNAL_H

#include "appmngr/appmngr.h"

/* The byte, an ASCII capital made small. */
static inline int _appmngr_lower(char character)
{
    const int byte = static_cast<unsigned char>(character);
    return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

#pragma GCC visibility push(hidden)
extern "C" {

/* What the children of a container are given as context. */
typedef enum appmngr_below {
    APPMNGR_ZERO,     /* 0 */
    APPMNGR_ONE,      /* 1 */
    APPMNGR_SAME,     /* that of the container */
    APPMNGR_OWN_COUNT /* the address of a counter of its own, starting at 0 */
} appmngr_below;

/* A handler that has the children of its element walked and does nothing before. */
typedef struct appmngr_container {
    appmngr_handler handler;
    appmngr_below below;
    void (*leave)(appmngr_context below); /* what it does after, with the children's context */
} appmngr_container;

/*
 * Those of the application database. The first gives its children its own context and does nothing
 * after; a row with a null handler ends the table.
 */
extern const appmngr_container _appmngr_containers[];

/* Does the work of container on node. Returns 0, or -1 when memory is short. */
int _appmngr_walk(const appmngr_container *container, XmlpNode *node, appmngr_context context);

} /* extern "C" */
#pragma GCC visibility pop

#endif

/*
 * What the files of appmngr share among themselves.
 */
#ifndef APPMNGR_APPMNGR_INTERNAL_H
#define APPMNGR_APPMNGR_INTERNAL_H

#include "appmngr/appmngr.h"

/* Returns the byte, an ASCII capital in lower case. */
static inline int _appmngr_lower(char character)
{
    const int byte = static_cast<unsigned char>(character);
    return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

#pragma GCC visibility push(hidden)
extern "C" {

/* The context that the children of a container get. */
typedef enum appmngr_below {
    APPMNGR_ZERO,     /* 0 */
    APPMNGR_ONE,      /* 1 */
    APPMNGR_SAME,     /* that of the container */
    APPMNGR_OWN_COUNT /* the address of a counter of its own, starting at 0 */
} appmngr_below;

/* A handler that dispatches the children of its element and does nothing before. */
typedef struct appmngr_container {
    appmngr_handler handler;
    appmngr_below below;
    void (*leave)(appmngr_context below); /* called after them, with their context; or null */
} appmngr_container;

/*
 * Those of the application database, ended by a row with a null handler. The first has
 * APPMNGR_SAME and no leave.
 */
extern const appmngr_container _appmngr_containers[];

/* Does the work of container on node. Returns 0, or -1 when memory is short. */
int _appmngr_walk(const appmngr_container *container, XmlpNode *node, appmngr_context context);

} /* extern "C" */
#pragma GCC visibility pop

#endif

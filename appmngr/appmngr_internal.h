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
 * Returns 0, or -1 when there is no tuple, no type, no application, when there are more than
 * APPMNGR_TYPE_MAX types, or when memory is short; then nothing stays allocated.
 */
int _appmngr_alloc_for_appdb(void);

/* Returns the first type with this id, or null. */
appmngr_appType *_appmngr_getAppTypeBydId(uint32_t id);

/* Sends the rule and DNS keyword tables to the kernel. Returns 0, or -1 after reporting. */
int _appmngr_sendMsgToKernel(void);

/* The handlers of the application database's elements. */
extern const appmngr_tagHandler _appmngr_appDbHandlers[];

/* Two of them; both print what they cannot read. */
int _appmngr_xmlnode_handler_tuple(XmlpNode *node, appmngr_context context);
int _appmngr_xmlnode_handler_typeid(XmlpNode *node, appmngr_context context);

} /* extern "C" */
#pragma GCC visibility pop

#endif

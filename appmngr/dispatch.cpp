// The filling pass: dispatches every element to the rows of the current handler table.

#include "appmngr/appmngr_internal.h"

#include <stdlib.h>
#include <string.h>

static const appmngr_tagHandler *pHandlerInfo;

void appmngr_setHandlerInfo(const appmngr_tagHandler *table)
{
    pHandlerInfo = table;
}

const appmngr_tagHandler *appmngr_getHandlerInfo(void)
{
    return pHandlerInfo;
}

// The first row, from row on, for elements of this name; the last row of the table if there is
// none.
static const appmngr_tagHandler *findRow(const appmngr_tagHandler *row, const char *name)
{
    while (row->tag != nullptr &&
           (row->handler == nullptr || appmngr_strcasecmpSafe(name, row->tag) != 0)) {
        row++;
    }
    return row;
}

int appmngr_childnode_handler(XmlpNode *node, appmngr_context context)
{
    if (node == nullptr || node->type == XMLP_NODE_NONE) {
        return 0;
    }
    if (pHandlerInfo == nullptr) {
        APPMNGR_ERROR(1894, "Null pHandlerInfo\n");
        return -1;
    }
    const appmngr_tagHandler *row = findRow(pHandlerInfo, node->name);
    for (; row->tag != nullptr; row = findRow(row + 1, node->name)) {
        row->handler(node, context);
    }
    return 0;
}

int appmngr_xmlnode_handler(XmlpNode *node, appmngr_context context)
{
    XmlpNode *child = xmlp_getChildNode(node, 0);
    while (child != nullptr && appmngr_childnode_handler(child, context) == 0) {
        child = child->next;
    }
    return 0;
}

namespace
{
// What a name of the tree was found to mean. A static tree stores each name once, so its address
// identifies it; names lie close together and take two bytes or more.
struct KnownName {
    const char *name;
    appmngr_handler handler;            // null for names without a row
    const appmngr_container *container; // what handler is, if it is one
};

// A container on the way down to the current element. Frames are kept for reuse until the walk
// ends, and never move, since the address of a counter is a context.
struct Frame {
    Frame *outer;
    Frame *inner;
    const appmngr_container *container;
    const XmlpNode *element;
    appmngr_context context; // of the children
    uint32_t tuples;
};
} // namespace

static constexpr size_t knownSize = 256;
static KnownName knownNames[knownSize];

// The application database's table has each name once, and its handlers change neither the tree nor
// the table, so what was found for a name holds for the whole walk.
static const KnownName &lookUp(const char *name)
{
    KnownName *slot = &knownNames[reinterpret_cast<uintptr_t>(name) / 2 % knownSize];
    if (slot->name != name || name == nullptr) {
        const appmngr_handler handler = findRow(_appmngr_appDbHandlers, name)->handler;
        const appmngr_container *container = _appmngr_containers;
        while (container->handler != nullptr && container->handler != handler) {
            container++;
        }
        *slot = {name, handler, container->handler != nullptr ? container : nullptr};
    }
    return *slot;
}

static void enter(Frame *frame, const appmngr_container *container, const XmlpNode *element,
                  appmngr_context context)
{
    frame->container = container;
    frame->element = element;
    frame->tuples = 0;
    frame->context = container->below;
    if (container->below == APPMNGR_SAME) {
        frame->context = context;
    } else if (container->below == APPMNGR_OWN_COUNT) {
        frame->context = reinterpret_cast<appmngr_context>(&frame->tuples);
    }
}

static void leave(const Frame *frame)
{
    if (frame->container->leave != nullptr) {
        frame->container->leave(frame->context);
    }
}

// Returns the frame below outer, or null when memory is short.
static Frame *innerFrame(Frame *outer)
{
    if (outer->inner == nullptr) {
        outer->inner = static_cast<Frame *>(calloc(1, sizeof(Frame)));
        if (outer->inner != nullptr) {
            outer->inner->outer = outer;
        }
    }
    return outer->inner;
}

// Dispatches child, its later siblings and what is below them, the children of top. Documents may
// nest thousands of elements, so the way back up is kept in frames, not on the stack.
// Returns -1 when memory is short.
static int walkBelow(Frame *top, XmlpNode *child)
{
    memset(knownNames, 0, sizeof(knownNames));
    Frame *frame = top;
    for (;;) {
        if (child == nullptr) {
            if (frame == top) {
                return 0;
            }
            leave(frame);
            child = frame->element->next;
            frame = frame->outer;
            continue;
        }
        const KnownName known = child->type != XMLP_NODE_NONE ? lookUp(child->name) : KnownName{};
        if (known.container != nullptr) {
            Frame *inner = innerFrame(frame);
            if (inner == nullptr) {
                return -1;
            }
            enter(inner, known.container, child, frame->context);
            frame = inner;
            child = child->firstChild;
            continue;
        }
        if (known.handler != nullptr) {
            known.handler(child, frame->context);
        }
        child = child->next;
    }
}

int _appmngr_walk(const appmngr_container *container, XmlpNode *node, appmngr_context context)
{
    Frame top = {};
    enter(&top, container, node, context);
    const int status = pHandlerInfo == _appmngr_appDbHandlers
                           ? walkBelow(&top, xmlp_getChildNode(node, 0))
                           : appmngr_xmlnode_handler(node, top.context);
    while (top.inner != nullptr) {
        Frame *inner = top.inner;
        top.inner = inner->inner;
        free(inner);
    }
    if (status == 0) {
        leave(&top);
    }
    return status;
}

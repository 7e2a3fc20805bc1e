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

// The first row from row on that is for elements of this name; the end of the table if none is.
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

// The application database's table has each name once, and its handlers change neither the tree nor
// the table: what was found for a name stays true.
namespace
{
// A row of the application database's table, and the container that its handler is, if it is one.
struct Match {
    appmngr_handler handler; // null for names without a row
    const appmngr_container *container;
};

// A container on the way down to the element at hand. Frames stay for reuse until the walk ends,
// and where they are, since the address of a counter is a context.
struct Frame {
    Frame *outer;
    Frame *inner;
    const appmngr_container *container;
    const XmlpNode *element;
    appmngr_context context; // of the children
    uint32_t tuples;
};

// The matches that were found for the names of a tree. A static tree has one string for each name,
// so that its address tells it; names lie close together, and have two bytes or more.
struct KnownMatch {
    const char *name;
    Match match;
};
} // namespace

static KnownMatch known[256];

static Match findMatch(const char *name)
{
    const appmngr_handler handler = findRow(_appmngr_appDbHandlers, name)->handler;
    const appmngr_container *container = _appmngr_containers;
    while (container->handler != nullptr && container->handler != handler) {
        container++;
    }
    return {handler, container->handler != nullptr ? container : nullptr};
}

static const Match &matchOf(const char *name)
{
    constexpr size_t size = sizeof(known) / sizeof(known[0]);
    KnownMatch *slot = &known[reinterpret_cast<uintptr_t>(name) / 2 % size];
    if (slot->name != name || name == nullptr) {
        *slot = {name, findMatch(name)};
    }
    return slot->match;
}

static void enter(Frame *frame, const appmngr_container *container, const XmlpNode *element,
                  appmngr_context context)
{
    frame->container = container;
    frame->element = element;
    frame->tuples = 0;
    switch (container->below) {
    case APPMNGR_SAME:
        frame->context = context;
        break;
    case APPMNGR_ZERO:
        frame->context = 0;
        break;
    case APPMNGR_ONE:
        frame->context = 1;
        break;
    case APPMNGR_OWN_COUNT:
        frame->context = reinterpret_cast<appmngr_context>(&frame->tuples);
        break;
    }
}

static void leave(const Frame *frame)
{
    if (frame->container->leave != nullptr) {
        frame->container->leave(frame->context);
    }
}

// The frame below outer, or null without memory.
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

// Dispatches what is below the container of top. Elements nest as deep as the document has room
// for, so the way back up is kept in frames, not on the stack. Returns -1 when memory is short.
static int walkBelow(Frame *top, XmlpNode *child)
{
    memset(known, 0, sizeof(known));
    Frame *frame = top;
    for (;;) {
        if (child == nullptr) {
            leave(frame);
            if (frame == top) {
                return 0;
            }
            child = frame->element->next;
            frame = frame->outer;
            continue;
        }
        const Match match = child->type != XMLP_NODE_NONE ? matchOf(child->name) : Match{};
        if (match.container != nullptr) {
            Frame *inner = innerFrame(frame);
            if (inner == nullptr) {
                return -1;
            }
            enter(inner, match.container, child, frame->context);
            frame = inner;
            child = child->firstChild;
            continue;
        }
        if (match.handler != nullptr) {
            match.handler(child, frame->context);
        }
        child = child->next;
    }
}

int _appmngr_walk(const appmngr_container *container, XmlpNode *node, appmngr_context context)
{
    Frame top = {};
    enter(&top, container, node, context);
    if (pHandlerInfo != _appmngr_appDbHandlers) {
        (void)appmngr_xmlnode_handler(node, top.context);
        leave(&top);
        return 0;
    }
    const int status = walkBelow(&top, xmlp_getChildNode(node, 0));
    while (top.inner != nullptr) {
        Frame *inner = top.inner;
        top.inner = inner->inner;
        free(inner);
    }
    return status;
}

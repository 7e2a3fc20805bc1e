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

/* ---- Rows ---------------------------------------------------------------------------------- */

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

/* ---- The walk ------------------------------------------------------------------------------ */

namespace
{
// A row that is for an element, taken apart.
struct Match {
    appmngr_handler handler;            // null when no row is left
    const appmngr_container *container; // what handler is, if it is one
    const appmngr_tagHandler *row;
};

// A container on the way down to the element at hand. Frames stay for reuse until the walk ends,
// and where they are, since the address of a counter is a context.
struct Frame {
    Frame *outer;
    Frame *inner;
    const appmngr_container *container;
    appmngr_context context; // of the children
    uint32_t tuples;
    XmlpNode *child; // the one that the walk is below
    Match match;     // the row that led there
};

// The rows that were found for the names of a tree. A static tree has one string for each name, so
// that its address tells it; names lie close together, and have two bytes or more.
struct Known {
    const char *name;
    Match match;
};
enum : size_t { KNOWN = 256 };
} // namespace

static Known known[KNOWN];

static const appmngr_container *containerOf(appmngr_handler handler)
{
    const appmngr_container *container = _appmngr_containers;
    while (container->handler != nullptr && container->handler != handler) {
        container++;
    }
    return container->handler != nullptr ? container : nullptr;
}

// The first match from row on.
static Match matchFrom(const appmngr_tagHandler *row, const char *name)
{
    row = findRow(row, name);
    return row->tag != nullptr ? Match{row->handler, containerOf(row->handler), row} : Match{};
}

static Match knownMatch(const char *name)
{
    Known *slot = &known[reinterpret_cast<uintptr_t>(name) / 2 % KNOWN];
    if (slot->name != name || name == nullptr) {
        *slot = {name, matchFrom(pHandlerInfo, name)};
    }
    return slot->match;
}

// The first of child and its later siblings that is to be dispatched, null if none is.
static XmlpNode *dispatched(XmlpNode *child)
{
    while (child != nullptr && child->type == XMLP_NODE_NONE) {
        child = child->next;
    }
    if (child != nullptr && pHandlerInfo == nullptr) {
        (void)appmngr_childnode_handler(child, 0); // reports it
        return nullptr;
    }
    return child;
}

static void enter(Frame *frame, const appmngr_container *container, appmngr_context context)
{
    frame->container = container;
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
        frame->tuples = 0;
        frame->context = reinterpret_cast<appmngr_context>(&frame->tuples);
        break;
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

static void freeInner(Frame *frame)
{
    for (Frame *inner = frame->inner; inner != nullptr;) {
        Frame *next = inner->inner;
        free(inner);
        inner = next;
    }
}

// Elements nest as deep as the document has room for, so the way back up is kept in frames, not on
// the stack.
int _appmngr_walk(const appmngr_container *container, XmlpNode *node, appmngr_context context)
{
    // The table of the application database has each name once, and its handlers change neither
    // trees nor the table: what was found for a name stays true.
    const bool knows = pHandlerInfo == _appmngr_appDbHandlers;
    if (knows) {
        memset(known, 0, sizeof(known));
    }
    Frame top = {};
    Frame *frame = &top;
    enter(frame, container, context);
    XmlpNode *next = xmlp_getChildNode(node, 0);
    for (;;) {
        Match match;
        XmlpNode *child = dispatched(next);
        if (child != nullptr) {
            match = knows ? knownMatch(child->name) : matchFrom(pHandlerInfo, child->name);
        } else {
            if (frame->container->leave != nullptr) {
                frame->container->leave(frame->context);
            }
            if (frame == &top) {
                break;
            }
            frame = frame->outer;
            child = frame->child;
            match = knows ? Match{} : matchFrom(frame->match.row + 1, child->name);
        }
        while (match.handler != nullptr && match.container == nullptr) {
            match.handler(child, frame->context);
            match = knows ? Match{} : matchFrom(match.row + 1, child->name);
        }
        if (match.handler == nullptr) {
            next = child->next;
            continue;
        }
        Frame *inner = innerFrame(frame);
        if (inner == nullptr) {
            freeInner(&top);
            return -1;
        }
        enter(inner, match.container, frame->context);
        frame->child = child;
        frame->match = match;
        frame = inner;
        next = child->firstChild;
    }
    freeInner(&top);
    return 0;
}

int _appmngr_walkChildren(XmlpNode *node, appmngr_context context)
{
    static const appmngr_container children = {nullptr, APPMNGR_SAME, nullptr};
    return _appmngr_walk(&children, node, context);
}

int appmngr_xmlnode_handler(XmlpNode *node, appmngr_context context)
{
    (void)_appmngr_walkChildren(node, context);
    return 0;
}

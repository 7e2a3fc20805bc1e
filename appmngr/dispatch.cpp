// The filling pass: dispatches every element to the rows of the current handler table.

#include "appmngr/appmngr_internal.h"
#include "loader/diagnostic.h"

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
// A row, and what its handler is if that is a container.
struct Match {
    const appmngr_tagHandler *row; // the end of the table when there is none
    const appmngr_container *container;
};

// A container on the way down to the element at hand. Frames stay for reuse until the walk ends,
// and where they are, since the address of a counter is a context.
struct Frame {
    Frame *outer;
    Frame *inner;
    const appmngr_container *container;
    appmngr_context context; // of the children
    uint32_t tuples;
    XmlpNode *child; // at work on it; null behind the last
    Match match;     // the row at work on it
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

static Match matchFrom(const appmngr_tagHandler *row, const char *name)
{
    row = findRow(row, name);
    return {row, containerOf(row->handler)};
}

static Match knownMatch(const char *name)
{
    Known *slot = &known[reinterpret_cast<uintptr_t>(name) / 2 % KNOWN];
    if (slot->name != name || name == nullptr) {
        *slot = {name, matchFrom(pHandlerInfo, name)};
    }
    return slot->match;
}

// Goes on to child, or to the first of its siblings that has a type.
static void goTo(Frame *frame, XmlpNode *child, bool knows)
{
    while (child != nullptr && child->type == XMLP_NODE_NONE) {
        child = child->next;
    }
    if (child != nullptr && pHandlerInfo == nullptr) {
        (void)appmngr_childnode_handler(child, 0); // reports it
        child = nullptr;
    }
    frame->child = child;
    if (child != nullptr) {
        frame->match = knows ? knownMatch(child->name) : matchFrom(pHandlerInfo, child->name);
    }
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
    goTo(frame, xmlp_getChildNode(node, 0), knows);
    int status = 0;
    for (;;) {
        if (frame->child == nullptr) {
            if (frame->container->leave != nullptr) {
                frame->container->leave(frame->context);
            }
            if (frame == &top) {
                break;
            }
            frame = frame->outer;
        } else if (frame->match.row->tag == nullptr) {
            goTo(frame, frame->child->next, knows);
            continue;
        } else if (frame->match.container != nullptr) {
            Frame *inner = innerFrame(frame);
            if (inner == nullptr) {
                status = -1;
                break;
            }
            enter(inner, frame->match.container, frame->context);
            goTo(inner, frame->child->firstChild, knows);
            frame = inner;
            continue;
        } else {
            frame->match.row->handler(frame->child, frame->context);
        }
        // The row has done its work.
        if (knows) {
            goTo(frame, frame->child->next, knows);
        } else {
            frame->match = matchFrom(frame->match.row + 1, frame->child->name);
        }
    }
    freeInner(&top);
    return status;
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

// The filling pass: dispatches every element to the rows of the current handler table.

#include "appmngr/appmngr.h"
#include "loader/diagnostic.h"

#include <stdlib.h>
#include <string.h>

static const appmngr_tagHandler *pHandlerInfo;

// The rows among the table's first INDEXED by first letter, its case left out, and by length of
// their tags; hardly more than one row has to be compared with the name of an element.
enum : uint32_t { INDEXED = 64, LETTERS = 32, LONG = 15 };
static uint64_t rowsByLetter[LETTERS];
static uint64_t rowsByLength[LONG + 1]; // the last for LONG characters and more
static const appmngr_tagHandler *firstUnindexed;

static unsigned letterOf(const char *name)
{
    return static_cast<unsigned char>(name[0]) % LETTERS;
}

static size_t lengthOf(const char *name)
{
    size_t length = 0;
    while (length < LONG && name[length] != '\0') {
        length++;
    }
    return length;
}

void appmngr_setHandlerInfo(const appmngr_tagHandler *table)
{
    pHandlerInfo = table;
    memset(rowsByLetter, 0, sizeof(rowsByLetter));
    memset(rowsByLength, 0, sizeof(rowsByLength));
    firstUnindexed = table;
    for (uint32_t i = 0; table != nullptr && i < INDEXED && table[i].tag != nullptr; i++) {
        rowsByLetter[letterOf(table[i].tag)] |= UINT64_C(1) << i;
        rowsByLength[lengthOf(table[i].tag)] |= UINT64_C(1) << i;
        firstUnindexed = &table[i + 1];
    }
}

const appmngr_tagHandler *appmngr_getHandlerInfo(void)
{
    return pHandlerInfo;
}

namespace
{
// An element on the way down to the one at hand. Frames stay for reuse until the walk ends, and
// where they are, since the address of a counter is a context.
struct Frame {
    Frame *outer;
    Frame *inner;
    XmlpNode *node;
    uint64_t candidates;                 // indexed rows that may match it and were not tried
    const appmngr_tagHandler *unindexed; // the first other row that was not tried
    const appmngr_tagHandler *row;       // the row at work on it
    appmngr_context context;             // what its handlers are given
    appmngr_context below;               // what those of its children are given
    uint32_t tuples;
};
} // namespace

static XmlpNode *firstTyped(XmlpNode *node)
{
    while (node != nullptr && node->type == XMLP_NODE_NONE) {
        node = node->next;
    }
    return node;
}

static void begin(Frame *frame, XmlpNode *node, appmngr_context context)
{
    const char *name = node->name != nullptr ? node->name : "";
    frame->node = node;
    frame->candidates = rowsByLetter[letterOf(name)] & rowsByLength[lengthOf(name)];
    frame->unindexed = firstUnindexed;
    frame->context = context;
}

// Brings the frame to the next row that matches its element. Returns whether there is one.
static bool nextRow(Frame *frame)
{
    const char *name = frame->node->name != nullptr ? frame->node->name : "";
    while (frame->candidates != 0) {
        frame->row = &pHandlerInfo[__builtin_ctzll(frame->candidates)];
        frame->candidates &= frame->candidates - 1;
        if (appmngr_strcasecmp(name, frame->row->tag) == 0) {
            return true;
        }
    }
    while (frame->unindexed->tag != nullptr) {
        frame->row = frame->unindexed++;
        if (appmngr_strcasecmp(name, frame->row->tag) == 0) {
            return true;
        }
    }
    return false;
}

static appmngr_context contextBelow(Frame *frame)
{
    switch (frame->row->descent) {
    case APPMNGR_ZERO:
        return 0;
    case APPMNGR_ONE:
        return 1;
    case APPMNGR_OWN_COUNT:
        frame->tuples = 0;
        return reinterpret_cast<appmngr_context>(&frame->tuples);
    default:
        return frame->context;
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

// Ends the work of the current row on the frame's element.
static void leaveRow(Frame *frame)
{
    if (frame->row->leave != nullptr) {
        frame->row->leave(frame->node, frame->below);
    }
}

// Walks an element and what its rows want walked below it, in document order. Elements nest as
// deep as the document has room for, so the way back up is kept in frames, not on the stack.
static int walk(Frame *top)
{
    Frame *frame = top;
    for (;;) {
        if (nextRow(frame)) {
            frame->below = contextBelow(frame);
            if (frame->row->handler != nullptr) {
                frame->row->handler(frame->node, frame->context);
            }
            XmlpNode *child =
                frame->row->descent != APPMNGR_LEAF ? firstTyped(frame->node->firstChild) : nullptr;
            if (child == nullptr) {
                leaveRow(frame);
                continue;
            }
            Frame *inner = innerFrame(frame);
            if (inner == nullptr) {
                return -1;
            }
            begin(inner, child, frame->below);
            frame = inner;
        } else if (frame == top) {
            return 0;
        } else {
            XmlpNode *sibling = firstTyped(frame->node->next);
            if (sibling != nullptr) {
                begin(frame, sibling, frame->context);
            } else {
                frame = frame->outer;
                leaveRow(frame);
            }
        }
    }
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
    Frame top = {};
    begin(&top, node, context);
    int status = walk(&top);
    for (Frame *frame = top.inner; frame != nullptr;) {
        Frame *inner = frame->inner;
        free(frame);
        frame = inner;
    }
    return status;
}

int appmngr_xmlnode_handler(XmlpNode *node, appmngr_context context)
{
    XmlpNode *child = node != nullptr ? node->firstChild : nullptr;
    for (; child != nullptr; child = child->next) {
        if (appmngr_childnode_handler(child, context) != 0) {
            return pHandlerInfo == nullptr ? 0 : -1;
        }
    }
    return 0;
}

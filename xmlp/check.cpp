// The check pass: is the text a document of the accepted language?

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

namespace
{
// Where the names of the open elements begin, innermost last. A stack of our own, so that no depth
// of document can exhaust the thread's.
struct OpenTags {
    const char **names;
    size_t depth;
    size_t capacity;
};

enum State { CONTENT, START_TAG, END_TAG };
} // namespace

static int push(OpenTags *open, const char *name)
{
    if (open->depth == open->capacity) {
        size_t capacity = open->capacity == 0 ? 64 : 2 * open->capacity;
        auto **names =
            static_cast<const char **>(realloc(open->names, capacity * sizeof(*open->names)));
        if (names == nullptr) {
            return -1;
        }
        open->names = names;
        open->capacity = capacity;
    }
    open->names[open->depth++] = name;
    return 0;
}

static int fault(int line, const char *text)
{
    _xmlp_report("_subXml", line, "%s", text);
    return -1;
}

// Holds an end tag, whose name lies before its ">" at close, against the start tag's name.
static int checkEndTag(const char *openName, const char *name, const char *close)
{
    if (name == close) {
        return fault(315, "not same tag name.");
    }
    const char *open = openName;
    for (; name < close; name++, open++) {
        if (*open != *name) {
            return fault(322, "not same tag name.");
        }
        if (!_isByte(*name, XMLP_NAME)) {
            return fault(327, "valid tag name."); // says "valid" of an invalid byte, on purpose
        }
    }
    if (*open == '>') {
        return 0;
    }
    if (!_isByte(*open, XMLP_BLANK)) {
        return fault(350, "not same tag name.");
    }
    return _checkNameAttr(openName, '>');
}

// Checks the content of the innermost open element and of all around it. Returns the position
// behind the end tag of the outermost one, or null with those that were not closed left open.
static const char *checkContent(OpenTags *open, const char *position, const char *end)
{
    State state = CONTENT;
    const char *tag = nullptr;
    for (const char *p = _nextMark(position, end); p < end; p = _nextMark(p + 1, end)) {
        int status = 0;
        if (*p == '<') {
            if (state != CONTENT) {
                status = fault(272, "error xml tag.");
            } else if (end - p > 1 && p[1] == '/') {
                state = END_TAG;
                tag = p + 2;
                status = tag == end ? -1 : 0;
            } else {
                state = START_TAG;
                tag = p + 1;
            }
        } else if (p[-1] == '/') {
            if (state != START_TAG) {
                status = fault(305, "error xml tag.");
            } else if (_checkNameAttr(tag, '/') != 0) {
                status = fault(298, "error xml tag.");
            }
            state = CONTENT;
        } else if (state == START_TAG) {
            status = push(open, tag);
            state = CONTENT;
        } else if (state == END_TAG) {
            status = checkEndTag(open->names[open->depth - 1], tag, p);
            if (status == 0 && --open->depth == 0) {
                return p + 1;
            }
            state = CONTENT;
        } else {
            status = fault(367, "error xml tag.");
        }
        if (status != 0) {
            return nullptr;
        }
    }
    fault(374, "error xml tag.");
    return nullptr;
}

const char *_subXml(const char *openName, const char *position, const char *end)
{
    if (openName == nullptr || position == nullptr || end == nullptr) {
        XMLP_ERROR(261, "invalid params.");
        return nullptr;
    }
    OpenTags open = {};
    const char *behind = nullptr;
    if (push(&open, openName) == 0) {
        behind = checkContent(&open, position, end);
        // Every element around the faulty one reports its child.
        for (; open.depth > 1; open.depth--) {
            XMLP_ERROR(359, "error xml tag.");
        }
    }
    free(open.names);
    return behind;
}

int _checkXml(const char *start, const char *end)
{
    if (start == nullptr || end == nullptr) {
        XMLP_ERROR(396, "invalid params.");
        return -1;
    }
    enum { NOTHING, TOP_TAG, TOP_DONE } state = NOTHING;
    const char *tag = nullptr;
    const char *p = _nextMark(start, end);
    while (p < end) {
        const char *next = p + 1;
        if (*p == '<') {
            if (state != NOTHING) {
                XMLP_ERROR(406, "error xml tag.");
                return -1;
            }
            if (end - p > 1 && p[1] == '/') {
                XMLP_ERROR(411, "error xml tag.");
                return -1;
            }
            state = TOP_TAG;
            tag = p + 1;
        } else if (state != TOP_TAG) {
            XMLP_ERROR(424, "error xml tag.");
            return -1;
        } else if (p[-1] == '/') {
            if (_checkNameAttr(tag, '/') != 0) {
                XMLP_ERROR(431, "error xml tag.");
                return -1;
            }
            state = TOP_DONE;
        } else {
            next = _subXml(tag, p + 1, end);
            if (next == nullptr) {
                XMLP_ERROR(441, "error xml tag.");
                return -1;
            }
            state = TOP_DONE;
        }
        p = _nextMark(next, end);
    }
    if (state == NOTHING) {
        XMLP_ERROR(452, "no xml tag found.");
        return -1;
    }
    return 0;
}

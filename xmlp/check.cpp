// The check pass: is the text a document of the accepted language? It lists the elements that it
// meets, and the passes after it go by the list.

#include "xmlp/scanner.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

namespace
{
struct Checker {
    const char *text; // what positions count from
    XmlpScanner scanner;
    XmlpElementList *list;
    uint32_t open; // number of the innermost open element, counted from 1
};
} // namespace

static uint32_t positionOf(const Checker *checker, const char *p)
{
    return static_cast<uint32_t>(p - checker->text);
}

// Reads the name at tag, in a tag whose contents end at stop; the text goes on up to end.
static void readName(XmlpElement *element, const char *tag, const char *stop, const char *end)
{
    const char *p = tag;
    if (stop - tag <= 16 && end - tag >= 16 && _isShortName(tag, static_cast<size_t>(stop - tag))) {
        p = stop;
    } else {
        while (_isByte(*p, XMLP_ASCII_NAME)) {
            p++;
        }
    }
    element->isBare = p == stop;
    element->nameLength = static_cast<uint32_t>(p - tag);
    if (!element->isBare && !_isByte(*p, XMLP_BLANK)) {
        XmlpTagReader reader = {tag, *stop};
        element->nameLength = _readTagName(&reader).length;
        p = reader.p;
    }
    element->attrs = element->name + static_cast<uint32_t>(p - tag);
}

static int growList(XmlpElementList *list)
{
    uint32_t capacity = list->capacity == 0 ? 256 : 2 * list->capacity;
    auto *items = capacity > list->capacity
                      ? static_cast<XmlpElement *>(realloc(
                            list->items, static_cast<size_t>(capacity) * sizeof(XmlpElement)))
                      : nullptr;
    if (items == nullptr) {
        list->outOfMemory = true;
        return -1;
    }
    list->items = items;
    list->capacity = capacity;
    return 0;
}

// Lists the element whose tag is given, up to its ">", as a child of the open one. 0 or -1.
static int addElement(Checker *checker, const char *tag, const char *close)
{
    XmlpElementList *list = checker->list;
    if (list->count == list->capacity && growList(list) != 0) {
        return -1;
    }
    if (checker->open != 0) {
        list->items[checker->open - 1].isLeaf = false;
    }
    XmlpElement *element = &list->items[list->count++];
    *element = {};
    element->name = positionOf(checker, tag);
    element->close = positionOf(checker, close);
    element->parent = checker->open;
    element->isLeaf = true;
    readName(element, tag, close[-1] == '/' ? close - 1 : close, checker->scanner.end);
    return 0;
}

static int fault(int line, const char *text, const char *at)
{
    _refuseAt(at);
    _xmlp_report("_subXml", line, "%s", text);
    return -1;
}

// Holds an end tag, whose name lies before its ">" at close, against the start tag's name.
static int checkEndTag(const char *openName, const char *name, const char *close)
{
    if (name == close) {
        // unreachable: an empty name leaves the "/" before the ">" (LCOV_EXCL_START)
        return fault(315, "not same tag name.", name);
        // LCOV_EXCL_STOP
    }
    const char *open = openName;
    for (; name < close; name++, open++) {
        if (*open != *name) {
            return fault(322, "not same tag name.", name);
        }
        if (!_isByte(*name, XMLP_NAME)) {
            return fault(327, "valid tag name.",
                         name); // says "valid" of an invalid byte, on purpose
        }
    }
    if (*open == '>') {
        return 0;
    }
    if (!_isByte(*open, XMLP_BLANK)) {
        return fault(350, "not same tag name.", close);
    }
    return _checkNameAttr(openName, '>');
}

// Closes the open element with the end tag whose name lies before its ">" at close. 0 or -1.
static int closeElement(Checker *checker, const char *name, const char *close, bool hasEntity)
{
    XmlpElement *element = &checker->list->items[checker->open - 1];
    const char *open = checker->text + element->name;
    auto length = static_cast<size_t>(close - name);
    bool isSame =
        element->isBare && length == element->nameLength && memcmp(open, name, length) == 0;
    if (!isSame && checkEndTag(open, name, close) != 0) {
        return -1;
    }
    element->end = positionOf(checker, name - 2);
    element->hasEntity = hasEntity;
    checker->open = element->parent;
    return 0;
}

// Takes a tag in the content of the open element; its name lies before its ">" at close. 0 or -1.
static inline int takeTag(Checker *checker, const char *name, const char *close, bool isEnd,
                          bool hasEntity)
{
    if (close[-1] == '/') {
        if (isEnd) {
            return fault(305, "error xml tag.", close);
        }
        if (_checkNameAttr(name, '/') != 0) {
            return fault(298, "error xml tag.", close);
        }
        return addElement(checker, name, close);
    }
    if (isEnd) {
        return closeElement(checker, name, close, hasEntity);
    }
    int status = addElement(checker, name, close);
    checker->open = checker->list->count;
    return status;
}

// Checks the content of the open element up to its end tag. 0, or -1 with the elements that were
// not closed left open.
static int checkContent(Checker *checker)
{
    const char *end = checker->scanner.end;
    const uint32_t around = checker->list->items[checker->open - 1].parent;
    while (checker->open != around) {
        checker->scanner.ampersand = false;
        const char *p = _nextMark(&checker->scanner);
        const bool hasEntity = checker->scanner.ampersand;
        if (p == end) {
            return fault(374, "error xml tag.", end);
        }
        if (*p == '>') {
            return fault(p[-1] == '/' ? 305 : 367, "error xml tag.", p);
        }
        bool isEnd = end - p > 1 && p[1] == '/';
        const char *name = isEnd ? p + 2 : p + 1;
        if (isEnd && name == end) {
            _refuseAt(p);
            return -1;
        }
        const char *close = _nextMark(&checker->scanner);
        if (close == end) {
            return fault(374, "error xml tag.", end);
        }
        if (*close == '<') {
            return fault(272, "error xml tag.", close);
        }
        if (takeTag(checker, name, close, isEnd, hasEntity) != 0) {
            return -1;
        }
    }
    return 0;
}

// Checks the content of the open element. 0, or -1 after every element around the faulty one has
// reported its child.
static int _subXml(Checker *checker)
{
    if (checker == nullptr || checker->open == 0) {
        // unreachable: checkTop opened an element before (LCOV_EXCL_START)
        XMLP_ERROR(261, "invalid params.");
        return -1;
        // LCOV_EXCL_STOP
    }
    const uint32_t outermost = checker->open;
    if (checkContent(checker) == 0) {
        return 0;
    }
    if (checker->list->outOfMemory) {
        return -1; // which is not the text's fault
    }
    for (uint32_t open = checker->open; open != outermost;
         open = checker->list->items[open - 1].parent) {
        XMLP_ERROR(359, "error xml tag.");
    }
    return -1;
}

static int topFault(int line, const char *text, const char *at)
{
    _refuseAt(at);
    _xmlp_report("_checkXml", line, "%s", text);
    return -1;
}

// Checks the top element, whose start tag is given. 0 or -1.
static int checkTop(Checker *checker, const char *tag, const char *close)
{
    if (close[-1] == '/') {
        if (_checkNameAttr(tag, '/') != 0) {
            return topFault(431, "error xml tag.", close);
        }
        return addElement(checker, tag, close);
    }
    if (addElement(checker, tag, close) != 0) {
        return -1;
    }
    checker->open = checker->list->count;
    if (_subXml(checker) != 0) {
        return checker->list->outOfMemory ? -1 : topFault(441, "error xml tag.", close);
    }
    return 0;
}

int _checkXml(const char *start, const char *end, XmlpElementList *list)
{
    if (start == nullptr || end == nullptr || list == nullptr) {
        XMLP_ERROR(396, "invalid params.");
        return -1;
    }
    Checker checker = {start, {}, list, 0};
    _beginScan(&checker.scanner, start, end);
    enum { NOTHING, TOP_TAG, TOP_DONE } state = NOTHING;
    const char *tag = nullptr;
    for (const char *p = _nextMark(&checker.scanner); p < end; p = _nextMark(&checker.scanner)) {
        if (*p == '<') {
            if (state != NOTHING) {
                return topFault(406, "error xml tag.", p);
            }
            if (end - p > 1 && p[1] == '/') {
                return topFault(411, "error xml tag.", p);
            }
            state = TOP_TAG;
            tag = p + 1;
        } else {
            if (state != TOP_TAG) {
                return topFault(424, "error xml tag.", p);
            }
            if (checkTop(&checker, tag, p) != 0) {
                return -1;
            }
            state = TOP_DONE;
        }
    }
    return state != NOTHING ? 0 : topFault(452, "no xml tag found.", end);
}

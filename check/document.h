/*
 * The document of a text, with the parents of its elements.
 */
#ifndef CHECK_DOCUMENT_H
#define CHECK_DOCUMENT_H

#include "check/check.h"
#include "xmlp/xmlp.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace check
{

constexpr size_t npos = std::string::npos;

/* Offsets in the text. */
struct Offsets {
    size_t tag = 0;     /* the "<" of the start tag */
    size_t content = 0; /* behind the start tag */
    size_t end = 0;     /* behind the end tag */
    size_t text = npos; /* the first text of its own that is not blank */
};

class Document
{
public:
    /*
     * Parses the text of source as a device does; one that an author wrote is converted first, if a
     * device would not read it. A text that is rejected is reported there.
     */
    explicit Document(Source &source);

    /* The top element; null when the text was rejected. */
    const XmlpNode *top() const;

    const Offsets &offsetsOf(const XmlpNode *node) const;

    /* Where, in the text, byte number index of the value of node is. */
    size_t offsetInValue(const XmlpNode *node, size_t index) const;

    /* The first text outside the top element that is not blank, or npos. */
    size_t outerText() const;

private:
    bool parse(XmlpFault &fault);
    void locateElements(std::string_view text, size_t origin, const XmlpLocation *locations);

    Source &source_;
    std::unique_ptr<XmlpDoc, void (*)(XmlpDoc *)> document_;
    std::unordered_map<const XmlpNode *, Offsets> offsets_;
    Offsets outside_;
};

/* The value of an element, at most as much of it as a loader can read. */
std::string_view valueOf(const XmlpNode *node);

/* Whether the value is too long for a loader to read. */
bool isLong(const XmlpNode *node);

/* Whether an element has this name, in any letter case. */
bool isNamed(const XmlpNode *node, const char *name);

/* The children of node with this name that a loader does not skip, in order. */
std::vector<const XmlpNode *> childrenNamed(const XmlpNode *node, const char *name);

} // namespace check

#endif

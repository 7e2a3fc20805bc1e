// The document of a text, with the parents of its elements.

#include "check/document.h"

#include "appmngr/appmngr.h"
#include "check/conversion.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace check
{

namespace
{

// Longest value that a loader reads.
constexpr size_t longestValue = 511;

// Many times what any device loads; of what is longer, only the size is checked.
constexpr size_t longestParsed = 1 << 20;

// What the parser means, by the line of its fault.
constexpr struct {
    int line;
    const char *meaning;
} rejections[] = {
    {0, "the tag ends within an attribute"},
    {155, "a tag without a name"},
    {169, "character not allowed in a name"},
    {188, "expected an attribute name or the end of the tag"},
    {199, "expected = and a value after an attribute name"},
    {205, "an attribute value must be in double quotes"},
    {223, "character not allowed in an attribute value"},
    {232, "the tag ends within an attribute"},
    {272, "< inside a tag"},
    {305, "/> outside a start tag"},
    {315, "an end tag without a name"},
    {322, "the end tag does not match the open element"},
    {327, "character not allowed in a name"},
    {350, "the end tag does not match the open element"},
    {359, "the text ends within a tag"},
    {367, "> outside a tag"},
    {374, "the text ends within an element"},
    {406, "< inside a tag or after the top element"},
    {411, "end tag without a start tag"},
    {424, "> outside a tag"},
    {441, "the text ends within a tag"},
    {452, "the text contains no element"},
    {690, "an earlier attribute of the element has this name, or a name that begins with it"},
    {822, "'item' mixed with other elements"},
    {840, "another element mixed with 'item'"},
    {904, "unknown entity; only &lt; &gt; &amp; are supported"},
    {1459, "the declaration does not end"},
};

std::string meaningOf(const XmlpFault &fault)
{
    for (const auto &rejection : rejections) {
        if (rejection.line == fault.line) {
            return rejection.meaning;
        }
    }
    return fault.message;
}

// The first byte from at on, up to the next tag, that is not blank.
size_t textFrom(std::string_view text, size_t at)
{
    at = text.find_first_not_of(" \t\n\r", at);
    return at < text.size() && text[at] != '<' ? at : npos;
}

// The node behind node on a walk down the tree; null behind the last.
const XmlpNode *following(const XmlpNode *node)
{
    if (node->firstChild != nullptr) {
        return node->firstChild;
    }
    while (node != nullptr && node->next == nullptr) {
        node = node->parent;
    }
    return node != nullptr ? node->next : nullptr;
}

size_t bomSize(const std::string &text)
{
    return appmngr_getBomSize(
        appmngr_checkEncoding(text.data(), static_cast<uint32_t>(text.size())));
}

void reportObstacle(const Obstacle &obstacle, Source &source)
{
    source.addShown({Check::RejectedText, obstacle.offset, obstacle.message, obstacle.note});
}

} // namespace

Document::Document(Source &source) : source_(source), document_(nullptr, xmlp_releaseDoc)
{
    XmlpFault fault = {};
    const bool isParsed = source.text.size() <= longestParsed;
    if (isParsed && parse(fault)) {
        return;
    }
    Conversion conversion = convert(source.text);
    if (source.isWritten && !conversion.fault) {
        source.original = std::move(source.text);
        source.text = std::move(conversion.text);
        source.pieces = std::move(conversion.pieces);
        if (source.text.size() > longestParsed || parse(fault)) {
            return;
        }
        conversion = {};
    }
    const size_t at = fault.offset != XMLP_NOWHERE ? bomSize(source.text) + fault.offset : 0;
    const bool hidesForeign = conversion.foreign && conversion.foreign->offset <= at;
    if (conversion.fault && (!isParsed || conversion.isExplained || hidesForeign)) {
        reportObstacle(*conversion.fault, source);
    } else if (hidesForeign) {
        reportObstacle(*conversion.foreign, source);
    } else if (isParsed) {
        source.add(Check::RejectedText, at, meaningOf(fault));
    }
}

// Returns whether the text was accepted.
bool Document::parse(XmlpFault &fault)
{
    // A loader takes the text as a string, and does not see what a NUL hides.
    const std::string &text = source_.text;
    const size_t length = strnlen(text.data(), text.size());
    const size_t skip = std::min(bomSize(text), length);
    XmlpLocationList locations = {};
    document_.reset(xmlp_readDoc(text.data() + skip, static_cast<uint32_t>(length - skip), 1,
                                 &fault, &locations));
    if (document_ == nullptr) {
        return false;
    }
    locateElements({text.data(), length}, skip, locations.items);
    free(locations.items);
    if (top() == nullptr) { // a tag that does not end is no element, and not rejected either
        constexpr int unfinishedTag = 441;
        fault = {"", unfinishedTag, "", static_cast<uint32_t>(length - skip)};
    }
    return top() != nullptr;
}

// The locations are those of the nodes on a walk down the tree, and count from origin.
void Document::locateElements(std::string_view text, size_t origin, const XmlpLocation *locations)
{
    outside_.text = textFrom(text, origin + document_->tree->headerLen);
    for (const XmlpNode *node = top(); node != nullptr; node = following(node), locations++) {
        Offsets &offsets = offsets_[node];
        offsets.tag = origin + locations->tag;
        offsets.content = origin + locations->content;
        offsets.end = origin + locations->end;
        if (locations->content < locations->end) {
            offsets.text = textFrom(text, offsets.content);
        }
        Offsets &around = node == top() ? outside_ : offsets_[node->parent];
        if (around.text == npos) {
            around.text = textFrom(text, origin + locations->end);
        }
    }
}

const XmlpNode *Document::top() const
{
    return document_ != nullptr ? document_->tree->root->firstChild : nullptr;
}

const Offsets &Document::offsetsOf(const XmlpNode *node) const
{
    static const Offsets beginning;
    const auto found = offsets_.find(node);
    return found != offsets_.end() ? found->second : beginning;
}

size_t Document::offsetInValue(const XmlpNode *node, size_t index) const
{
    size_t at = offsetsOf(node).content;
    for (; index > 0 && at < source_.text.size(); index--) {
        // An entity stands for one byte.
        at = source_.text[at] == '&' ? source_.text.find(';', at) + 1 : at + 1;
    }
    return at;
}

size_t Document::outerText() const
{
    return outside_.text;
}

std::string_view valueOf(const XmlpNode *node)
{
    if (node->value == nullptr) {
        return {};
    }
    return {reinterpret_cast<const char *>(node->value),
            std::min<size_t>(node->valueSize, longestValue)};
}

bool isLong(const XmlpNode *node)
{
    return node->valueSize > longestValue;
}

bool isNamed(const XmlpNode *node, const char *name)
{
    return appmngr_strcasecmpSafe(node->name, name) == 0;
}

std::vector<const XmlpNode *> childrenNamed(const XmlpNode *node, const char *name)
{
    std::vector<const XmlpNode *> children;
    for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
        if (child->type != XMLP_NODE_NONE && isNamed(child, name)) {
            children.push_back(child);
        }
    }
    return children;
}

} // namespace check

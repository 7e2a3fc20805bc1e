// The document of a text, with the places of its elements.
//
// A tree has no places in the text. But the start tags of an accepted text come in the order in
// which a walk down the tree meets its nodes, so that a scan of the text gives each node its own.

#include "tool/check_document.h"

#include "appmngr/appmngr.h"
#include "tool/check_loader.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace tool
{

namespace
{

// Longest value that a loader reads.
constexpr size_t longestValue = 511;

// What the parser means, by the line that its first message carries.
constexpr struct {
    int line;
    const char *meaning;
} refusals[] = {
    {155, "a tag without a name"},
    {169, "this cannot stand in a name"},
    {188, "an attribute name or the end of the tag belongs here"},
    {199, "an attribute needs = and a value"},
    {205, "the value of an attribute needs double quotes"},
    {223, "this cannot stand in the value of an attribute"},
    {232, "the tag ends within an attribute"},
    {272, "< within a tag"},
    {305, "/> outside of a start tag"},
    {315, "an end tag without a name"},
    {322, "the end tag is not that of the open element"},
    {327, "this cannot stand in a name"},
    {350, "the end tag is not that of the open element"},
    {359, "the text ends within a tag"},
    {367, "> outside of a tag"},
    {374, "the text ends within an element"},
    {406, "< within a tag, or behind the top element"},
    {411, "an end tag without a start tag"},
    {424, "> outside of a tag"},
    {441, "the text ends within a tag"},
    {452, "the text has no element"},
    {690, "an earlier attribute of the element has this name or begins with it"},
    {822, "an item beside elements that are none"},
    {840, "an element that is no item beside items"},
    {904, "no entities but &lt; &gt; &amp; are known"},
    {1459, "the declaration does not end"},
};

std::string meaningOf(const std::string &diagnostic)
{
    int line = 0;
    if (sscanf(diagnostic.c_str(), "[ERROR][%*[^(]():%d]", &line) == 1) {
        for (const auto &refusal : refusals) {
            if (refusal.line == line) {
                return refusal.meaning;
            }
        }
    }
    return diagnostic.empty() ? "the text is refused" : diagnostic;
}

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

// Bytes of the character that a byte begins, as the parser steps.
size_t stepOf(char byte)
{
    const auto lead = static_cast<unsigned char>(byte);
    if (lead < 0xC2 || lead > 0xF4) {
        return 1;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// At the end of the text, or behind it, when the tag does not end.
size_t endOfTag(std::string_view text, size_t at)
{
    while (at < text.size() && text[at] != '>') {
        at += stepOf(text[at]);
    }
    return at;
}

// The elements of an accepted text in the order of their start tags. The text outside of them
// goes to outside.
std::vector<Position> scanElements(std::string_view text, size_t at, Position &outside)
{
    std::vector<Position> elements;
    std::vector<size_t> open;
    while (at < text.size()) {
        if (text[at] != '<') {
            Position &owner = open.empty() ? outside : elements[open.back()];
            if (owner.text == nowhere && !isBlank(text[at])) {
                owner.text = at;
            }
            at += stepOf(text[at]);
            continue;
        }
        const size_t end = endOfTag(text, at);
        if (end >= text.size()) {
            break;
        }
        const bool isEndTag = text.substr(at + 1, 1) == "/";
        if (!isEndTag) {
            elements.push_back({at, end + 1, nowhere});
        }
        if (isEndTag && !open.empty()) {
            open.pop_back();
        } else if (!isEndTag && text[end - 1] != '/') {
            open.push_back(elements.size() - 1);
        }
        at = end + 1;
    }
    return elements;
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

size_t markSize(const std::string &text)
{
    return appmngr_getMarkSize(
        appmngr_checkEncoding(text.data(), static_cast<uint32_t>(text.size())));
}

} // namespace

Document::Document(Source &source) : source_(source), document_(nullptr, xmlp_releaseDoc)
{
    // A loader takes the text as a string, and does not see what a NUL hides.
    const size_t length = strnlen(source.text.data(), source.text.size());
    const size_t skip = std::min(markSize(source.text), length);
    const LoaderRun run = captureRun([&] {
        document_.reset(
            xmlp_loadDoc(source.text.data() + skip, static_cast<uint32_t>(length - skip), 1));
        return 0;
    });
    if (document_ != nullptr) {
        locateElements(skip + document_->tree->headerLen);
        if (top() == nullptr) { // a tag that does not end is no element, and not refused either
            source.add(Rule::RefusedText, length, "the text ends within a tag");
        }
        return;
    }
    const uint32_t refused = xmlp_getRefusedOffset();
    const size_t at = refused != UINT32_MAX ? skip + refused : 0;
    std::string meaning = meaningOf(firstDiagnostic(run));
    if (source.text.find("<!") < at) {
        meaning += "; comments, CDATA and document types are not known";
    }
    source.add(Rule::RefusedText, at, meaning);
}

void Document::locateElements(size_t begin)
{
    const std::string_view text(source_.text.data(),
                                strnlen(source_.text.data(), source_.text.size()));
    const std::vector<Position> found = scanElements(text, begin, outside_);
    const XmlpNode *node = document_->tree->root->firstChild;
    for (size_t i = 0; i < found.size() && node != nullptr; i++) {
        positions_[node] = found[i];
        node = following(node);
    }
}

const XmlpNode *Document::top() const
{
    return document_ != nullptr ? document_->tree->root->firstChild : nullptr;
}

const Position &Document::positionOf(const XmlpNode *node) const
{
    static const Position beginning;
    const auto found = positions_.find(node);
    return found != positions_.end() ? found->second : beginning;
}

size_t Document::placeInValue(const XmlpNode *node, size_t index) const
{
    size_t at = positionOf(node).content;
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

} // namespace tool

// The signatures of rules.

#include "check/signature.h"

#include "check/outline.h"
#include "check/values.h"

#include <algorithm>

namespace check
{

namespace
{

// Letters in which a mistyped dpiType differs at most.
constexpr size_t nearby = 2;

const XmlpNode *lastNamed(const XmlpNode *node, const char *name)
{
    const std::vector<const XmlpNode *> children = childrenNamed(node, name);
    return children.empty() ? nullptr : children.back();
}

int32_t numberNamed(const XmlpNode *node, const char *name)
{
    const XmlpNode *child = lastNamed(node, name);
    return child != nullptr ? numberOf(child) : 0;
}

std::string_view textNamed(const XmlpNode *node, const char *name)
{
    const XmlpNode *child = lastNamed(node, name);
    return child != nullptr ? valueOf(child) : std::string_view();
}

bool isHex(std::string_view text)
{
    return text.size() % 2 == 0 &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

// The names and values of the elements in a signature, and in its segment.
std::string valuesIn(const XmlpNode *signature)
{
    std::string text;
    for (const XmlpNode *node = signature->firstChild; node != nullptr; node = node->next) {
        text += std::string(node->name) + '=' + std::string(valueOf(node)) + ';';
        for (const XmlpNode *part = node->firstChild; part != nullptr; part = part->next) {
            text += std::string(part->name) + '=' + std::string(valueOf(part)) + ';';
        }
    }
    return text;
}

} // namespace

void Signatures::report(Check check, const XmlpNode *node, const std::string &message)
{
    source_.add(check, document_.offsetsOf(node).tag, message);
}

void Signatures::checkJson(const XmlpNode *node)
{
    const std::string_view text = valueOf(node);
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '"' || text[i] == '\\' || static_cast<unsigned char>(text[i]) < ' ') {
            source_.add(Check::JsonUnsafe, document_.offsetInValue(node, i),
                        "this character makes database.json ill-formed");
            break;
        }
    }
}

void Signatures::checkSegment(const XmlpNode *segment)
{
    const int32_t start = numberNamed(segment, "start");
    const int32_t end = numberNamed(segment, "end");
    if (start > end) {
        report(Check::SegmentRange, segment,
               "the segment starts at " + std::to_string(start) + ", behind its end, " +
                   std::to_string(end));
    }
}

void Signatures::checkPattern(const XmlpNode *signature)
{
    const std::string_view code = textNamed(signature, "dpiCode");
    if (code.empty() && numberNamed(signature, "enable") != 0) {
        report(Check::NoPattern, signature, "the signature is enabled, but has no dpiCode");
    }
    if (textNamed(signature, "dpiType") == "hex" && !isHex(code)) {
        report(Check::BadHex, lastNamed(signature, "dpiCode"),
               inQuotes(code) + " is not pairs of hexadecimal digits");
    }
}

std::string Signatures::check(const XmlpNode *rule)
{
    std::string enabled;
    for (const char *direction : {"ori", "rep"}) {
        for (const XmlpNode *signature : childrenNamed(rule, direction)) {
            for (const XmlpNode *node : childrenNamed(signature, "dpiType")) {
                checkJson(node);
                types_[valueOf(node)].push_back(node);
            }
            for (const XmlpNode *node : childrenNamed(signature, "dpiCode")) {
                checkJson(node);
            }
            for (const XmlpNode *segment : childrenNamed(signature, "segment")) {
                checkSegment(segment);
            }
            checkPattern(signature);
            if (numberNamed(signature, "enable") != 0) {
                enabled += direction + valuesIn(signature);
            }
        }
    }
    return enabled;
}

void Signatures::reportTypes()
{
    for (const auto &[name, nodes] : types_) {
        for (const auto &[usual, others] : types_) {
            if (nodes.size() == 1 && others.size() > 1 && editDistance(name, usual) <= nearby) {
                report(Check::UnusualDpiType, nodes[0],
                       inQuotes(name) + " occurs once, " + inQuotes(usual) + " " +
                           std::to_string(others.size()) + " times");
            }
        }
    }
}

} // namespace check

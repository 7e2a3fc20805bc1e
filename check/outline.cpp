// The elements of a document one by one, held against the outline of its database.

#include "check/outline.h"

#include "check/values.h"

#include <algorithm>
#include <set>

namespace check
{

namespace
{

bool holdsElements(Kind kind)
{
    return kind == Kind::List || kind == Kind::Group || kind == Kind::Record;
}

bool holdsNumber(Kind kind)
{
    return kind == Kind::Number || kind == Kind::NumberEntry;
}

bool belongsOnce(Kind kind)
{
    return kind == Kind::Group || kind == Kind::Text || kind == Kind::Number;
}

// Nothing is lost with an empty text, list or group.
bool needsContent(Kind kind)
{
    return holdsNumber(kind) || kind == Kind::TextEntry || kind == Kind::Record;
}

char lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

class OutlineChecker
{
public:
    OutlineChecker(const Document &document, const Outline &outline, Source &source)
        : document_(document), outline_(outline), source_(source), parents_(outline.count)
    {
        std::vector<size_t> open;
        for (size_t i = 0; i < outline.count; i++) {
            open.resize(outline.rows[i].depth);
            parents_[i] = open.empty() ? npos : open.back();
            open.push_back(i);
        }
    }

    // Checks node, which stands where row has it, and what is below it.
    void checkElement(const XmlpNode *node, size_t row)
    {
        const Kind kind = outline_.rows[row].kind;
        if (node->attrs != nullptr) {
            report(Check::IgnoredAttribute, node,
                   "the attributes of " + inQuotes(node->name) + " are ignored");
        }
        if (node->type == XMLP_NODE_NONE) {
            if (needsContent(kind)) {
                report(Check::EmptyElement, node,
                       inQuotes(node->name) + " is empty and is skipped");
            }
            return;
        }
        if (holdsElements(kind)) {
            reportStrayText(document_.offsetsOf(node).text);
        } else {
            checkValue(node, outline_.rows[row]);
        }
        checkChildren(node, row);
    }

    void reportStrayText(size_t offset)
    {
        if (offset != npos) {
            source_.add(Check::StrayText, offset, "text outside the elements that hold text");
        }
    }

private:
    void report(Check check, const XmlpNode *node, const std::string &message)
    {
        source_.add(check, document_.offsetsOf(node).tag, message);
    }

    void checkValue(const XmlpNode *node, const OutlineRow &row)
    {
        if (isLong(node)) {
            report(Check::LongValue, node,
                   "the value of " + inQuotes(node->name) + " is " +
                       std::to_string(node->valueSize) +
                       " bytes and reads as missing; the limit is 511");
        } else if (holdsNumber(row.kind)) {
            checkNumber(document_, node, source_);
        } else if (row.limit != 0) {
            checkTextLength(document_, node, row.limit, source_);
        }
    }

    void checkChildren(const XmlpNode *node, size_t row)
    {
        std::set<size_t> seen;
        for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
            const size_t childRow = findRow(row, child);
            if (childRow == 0) {
                checkForeign(child, row);
                continue;
            }
            if (!seen.insert(childRow).second && belongsOnce(outline_.rows[childRow].kind)) {
                report(Check::RepeatedElement, child, inQuotes(child->name) + " is repeated");
            }
            checkElement(child, childRow);
        }
    }

    // The row for a child of an element of the given row, or 0.
    size_t findRow(size_t row, const XmlpNode *child) const
    {
        for (size_t i = row + 1; i < outline_.count; i++) {
            if (parents_[i] == row && isNamed(child, outline_.rows[i].name)) {
                return i;
            }
        }
        return 0;
    }

    // The first row with this name, or null.
    const OutlineRow *knownRow(const XmlpNode *node) const
    {
        const OutlineRow *end = outline_.rows + outline_.count;
        const OutlineRow *found = std::find_if(
            outline_.rows, end, [node](const OutlineRow &row) { return isNamed(node, row.name); });
        return found != end ? found : nullptr;
    }

    // Reports an element that does not belong in one of the given row.
    void checkForeign(const XmlpNode *node, size_t row)
    {
        const bool isReached =
            holdsElements(outline_.rows[row].kind) && node->type != XMLP_NODE_NONE;
        const bool isKnown = knownRow(node) != nullptr;
        const Check check = isReached && outline_.rejectsOthers         ? Check::RejectedElement
                            : isReached && isKnown && holdsRecord(node) ? Check::UncountedRecord
                            : isKnown                                   ? Check::MisplacedElement
                                                                        : Check::UnknownElement;
        std::string fault;
        if (!source_.isFull(check)) {
            fault = inQuotes(node->name) +
                    (isKnown ? " does not belong in " + inQuotes(outline_.rows[row].name) +
                                   parentsOf(node)
                             : " is unknown; the closest known name is " +
                                   inQuotes(nearestName(node, row)));
        }
        report(check, node, fault);
    }

    // Where the elements with the name of node belong, for a message.
    std::string parentsOf(const XmlpNode *node) const
    {
        std::set<std::string> parents;
        for (size_t i = 1; i < outline_.count; i++) {
            if (isNamed(node, outline_.rows[i].name)) {
                parents.insert(outline_.rows[parents_[i]].name);
            }
        }
        std::string list;
        for (const std::string &name : parents) {
            list += (list.empty() ? " but in " : " or ") + inQuotes(name);
        }
        return list;
    }

    // Of names that are equally near, one that belongs in an element of the given row.
    const char *nearestName(const XmlpNode *node, size_t row) const
    {
        const char *nearest = "";
        size_t least = npos;
        for (size_t i = 0; i < outline_.count; i++) {
            const size_t distance =
                2 * editDistance(node->name, outline_.rows[i].name) + (parents_[i] == row ? 0 : 1);
            if (distance < least) {
                least = distance;
                nearest = outline_.rows[i].name;
            }
        }
        return nearest;
    }

    // Whether the loader meets, going down from node by names alone, one that takes up a record.
    bool holdsRecord(const XmlpNode *node) const
    {
        std::vector<const XmlpNode *> open = {node};
        while (!open.empty()) {
            const XmlpNode *element = open.back();
            open.pop_back();
            const OutlineRow *row = element->type != XMLP_NODE_NONE ? knownRow(element) : nullptr;
            if (row == nullptr) {
                continue;
            }
            for (const char *const *name = outline_.records; *name != nullptr; name++) {
                if (isNamed(element, *name)) {
                    return true;
                }
            }
            const XmlpNode *child = holdsElements(row->kind) ? element->firstChild : nullptr;
            for (; child != nullptr; child = child->next) {
                open.push_back(child);
            }
        }
        return false;
    }

    const Document &document_;
    const Outline &outline_;
    Source &source_;
    std::vector<size_t> parents_; // the row that each row is below of
};

} // namespace

void checkOutline(const Document &document, const Outline &outline, Source &source)
{
    OutlineChecker checker(document, outline, source);
    checker.reportStrayText(document.outerText());
    checker.checkElement(document.top(), 0);
}

size_t editDistance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); j++) {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); i++) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            const size_t replaced = diagonal + (lower(a[i - 1]) != lower(b[j - 1]) ? 1 : 0);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

} // namespace check

// What the tuples and DNS keywords of a database match, all of them together.

#include "check/traffic.h"

#include "check/check_internal.h"

#include <algorithm>

namespace check
{

namespace
{

// Of an element, as it is written and as one to be found elsewhere.
std::string ofApplication(const XmlpNode *app)
{
    const std::vector<const XmlpNode *> ids = childrenNamed(app, "id");
    return ids.empty() ? "an application without id"
                       : "application " + std::to_string(numberOf(ids.back()));
}

} // namespace

void Traffic::report(Check check, const Place &place, const std::string &message)
{
    source_.add(check, document_.offsetsOf(place.node).content,
                inQuotes(valueOf(place.node)) + " " + message);
}

void Traffic::addTuple(const XmlpNode *app, const XmlpNode *node, const Tuple &tuple,
                       const std::string &signature)
{
    const uint32_t number = signatures_.insert({signature, signatures_.size()}).first->second;
    const Flow flow = {tuple[0], tuple[1], tuple[2], tuple[3], tuple[4], number};
    const auto [known, isNew] = flows_.insert({flow, {app, node}});
    if (!isNew) {
        report(Check::DuplicateTuple, {app, node},
               "is also in " + ofApplication(known->second.app));
    }
}

void Traffic::addKeyword(const XmlpNode *app, const XmlpNode *node)
{
    const auto [known, isNew] = keywords_.insert({valueOf(node), {app, node}});
    if (!isNew) {
        report(Check::DuplicateKeyword, {app, node},
               "is also in " + ofApplication(known->second.app));
    }
}

// Another tuple that has the same fields but for those that it leaves open.
const Traffic::Place *Traffic::covering(Flow flow) const
{
    constexpr unsigned openFields = 1u << (flow.size() - 1);
    for (unsigned open = 1; open < openFields; open++) {
        Flow other = flow;
        for (size_t i = 1; i < flow.size(); i++) {
            other[i] = (open >> (i - 1) & 1) != 0 ? 0 : flow[i];
        }
        const auto found = flows_.find(other);
        const bool isCatchAll =
            std::all_of(other.begin() + 1, other.end(), [](uint32_t field) { return field == 0; });
        if (other != flow && found != flows_.end() && !isCatchAll) {
            return &found->second;
        }
    }
    return nullptr;
}

void Traffic::reportTuples()
{
    for (const auto &[flow, place] : flows_) {
        if (std::all_of(flow.begin() + 1, flow.end(), [](uint32_t field) { return field == 0; })) {
            report(Check::CatchAllTuple, place, "matches everything of its protocol");
        } else if (const Place *other = covering(flow)) {
            report(Check::CoveredTuple, place,
                   "is covered by " + inQuotes(valueOf(other->node)) + " in " +
                       ofApplication(other->app));
        }
    }
}

} // namespace check

/*
 * What the tuples and DNS keywords of a database match, all of them together: those that are there
 * twice, that others cover, or that match everything.
 */
#ifndef CHECK_TRAFFIC_H
#define CHECK_TRAFFIC_H

#include "check/values.h"

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace check
{

class Traffic
{
public:
    Traffic(const Document &document, Source &source) : document_(document), source_(source) {}

    /* Adds a tuple of app whose rule asks for this signature, as text; none if it is empty. */
    void addTuple(const XmlpNode *app, const XmlpNode *node, const Tuple &tuple,
                  const std::string &signature);

    void addKeyword(const XmlpNode *app, const XmlpNode *node);

    /* Reports what can be told once all tuples are there. */
    void reportTuples();

private:
    /* The tuple and the number of its signature. A tuple without one, 0, matches any. */
    using Flow = std::array<uint32_t, 6>;

    struct Place {
        const XmlpNode *app;
        const XmlpNode *node;
    };

    void report(Check check, const Place &place, const std::string &message);
    const Place *covering(Flow flow) const;

    const Document &document_;
    Source &source_;
    std::map<std::string, uint32_t> signatures_ = {{"", 0}};
    std::map<Flow, Place> flows_;
    std::map<std::string_view, Place> keywords_;
};

} // namespace check

#endif

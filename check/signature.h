/*
 * The signatures of rules: what an application's packets look like, in either direction.
 */
#ifndef CHECK_SIGNATURE_H
#define CHECK_SIGNATURE_H

#include "check/document.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace check
{

class Signatures
{
public:
    Signatures(const Document &document, Source &source) : document_(document), source_(source) {}

    /*
     * Checks the signatures of a rule. Returns what is enabled of them, as a text that differs
     * where they differ; an empty one if nothing is.
     */
    std::string check(const XmlpNode *rule);

    /* Reports what can be told once all signatures are there. */
    void reportTypes();

private:
    void report(Check check, const XmlpNode *node, const std::string &message);
    void checkJson(const XmlpNode *node);
    void checkSegment(const XmlpNode *segment);
    void checkPattern(const XmlpNode *signature);

    const Document &document_;
    Source &source_;
    std::map<std::string_view, std::vector<const XmlpNode *>>
        types_; /* the nodes of each dpiType */
};

} // namespace check

#endif

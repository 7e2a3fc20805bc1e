// The rules of the application database.

#include "check/check_internal.h"

#include "appmngr/appmngr_model.h"
#include "check/outline.h"
#include "check/values.h"

#include <map>
#include <string>

namespace check
{

namespace
{

constexpr OutlineRow rows[] = {
    {0, "AppDB", Kind::Group, 0},        {1, "ver", Kind::Text, 11},
    {1, "proModel", Kind::Text, 31},     {1, "expired", Kind::Text, 31},
    {1, "appList", Kind::List, 0},       {2, "app", Kind::Record, 0},
    {3, "id", Kind::Number, 0},          {3, "name", Kind::Text, 127},
    {3, "visible", Kind::Number, 0},     {3, "typeIdList", Kind::List, 0},
    {4, "typeId", Kind::NumberEntry, 0}, {3, "ruleList", Kind::List, 0},
    {4, "rule", Kind::Record, 0},        {5, "tupleList", Kind::List, 0},
    {6, "tuple", Kind::TextEntry, 0},    {5, "ori", Kind::Group, 0},
    {6, "enable", Kind::Number, 0},      {6, "segment", Kind::Group, 0},
    {7, "start", Kind::Number, 0},       {7, "end", Kind::Number, 0},
    {6, "minlength", Kind::Number, 0},   {6, "dpiType", Kind::Text, 15},
    {6, "dpiCode", Kind::Text, 255},     {5, "rep", Kind::Group, 0},
    {6, "enable", Kind::Number, 0},      {6, "segment", Kind::Group, 0},
    {7, "start", Kind::Number, 0},       {7, "end", Kind::Number, 0},
    {6, "minlength", Kind::Number, 0},   {6, "dpiType", Kind::Text, 15},
    {6, "dpiCode", Kind::Text, 255},     {3, "dnsKwList", Kind::List, 0},
    {4, "dnsKw", Kind::TextEntry, 15},   {1, "appTypeList", Kind::List, 0},
    {2, "appType", Kind::Record, 0},     {3, "id", Kind::Number, 0},
    {3, "name", Kind::Text, 127},
};

constexpr const char *records[] = {"app", "tuple", "dnsKw", "appType", nullptr};

constexpr Outline outline = {rows, std::size(rows), false, records};

// What one datagram carries under the kernel's default limits, and the message around the rules.
constexpr size_t datagramLimit = 425952;
constexpr size_t messageHead = 64;
constexpr size_t ruleLimit = (datagramLimit - messageHead) / sizeof(appmngr_rule);

struct Type {
    const XmlpNode *node;
    bool isUsed;
};

// Something that matches no traffic; worth a word unless nothing does.
struct IdlePart {
    Check rule;
    const XmlpNode *node;
    const char *message;
};

class ApplicationChecker
{
public:
    ApplicationChecker(const Document &document, Source &source)
        : document_(document), source_(source)
    {
    }

    std::set<uint32_t> check()
    {
        const XmlpNode *top = document_.top();
        for (const XmlpNode *expired : childrenNamed(top, "expired")) {
            if (!isLong(expired)) {
                checkExpiry(document_, expired, false, source_);
            }
        }
        for (const XmlpNode *list : childrenNamed(top, "appTypeList")) {
            checkTypes(list);
        }
        for (const XmlpNode *list : childrenNamed(top, "appList")) {
            for (const XmlpNode *app : childrenNamed(list, "app")) {
                checkApp(app);
            }
        }
        reportWhatIsMissing();
        if (appCount_ > 0) {
            reportUnusedTypes();
        }
        if (tupleCount_ > 0) {
            reportIdleParts();
        }
        return appIds_;
    }

private:
    void report(Check rule, const XmlpNode *node, const std::string &message)
    {
        source_.add(rule, document_.offsetsOf(node).tag, message);
    }

    void checkTypes(const XmlpNode *list)
    {
        for (const XmlpNode *type : childrenNamed(list, "appType")) {
            const std::vector<const XmlpNode *> ids = childrenNamed(type, "id");
            if (ids.empty()) {
                report(Check::MissingId, type, "the type has no id");
            }
            for (const XmlpNode *id : ids) {
                addType(id);
            }
        }
    }

    void addType(const XmlpNode *id)
    {
        const int32_t number = numberOf(id);
        if (++typeCount_ == APPMNGR_TYPE_MAX + 1) {
            report(Check::TooManyTypes, id, "type number 65; a database has at most 64 of them");
        }
        if (!types_.insert({number, {id, false}}).second) {
            report(Check::DuplicateTypeId, id,
                   "there is a type " + std::to_string(number) + " already");
        }
    }

    void checkApp(const XmlpNode *app)
    {
        appCount_++;
        const XmlpNode *id = nullptr;
        bool isUsed = false; // the id, so far
        bool hasRules = false;
        for (const XmlpNode *child = app->firstChild; child != nullptr; child = child->next) {
            if (child->type == XMLP_NODE_NONE) {
                continue;
            }
            if (isNamed(child, "id")) {
                if (id == nullptr && isUsed) {
                    report(Check::LateId, child,
                           "the lists before it have been taken for those of application 0");
                }
                id = child;
            } else if (isNamed(child, "typeIdList")) {
                isUsed = checkTypeIds(child) || isUsed;
            } else if (isNamed(child, "ruleList")) {
                hasRules = checkRules(child) || hasRules;
            } else if (isNamed(child, "dnsKwList")) {
                const size_t count = childrenNamed(child, "dnsKw").size();
                keywordCount_ += count;
                isUsed = isUsed || count > 0;
            }
            isUsed = isUsed || hasRules;
        }
        checkAppId(app, id);
        if (!hasRules) {
            idleParts_.push_back({Check::AppWithoutRules, app, "the application has no rules"});
        }
    }

    void checkAppId(const XmlpNode *app, const XmlpNode *id)
    {
        if (id == nullptr) {
            report(Check::MissingId, app, "the application has no id");
            return;
        }
        const auto number = static_cast<uint32_t>(numberOf(id));
        if (number >= APPMNGR_APP_ID_LIMIT) {
            report(Check::AppIdRange, id,
                   "the id " + inQuotes(valueOf(id)) + " is not within 0 to 4095");
        }
        if (!appIds_.insert(number).second) {
            report(Check::DuplicateAppId, id,
                   "there is an application " + std::to_string(number) + " already");
        }
    }

    // Whether there are any.
    bool checkTypeIds(const XmlpNode *list)
    {
        const std::vector<const XmlpNode *> entries = childrenNamed(list, "typeId");
        for (const XmlpNode *entry : entries) {
            const auto found = types_.find(numberOf(entry));
            if (found != types_.end()) {
                found->second.isUsed = true;
            } else if (!isLong(entry)) {
                report(Check::UnknownType, entry, "there is no type " + inQuotes(valueOf(entry)));
            }
        }
        return !entries.empty();
    }

    // Whether there are any.
    bool checkRules(const XmlpNode *list)
    {
        const std::vector<const XmlpNode *> entries = childrenNamed(list, "rule");
        for (const XmlpNode *rule : entries) {
            checkRule(rule);
        }
        return !entries.empty();
    }

    void checkRule(const XmlpNode *rule)
    {
        const size_t before = tupleCount_;
        for (const XmlpNode *list : childrenNamed(rule, "tupleList")) {
            for (const XmlpNode *tuple : childrenNamed(list, "tuple")) {
                tupleCount_++;
                countRule(tuple);
            }
        }
        if (tupleCount_ == before) {
            idleParts_.push_back({Check::RuleWithoutTuple, rule, "the rule has no tuple"});
        }
        for (const char *direction : {"ori", "rep"}) {
            for (const XmlpNode *signature : childrenNamed(rule, direction)) {
                checkJson(signature, "dpiType");
                checkJson(signature, "dpiCode");
            }
        }
    }

    void countRule(const XmlpNode *tuple)
    {
        if (checkTuple(document_, tuple, source_) && ++ruleCount_ == ruleLimit + 1) {
            report(Check::TooManyRules, tuple,
                   "tuple number " + std::to_string(ruleCount_) + "; one datagram carries " +
                       std::to_string(ruleLimit) + " of them");
        }
    }

    void checkJson(const XmlpNode *signature, const char *name)
    {
        for (const XmlpNode *node : childrenNamed(signature, name)) {
            const std::string_view text = valueOf(node);
            for (size_t i = 0; i < text.size(); i++) {
                if (text[i] == '"' || text[i] == '\\' ||
                    static_cast<unsigned char>(text[i]) < ' ') {
                    source_.add(Check::JsonUnsafe, document_.offsetInValue(node, i),
                                "this character makes database.json ill-formed");
                    break;
                }
            }
        }
    }

    void reportUnusedTypes()
    {
        for (const auto &[number, type] : types_) {
            if (!type.isUsed) {
                report(Check::UnusedType, type.node,
                       "no application has the type " + std::to_string(number));
            }
        }
    }

    void reportIdleParts()
    {
        for (const IdlePart &part : idleParts_) {
            report(part.rule, part.node, part.message);
        }
    }

    // Without an application there can be none of what applications hold.
    void reportWhatIsMissing()
    {
        if (appCount_ == 0) {
            report(Check::NoApplication, document_.top(), "the database has no application");
        }
        const struct {
            size_t count;
            Check rule;
            const char *message;
        } needs[] = {
            {typeCount_, Check::NoType, "the database has no application type with an id"},
            {tupleCount_, Check::NoTuple, "the database has no tuple"},
            {keywordCount_, Check::NoDnsKeyword, "the database has no DNS keyword"},
        };
        for (const auto &need : needs) {
            if (need.count == 0 && (appCount_ > 0 || need.rule == Check::NoType)) {
                report(need.rule, document_.top(), need.message);
            }
        }
    }

    const Document &document_;
    Source &source_;
    std::map<int32_t, Type> types_;
    std::set<uint32_t> appIds_;
    std::vector<IdlePart> idleParts_;
    size_t appCount_ = 0;
    size_t typeCount_ = 0;
    size_t tupleCount_ = 0;
    size_t ruleCount_ = 0; // tuples that the loader makes rules of
    size_t keywordCount_ = 0;
};

} // namespace

std::set<uint32_t> checkApplications(const Document &document, Source &source)
{
    checkOutline(document, outline, source);
    return ApplicationChecker(document, source).check();
}

} // namespace check

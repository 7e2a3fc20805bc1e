// The checks of an application database.

#include "check/check_internal.h"

#include "appmngr/appmngr_model.h"
#include "check/outline.h"
#include "check/signature.h"
#include "check/traffic.h"
#include "check/values.h"

#include <map>
#include <string>

namespace check
{

namespace
{

// Behind each text there is a NUL in its field.
constexpr unsigned verLimit = sizeof(appmngr_appDb::ver) - 1;
constexpr unsigned proModelLimit = sizeof(appmngr_appDb::proModel) - 1;
constexpr unsigned expiredLimit = sizeof(appmngr_appDb::expired) - 1;
constexpr unsigned appNameLimit = sizeof(appmngr_app::name) - 1;
constexpr unsigned typeNameLimit = sizeof(appmngr_appType::name) - 1;
constexpr unsigned dpiTypeLimit = sizeof(appmngr_feature::dpiType) - 1;
constexpr unsigned dpiCodeLimit = sizeof(appmngr_feature::dpiCode) - 1;
constexpr unsigned keywordSizeLimit = sizeof(appmngr_dnsRule::keyword) - 1;

constexpr OutlineRow rows[] = {
    {0, "AppDB", Kind::Group, 0},
    {1, "ver", Kind::Text, verLimit},
    {1, "proModel", Kind::Text, proModelLimit},
    {1, "expired", Kind::Text, expiredLimit},
    {1, "appList", Kind::List, 0},
    {2, "app", Kind::Record, 0},
    {3, "id", Kind::Number, 0},
    {3, "name", Kind::Text, appNameLimit},
    {3, "visible", Kind::Number, 0},
    {3, "typeIdList", Kind::List, 0},
    {4, "typeId", Kind::NumberEntry, 0},
    {3, "ruleList", Kind::List, 0},
    {4, "rule", Kind::Record, 0},
    {5, "tupleList", Kind::List, 0},
    {6, "tuple", Kind::TextEntry, 0},
    {5, "ori", Kind::Group, 0},
    {6, "enable", Kind::Number, 0},
    {6, "segment", Kind::Group, 0},
    {7, "start", Kind::Number, 0},
    {7, "end", Kind::Number, 0},
    {6, "minlength", Kind::Number, 0},
    {6, "dpiType", Kind::Text, dpiTypeLimit},
    {6, "dpiCode", Kind::Text, dpiCodeLimit},
    {5, "rep", Kind::Group, 0},
    {6, "enable", Kind::Number, 0},
    {6, "segment", Kind::Group, 0},
    {7, "start", Kind::Number, 0},
    {7, "end", Kind::Number, 0},
    {6, "minlength", Kind::Number, 0},
    {6, "dpiType", Kind::Text, dpiTypeLimit},
    {6, "dpiCode", Kind::Text, dpiCodeLimit},
    {3, "dnsKwList", Kind::List, 0},
    {4, "dnsKw", Kind::TextEntry, keywordSizeLimit},
    {1, "appTypeList", Kind::List, 0},
    {2, "appType", Kind::Record, 0},
    {3, "id", Kind::Number, 0},
    {3, "name", Kind::Text, typeNameLimit},
};

constexpr const char *records[] = {"app", "tuple", "dnsKw", "appType", nullptr};

constexpr Outline outline = {rows, std::size(rows), false, records};

struct Type {
    const XmlpNode *node;
    bool isUsed;
};

// Something that matches no traffic; worth a word unless nothing does.
struct IdlePart {
    Check check;
    const XmlpNode *node;
    const char *message;
};

class ApplicationChecker
{
public:
    ApplicationChecker(const Document &document, Source &source)
        : document_(document), source_(source), signatures_(document, source),
          traffic_(document, source)
    {
    }

    const std::set<uint32_t> &check()
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
        checkNearLimit(typeCount_, APPMNGR_TYPE_MAX, "types", document_.offsetsOf(top).tag,
                       source_);
        checkNearLimit(ruleCount_, ruleLimit, "tuples", document_.offsetsOf(top).tag, source_);
        signatures_.reportTypes();
        traffic_.reportTuples();
        if (appCount_ > 0) {
            reportUnusedTypes();
        }
        if (tupleCount_ > 0) {
            reportIdleParts();
        }
        return appIds_;
    }

private:
    void report(Check check, const XmlpNode *node, const std::string &message)
    {
        source_.add(check, document_.offsetsOf(node).tag, message);
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
            checkName(type, "type");
        }
    }

    void checkName(const XmlpNode *owner, const char *what)
    {
        if (childrenNamed(owner, "name").empty()) {
            report(Check::MissingName, owner, "the " + std::string(what) + " has no name");
        }
    }

    void addType(const XmlpNode *id)
    {
        const int32_t number = numberOf(id);
        if (++typeCount_ == APPMNGR_TYPE_MAX + 1) {
            report(Check::TooManyTypes, id,
                   "type number " + std::to_string(typeCount_) + "; the limit is " +
                       std::to_string(APPMNGR_TYPE_MAX));
        }
        if (!types_.insert({number, {id, false}}).second) {
            report(Check::DuplicateTypeId, id, "duplicate type id " + std::to_string(number));
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
                           "the lists before it are loaded as those of application 0");
                }
                id = child;
            } else if (isNamed(child, "typeIdList")) {
                isUsed = checkTypeIds(child) || isUsed;
            } else if (isNamed(child, "ruleList")) {
                hasRules = checkRules(app, child) || hasRules;
            } else if (isNamed(child, "dnsKwList")) {
                isUsed = checkKeywords(app, child) || isUsed;
            } else if (isNamed(child, "visible") && numberOf(child) != 0 && numberOf(child) != 1) {
                report(Check::VisibleRange, child,
                       inQuotes(valueOf(child)) + " is neither 0 nor 1");
            }
            isUsed = isUsed || hasRules;
        }
        checkAppId(app, id);
        checkName(app, "application");
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
                   "the id " + inQuotes(valueOf(id)) + " is not in the range 0 to " +
                       std::to_string(APPMNGR_APP_ID_LIMIT - 1));
        }
        if (!appIds_.insert(number).second) {
            report(Check::DuplicateAppId, id, "duplicate application id " + std::to_string(number));
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
                report(Check::UnknownType, entry,
                       "type " + inQuotes(valueOf(entry)) + " is not defined");
            }
        }
        return !entries.empty();
    }

    // Whether there are any.
    bool checkKeywords(const XmlpNode *app, const XmlpNode *list)
    {
        const std::vector<const XmlpNode *> entries = childrenNamed(list, "dnsKw");
        for (const XmlpNode *keyword : entries) {
            traffic_.addKeyword(app, keyword);
        }
        keywordCount_ += entries.size();
        return !entries.empty();
    }

    // Whether there are any.
    bool checkRules(const XmlpNode *app, const XmlpNode *list)
    {
        const std::vector<const XmlpNode *> entries = childrenNamed(list, "rule");
        for (const XmlpNode *rule : entries) {
            checkRule(app, rule);
        }
        return !entries.empty();
    }

    void checkRule(const XmlpNode *app, const XmlpNode *rule)
    {
        const std::string signature = signatures_.check(rule);
        const size_t before = tupleCount_;
        for (const XmlpNode *list : childrenNamed(rule, "tupleList")) {
            for (const XmlpNode *tuple : childrenNamed(list, "tuple")) {
                tupleCount_++;
                checkRuleTuple(app, tuple, signature);
            }
        }
        if (tupleCount_ == before) {
            idleParts_.push_back({Check::RuleWithoutTuple, rule, "the rule has no tuple"});
        }
    }

    void checkRuleTuple(const XmlpNode *app, const XmlpNode *node, const std::string &signature)
    {
        const std::optional<Tuple> tuple = checkTuple(document_, node, source_);
        if (!tuple) {
            return;
        }
        traffic_.addTuple(app, node, *tuple, signature);
        if (++ruleCount_ == ruleLimit + 1) {
            report(Check::TooManyRules, node,
                   "tuple number " + std::to_string(ruleCount_) + "; the limit of a datagram is " +
                       std::to_string(ruleLimit));
        }
    }

    void reportUnusedTypes()
    {
        for (const auto &[number, type] : types_) {
            if (!type.isUsed) {
                report(Check::UnusedType, type.node,
                       "no application uses type " + std::to_string(number));
            }
        }
    }

    void reportIdleParts()
    {
        for (const IdlePart &part : idleParts_) {
            report(part.check, part.node, part.message);
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
            Check check;
            const char *message;
        } needs[] = {
            {typeCount_, Check::NoType, "the database has no application type with an id"},
            {tupleCount_, Check::NoTuple, "the database has no tuple"},
            {keywordCount_, Check::NoDnsKeyword, "the database has no DNS keyword"},
        };
        for (const auto &need : needs) {
            if (need.count == 0 && (appCount_ > 0 || need.check == Check::NoType)) {
                report(need.check, document_.top(), need.message);
            }
        }
    }

    const Document &document_;
    Source &source_;
    Signatures signatures_;
    Traffic traffic_;
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

void checkApplications(const Document &document, Source &source, AppIds &appIds)
{
    checkOutline(document, outline, source);
    ApplicationChecker checker(document, source);
    const std::set<uint32_t> &defined = checker.check();
    appIds.defined.emplace(appIds.defined.value_or(std::set<uint32_t>()))
        .insert(defined.begin(), defined.end());
}

} // namespace check

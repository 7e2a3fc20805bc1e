// The checks of a priority database.

#include "check/check_internal.h"

#include "appmngr/appmngr_model.h"
#include "apppri/apppri.h"
#include "check/outline.h"
#include "check/values.h"

#include <string>

namespace check
{

namespace
{

// Behind the texts of the database there is a NUL in the field, behind names there need not be one.
constexpr unsigned verLimit = sizeof(apppri_database::ver) - 1;
constexpr unsigned proModelLimit = sizeof(apppri_database::proModel) - 1;
constexpr unsigned expiredLimit = sizeof(apppri_database::expired) - 1;
constexpr unsigned sortNameLimit = sizeof(apppri_sort::name);
constexpr unsigned appNameLimit = sizeof(apppri_app::appName);

constexpr OutlineRow rows[] = {
    {0, "AppSortDB", Kind::Group, 0},
    {1, "ver", Kind::Text, verLimit},
    {1, "proModel", Kind::Text, proModelLimit},
    {1, "expired", Kind::Text, expiredLimit},
    {1, "sortNum", Kind::Number, 0},
    {1, "appNum", Kind::Number, 0},
    {1, "sortList", Kind::List, 0},
    {2, "sort", Kind::Record, 0},
    {3, "id", Kind::Number, 0},
    {3, "name", Kind::Text, sortNameLimit},
    {3, "prio", Kind::Number, 0},
    {3, "type", Kind::Number, 0},
    {3, "appList", Kind::List, 0},
    {4, "app", Kind::Record, 0},
    {5, "appId", Kind::Number, 0},
    {5, "appType", Kind::Number, 0},
    {5, "appName", Kind::Text, appNameLimit},
};

constexpr const char *noRecords[] = {nullptr};

constexpr Outline outline = {rows, std::size(rows), true, noRecords};

constexpr int32_t highestPriority = 255;

class PriorityChecker
{
public:
    PriorityChecker(const Document &document, const std::set<uint32_t> *appIds, Source &source)
        : document_(document), source_(source), known_(appIds)
    {
    }

    void check()
    {
        const XmlpNode *top = document_.top();
        for (const XmlpNode *expired : childrenNamed(top, "expired")) {
            if (!isLong(expired)) {
                checkExpiry(document_, expired, true, source_);
            }
        }
        for (const XmlpNode *list : childrenNamed(top, "sortList")) {
            checkSorts(list);
        }
        if (sortCount_ == 0) {
            report(Check::NoSort, top, "the priority database has no sort");
        }
    }

private:
    void report(Check check, const XmlpNode *node, const std::string &message)
    {
        source_.add(check, document_.offsetsOf(node).tag, message);
    }

    void checkSorts(const XmlpNode *list)
    {
        const std::vector<const XmlpNode *> sorts = childrenNamed(list, "sort");
        size_t apps = 0;
        for (const XmlpNode *sort : sorts) {
            apps += checkSort(sort);
        }
        sortCount_ += sorts.size();
        checkCount(list, "sortNum", sorts.size(), "sorts");
        checkCount(list, "appNum", apps, "applications");
    }

    // Holds what the database declares against a count of what is in list.
    void checkCount(const XmlpNode *list, const char *name, size_t count, const char *what)
    {
        const std::vector<const XmlpNode *> declared = childrenNamed(document_.top(), name);
        const XmlpNode *last = declared.empty() ? nullptr : declared.back();
        const auto number = static_cast<uint32_t>(last != nullptr ? numberOf(last) : 0);
        if (number != count && (last == nullptr || !isLong(last))) {
            report(Check::CountMismatch, last != nullptr ? last : list,
                   inQuotes(name) + " is " +
                       (last != nullptr ? inQuotes(valueOf(last)) : std::string("missing")) +
                       "; the number of " + what + " is " + std::to_string(count));
        }
    }

    // Returns the number of its applications.
    size_t checkSort(const XmlpNode *sort)
    {
        if (childrenNamed(sort, "type").empty()) {
            report(Check::UnlistedSort, sort, "the sort has no type and is dropped");
        }
        for (const XmlpNode *prio : childrenNamed(sort, "prio")) {
            if (numberOf(prio) < 0 || numberOf(prio) > highestPriority) {
                report(Check::PriorityRange, prio,
                       "the priority " + inQuotes(valueOf(prio)) + " is stored as " +
                           std::to_string(static_cast<uint8_t>(numberOf(prio))));
            }
        }
        size_t count = 0;
        for (const XmlpNode *list : childrenNamed(sort, "appList")) {
            for (const XmlpNode *app : childrenNamed(list, "app")) {
                checkApp(app);
                count++;
            }
        }
        return count;
    }

    void checkApp(const XmlpNode *app)
    {
        if (childrenNamed(app, "appName").empty()) {
            report(Check::UnlistedApp, app, "the application has no appName and is dropped");
        }
        const std::vector<const XmlpNode *> ids = childrenNamed(app, "appId");
        if (ids.empty()) {
            report(Check::MissingId, app, "the application has no appId");
        } else {
            checkAppId(ids.back());
        }
    }

    void checkAppId(const XmlpNode *id)
    {
        const auto number = static_cast<uint32_t>(numberOf(id));
        if (number >= APPMNGR_APP_ID_LIMIT) {
            report(Check::AppIdRange, id,
                   "the id " + inQuotes(valueOf(id)) + " is not in the range 0 to " +
                       std::to_string(APPMNGR_APP_ID_LIMIT - 1));
        } else if (known_ != nullptr && known_->count(number) == 0) {
            report(Check::UnknownApp, id,
                   "the application database has no application " + std::to_string(number));
        }
        if (!appIds_.insert(number).second) {
            report(Check::DuplicateAppId, id,
                   "application " + std::to_string(number) +
                       " is already listed; the last sort that lists it wins");
        }
    }

    const Document &document_;
    Source &source_;
    const std::set<uint32_t> *known_;
    std::set<uint32_t> appIds_;
    size_t sortCount_ = 0;
};

} // namespace

void checkPriorities(const Document &document, const std::set<uint32_t> *appIds, Source &source)
{
    checkOutline(document, outline, source);
    PriorityChecker(document, appIds, source).check();
}

} // namespace check

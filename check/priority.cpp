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

const XmlpNode *lastNamed(const XmlpNode *node, const char *name)
{
    const std::vector<const XmlpNode *> children = childrenNamed(node, name);
    return children.empty() ? nullptr : children.back();
}

class PriorityChecker
{
public:
    PriorityChecker(const Document &document, Source &source, AppIds &appIds)
        : document_(document), source_(source), used_(appIds.used),
          sortNum_(lastNamed(document.top(), "sortNum")),
          appNum_(lastNamed(document.top(), "appNum"))
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
        const std::vector<const XmlpNode *> lists = childrenNamed(top, "sortList");
        for (const XmlpNode *list : lists) {
            checkSorts(list, lists.size() == 1);
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

    void checkSorts(const XmlpNode *list, bool isOnlyList)
    {
        const std::vector<const XmlpNode *> sorts = childrenNamed(list, "sort");
        size_t apps = 0;
        for (const XmlpNode *sort : sorts) {
            apps += checkSort(sort);
        }
        sortCount_ += sorts.size();
        checkCount(list, "sortNum", sortNum_, sorts.size(), "sorts", isOnlyList);
        checkCount(list, "appNum", appNum_, apps, "applications", isOnlyList);
    }

    // Holds what the database declares against a count of what is in list.
    void checkCount(const XmlpNode *list, const char *name, const XmlpNode *declared, size_t count,
                    const char *what, bool isOnlyList)
    {
        const auto number = static_cast<uint32_t>(declared != nullptr ? numberOf(declared) : 0);
        if (number == count || (declared != nullptr && isLong(declared))) {
            return;
        }
        const std::string fault =
            "; the number of " + std::string(what) + " is " + std::to_string(count);
        if (declared == nullptr) {
            report(Check::CountMismatch, list, inQuotes(name) + " is missing" + fault);
        } else {
            const Offsets &offsets = document_.offsetsOf(declared);
            const size_t end = document_.offsetInValue(declared, declared->valueSize);
            const Fix fix = {offsets.content, end - offsets.content, std::to_string(count)};
            source_.add(Check::CountMismatch, offsets.tag,
                        inQuotes(name) + " is " + inQuotes(valueOf(declared)) + fault,
                        isOnlyList ? std::optional(fix) : std::nullopt);
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
        } else {
            used_.push_back({&source_, document_.offsetsOf(id).tag, number});
        }
        if (!appIds_.insert(number).second) {
            report(Check::DuplicateAppId, id,
                   "application " + std::to_string(number) +
                       " is already listed; the last sort that lists it wins");
        }
    }

    const Document &document_;
    Source &source_;
    std::vector<AppIds::Use> &used_;
    const XmlpNode *sortNum_; // null if missing
    const XmlpNode *appNum_;
    std::set<uint32_t> appIds_;
    size_t sortCount_ = 0;
};

} // namespace

void checkPriorities(const Document &document, Source &source, AppIds &appIds)
{
    checkOutline(document, outline, source);
    PriorityChecker(document, source, appIds).check();
}

} // namespace check

// tarn-db-tool stat - how much of each limit the databases of a file use.

#include "tool/commands.h"

#include "appdist/appdist.h"
#include "check/content.h"
#include "check/device.h"
#include "check/document.h"
#include "check/values.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"
#include "tool/table.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string file;
    bool json = false;
} arguments;

void declare(CLI::App &parser)
{
    addDatabase(parser, arguments.file);
    addJson(parser, arguments.json);
}

struct Use {
    std::string what;
    size_t used;
    size_t limit;

    double share() const
    {
        return 100.0 * static_cast<double>(used) / static_cast<double>(limit);
    }
};

struct Size {
    uint32_t id;
    std::string name;
    size_t text;
    size_t compressed; // by itself
};

// The size of a message with so many records; 0 if it is not sent.
template <typename Record> size_t messageSize(const Records<Record> &records)
{
    const auto count = static_cast<size_t>(records.end() - records.begin());
    return count > 0 ? check::messageHead + count * sizeof(Record) : 0;
}

void addText(const InputFile &file, const check::Database &database, std::vector<Use> &uses)
{
    const std::string name = database.name;
    const std::string text = check::textOf(file, database);
    uses.push_back({"text of the " + name + ", bytes", text.size(), database.textLimit});
    uses.push_back({"image of the " + name + ", bytes",
                    check::imageHead + check::compressedSize({file.name, text}),
                    APPMNGR_IMAGE_SIZE});
}

void addApplications(const InputFile &file, std::vector<Use> &uses)
{
    uint32_t ids = 0;
    for (const appmngr_app &app : applications()) {
        ids = std::max(ids, app.id + 1);
    }
    addText(file, check::applicationDatabase, uses);
    uses.insert(uses.end(),
                {{"application ids", ids, APPMNGR_APP_ID_LIMIT},
                 {"application types", g_appmngr_appDb.typeCount, APPMNGR_TYPE_MAX},
                 {"rules", g_appmngr_appDb.ruleCount, check::ruleLimit},
                 {"DNS keywords", g_appmngr_appDns.count, check::keywordLimit},
                 {"message of rules, bytes", messageSize(applicationRules()), check::messageLimit},
                 {"message of DNS keywords, bytes", messageSize(keywords()), check::messageLimit}});
}

void addPriorities(const InputFile &file, std::vector<Use> &uses)
{
    addText(file, check::priorityDatabase, uses);
    uses.push_back({"message of priorities, bytes",
                    check::messageHead + check::priorityMap().size(), check::messageLimit});
}

// The elements of the applications, the largest first.
std::vector<Size> applicationSizes(const InputFile &file)
{
    check::Source source = {file.name, "", check::textOf(file, check::applicationDatabase)};
    const check::Document document(source);
    std::vector<Size> sizes;
    for (const XmlpNode *list : check::childrenNamed(document.top(), "appList")) {
        for (const XmlpNode *app : check::childrenNamed(list, "app")) {
            const check::Offsets &offsets = document.offsetsOf(app);
            const std::string text = source.text.substr(offsets.tag, offsets.end - offsets.tag);
            const auto ids = check::childrenNamed(app, "id");
            const auto names = check::childrenNamed(app, "name");
            sizes.push_back({static_cast<uint32_t>(ids.empty() ? 0 : check::numberOf(ids.back())),
                             names.empty() ? "" : std::string(check::valueOf(names.back())),
                             text.size(), check::compressedSize({file.name, text})});
        }
    }
    std::stable_sort(sizes.begin(), sizes.end(),
                     [](const Size &a, const Size &b) { return a.compressed > b.compressed; });
    return sizes;
}

std::string asText(const std::vector<Use> &uses, const Use &nearest, const std::vector<Size> &sizes)
{
    Table limits(
        {{"USED", Align::Right}, {"LIMIT", Align::Right}, {"PERCENT", Align::Right}, {"OF"}});
    for (const Use &use : uses) {
        limits.add({std::to_string(use.used), std::to_string(use.limit),
                    fmt::format("{:.1f}", use.share()), use.what});
    }
    Table apps(
        {{"APP", Align::Right}, {"NAME"}, {"TEXT", Align::Right}, {"COMPRESSED", Align::Right}});
    for (const Size &size : sizes) {
        apps.add({std::to_string(size.id), size.name, std::to_string(size.text),
                  std::to_string(size.compressed)});
    }
    return limits.text() +
           fmt::format("nearest to its limit: {}, {:.1f} %\n", nearest.what, nearest.share()) +
           (sizes.empty() ? "" : "\n") + apps.text();
}

Json asJson(const std::vector<Use> &uses, const Use &nearest, const std::vector<Size> &sizes)
{
    Json limits = Json::array();
    for (const Use &use : uses) {
        limits.push_back({{"what", use.what}, {"used", use.used}, {"limit", use.limit}});
    }
    Json apps = Json::array();
    for (const Size &size : sizes) {
        apps.push_back({{"id", size.id},
                        {"name", size.name},
                        {"text", size.text},
                        {"compressed", size.compressed}});
    }
    return {{"limits", limits}, {"nearest", nearest.what}, {"applications", apps}};
}

int run()
{
    const InputFile file = readDatabaseFile(arguments.file);
    std::vector<Use> uses;
    std::vector<Size> sizes;
    if (check::loadIfThere(file, check::applicationDatabase)) {
        addApplications(file, uses);
        sizes = applicationSizes(file);
    }
    if (check::loadIfThere(file, check::priorityDatabase)) {
        addPriorities(file, uses);
    }
    if (check::kindOf(file.contents) == check::FileKind::Container) {
        uses.push_back({"container, bytes", file.contents.size(), DBIMAGE_CONTAINER_MAX});
    }
    if (uses.empty()) {
        throw check::Failure(file.name, "has no database");
    }
    const Use &nearest = *std::max_element(
        uses.begin(), uses.end(), [](const Use &a, const Use &b) { return a.share() < b.share(); });
    if (arguments.json) {
        printJson(asJson(uses, nearest, sizes));
    } else {
        writeStandardOutput(asText(uses, nearest, sizes));
    }
    return 0;
}

} // namespace

const Command stat = {"stat", "Show how much of each limit is used", declare, run};

} // namespace tool

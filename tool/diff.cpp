// tarn-db-tool diff - what changed from the databases of one file to those of another.

#include "tool/commands.h"

#include "appmngr/appmngr.h"
#include "check/content.h"
#include "check/device.h"
#include "check/output.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string before;
    std::string after;
    bool json = false;
} arguments;

void declare(CLI::App &parser)
{
    addInput(parser, "OLD", arguments.before, "XML text, image or update container");
    addInput(parser, "NEW", arguments.after, "The same, of any kind");
    addJson(parser, arguments.json);
}

// What can be added, removed or changed; of the priority database from Priorities on.
enum class Kind { Header, Application, Type, Rule, Keyword, Priorities, Sort, SortEntry, File };

constexpr struct {
    const char *name;
    const char *idName;   // null if there is only one
    const char *textName; // null if the id and the name of an item say it all
} kinds[] = {
    {"header", nullptr, nullptr},    {"application", "id", nullptr},
    {"type", "id", nullptr},         {"rule", "appId", "tuple"},
    {"keyword", "appId", "keyword"}, {"priorities", nullptr, nullptr},
    {"sort", "id", nullptr},         {"sort entry", "appId", nullptr},
    {"file", "index", nullptr},
};

// Identifies an item. Changes are listed in the order of the keys.
struct Key {
    Kind kind;
    uint32_t id;      // of the item, or of the application that it belongs to
    std::string text; // the tuple of a rule, the keyword itself

    bool operator<(const Key &other) const
    {
        return std::tie(kind, id, text) < std::tie(other.kind, other.id, other.text);
    }
};

// Each with the fields that can change. Items with the same key are in the order of the tables.
using Items = std::multimap<Key, Json>;

Json signatures(const appmngr_rule &rule)
{
    Json fields = Json::object();
    for (const char *direction : {"orig", "reply"}) {
        const Json feature = toJson(*direction == 'o' ? rule.orig : rule.reply);
        for (const auto &[name, value] : feature.items()) {
            fields[std::string(direction) + "." + name] = value;
        }
    }
    return fields;
}

void addApplications(Items &items)
{
    items.emplace(Key{Kind::Header, 0, ""}, Json{{"ver", fieldText(g_appmngr_appDb.ver)},
                                                 {"proModel", fieldText(g_appmngr_appDb.proModel)},
                                                 {"expired", fieldText(g_appmngr_appDb.expired)}});
    for (const appmngr_app &app : applications()) {
        items.emplace(Key{Kind::Application, app.id, ""},
                      Json{{"name", fieldText(app.name)}, {"visible", app.visible}});
    }
    for (const appmngr_appType &type : applicationTypes()) {
        items.emplace(Key{Kind::Type, type.id, ""},
                      Json{{"name", fieldText(type.name)}, {"applications", applicationsOf(type)}});
    }
    for (const appmngr_rule &rule : applicationRules()) {
        items.emplace(Key{Kind::Rule, rule.appId, tupleText(rule)}, signatures(rule));
    }
    for (const appmngr_dnsRule &rule : keywords()) {
        items.emplace(Key{Kind::Keyword, rule.appId, fieldText(rule.keyword)}, Json::object());
    }
}

void addPriorities(Items &items)
{
    Json database = priorityDatabaseAsJson();
    for (const Json &sort : database["sorts"]) {
        items.emplace(Key{Kind::Sort, sort["id"], ""},
                      Json{{"name", sort["name"]}, {"prio", sort["prio"]}, {"type", sort["type"]}});
        for (const Json &app : sort["applications"]) {
            items.emplace(
                Key{Kind::SortEntry, app["appId"], ""},
                Json{{"name", app["appName"]}, {"type", app["appType"]}, {"sort", sort["id"]}});
        }
    }
    database.erase("sorts");
    items.emplace(Key{Kind::Priorities, 0, ""}, database);
}

void addFiles(const InputFile &container, Items &items)
{
    uint32_t index = 0;
    for (const check::ContainedFile &file : check::requireContainer(container)) {
        const std::string version = file.header ? check::versionText(*file.header) : "";
        items.emplace(Key{Kind::File, index++, ""},
                      Json{{"name", file.database != nullptr ? file.database->name : "ignored"},
                           {"version", version}});
    }
}

Items readItems(const InputFile &file, bool withFiles)
{
    Items items;
    const bool hasApplications = check::loadIfThere(file, check::applicationDatabase);
    const bool hasPriorities = check::loadIfThere(file, check::priorityDatabase);
    if (hasApplications) {
        addApplications(items);
    }
    if (hasPriorities) {
        addPriorities(items);
    }
    if (withFiles) {
        addFiles(file, items);
    } else if (!hasApplications && !hasPriorities) {
        throw check::Failure(file.name, "has no database");
    }
    return items;
}

struct Style {
    const char *name;
    char sign;
    check::Colour colour;
};

const Style added = {"added", '+', check::Colour::Green};
const Style removed = {"removed", '-', check::Colour::Red};
const Style changed = {"changed", '~', check::Colour::Yellow};

struct Change {
    const Style *style;
    const Key *key;
    const Json *before; // null for an item that was added
    const Json *after;  // null for one that was removed
};

std::vector<Change> compare(const Items &before, const Items &after)
{
    std::vector<Change> changes;
    auto left = before.begin();
    auto right = after.begin();
    while (left != before.end() || right != after.end()) {
        if (right == after.end() || (left != before.end() && left->first < right->first)) {
            changes.push_back({&removed, &left->first, &left->second, nullptr});
            ++left;
        } else if (left == before.end() || right->first < left->first) {
            changes.push_back({&added, &right->first, nullptr, &right->second});
            ++right;
        } else {
            if (left->second != right->second) {
                changes.push_back({&changed, &left->first, &left->second, &right->second});
            }
            ++left;
            ++right;
        }
    }
    return changes;
}

std::string changeText(const Change &change)
{
    const Key &key = *change.key;
    const auto &kind = kinds[static_cast<size_t>(key.kind)];
    const Json &fields = change.after != nullptr ? *change.after : *change.before;
    std::string text = fmt::format("{} {:11}", change.style->sign, kind.name);
    if (kind.idName != nullptr) {
        text += fmt::format(" {:4}  ", key.id);
        text += kind.textName == nullptr    ? jsonText(fields.at("name"))
                : key.kind == Kind::Keyword ? jsonText(key.text)
                                            : key.text;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    for (const auto &[name, value] : fields.items()) {
        if (change.style == &changed && change.before->at(name) != value) {
            text += fmt::format("\n    {:15} {} -> {}", name, jsonText(change.before->at(name)),
                                jsonText(value));
        }
    }
    return text;
}

Json toJson(const Change &change)
{
    const Key &key = *change.key;
    const auto &kind = kinds[static_cast<size_t>(key.kind)];
    Json json = {{"change", change.style->name}, {"kind", kind.name}};
    if (kind.idName != nullptr) {
        json[kind.idName] = key.id;
    }
    if (kind.textName != nullptr) {
        json[kind.textName] = key.text;
    }
    for (const auto &[name, item] : {std::pair("old", change.before), {"new", change.after}}) {
        if (item != nullptr && !item->empty()) {
            json[name] = *item;
        }
    }
    return json;
}

constexpr int different = 1;
constexpr int failed = 2; // must not look like a difference

int run()
{
    const InputFile oldFile = readDatabaseFile(arguments.before);
    const InputFile newFile = readDatabaseFile(arguments.after);
    const bool areContainers = check::kindOf(oldFile.contents) == check::FileKind::Container &&
                               check::kindOf(newFile.contents) == check::FileKind::Container;
    const Items before = readItems(oldFile, areContainers);
    const Items after = readItems(newFile, areContainers);
    const std::vector<Change> changes = compare(before, after);
    const bool inColour = check::showsColour(STDOUT_FILENO);
    std::string lines;
    Json list = Json::array();
    for (const Change &change : changes) {
        const std::string text = changeText(change);
        lines += (inColour ? check::coloured(text, change.style->colour) : text) + "\n";
        list.push_back(toJson(change));
    }
    if (arguments.json) {
        printJson({{"same", changes.empty()}, {"changes", list}});
    } else {
        writeStandardOutput(lines);
    }
    return changes.empty() ? 0 : different;
}

} // namespace

const Command diff = {"diff", "Compare the databases of two files", declare, run, failed};

} // namespace tool

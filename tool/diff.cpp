// tarn-db-tool diff - what changed from one application database to another.

#include "tool/commands.h"

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "check/output.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <array>
#include <cstdio>
#include <map>
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
    addInput(parser, "OLD", arguments.before, "Image file");
    addInput(parser, "NEW", arguments.after, "Image file");
    addJson(parser, arguments.json);
}

// Everything of a database that can come, go or change.
enum class Kind { Header, Application, Type, Rule, Keyword };

const char *const kindNames[] = {"header", "application", "type", "rule", "keyword"};

// What stays the same when an item changes; the order of the list of changes.
struct Key {
    Kind kind;
    uint32_t id;      // of the type, or of the application that it belongs to
    std::string text; // the tuple of a rule, the keyword itself

    bool operator<(const Key &other) const
    {
        return std::tie(kind, id, text) < std::tie(other.kind, other.id, other.text);
    }
};

// With what can change of an item. Items with the same key are in the order of the tables.
using Items = std::multimap<Key, Json>;

void add(Items &items, Kind kind, uint32_t id, const std::string &text, const Json &fields)
{
    items.emplace(Key{kind, id, text}, fields);
}

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

Items readItems(const std::string &path)
{
    check::loadApplicationTables(readFile(path));
    Items items;
    add(items, Kind::Header, 0, "",
        {{"ver", fieldText(g_appmngr_appDb.ver)},
         {"proModel", fieldText(g_appmngr_appDb.proModel)},
         {"expired", fieldText(g_appmngr_appDb.expired)}});
    for (uint32_t i = 0; i < g_appmngr_appDb.appCount; i++) {
        const appmngr_app &app = g_appmngr_app[i];
        add(items, Kind::Application, app.id, "",
            {{"name", fieldText(app.name)}, {"visible", app.visible}});
    }
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; i++) {
        const appmngr_appType &type = g_appmngr_appDb.type[i];
        add(items, Kind::Type, type.id, "",
            {{"name", fieldText(type.name)}, {"applications", applicationsOf(type)}});
    }
    for (uint32_t i = 0; i < g_appmngr_appDb.ruleCount; i++) {
        const appmngr_rule &rule = g_appmngr_appDb.rule[i];
        add(items, Kind::Rule, rule.appId, tupleText(rule), signatures(rule));
    }
    for (uint32_t i = 0; i < g_appmngr_appDns.count; i++) {
        const appmngr_dnsRule &rule = g_appmngr_appDns.rule[i];
        add(items, Kind::Keyword, rule.appId, fieldText(rule.keyword), Json::object());
    }
    return items;
}

// A null item was not there.
struct Change {
    const Key *key;
    const Json *before;
    const Json *after;
};

std::vector<Change> compare(const Items &before, const Items &after)
{
    std::vector<Change> changes;
    auto left = before.begin();
    auto right = after.begin();
    while (left != before.end() || right != after.end()) {
        if (right == after.end() || (left != before.end() && left->first < right->first)) {
            changes.push_back({&left->first, &left->second, nullptr});
            ++left;
        } else if (left == before.end() || right->first < left->first) {
            changes.push_back({&right->first, nullptr, &right->second});
            ++right;
        } else {
            if (left->second != right->second) {
                changes.push_back({&left->first, &left->second, &right->second});
            }
            ++left;
            ++right;
        }
    }
    return changes;
}

// How a change looks.
struct Style {
    const char *name;
    char sign;
    check::Colour colour;
};

const Style added = {"added", '+', check::Colour::Green};
const Style removed = {"removed", '-', check::Colour::Red};
const Style changed = {"changed", '~', check::Colour::Yellow};

const Style &styleOf(const Change &change)
{
    if (change.before == nullptr) {
        return added;
    }
    return change.after == nullptr ? removed : changed;
}

// The fields of a changed item that changed: {name: [before, after]}.
Json changedFields(const Change &change)
{
    Json fields = Json::object();
    if (change.before == nullptr || change.after == nullptr) {
        return fields;
    }
    for (const auto &[name, value] : change.before->items()) {
        if (value != change.after->at(name)) {
            fields[name] = {value, change.after->at(name)};
        }
    }
    return fields;
}

std::string changeText(const Change &change)
{
    const Key &key = *change.key;
    const Json &fields = change.after != nullptr ? *change.after : *change.before;
    char start[64];
    snprintf(start, sizeof(start), "%c %-11s", styleOf(change).sign,
             kindNames[static_cast<int>(key.kind)]);
    std::string text = start;
    if (key.kind != Kind::Header) {
        snprintf(start, sizeof(start), " %4u  ", key.id);
        text += start;
    }
    if (key.kind == Kind::Application || key.kind == Kind::Type) {
        text += jsonText(fields.at("name"));
    } else {
        text += key.kind == Kind::Keyword ? jsonText(key.text) : key.text;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    const Json changedOnes = changedFields(change);
    for (const auto &[name, values] : changedOnes.items()) {
        snprintf(start, sizeof(start), "\n    %-15s ", name.c_str());
        text += start + jsonText(values[0]) + " -> " + jsonText(values[1]);
    }
    return text;
}

void printChanges(const std::vector<Change> &changes)
{
    const bool colour = check::showsColour(STDOUT_FILENO);
    std::string output;
    for (const Change &change : changes) {
        const std::string text = changeText(change);
        output += (colour ? check::coloured(text, styleOf(change).colour) : text) + "\n";
    }
    writeStandardOutput(output);
}

Json toJson(const Change &change)
{
    const Key &key = *change.key;
    Json json = {{"change", styleOf(change).name}, {"kind", kindNames[static_cast<int>(key.kind)]}};
    if (key.kind == Kind::Application || key.kind == Kind::Type) {
        json["id"] = key.id;
    } else if (key.kind != Kind::Header) {
        json["appId"] = key.id;
        json[key.kind == Kind::Rule ? "tuple" : "keyword"] = key.text;
    }
    for (const auto &[name, item] : {std::pair("old", change.before), {"new", change.after}}) {
        if (item != nullptr && !item->empty()) {
            json[name] = *item;
        }
    }
    return json;
}

void printChangesAsJson(const std::vector<Change> &changes)
{
    Json list = Json::array();
    for (const Change &change : changes) {
        list.push_back(toJson(change));
    }
    printJson({{"same", changes.empty()}, {"changes", list}});
}

constexpr int different = 1;
constexpr int trouble = 2;

int compareImages()
{
    const Items before = readItems(arguments.before);
    const Items after = readItems(arguments.after);
    const std::vector<Change> changes = compare(before, after);
    if (arguments.json) {
        printChangesAsJson(changes);
    } else {
        printChanges(changes);
    }
    return changes.empty() ? 0 : different;
}

// A failure must not look like a difference.
int run()
{
    try {
        return compareImages();
    } catch (const check::Failure &failure) {
        fprintf(stderr, "tarn-db-tool: %s\n", failure.what());
        clearerr(stdout); // its failure has been told
        return trouble;
    }
}

} // namespace

const Command diff = {"diff", "Compare the application databases of two images", declare, run};

} // namespace tool

// tarn-db-tool diff - what changed from one application database to another.

#include "tool/commands.h"

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "check/output.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <cstdio>
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
    addInput(parser, "OLD", arguments.before, "Image file");
    addInput(parser, "NEW", arguments.after, "Image file");
    addJson(parser, arguments.json);
}

// What can be added, removed or changed.
enum class Kind { Header, Application, Type, Rule, Keyword };

const char *const kindNames[] = {"header", "application", "type", "rule", "keyword"};

// Identifies an item. Changes are listed in the order of the keys.
struct Key {
    Kind kind;
    uint32_t id;      // of the type, or of the application that it belongs to
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

Items readItems(const std::string &path)
{
    check::loadApplicationTables(readImageFile(path));
    Items items;
    const auto add = [&items](Kind kind, uint32_t id, const std::string &text, const Json &fields) {
        items.emplace(Key{kind, id, text}, fields);
    };
    add(Kind::Header, 0, "",
        {{"ver", fieldText(g_appmngr_appDb.ver)},
         {"proModel", fieldText(g_appmngr_appDb.proModel)},
         {"expired", fieldText(g_appmngr_appDb.expired)}});
    for (uint32_t i = 0; i < g_appmngr_appDb.appCount; i++) {
        const appmngr_app &app = g_appmngr_app[i];
        add(Kind::Application, app.id, "",
            {{"name", fieldText(app.name)}, {"visible", app.visible}});
    }
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; i++) {
        const appmngr_appType &type = g_appmngr_appDb.type[i];
        add(Kind::Type, type.id, "",
            {{"name", fieldText(type.name)}, {"applications", applicationsOf(type)}});
    }
    for (uint32_t i = 0; i < g_appmngr_appDb.ruleCount; i++) {
        const appmngr_rule &rule = g_appmngr_appDb.rule[i];
        add(Kind::Rule, rule.appId, tupleText(rule), signatures(rule));
    }
    for (uint32_t i = 0; i < g_appmngr_appDns.count; i++) {
        const appmngr_dnsRule &rule = g_appmngr_appDns.rule[i];
        add(Kind::Keyword, rule.appId, fieldText(rule.keyword), Json::object());
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
    const Json &fields = change.after != nullptr ? *change.after : *change.before;
    char start[64];
    snprintf(start, sizeof(start), "%c %-11s", change.style->sign,
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
    for (const auto &[name, value] : fields.items()) {
        if (change.style == &changed && change.before->at(name) != value) {
            snprintf(start, sizeof(start), "\n    %-15s ", name.c_str());
            text += start + jsonText(change.before->at(name)) + " -> " + jsonText(value);
        }
    }
    return text;
}

Json toJson(const Change &change)
{
    const Key &key = *change.key;
    Json json = {{"change", change.style->name}, {"kind", kindNames[static_cast<int>(key.kind)]}};
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

constexpr int different = 1;
constexpr int failed = 2; // must not look like a difference

int run()
{
    const Items before = readItems(arguments.before);
    const Items after = readItems(arguments.after);
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

const Command diff = {"diff", "Compare the application databases of two images", declare, run,
                      failed};

} // namespace tool

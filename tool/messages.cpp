// tarn-db-tool messages - what a load of an image would send to the kernel.

#include "tool/commands.h"

#include "appdist/appdist.h"
#include "check/database.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string image;
    std::string folder; // for raw messages; empty for none
    bool priority = false;
    bool json = false;
} arguments;

void declare(CLI::App &parser)
{
    addImage(parser, arguments.image);
    parser.add_flag("--priority", arguments.priority,
                    "The message of the priority database instead");
    addJson(parser, arguments.json);
    parser
        .add_option("--raw", arguments.folder,
                    "Directory to write the messages to as they are, one file each")
        ->type_name("DIR")
        ->excludes("--json");
}

using Message = std::unique_ptr<appdist_message, decltype(&free)>;

// Not opened: its port id, the process id of the loader, is 0.
const appdist_handle channel = {};

std::vector<Message> newMessages(bool priority)
{
    const check::RedirectedDiagnostics redirection(STDERR_FILENO);
    std::vector<Message> messages;
    const auto add = [&messages](appdist_message *message) {
        if (message != nullptr) {
            messages.emplace_back(message, free);
        }
        return message != nullptr;
    };
    if (priority) {
        const std::vector<unsigned char> map = check::priorityMap();
        add(appdist_new_buffer(&channel, map.data(), static_cast<int32_t>(map.size())));
    } else if (add(appdist_new_app_rules(&channel))) {
        add(appdist_new_dns_rules(&channel)); // a load without rules does not come to them
    }
    return messages;
}

std::vector<Message> buildMessages()
{
    const InputFile image = readFile(arguments.image);
    if (arguments.priority) {
        check::loadPriorityModel(image);
    } else {
        check::loadApplicationTables(image);
    }
    std::vector<Message> messages = newMessages(arguments.priority);
    if (messages.empty()) {
        throw check::Failure(image.name, "there is nothing to send");
    }
    return messages;
}

std::string paddedId(uint32_t appId)
{
    char text[24];
    snprintf(text, sizeof(text), "    appId %-6u", appId);
    return text;
}

std::string featureLine(const char *direction, const appmngr_feature &feature)
{
    char numbers[128];
    snprintf(numbers, sizeof(numbers), "      %-5s  enable %d  start %-5d end %-5d minlength %-5d",
             direction, feature.enable, feature.start, feature.end, feature.minlength);
    return std::string(numbers) + " dpiType " + jsonText(fieldText(feature.dpiType)) +
           "  dpiCode " + jsonText(fieldText(feature.dpiCode)) + "\n";
}

std::string recordText(const appmngr_rule &rule)
{
    return paddedId(rule.appId) + tupleText(rule) + "\n" + featureLine("orig", rule.orig) +
           featureLine("reply", rule.reply);
}

std::string recordText(const appmngr_dnsRule &rule)
{
    return paddedId(rule.appId) + jsonText(fieldText(rule.keyword)) + "\n";
}

// What a message says, as text and as JSON.
struct Decoded {
    std::string text;
    Json json = Json::array();
};

template <typename Record> Decoded decodeRecords(const appdist_message &message)
{
    Decoded decoded;
    const auto *bytes = reinterpret_cast<const char *>(&message + 1);
    for (uint32_t i = 0; i < message.count; i++) {
        Record record;
        memcpy(&record, bytes + size_t{i} * sizeof(record), sizeof(record));
        decoded.text += recordText(record);
        decoded.json.push_back(toJson(record));
    }
    return decoded;
}

// Bytes without a priority say nothing.
Decoded decodePriorities(const appdist_message &message)
{
    Decoded decoded;
    const auto *map = reinterpret_cast<const unsigned char *>(&message + 1);
    for (uint32_t appId = 0; appId < message.count; appId++) {
        if (map[appId] != 0) {
            decoded.text += paddedId(appId) + "priority " + std::to_string(map[appId]) + "\n";
            decoded.json.push_back({{"appId", appId}, {"priority", map[appId]}});
        }
    }
    return decoded;
}

struct Kind {
    uint16_t type;
    const char *title;
    const char *file;
    Decoded (*decode)(const appdist_message &message);
};

const Kind kinds[] = {
    {APPDIST_MESSAGE_APP_RULES, "rules", "19-rules.bin", decodeRecords<appmngr_rule>},
    {APPDIST_MESSAGE_DNS_RULES, "DNS keywords", "21-keywords.bin", decodeRecords<appmngr_dnsRule>},
    {APPDIST_MESSAGE_BUFFER, "priority map", "20-priorities.bin", decodePriorities},
};

const Kind &kindOf(const appdist_message &message)
{
    const Kind *kind = kinds;
    while (kind->type != message.header.nlmsg_type) {
        kind++;
    }
    return *kind;
}

Json headAsJson(const appdist_message &message)
{
    const nlmsghdr &header = message.header;
    return {{"nlmsg_len", header.nlmsg_len},
            {"nlmsg_type", header.nlmsg_type},
            {"nlmsg_flags", header.nlmsg_flags},
            {"nlmsg_seq", header.nlmsg_seq},
            {"nlmsg_pid", header.nlmsg_pid},
            {"op", message.op},
            {"count", message.count},
            {"record_size", message.record_size}};
}

std::string messageText(const appdist_message &message)
{
    const Kind &kind = kindOf(message);
    std::string text = "Message " + std::to_string(kind.type) + ": " + kind.title + ", " +
                       std::to_string(message.header.nlmsg_len) + " bytes\n ";
    const Json head = headAsJson(message);
    for (const auto &[name, value] : head.items()) {
        text += " " + name + " " + value.dump();
    }
    return text + "\n" + kind.decode(message).text;
}

void printMessages(const std::vector<Message> &messages)
{
    std::string text;
    for (const Message &message : messages) {
        text += (text.empty() ? "" : "\n") + messageText(*message);
    }
    writeStandardOutput(text);
}

void printMessagesAsJson(const std::vector<Message> &messages)
{
    Json list = Json::array();
    for (const Message &message : messages) {
        Json json = headAsJson(*message);
        json["records"] = kindOf(*message).decode(*message).json;
        list.push_back(json);
    }
    printJson({{"messages", list}});
}

void writeRaw(const std::vector<Message> &messages, const std::string &folder)
{
    std::vector<OutputFile> files;
    files.reserve(messages.size());
    for (const Message &message : messages) {
        files.push_back({folder + "/" + kindOf(*message).file,
                         std::string(reinterpret_cast<const char *>(message.get()),
                                     message->header.nlmsg_len)});
    }
    writeFiles(files);
}

int run()
{
    const std::vector<Message> built = buildMessages();
    if (!arguments.folder.empty()) {
        writeRaw(built, arguments.folder);
    } else if (arguments.json) {
        printMessagesAsJson(built);
    } else {
        printMessages(built);
    }
    return 0;
}

} // namespace

const Command messages = {"messages", "Show or write the messages that a load would send", declare,
                          run};

} // namespace tool

// tarn-db-tool messages - what a load of an image would send to the kernel.

#include "tool/commands.h"

#include "appdist/appdist.h"
#include "appdist/tarn_classifier.h"
#include "check/database.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string image;
    std::string folder;  // for raw messages; empty for none
    std::string capture; // file; empty for none
    bool priority = false;
    bool json = false;
} arguments;

void declare(CLI::App &parser)
{
    addDatabase(parser, arguments.image);
    addFlag(parser, "--priority", arguments.priority,
            "Show the message of the priority database instead");
    addJson(parser, arguments.json);
    addOption(parser, "--raw", arguments.folder, "DIR",
              "Directory to write the raw messages to, one file each");
    exclude(parser, "--raw", "--json");
    addOption(parser, "--pcap", arguments.capture, "FILE",
              "Capture of them to write, for Wireshark and tcpdump");
    exclude(parser, "--pcap", "--json");
    exclude(parser, "--pcap", "--raw");
}

using Message = std::unique_ptr<appdist_message, decltype(&free)>;

std::vector<Message> buildMessages()
{
    const appdist_handle channel = {}; // not open; its port id, that of the loader, is 0
    const InputFile image = readDatabaseFile(arguments.image);
    const check::RedirectedDiagnostics redirection(STDERR_FILENO);
    std::vector<Message> messages;
    const auto add = [&messages](appdist_message *message) {
        if (message != nullptr) {
            messages.emplace_back(message, free);
        }
    };
    if (arguments.priority) {
        check::loadPriorityModel(image);
        const std::vector<unsigned char> map = check::priorityMap();
        add(appdist_new_buffer(&channel, map.data(), static_cast<int32_t>(map.size())));
    } else {
        check::loadApplicationTables(image);
        add(appdist_new_app_rules(&channel));
        if (!messages.empty()) { // without rules, a load sends no keywords either
            add(appdist_new_dns_rules(&channel));
        }
    }
    if (messages.empty()) {
        throw check::Failure(image.name, "nothing to send");
    }
    return messages;
}

std::string paddedId(uint32_t appId)
{
    return fmt::format("    appId {:<6}", appId);
}

std::string featureLine(const char *direction, const appmngr_feature &feature)
{
    return fmt::format(
        "      {:5}  enable {}  start {:<5} end {:<5} minlength {:<5} dpiType {}  dpiCode {}\n",
        direction, feature.enable, feature.start, feature.end, feature.minlength,
        jsonText(fieldText(feature.dpiType)), jsonText(fieldText(feature.dpiCode)));
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

// A message or its records.
struct Decoded {
    std::string text;
    Json json;
};

template <typename Record> Decoded decodeRecords(const appdist_message &message)
{
    Decoded decoded = {"", Json::array()};
    const auto *bytes = reinterpret_cast<const char *>(&message + 1);
    for (uint32_t i = 0; i < message.count; i++) {
        Record record;
        memcpy(&record, bytes + size_t{i} * sizeof(record), sizeof(record));
        decoded.text += recordText(record);
        decoded.json.push_back(toJson(record));
    }
    return decoded;
}

Decoded decodePriorities(const appdist_message &message)
{
    const auto *map = reinterpret_cast<const unsigned char *>(&message + 1);
    Decoded decoded = {"", prioritiesAsJson({map, map + message.count})};
    for (const Json &entry : decoded.json) {
        decoded.text += paddedId(entry["appId"]) + "priority " + entry["priority"].dump() + "\n";
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

Decoded decode(const appdist_message &message, const Kind &kind)
{
    const nlmsghdr &header = message.header;
    const Decoded records = kind.decode(message);
    Decoded decoded = {"Message " + std::to_string(kind.type) + ": " + kind.title + ", " +
                           std::to_string(header.nlmsg_len) + " bytes\n ",
                       {{"nlmsg_len", header.nlmsg_len},
                        {"nlmsg_type", header.nlmsg_type},
                        {"nlmsg_flags", header.nlmsg_flags},
                        {"nlmsg_seq", header.nlmsg_seq},
                        {"nlmsg_pid", header.nlmsg_pid},
                        {"op", message.op},
                        {"count", message.count},
                        {"record_size", message.record_size}}};
    for (const auto &[name, value] : decoded.json.items()) {
        decoded.text += " " + name + " " + value.dump();
    }
    decoded.text += "\n" + records.text;
    decoded.json["records"] = records.json;
    return decoded;
}

template <typename Record> void append(std::string &bytes, const Record &record)
{
    bytes.append(reinterpret_cast<const char *>(&record), sizeof(record));
}

// A pcap file, in host byte order: its header, then a header for each packet. Packets of the link
// type netlink begin with one more, in network byte order.
struct CaptureHeader {
    uint32_t magic = 0xA1B2C3D4;
    uint16_t version[2] = {2, 4};
    uint32_t zone[2] = {0, 0};
    uint32_t packetLimit = 262144; // more is not read
    uint32_t linkType = 253;       // netlink
};

struct PacketHeader {
    uint32_t time[2] = {0, 0};
    uint32_t captured;
    uint32_t length;
};

struct NetlinkHeader {
    uint16_t direction = htons(4);  // outgoing
    uint16_t hardware = htons(824); // netlink
    uint16_t unused[5] = {};
    uint16_t protocol = htons(TARN_NETLINK_CLASSIFIER);
};

void appendPacket(std::string &capture, const std::string &message)
{
    const auto length = static_cast<uint32_t>(sizeof(NetlinkHeader) + message.size());
    const uint32_t captured = std::min(length, CaptureHeader().packetLimit);
    append(capture, PacketHeader{{0, 0}, captured, length});
    append(capture, NetlinkHeader());
    capture.append(message, 0, captured - sizeof(NetlinkHeader));
}

int run()
{
    std::string capture;
    append(capture, CaptureHeader());
    std::string text;
    Json list = Json::array();
    std::vector<OutputFile> files;
    for (const Message &message : buildMessages()) {
        const Kind &kind = kindOf(*message);
        const Decoded decoded = decode(*message, kind);
        text += (text.empty() ? "" : "\n") + decoded.text;
        list.push_back(decoded.json);
        const auto *bytes = reinterpret_cast<const char *>(message.get());
        files.push_back({arguments.folder + "/" + kind.file, {bytes, message->header.nlmsg_len}});
        appendPacket(capture, files.back().contents);
    }
    if (!arguments.folder.empty()) {
        writeFiles(files);
    } else if (!arguments.capture.empty()) {
        writeFile(arguments.capture, capture);
    } else if (arguments.json) {
        printJson({{"messages", list}});
    } else {
        writeStandardOutput(text);
    }
    return 0;
}

} // namespace

const Command messages = {"messages", "Show or write the messages that a load would send", declare,
                          run};

} // namespace tool

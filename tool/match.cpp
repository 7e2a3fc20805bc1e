// tarn-db-tool match - the applications whose rules cover a flow.

#include "tool/commands.h"

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::string file;
    std::string flow;
    bool json = false;
} arguments;

// Reads "192.0.2.10:443".
bool readEndpoint(const std::string &text, uint32_t &address, uint16_t &port)
{
    const size_t colon = text.find(':');
    const char *const end = text.data() + text.size();
    in_addr parsed = {};
    if (colon == std::string::npos ||
        inet_pton(AF_INET, text.substr(0, colon).c_str(), &parsed) != 1) {
        return false;
    }
    address = parsed.s_addr;
    const auto result = std::from_chars(text.data() + colon + 1, end, port);
    return result.ec == std::errc() && result.ptr == end;
}

// The flow as a rule; nothing if it cannot be read.
std::optional<appmngr_rule> readFlow(const std::string &text)
{
    const size_t first = text.find(' ');
    const size_t second = text.find(' ', first + 1);
    if (first == std::string::npos || second == std::string::npos) {
        return {};
    }
    appmngr_rule flow = {};
    const std::string protocol = text.substr(0, first);
    for (const uint8_t number : {uint8_t{6}, uint8_t{17}, uint8_t{1}}) {
        if (protocol == appmngr_protoName(number)) {
            flow.proto = number;
        }
    }
    const bool isRead =
        readEndpoint(text.substr(first + 1, second - first - 1), flow.sip, flow.sport) &&
        readEndpoint(text.substr(second + 1), flow.dip, flow.dport);
    return isRead && flow.proto != 0 ? std::optional(flow) : std::nullopt;
}

std::string checkFlow(const std::string &text)
{
    return readFlow(text) ? "" : "must be like 'tcp 198.51.100.7:4000 192.0.2.10:443'";
}

void declare(CLI::App &parser)
{
    addDatabase(parser, arguments.file);
    addOption(parser, "FLOW", arguments.flow, "",
              "Protocol, source and destination: 'tcp 198.51.100.7:4000 192.0.2.10:443'");
    require(parser, "FLOW", checkFlow);
    addJson(parser, arguments.json);
}

// A rule matches any value where it has 0.
template <typename Number> bool admits(Number wanted, Number value)
{
    return wanted == 0 || wanted == value;
}

bool covers(const appmngr_rule &rule, const appmngr_rule &flow)
{
    return rule.proto == flow.proto && admits(rule.sip, flow.sip) && admits(rule.dip, flow.dip) &&
           admits(rule.sport, flow.sport) && admits(rule.dport, flow.dport);
}

// How many of its fields a rule does not leave open; patterns count after all of them.
int specificity(const appmngr_rule &rule)
{
    const int fields = (rule.sip != 0 ? 1 : 0) + (rule.dip != 0 ? 1 : 0) +
                       (rule.sport != 0 ? 1 : 0) + (rule.dport != 0 ? 1 : 0);
    return 3 * fields + (rule.orig.enable != 0 ? 1 : 0) + (rule.reply.enable != 0 ? 1 : 0);
}

constexpr int noMatch = 1;
constexpr int failed = 2; // must not look like no match

int run()
{
    const appmngr_rule flow = *readFlow(arguments.flow);
    check::loadApplicationTables(readDatabaseFile(arguments.file));
    std::vector<appmngr_rule> rules;
    std::copy_if(applicationRules().begin(), applicationRules().end(), std::back_inserter(rules),
                 [&flow](const appmngr_rule &rule) { return covers(rule, flow); });
    std::stable_sort(rules.begin(), rules.end(), [](const appmngr_rule &a, const appmngr_rule &b) {
        return specificity(a) > specificity(b);
    });
    if (arguments.json) {
        printJson({{"rules", toJson(rules)}});
    } else {
        writeStandardOutput(rulesAsTable(rules));
    }
    return rules.empty() ? noMatch : 0;
}

} // namespace

const Command match = {"match", "List the rules that cover a flow, the most specific first",
                       declare, run, failed};

} // namespace tool

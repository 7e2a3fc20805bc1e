// Tuples: PROTOCOL ADDRESS:PORT ADDRESS:PORT.

#include "check/tuple.h"

#include "appmngr/appmngr.h"
#include "check/values.h"

#include <algorithm>
#include <arpa/inet.h>
#include <string>
#include <string_view>
#include <vector>

namespace check
{

namespace
{

// Bytes of a tuple that the loader looks at.
constexpr size_t tupleLimit = 63;

constexpr uint32_t protocols[] = {6, 17, 1};

bool isProtocol(std::string_view name)
{
    return std::any_of(std::begin(protocols), std::end(protocols), [name](uint32_t protocol) {
        return appmngr_strcasecmp(std::string(name).c_str(), appmngr_utils_proto2str(protocol)) ==
               0;
    });
}

bool isAddress(std::string_view text)
{
    struct in_addr address = {};
    return text == "0" || inet_pton(AF_INET, std::string(text).c_str(), &address) == 1;
}

class TupleChecker
{
public:
    TupleChecker(const Document &document, const XmlpNode *node, Source &source)
        : document_(document), node_(node), source_(source),
          text_(valueOf(node).substr(0, tupleLimit))
    {
    }

    bool check()
    {
        const std::vector<std::string_view> words = split(text_, " \t\r\n");
        checkLength();
        if (words.size() != 3) {
            return refuse(text_, "is not PROTOCOL ADDRESS:PORT ADDRESS:PORT");
        }
        if (!isProtocol(words[0])) {
            return refuse(words[0], "is none of the protocols tcp, udp and icmp");
        }
        return checkEndpoint(words[1]) && checkEndpoint(words[2]);
    }

private:
    void report(Rule rule, std::string_view part, const std::string &message)
    {
        const auto index = static_cast<size_t>(part.data() - text_.data());
        source_.add(rule, document_.placeInValue(node_, text_.empty() ? 0 : index),
                    quoted(part) + " " + message);
    }

    bool refuse(std::string_view part, const std::string &message)
    {
        report(Rule::BadTuple, part, message);
        return false;
    }

    // What is cut off does not matter when it is blank.
    void checkLength()
    {
        if (valueOf(node_).find_last_not_of(" \t\r\n") + 1 > tupleLimit) {
            checkTextLength(document_, node_, tupleLimit, source_);
        }
    }

    bool checkEndpoint(std::string_view endpoint)
    {
        const std::vector<std::string_view> parts = split(endpoint, ":");
        if (parts.size() != 2) {
            return refuse(endpoint, "is not ADDRESS:PORT");
        }
        if (!isAddress(parts[0])) {
            return refuse(parts[0], "is no IPv4 address; any address is written 0");
        }
        checkPort(parts[1]);
        return true;
    }

    void checkPort(std::string_view port)
    {
        const char *doubt = doubtAbout(port);
        const int32_t number = appmngr_atoi(std::string(port).c_str());
        if (doubt != nullptr) {
            report(Rule::BadNumber, port, doubt);
        } else if (number < 0 || number > UINT16_MAX) {
            report(Rule::PortRange, port,
                   "is no port; the loader takes it as " +
                       std::to_string(static_cast<uint16_t>(number)));
        }
    }

    const Document &document_;
    const XmlpNode *node_;
    Source &source_;
    std::string_view text_;
};

} // namespace

bool checkTuple(const Document &document, const XmlpNode *node, Source &source)
{
    return !isLong(node) && TupleChecker(document, node, source).check();
}

} // namespace check

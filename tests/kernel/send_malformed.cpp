// Sends a message without records, and others that do not fit what they say of themselves.

#include "appdist/appdist.h"
#include "appdist/tarn_classifier.h"

#include <cstring>
#include <iterator>

int main()
{
    const struct {
        uint32_t length; // of the datagram
        uint32_t announced;
        uint16_t type;
        uint32_t count;
        uint32_t recordSize;
    } rows[] = {
        {64, 64, TARN_MESSAGE_PARAMETERS, 1, 2}, // fits
        {65, 65, TARN_MESSAGE_PARAMETERS, 1, 2},
        {15, 64, TARN_MESSAGE_RULES, 0, 596},
        {63, 63, TARN_MESSAGE_RULES, 0, 596},
        {660, 659, TARN_MESSAGE_RULES, 1, 596},
        {661, 661, TARN_MESSAGE_RULES, 1, 596},
        {662, 662, TARN_MESSAGE_RULES, 2, 596},
        {663, 663, TARN_MESSAGE_PRIORITIES, 598, 1},
        {664, 664, TARN_MESSAGE_KEYWORDS, 30, 596},
        {665, 665, TARN_MESSAGE_PARAMETERS + 1, 601, 1},
    };
    appdist_handle *channel = appdist_create_handle(0, 2);
    size_t sent = 0;
    for (const auto &row : rows) {
        unsigned char datagram[1024] = {};
        tarn_message message = {};
        message.header = {row.announced, row.type, NLM_F_REQUEST, 0, channel->local.nl_pid};
        message.count = row.count;
        message.record_size = row.recordSize;
        std::memcpy(datagram, &message, sizeof(message));
        sent += appdist_netlink_sendto(channel, datagram, row.length) > 0 ? 1 : 0;
    }
    appdist_destroy_handle(channel);
    return sent == std::size(rows) ? 0 : 1;
}

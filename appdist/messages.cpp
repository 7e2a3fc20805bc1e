// Building the messages to the classifier and sending them.

#include "appdist/appdist.h"

#include "appmngr/appmngr_model.h"

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static_assert(sizeof(appdist_message) == 64, "message head");
static_assert(offsetof(appdist_message, op) == 16, "message head");
static_assert(offsetof(appdist_message, count) == 20, "message head");
static_assert(offsetof(appdist_message, record_size) == 24, "message head");
static_assert(offsetof(appdist_message, parameter) == 28, "message head");

// Allocates a zeroed message with room for recordBytes and fills in its netlink header. Returns
// null, reported, when memory is short or the length does not fit the header.
static appdist_message *newMessage(const appdist_handle *handle, uint16_t type,
                                   uint64_t recordBytes)
{
    const uint64_t size = sizeof(appdist_message) + recordBytes;
    auto *message = size <= UINT32_MAX
                        ? static_cast<appdist_message *>(calloc(1, static_cast<size_t>(size)))
                        : nullptr;
    if (message == nullptr) {
        printf(" malloc mem eroor");
        return nullptr;
    }
    message->header.nlmsg_len = static_cast<uint32_t>(size);
    message->header.nlmsg_type = type;
    message->header.nlmsg_flags = NLM_F_REQUEST;
    message->header.nlmsg_pid = handle->local.nl_pid;
    return message;
}

static appdist_message *newRecords(const appdist_handle *handle, uint16_t type, const void *records,
                                   uint32_t count, uint32_t recordSize)
{
    if (count == 0 || records == nullptr) {
        return nullptr;
    }
    const uint64_t recordBytes = uint64_t{count} * recordSize;
    appdist_message *message = newMessage(handle, type, recordBytes);
    if (message != nullptr) {
        message->count = count;
        message->record_size = recordSize;
        memcpy(message + 1, records, static_cast<size_t>(recordBytes));
    }
    return message;
}

appdist_message *appdist_new_app_rules(const appdist_handle *handle)
{
    return newRecords(handle, APPDIST_MESSAGE_APP_RULES, g_appmngr_appDb.rule,
                      g_appmngr_appDb.ruleCount, sizeof(appmngr_rule));
}

appdist_message *appdist_new_dns_rules(const appdist_handle *handle)
{
    return newRecords(handle, APPDIST_MESSAGE_DNS_RULES, g_appmngr_appDns.rule,
                      g_appmngr_appDns.count, sizeof(appmngr_dnsRule));
}

appdist_message *appdist_new_buffer(const appdist_handle *handle, const void *buffer,
                                    int32_t length)
{
    const uint32_t count = length > 0 ? static_cast<uint32_t>(length) : 0;
    return newRecords(handle, APPDIST_MESSAGE_BUFFER, buffer, count, 1);
}

// Sends, reports a failure and frees the message. Returns the result of the send; 0 for none.
static int32_t sendMessage(appdist_handle *handle, appdist_message *message)
{
    if (message == nullptr) {
        return 0;
    }
    const int32_t sent = appdist_netlink_sendto(handle, message, message->header.nlmsg_len);
    if (sent < 1) {
        const int systemError = errno; // before printing can change it
        printf("app netlink sendto fail, ret:%d\n", sent);
        if (systemError != 0) {
            puts(strerror(systemError));
        }
    }
    free(message);
    return sent;
}

int32_t appdist_send_app_rules(appdist_handle *handle)
{
    return sendMessage(handle, appdist_new_app_rules(handle));
}

int32_t appdist_send_dns_rules(appdist_handle *handle)
{
    return sendMessage(handle, appdist_new_dns_rules(handle));
}

int32_t appdist_send_buffer(appdist_handle *handle, const void *buffer, int32_t length)
{
    return sendMessage(handle, appdist_new_buffer(handle, buffer, length));
}

int32_t appdist_send_params(appdist_handle *handle, uint32_t a, uint32_t b, uint32_t c, uint32_t d)
{
    appdist_message *message = newMessage(handle, APPDIST_MESSAGE_PARAMS, 0);
    if (message != nullptr) {
        // Kept on purpose: the parameters lie in the order a, d, b, c.
        message->count = a;
        message->record_size = d;
        message->parameter[0] = b;
        message->parameter[1] = c;
    }
    return sendMessage(handle, message);
}

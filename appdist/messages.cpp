// Building the messages to the classifier and sending them.

#include "appdist/appdist.h"

#include "appdist/tarn_classifier.h"
#include "appmngr/appmngr_model.h"

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// The records are those that the kernel's header describes.
#define ASSERT_SAME(ours, member, theirs, its)                       \
    static_assert(offsetof(ours, member) == offsetof(theirs, its) && \
                      sizeof(ours::member) == sizeof(theirs::its),   \
                  #ours "." #member)
static_assert(sizeof(appdist_message) == sizeof(tarn_message), "appdist_message");
ASSERT_SAME(appdist_message, header, tarn_message, header);
ASSERT_SAME(appdist_message, op, tarn_message, op);
ASSERT_SAME(appdist_message, reserved, tarn_message, reserved);
ASSERT_SAME(appdist_message, count, tarn_message, count);
ASSERT_SAME(appdist_message, record_size, tarn_message, record_size);
ASSERT_SAME(appdist_message, parameter, tarn_message, parameter);
ASSERT_SAME(appdist_message, unused, tarn_message, unused);
static_assert(sizeof(appmngr_feature) == sizeof(tarn_signature), "appmngr_feature");
ASSERT_SAME(appmngr_feature, enable, tarn_signature, enable);
ASSERT_SAME(appmngr_feature, start, tarn_signature, start);
ASSERT_SAME(appmngr_feature, end, tarn_signature, end);
ASSERT_SAME(appmngr_feature, minlength, tarn_signature, minlength);
ASSERT_SAME(appmngr_feature, dpiType, tarn_signature, dpi_type);
ASSERT_SAME(appmngr_feature, dpiCode, tarn_signature, dpi_code);
static_assert(sizeof(appmngr_rule) == sizeof(tarn_rule), "appmngr_rule");
ASSERT_SAME(appmngr_rule, appId, tarn_rule, app_id);
ASSERT_SAME(appmngr_rule, sip, tarn_rule, source_address);
ASSERT_SAME(appmngr_rule, dip, tarn_rule, destination_address);
ASSERT_SAME(appmngr_rule, sport, tarn_rule, source_port);
ASSERT_SAME(appmngr_rule, dport, tarn_rule, destination_port);
ASSERT_SAME(appmngr_rule, proto, tarn_rule, protocol);
ASSERT_SAME(appmngr_rule, reserved, tarn_rule, reserved);
ASSERT_SAME(appmngr_rule, orig, tarn_rule, original);
ASSERT_SAME(appmngr_rule, reply, tarn_rule, reply);
static_assert(sizeof(appmngr_dnsRule) == sizeof(tarn_keyword), "appmngr_dnsRule");
ASSERT_SAME(appmngr_dnsRule, appId, tarn_keyword, app_id);
ASSERT_SAME(appmngr_dnsRule, keyword, tarn_keyword, keyword);

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

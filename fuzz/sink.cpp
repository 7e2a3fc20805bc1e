// The kernel's end of the channel, put in the place of the channel when a target is linked.

#include "appdist/message.h"
#include "fuzz/input.h"

#include <cstring>

extern "C" {

appdist_handle *__wrap_appdist_create_handle(uint32_t flags, uint32_t protocol_family);
int32_t __wrap_appdist_netlink_sendto(appdist_handle *handle, const void *buffer, uint32_t length);

appdist_handle *__wrap_appdist_create_handle(uint32_t /*flags*/, uint32_t protocol_family)
{
    fuzz::require(protocol_family == 2);
    auto *handle = static_cast<appdist_handle *>(calloc(1, sizeof(appdist_handle)));
    handle->fd = -1;
    return handle;
}

int32_t __wrap_appdist_netlink_sendto(appdist_handle * /*handle*/, const void *buffer,
                                      uint32_t length)
{
    appdist_message head;
    fuzz::require(length > sizeof head);
    memcpy(&head, buffer, sizeof head);
    fuzz::require(head.header.nlmsg_len == length);
    fuzz::require(sizeof head + uint64_t{head.count} * head.record_size == length);
    static const uint32_t recordSizes[] = {596, 1, 20};
    fuzz::require(recordSizes[head.header.nlmsg_type - 19] == head.record_size);
    const char *end = static_cast<const char *>(buffer) + sizeof head;
    for (uint32_t i = 0; i < head.count && head.record_size > 1; i++) {
        end += head.record_size;
        fuzz::require(end[-1] == '\0'); // the text that a record ends with is terminated
    }
    return static_cast<int32_t>(length);
}

} // extern "C"

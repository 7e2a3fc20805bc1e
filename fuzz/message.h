/*
 * What holds of every message that the kernel is sent.
 */
#pragma once

#include "appdist/message.h"
#include "tests/fake_kernel.h"

namespace fuzz
{

/* Looks at a message for the fake kernel. */
inline void expectWhole(const Bytes &message)
{
    appdist_message head;
    EXPECT_GT(message.size(), sizeof head);
    memcpy(&head, message.data(), sizeof head);
    static const uint32_t recordSizes[] = {596, 1, 20};
    EXPECT_EQ(recordSizes[head.header.nlmsg_type - 19], head.record_size);
    EXPECT_EQ(kernel.protocol, 22);
    EXPECT_EQ(head.header.nlmsg_len, message.size());
    EXPECT_EQ(sizeof head + uint64_t{head.count} * head.record_size, message.size());
    size_t end = sizeof head;
    for (uint32_t i = 0; i < head.count && head.record_size > 1; i++) {
        end += head.record_size;
        EXPECT_EQ(message[end - 1], '\0'); // the text that a record ends with is terminated
    }
}

} // namespace fuzz

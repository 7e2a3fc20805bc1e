/*
 * What holds of every message that the kernel is sent.
 */
#ifndef FUZZ_MESSAGE_H
#define FUZZ_MESSAGE_H

#include "appdist/message.h"
#include "tests/fake_kernel.h"

namespace fuzz
{

/* Looks at the last message, if there is one, and forgets it. */
inline void expectWholeMessage()
{
    const Bytes bytes = std::exchange(kernel.message, {});
    appdist_message head;
    if (!bytes.empty()) {
        memcpy(&head, bytes.data(), std::min(sizeof head, bytes.size()));
        const uint32_t sizeOfType[] = {596, 1, 20};
        EXPECT_EQ(sizeOfType[head.header.nlmsg_type - 19], head.record_size);
        EXPECT_EQ(head.header.nlmsg_len, bytes.size());
        EXPECT_EQ(sizeof head + uint64_t{head.count} * head.record_size, bytes.size());
        for (size_t end = sizeof head + head.record_size;
             head.record_size > 1 && end <= bytes.size(); end += head.record_size) {
            EXPECT_EQ(bytes[end - 1], '\0'); // the text that a record ends with is terminated
        }
    }
}

} // namespace fuzz

#endif

/*
 * The messages that a traffic classifier in the kernel receives, for kernel modules and programs,
 * in C and C++. It needs nothing but the kernel's headers.
 *
 * A message is one netlink datagram (see netlink(7)) of protocol TARN_NETLINK_CLASSIFIER: the head
 * below, and count records of record_size bytes. Integers are in host byte order, addresses in
 * network byte order. Nothing answers a message, and a sender does not wait.
 */
#ifndef TARN_CLASSIFIER_H
#define TARN_CLASSIFIER_H

#include <linux/netlink.h>
#include <linux/types.h>

enum { TARN_NETLINK_CLASSIFIER = 22 };

/* The type of a message. */
enum {
    TARN_MESSAGE_RULES = 19,      /* struct tarn_rule */
    TARN_MESSAGE_PRIORITIES = 20, /* bytes: number i is the priority of application i */
    TARN_MESSAGE_KEYWORDS = 21,   /* struct tarn_keyword */
    TARN_MESSAGE_PARAMETERS = 22  /* no records; count, record_size and parameter are values */
};

struct tarn_message {
    struct nlmsghdr header; /* flags NLM_F_REQUEST, sequence number 0 */
    __u16 op;               /* 0 */
    __u16 reserved;
    __u32 count;
    __u32 record_size;
    __u32 parameter[2];
    __u32 unused[7];
};

/* What packets of one direction look like. Texts end with a NUL. */
struct tarn_signature {
    __s32 enable;      /* 0: any */
    __s32 start;       /* first byte of the payload in which to look */
    __s32 end;         /* last one */
    __s32 minlength;   /* of the payload */
    char dpi_type[16]; /* kind of pattern */
    char dpi_code[256];
};

struct tarn_rule {
    __u32 app_id;
    __be32 source_address; /* 0: any */
    __be32 destination_address;
    __u16 source_port; /* 0: any */
    __u16 destination_port;
    __u8 protocol; /* 6 tcp, 17 udp, 1 icmp */
    __u8 reserved[3];
    struct tarn_signature original;
    struct tarn_signature reply;
};

/* A text in the names that DNS is asked for. */
struct tarn_keyword {
    __u32 app_id;
    char keyword[16]; /* ends with a NUL */
};

#define TARN_ASSERT_SIZE(name, size) \
    typedef char name##_has_##size##_bytes[sizeof(struct name) == (size) ? 1 : -1]
TARN_ASSERT_SIZE(tarn_message, 64);
TARN_ASSERT_SIZE(tarn_signature, 288);
TARN_ASSERT_SIZE(tarn_rule, 596);
TARN_ASSERT_SIZE(tarn_keyword, 20);
#undef TARN_ASSERT_SIZE

#endif

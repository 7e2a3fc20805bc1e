/*
 * tarn_sink - stands in for the traffic classifier in the guest, and is where one can start from:
 * it receives the messages that <tarn_classifier.h> describes, rejects what does not fit, and keeps
 * the rest.
 *
 * /proc/tarn-sink/messages shows the messages that came, in order, as text.
 * /proc/tarn-sink/received holds them as they came, up to 4 MiB; writing to that file empties both.
 * One message reads there, in host byte order:
 *
 *      0          4          8         12
 *     +----------+----------+----------+----------------+
 *     | protocol | port id  | length   | length bytes   |
 *     +----------+----------+----------+----------------+
 *
 * With the parameter refuse=1 nothing is received, with refuse=2 every datagram is answered by an
 * error.
 */
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/netlink.h>
#include <linux/proc_fs.h>
#include <linux/seq_file.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>
#include <net/net_namespace.h>
#include <net/sock.h>

#include "tarn_classifier.h"

#define RECEIVED_ROOM (4u << 20)

/* The second one is what appdist_create_handle opens for another protocol family. */
static const int protocols[] = {TARN_NETLINK_CLASSIFIER, 13};

static int refuse;
module_param(refuse, int, 0400);

struct received_head {
    u32 protocol;
    u32 port_id;
    u32 length;
};

static DEFINE_MUTEX(lock); /* guards what was received */
static u8 *received;
static size_t received_length;
static struct sock *sockets[ARRAY_SIZE(protocols)];
static struct proc_dir_entry *directory;

static size_t record_size(u16 type)
{
    switch (type) {
    case TARN_MESSAGE_RULES:
        return sizeof(struct tarn_rule);
    case TARN_MESSAGE_KEYWORDS:
        return sizeof(struct tarn_keyword);
    case TARN_MESSAGE_PRIORITIES:
        return 1;
    default:
        return 0;
    }
}

/* Returns 0 for a message whose records can be read, else why they cannot. */
static int check_message(const void *data, size_t length)
{
    const struct tarn_message *message = data;
    size_t size;

    if (length < sizeof(*message) || message->header.nlmsg_len != length)
        return -EINVAL;
    length -= sizeof(*message);
    size = record_size(message->header.nlmsg_type);
    if (size == 0) {
        if (message->header.nlmsg_type != TARN_MESSAGE_PARAMETERS)
            return -EOPNOTSUPP;
        return length == 0 ? 0 : -EINVAL;
    }
    /* Not multiplied: a size_t of 32 bits may be too small for what the fields say. */
    if (message->record_size != size || length % size != 0 || message->count != length / size)
        return -EINVAL;
    return 0;
}

static void keep(const struct sk_buff *datagram)
{
    const struct received_head head = {datagram->sk->sk_protocol, NETLINK_CB(datagram).portid,
                                       datagram->len};

    if (datagram->len + sizeof(head) > RECEIVED_ROOM - received_length)
        return;
    memcpy(received + received_length, &head, sizeof(head));
    memcpy(received + received_length + sizeof(head), datagram->data, datagram->len);
    received_length += sizeof(head) + datagram->len;
}

/* A datagram from the kernel's own allocator, in one piece. */
static void on_datagram(struct sk_buff *datagram)
{
    const int error = check_message(datagram->data, datagram->len);

    if (error) {
        pr_warn("tarn_sink: rejected %u bytes: %d\n", datagram->len, error);
    } else {
        mutex_lock(&lock);
        keep(datagram);
        mutex_unlock(&lock);
    }
    if (refuse && datagram->len >= NLMSG_HDRLEN)
        netlink_ack(datagram, nlmsg_hdr(datagram), -EPERM, NULL);
}

static void show_signature(struct seq_file *file, const char *direction,
                           const struct tarn_signature *signature)
{
    seq_printf(file,
               "      %-5s  enable %d  start %-5d end %-5d minlength %-5d dpiType \"%.16s\"  "
               "dpiCode \"%.256s\"\n",
               direction, signature->enable, signature->start, signature->end, signature->minlength,
               signature->dpi_type, signature->dpi_code);
}

static void show_address(struct seq_file *file, __be32 address, u16 port)
{
    if (address)
        seq_printf(file, " %pI4:%u", &address, port);
    else
        seq_printf(file, " 0:%u", port);
}

static void show_rule(struct seq_file *file, const struct tarn_rule *rule)
{
    static const char *const names[] = {
        [IPPROTO_ICMP] = "icmp", [IPPROTO_TCP] = "tcp", [IPPROTO_UDP] = "udp"};
    const char *name = rule->protocol < ARRAY_SIZE(names) ? names[rule->protocol] : NULL;

    seq_printf(file, "    appId %-6u%s", rule->app_id, name ? name : "unknown");
    show_address(file, rule->source_address, rule->source_port);
    show_address(file, rule->destination_address, rule->destination_port);
    seq_putc(file, '\n');
    show_signature(file, "orig", &rule->original);
    show_signature(file, "reply", &rule->reply);
}

/* The records follow the message, whose bytes need not be aligned here. */
static void show_records(struct seq_file *file, const struct tarn_message *message, const u8 *bytes)
{
    struct tarn_rule rule;
    struct tarn_keyword keyword;
    u32 i;

    for (i = 0; i < message->count; i++) {
        switch (message->header.nlmsg_type) {
        case TARN_MESSAGE_RULES:
            memcpy(&rule, bytes + i * sizeof(rule), sizeof(rule));
            show_rule(file, &rule);
            break;
        case TARN_MESSAGE_KEYWORDS:
            memcpy(&keyword, bytes + i * sizeof(keyword), sizeof(keyword));
            seq_printf(file, "    appId %-6u\"%.16s\"\n", keyword.app_id, keyword.keyword);
            break;
        case TARN_MESSAGE_PRIORITIES:
            if (bytes[i])
                seq_printf(file, "    appId %-6upriority %u\n", i, bytes[i]);
            break;
        }
    }
}

static void show_message(struct seq_file *file, const u8 *bytes)
{
    static const char *const titles[] = {[TARN_MESSAGE_RULES] = "rules",
                                         [TARN_MESSAGE_PRIORITIES] = "priority map",
                                         [TARN_MESSAGE_KEYWORDS] = "DNS keywords",
                                         [TARN_MESSAGE_PARAMETERS] = "parameters"};
    struct tarn_message message;
    const struct nlmsghdr *header = &message.header;

    memcpy(&message, bytes, sizeof(message));
    seq_printf(file, "Message %u: %s, %u bytes\n", header->nlmsg_type, titles[header->nlmsg_type],
               header->nlmsg_len);
    seq_printf(file, "  nlmsg_len %u nlmsg_type %u nlmsg_flags %u nlmsg_seq %u nlmsg_pid %u",
               header->nlmsg_len, header->nlmsg_type, header->nlmsg_flags, header->nlmsg_seq,
               header->nlmsg_pid);
    seq_printf(file, " op %u count %u record_size %u\n", message.op, message.count,
               message.record_size);
    if (record_size(header->nlmsg_type))
        show_records(file, &message, bytes + sizeof(message));
}

static int show_messages(struct seq_file *file, void *unused)
{
    struct received_head head;
    size_t at;

    mutex_lock(&lock);
    for (at = 0; at < received_length; at += sizeof(head) + head.length) {
        memcpy(&head, received + at, sizeof(head));
        if (at > 0)
            seq_putc(file, '\n');
        show_message(file, received + at + sizeof(head));
    }
    mutex_unlock(&lock);
    return 0;
}

static ssize_t read_received(struct file *file, char __user *to, size_t size, loff_t *position)
{
    ssize_t result;

    mutex_lock(&lock);
    result = simple_read_from_buffer(to, size, position, received, received_length);
    mutex_unlock(&lock);
    return result;
}

static ssize_t empty_received(struct file *file, const char __user *from, size_t size,
                              loff_t *position)
{
    mutex_lock(&lock);
    received_length = 0;
    mutex_unlock(&lock);
    return size;
}

static const struct proc_ops received_ops = {
    .proc_read = read_received,
    .proc_write = empty_received,
};

static void tarn_sink_exit(void)
{
    size_t i;

    for (i = 0; i < ARRAY_SIZE(sockets); i++)
        netlink_kernel_release(sockets[i]);
    proc_remove(directory);
    vfree(received);
}

static int __init tarn_sink_init(void)
{
    struct netlink_kernel_cfg config = {.input = refuse == 1 ? NULL : on_datagram};
    bool good;
    size_t i;

    received = vmalloc(RECEIVED_ROOM);
    directory = proc_mkdir("tarn-sink", NULL);
    good = received && directory && proc_create("received", 0600, directory, &received_ops) &&
           proc_create_single("messages", 0400, directory, show_messages);
    for (i = 0; good && i < ARRAY_SIZE(protocols); i++) {
        sockets[i] = netlink_kernel_create(&init_net, protocols[i], &config);
        good = sockets[i];
    }
    if (good)
        return 0;
    tarn_sink_exit();
    return -ENOMEM;
}

module_init(tarn_sink_init);
module_exit(tarn_sink_exit);
MODULE_DESCRIPTION("Keeps the messages to a traffic classifier");
MODULE_LICENSE("GPL");

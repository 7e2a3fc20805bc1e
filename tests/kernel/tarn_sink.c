/*
 * tarn_sink - stands in for the traffic classifier in the test guest.
 *
 * It receives on netlink protocols 22 and 13. /proc/tarn-sink/received holds every datagram
 * that came, in order, up to 4 MiB; writing to that file empties it. One datagram reads, in host
 * byte order:
 *
 *      0          4          8         12
 *     +----------+----------+----------+----------------+
 *     | protocol | port id  | length   | length bytes   |
 *     +----------+----------+----------+----------------+
 *
 * What is written to /proc/tarn-sink/answer goes, once, to the sender of the next datagram.
 */
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/netlink.h>
#include <linux/proc_fs.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>
#include <net/net_namespace.h>
#include <net/sock.h>

#define RECEIVED_ROOM (4u << 20)
#define ANSWER_ROOM   4096u

static const int protocols[] = {22, 13};

static DEFINE_MUTEX(lock); /* guards everything below */
static u8 *received;
static size_t received_length;
static u8 answer[ANSWER_ROOM];
static size_t answer_length;

static void keep(const struct sk_buff *datagram)
{
    const u32 head[] = {datagram->sk->sk_protocol, NETLINK_CB(datagram).portid, datagram->len};

    if (datagram->len + sizeof(head) > RECEIVED_ROOM - received_length)
        return;
    memcpy(received + received_length, head, sizeof(head));
    memcpy(received + received_length + sizeof(head), datagram->data, datagram->len);
    received_length += sizeof(head) + datagram->len;
}

static void send_answer(const struct sk_buff *datagram)
{
    struct sk_buff *reply = alloc_skb(answer_length, GFP_KERNEL);

    if (reply) {
        skb_put_data(reply, answer, answer_length);
        netlink_unicast(datagram->sk, reply, NETLINK_CB(datagram).portid, MSG_DONTWAIT);
    }
    answer_length = 0;
}

static void on_datagram(struct sk_buff *datagram)
{
    mutex_lock(&lock);
    keep(datagram);
    if (answer_length > 0)
        send_answer(datagram);
    mutex_unlock(&lock);
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

static ssize_t write_answer(struct file *file, const char __user *from, size_t size,
                            loff_t *position)
{
    ssize_t result = -EFBIG;

    mutex_lock(&lock);
    if (size <= ANSWER_ROOM)
        result = copy_from_user(answer, from, size) ? -EFAULT : size;
    answer_length = result > 0 ? size : 0;
    mutex_unlock(&lock);
    return result;
}

static const struct proc_ops received_ops = {
    .proc_read = read_received,
    .proc_write = empty_received,
};

static const struct proc_ops answer_ops = {
    .proc_write = write_answer,
};

static int __init tarn_sink_init(void)
{
    struct netlink_kernel_cfg config = {.input = on_datagram};
    struct sock *sockets[ARRAY_SIZE(protocols)] = {};
    struct proc_dir_entry *directory = proc_mkdir("tarn-sink", NULL);
    size_t i;

    received = vmalloc(RECEIVED_ROOM);
    if (!received || !directory || !proc_create("received", 0600, directory, &received_ops) ||
        !proc_create("answer", 0200, directory, &answer_ops))
        goto fail;
    for (i = 0; i < ARRAY_SIZE(protocols); ++i) {
        sockets[i] = netlink_kernel_create(&init_net, protocols[i], &config);
        if (!sockets[i])
            goto fail;
    }
    return 0;

fail:
    for (i = 0; i < ARRAY_SIZE(sockets); ++i)
        netlink_kernel_release(sockets[i]);
    proc_remove(directory);
    vfree(received);
    return -ENOMEM;
}

/* Without an exit: once loaded it stays for the life of the guest. */
module_init(tarn_sink_init);
MODULE_DESCRIPTION("Keeps what arrives on netlink protocols 22 and 13");
MODULE_LICENSE("GPL");

/*
 * tarn_sink - stands in for the traffic classifier in the guest.
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
 * With the parameter refuse=1 nothing is received, with refuse=2 every datagram is answered by an
 * error.
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

static const int protocols[] = {22, 13};

static int refuse;
module_param(refuse, int, 0400);

static DEFINE_MUTEX(lock); /* guards what was received */
static u8 *received;
static size_t received_length;
static struct sock *sockets[ARRAY_SIZE(protocols)];
static struct proc_dir_entry *directory;

static void keep(const struct sk_buff *datagram)
{
    const u32 head[] = {datagram->sk->sk_protocol, NETLINK_CB(datagram).portid, datagram->len};

    if (datagram->len + sizeof(head) > RECEIVED_ROOM - received_length)
        return;
    memcpy(received + received_length, head, sizeof(head));
    memcpy(received + received_length + sizeof(head), datagram->data, datagram->len);
    received_length += sizeof(head) + datagram->len;
}

static void on_datagram(struct sk_buff *datagram)
{
    mutex_lock(&lock);
    keep(datagram);
    mutex_unlock(&lock);
    if (refuse)
        netlink_ack(datagram, nlmsg_hdr(datagram), -EPERM, NULL);
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
    good = received && directory && proc_create("received", 0600, directory, &received_ops);
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
MODULE_DESCRIPTION("Keeps what arrives on netlink protocols 22 and 13");
MODULE_LICENSE("GPL");

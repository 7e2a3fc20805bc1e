/*
 * The application database: result codes, diagnostics, records, process-wide tables and buffers.
 *
 * Integers are in host byte order unless said otherwise. Text fields are fixed arrays, zero-filled,
 * holding at most size - 1 characters.
 */
#ifndef APPMNGR_APPMNGR_MODEL_H
#define APPMNGR_APPMNGR_MODEL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    APPMNGR_SUCCESS = 0,
    APPMNGR_ERR_FAILED = -9000,
    APPMNGR_ERR_INVALID_ARG = -8999,
    APPMNGR_ERR_NO_MEMORY = -8998,
    APPMNGR_ERR_NOT_FOUND = -8997,
    APPMNGR_ERR_OUT_OF_BOUNDARY = -8996,
    APPMNGR_ERR_NOT_INIT = -8995,
    APPMNGR_ERR_EXIST = -8994,
    APPMNGR_ERR_USING = -8993,
    APPMNGR_ERR_SIZE_SMALL = -8992,
    APPMNGR_ERR_SIZE_LARGE = -8991,
    APPMNGR_ERR_ITEM_FULL = -8990,
    APPMNGR_ERR_ALLOC_UKEY = -8989,
    APPMNGR_ERR_REVISE = -8987,
    APPMNGR_ERR_ANALYZE = -8986,
    APPMNGR_ERR_KERNEL = -8985,
    APPMNGR_ERR_CONFIG = -8984,
    APPMNGR_ERR_LOAD = -8983,
    APPMNGR_ERR_FILE_INVALID_FORMAT = -8981,
    APPMNGR_ERR_FILE_INVALID_LEN = -8980,
    APPMNGR_ERR_FILE_CHECK = -8979,
    APPMNGR_ERR_FILE_INVALID_VERSION = -8978,
    APPMNGR_ERR_FILE_SAVE_ERROR = -8977,
    APPMNGR_ERR_FILE_UNKNOWN_ERROR = -8976
};

/* Returns the name of a result code, "ERROR NOT IN LIST" for a number that has none. */
const char *appmngr_errToStr(int16_t code);

/* Prints "[Error](function) line: " and the message on standard output. */
void appmngr_report(const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

/* The same for the calling function; line is part of the message. */
#define APPMNGR_ERROR(line, ...) appmngr_report(__func__, line, __VA_ARGS__)

/* Payload signature of one direction, 288 bytes. The kernel module interprets it. */
typedef struct appmngr_feature {
    int32_t enable;    /* non-zero: the signature applies */
    int32_t start;     /* first payload byte offset of the segment */
    int32_t end;       /* last payload byte offset of the segment */
    int32_t minlength; /* minimum payload length */
    char dpiType[16];  /* kind of pattern */
    char dpiCode[256]; /* the pattern */
} appmngr_feature;

/* Classification rule, one for each tuple; 596 bytes, the kernel's own layout. */
typedef struct appmngr_rule {
    uint32_t appId;
    uint32_t sip;   /* source IPv4 address, network order; 0 any */
    uint32_t dip;   /* destination IPv4 address, network order; 0 any */
    uint16_t sport; /* source port, host order; 0 any */
    uint16_t dport; /* destination port, host order; 0 any */
    uint8_t proto;  /* IP protocol: 6 tcp, 17 udp, 1 icmp */
    uint8_t reserved[3];
    appmngr_feature orig;  /* originating direction */
    appmngr_feature reply; /* reply direction */
} appmngr_rule;

/* DNS name keyword, 20 bytes, the kernel's own layout. */
typedef struct appmngr_dnsRule {
    uint32_t appId;
    char keyword[16];
} appmngr_dnsRule;

/* Application, 136 bytes; not sent. */
typedef struct appmngr_app {
    uint32_t id;
    int32_t visible;
    char name[128];
} appmngr_app;

/* Application ids that fit a type's bitmap: 0 .. APPMNGR_APP_ID_LIMIT - 1. */
#define APPMNGR_APP_ID_LIMIT 4096

/* Application type, 644 bytes; not sent. */
typedef struct appmngr_appType {
    uint32_t id;
    char name[128];
    uint32_t appBitmap[APPMNGR_APP_ID_LIMIT / 32]; /* bit n: the application with id n has it */
} appmngr_appType;

/* Entry of a description database, 7,044 bytes; opaque. */
typedef struct appmngr_desc {
    unsigned char content[7044];
} appmngr_desc;

/*
 * Header of the application database, which owns the arrays. After a load that found too little
 * they are null, whatever the counts say.
 */
typedef struct appmngr_appDb {
    char ver[12];
    char proModel[32];
    char expired[32]; /* expiry date as written, not interpreted */
    uint32_t appCount;
    uint32_t ruleCount;
    appmngr_rule *rule;
    uint32_t typeCount;
    appmngr_appType *type;
} appmngr_appDb;

/* Header of a description database. */
typedef struct appmngr_appDescDb {
    char ver[12];
    char proModel[32];
    char expired[32];
    uint32_t appCount;
    uint32_t ruleCount;
    appmngr_desc *app;
    uint32_t typeCount;
    appmngr_desc *type;
} appmngr_appDescDb;

typedef struct appmngr_dnsTable {
    uint32_t count;
    appmngr_dnsRule *rule; /* owned by the table */
} appmngr_dnsTable;

/* What the counting pass found, then the cursors of the filling pass. */
typedef struct appmngr_counters {
    uint32_t tuple;
    uint32_t app;
    uint32_t typeId;
    uint32_t descApp;
    uint32_t descType;
    uint32_t langcnt;
    uint32_t dnsKw;
    uint32_t ruleCur;
    uint32_t appCur;
    uint32_t typeCur;
    uint32_t reserved[2];
    uint32_t dnsCur;
} appmngr_counters;

/* A database has at most this many application types. */
#define APPMNGR_TYPE_MAX 64

extern appmngr_appDb g_appmngr_appDb;
extern appmngr_app *g_appmngr_app; /* g_appmngr_count.app records */
extern appmngr_dnsTable g_appmngr_appDns;
extern appmngr_counters g_appmngr_count;
extern uint32_t g_appmngr_typeIds[APPMNGR_TYPE_MAX]; /* in document order */
extern appmngr_appDescDb g_appmngr_appDesc;

/*
 * Allocates the zeroed tables for g_appmngr_count and releases those of an earlier load. Returns 0;
 * -1 when memory is short, or when there is no tuple, no type, no application or more than
 * APPMNGR_TYPE_MAX types: then the counts are set without tables.
 */
int _appmngr_alloc_for_appdb(void);

/* Releases the tables and clears g_appmngr_appDb and g_appmngr_appDns; reports freed DNS rules. */
void appmngr_appdb_free(void);

/*
 * Allocate and release the tables of g_appmngr_appDesc, descApp and descType entries. -1 when
 * memory is short, or when one of the counts is 0.
 */
int appmngr_appdesc_alloc(void);
void appmngr_appdesc_free(void);

/* Releases all tables and clears the counts. Returns 0. */
int appmngr_dbReInit(void);

/* Return the first application or type with this id, or null. */
appmngr_app *appmngr_getAppById(uint32_t id);
appmngr_appType *_appmngr_getAppTypeBydId(uint32_t id);

/* Bytes of the file that one image may take, and the size of the read buffer. */
#define APPMNGR_IMAGE_SIZE 65536u

/* Fixed sizes and offsets, in bytes. */
typedef struct appmngr_settings {
    uint32_t xmlBufSize;     /* XML text buffer, the limit of decompression */
    uint32_t scratchBufSize; /* scratch buffer */
    uint32_t imageOffset;    /* where the application database image begins in the file */
    uint32_t reserved[3];    /* further sizes, not used by the load */
} appmngr_settings;

extern const appmngr_settings g_appmngr_settings;

/* Null while not allocated. */
extern unsigned char *g_appmngr_imageBuf; /* APPMNGR_IMAGE_SIZE bytes */
extern char *g_appmngr_xmlBuf;            /* xmlBufSize bytes, NUL-terminated text */
extern unsigned char *g_appmngr_scratchBuf;

/* Allocates and clears the three buffers. Returns 0; on failure -1, and what it got stays. */
int appmngr_file_alloc(void);

/* Releases the three buffers. Returns 0. */
int appmngr_file_free(void);

#ifdef __cplusplus
}
#endif

#endif

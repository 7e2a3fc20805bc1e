/*
 * apppri - the application priority database: which priority each application has.
 *
 * Its image follows the application database in the database file. The XML text in it groups
 * applications into sorts, each with one priority:
 *
 *   AppSortDB
 *     ver, proModel, expired         expired: YYYY-MM-DD or YYYY-MM-DD hh:mm:ss
 *     sortNum, appNum                number of sorts and applications
 *     sortList
 *       sort                         any number
 *         id, name, prio, type
 *         appList
 *           app                      any number
 *             appId, appType, appName
 *
 * Element names are matched without regard to ASCII letter case, empty elements are skipped, and
 * a value of 512 bytes or more counts as missing.
 *
 * Statuses are 0 on success and -1 on failure unless a function says otherwise; failures are
 * reported on standard output as "[apppri_db_error](function) line: message". After a failure,
 * what was parsed so far stays in the model.
 */
#ifndef APPPRI_APPPRI_H
#define APPPRI_APPPRI_H

#include "xmlp/xmlp.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Size of the names below, in bytes. A name that fills it has no terminator. */
#define APPPRI_NAME_SIZE 32

/*
 * Lists are circular and begin at a sentinel, a record of its own whose data stays zero; in an
 * empty list it points at itself.
 */

/* An application; 48 bytes on a 32-bit target. */
typedef struct apppri_app {
    struct apppri_app *next;
    struct apppri_app *prev;
    uint32_t appId; /* index into the priority map */
    uint32_t appType;
    char appName[APPPRI_NAME_SIZE];
} apppri_app;

/* A sort: a class of applications; 56 bytes on a 32-bit target. */
typedef struct apppri_sort {
    struct apppri_sort *next;
    struct apppri_sort *prev;
    uint32_t id;
    uint32_t type;
    char name[APPPRI_NAME_SIZE];
    uint32_t prio;       /* the low byte goes to the kernel */
    apppri_app *appList; /* sentinel; null until the first application */
} apppri_sort;

/* Size that the image may have, and its offset in the database file, in bytes. */
#define APPPRI_IMAGE_SIZE   65536u
#define APPPRI_IMAGE_OFFSET 163840u

/* The database; what precedes xmlBuf (88 bytes on a 32-bit target) is cleared together. */
typedef struct apppri_database {
    char ver[12];
    char proModel[32];
    char expired[32];
    int32_t sortNum;          /* as declared */
    int32_t appNum;           /* as declared, over all sorts */
    apppri_sort *appSortList; /* sentinel; null until the first sort */
    char *xmlBuf;             /* XML text, bufSize bytes; null while not allocated */
    unsigned char *fileBuf;   /* image, APPPRI_IMAGE_SIZE bytes; null while not allocated */
    int32_t expiredTime[6];   /* year, month, day, hour, minute, second of expired */
} apppri_database;

extern apppri_database apppri_db;

/*
 * Walk the sorts of the model and the applications of a sort, in list order: return the first
 * record, or the one after the record given, or null at the end. The records belong to the model.
 */
apppri_sort *apppri_firstSort(void);
apppri_sort *apppri_nextSort(const apppri_sort *sort);
apppri_app *apppri_firstApp(const apppri_sort *sort);
apppri_app *apppri_nextApp(const apppri_sort *sort, const apppri_app *app);

/* Sizes that belong to the product. */
typedef struct apppri_profile {
    uint32_t reserved1;  /* 1 */
    uint32_t mapSize;    /* 4096: bytes of the priority map */
    uint32_t bufSize;    /* 65536: bytes of the XML text buffer */
    uint32_t ruleMaxNum; /* 1: shown by the update image writer */
    uint32_t reserved5;  /* 32 */
} apppri_profile;

extern apppri_profile g_apppri_profile;

/* Prints its own name and resets the profile to its initial values. Returns 0. */
int appprio_readParaFromProfile(void);

/*
 * Runs a complete load: drops an earlier model, loads the database from the file that
 * appmngr_checkDbPath was given and sends its priority map to the kernel. The model stays.
 */
int apppri_database_init(void);

/* Reads the image and fills the model from it. The buffers are released even on failure. */
int apppri_readAppSortFromDB(void);

/*
 * Allocates the buffers that are missing and clears both. If one allocation fails, the other
 * buffer stays.
 */
int apppri_DBResAlloc(void);

/* Releases both buffers. */
void apppri_DBResFree(void);

/*
 * Releases every sort and application of the model and clears the database up to xmlBuf. Pointers
 * to them become invalid. Returns 0.
 */
int apppri_DBReInit(void);

/*
 * Reads the image into fileBuf and its text, NUL-terminated, into xmlBuf. Fails if the file cannot
 * be opened or the text fills the buffer; a corrupt stream yields the text up to the fault.
 * Failures are reported as "[Error](function) line: message".
 */
int apppri_readDBFromFlash(void);

/*
 * Fills the model from the text in xmlBuf. A document whose elements are rejected stays in memory
 * until the next call.
 */
int apppri_analyzeDBFile(void);

/* Returns the BOM (APPMNGR_BOM_...) at the start of length bytes at text. */
int apppri_detectBom(const char *text, uint32_t length);

/*
 * Reads sortNum, appNum and ver of the database from node, its later siblings and their
 * descendants; prefix is the dotted path of their parent. A missing value is reported and ends the
 * pass over its siblings; the call fails if node is one of them.
 */
int apppri_parseThroughXML(const char *prefix, const XmlpNode *node);

/* Reads node, which must be AppSortDB, and its later siblings. */
int apppri_db_parseAll(const XmlpNode *node);

/* Reads the children of AppSortDB, but for sortNum and appNum, which are known already. */
int apppri_db_parseAppSortDB(const XmlpNode *node);

/* Reads the sorts of a sortList; there must be sortNum of them, with appNum applications. */
int apppri_db_parseSortList(const XmlpNode *node);

/*
 * Reads a sort. Its type element appends it to appSortList; without one it is dropped. Adds the
 * number of its applications to *appCounter.
 */
int apppri_db_parseSort(const XmlpNode *node, uint32_t *appCounter);

/* Reads the applications of an appList into sort and adds their number to *appCounter. */
int apppri_db_parseAppList(const XmlpNode *node, apppri_sort *sort, uint32_t *appCounter);

/* Reads an app. Its appName element appends it to the list of sort; without one it is dropped. */
int apppri_db_parseApp(const XmlpNode *node, apppri_sort *sort);

/* The map during an upload, mapSize bytes; null otherwise. */
extern unsigned char *g_appPriTbl;

/*
 * Writes the low byte of each sort's priority to map, which has mapSize bytes, at the ids of its
 * applications. Of several sorts with the same application, the last one counts. Ids outside the
 * map are skipped. Fails if there is no sort list.
 */
int8_t apppri_initPrimapFromDB(void *map);

/*
 * Writes the low byte of prio to map at the application ids of the first sort with this id that
 * has an application list. Returns 0, even without such a sort, or -1 if there is no sort list.
 */
int apppri_initPrimapWithSort(void *map, uint32_t sortId, int32_t prio);

/* Builds the map of the whole model and sends it to the kernel as message 20. */
int apppri_sendMsgToKernel(void);

/* Returns the id of the first application whose name contains needle, case-sensitively, or -1. */
int32_t apppri_getAppIdByName(const char *needle);

/*
 * Finds the first application with this id and copies its name to the length bytes at out, cut or
 * padded with zeros; only a name shorter than length is terminated. Returns the sort of the
 * application, or null.
 */
apppri_sort *apppri_getAppNameById(uint32_t appId, char *out, uint32_t length);

/* Lists every sort with its applications on standard output. */
void apppri_showDB(void);

/*
 * Prints "[apppri_db_error](function) line: " and the message, which has its own line end; line is
 * a fixed number, part of the message.
 */
void apppri_report(const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

/* Reports in the name of the calling function; APPPRI_FAIL is also the -1 that it returns. */
#define APPPRI_ERROR(line, ...) apppri_report(__func__, line, __VA_ARGS__)
#define APPPRI_FAIL(line, ...)  (APPPRI_ERROR(line, __VA_ARGS__), -1)

#ifdef __cplusplus
}
#endif

#endif

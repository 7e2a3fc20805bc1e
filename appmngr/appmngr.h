/*
 * appmngr - fills the application database from an XML text, lists it and sends it to the kernel.
 *
 * Functions return 0 on success and -1 on failure unless they say otherwise, and report failures
 * on standard output as "[Error](function) line: message".
 */
#ifndef APPMNGR_APPMNGR_H
#define APPMNGR_APPMNGR_H

#include "appmngr/appmngr_model.h"
#include "xmlp/xmlp.h"

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- From XML text to tables ----------------------------------------------------------- */

/*
 * Parses the XML text buffer and fills the tables from it. Fails when the text is not a valid
 * document or the tables cannot be allocated; elements that cannot be read are reported and
 * skipped.
 */
int appmngr_analyzeDbFile(void);

/* The BOM that a text begins with. */
enum {
    APPMNGR_BOM_NONE = 0,
    APPMNGR_BOM_UTF8 = 1,    /* EF BB BF */
    APPMNGR_BOM_UTF16LE = 2, /* FF FE */
    APPMNGR_BOM_UTF16BE = 3  /* FE FF */
};

/* Returns the BOM (APPMNGR_BOM_...) at the start of length bytes at text. */
int appmngr_checkEncoding(const char *text, uint32_t length);

/* Returns the number of bytes of a BOM (APPMNGR_BOM_...). */
uint32_t appmngr_getBomSize(int bom);

/*
 * Counts, below node, the elements that need a record, into g_appmngr_count and g_appmngr_typeIds.
 * prefix is the dotted path of node itself. Returns 0.
 */
int appmngr_parseThroughXML(const char *prefix, const XmlpNode *node);

/*
 * What a handler is told about where its element stands: 0 or 1, a direction or the owner of an
 * "id" or "name"; or, below a "rule", the address of the rule's uint32_t counter of tuples.
 */
typedef uintptr_t appmngr_context;

/* Returns 0 or -1; the walk ignores it. */
typedef int (*appmngr_handler)(XmlpNode *node, appmngr_context context);

/* A row of a handler table; a row with a null tag ends the table. */
typedef struct appmngr_tagHandler {
    const char *tag;         /* matched without regard to ASCII letter case */
    appmngr_handler handler; /* null: the row is skipped */
} appmngr_tagHandler;

/* The table of the application database's elements. */
extern const appmngr_tagHandler _appmngr_appDbHandlers[];

/*
 * Set and read the current table; null for none. The table is not copied. A handler may set
 * another one, which then applies to the elements after its own.
 */
void appmngr_setHandlerInfo(const appmngr_tagHandler *table);
const appmngr_tagHandler *appmngr_getHandlerInfo(void);

/*
 * Dispatches the children of node in order, up to the first that fails. A handler may call it on
 * its own element. Returns 0.
 */
int appmngr_xmlnode_handler(XmlpNode *node, appmngr_context context);

/*
 * Calls the handlers of all rows of the current table that match the name of node, in order; none
 * for a null node or one without a type. Fails when there is no table.
 */
int appmngr_childnode_handler(XmlpNode *node, appmngr_context context);

/* ---- Upload ---------------------------------------------------------------------------- */

/* Sends the rule and DNS keyword tables to the kernel. Returns 0, or -1 after reporting. */
int _appmngr_sendMsgToKernel(void);

/* ---- Values ---------------------------------------------------------------------------- */

/*
 * Returns the value of node as text in a shared buffer, which the next call overwrites; null for
 * a null node or a value of 512 bytes or more.
 */
const char *appmngr_getNodeValue(const XmlpNode *node);

/* Counterpart of appmngr_getNodeValue; does nothing. */
void appmngr_freeNodeValue(const char *text);

/* Reads the value as a decimal number, as atoi does. */
int appmngr_getNodeInt(const XmlpNode *node, int32_t *out);

/* Copies at most size - 1 bytes of the value to dest and clears the rest of its size bytes. */
int appmngr_getNodeString(const XmlpNode *node, char *dest, uint32_t size);

/* Returns the number that text begins with, as atoi does on a 64-bit machine. */
int32_t appmngr_atoi(const char *text);

/* ---- Text ------------------------------------------------------------------------------ */

#define APPMNGR_PROTO_UNKNOWN 256u /* not an IP protocol */

/*
 * Returns 6 for "tcp", 17 for "udp" and 1 for "icmp", in any letter case; reports other names and
 * returns APPMNGR_PROTO_UNKNOWN.
 */
uint32_t appmngr_utils_str2proto(const char *name);

/* Returns the name of protocol 6, 17 or 1; "unknown" for others. */
const char *appmngr_utils_proto2str(uint32_t number);

/*
 * Compare without regard to ASCII letter case. Return 0 when equal, else the difference;
 * appmngr_strcasecmpSafe returns 2147483647 when either is null.
 */
int appmngr_strcasecmp(const char *a, const char *b);
int appmngr_strcasecmpSafe(const char *a, const char *b);

/* Returns 1 when both texts are equal, else 0; reports null ones. */
int appmngr_string_match(const char *a, const char *b);

/*
 * Splits text in place at separator, tab, CR and LF; runs of them count as one. parts has room for
 * maxNum pointers: at most maxNum - 1 parts and a null pointer. Returns the number of parts; -1,
 * reported, for more parts or invalid arguments.
 */
int32_t appmngr_string_makeSubStrByChar(char *text, char separator, int32_t maxNum, char **parts);

/*
 * Returns the next token of text, or of *save when text is null; null when there is none. Any byte
 * of delimiters ends a token: it is overwritten with NUL, and *save set to what follows.
 */
char *appmngr_string_token(char *text, const char *delimiters, char **save);

/* Sets bit n of an array of 32-bit words, least significant first. */
void appmngr_setBit(uint32_t *words, uint32_t n);

/* Returns 1 when the 512 bytes at block are all zero, else 0. */
int appmngr_isZero512(const void *block);

/*
 * Copies text to dest, which has room for it, replacing blanks, double quotes and backslashes with
 * the bytes 1, 2 and 3. Fails for a null pointer.
 */
int appmngr_escapeSpecial(char *dest, const char *text);

/* ---- Listings -------------------------------------------------------------------------- */

/* The XML text of a description database, or null. */
extern const char *g_appmngr_descXml;

/*
 * Print on standard output and return 0: the XML text of the application or the description
 * database; header, counts and all rules; header and rules of one application.
 */
int appmngr_showXmlDb(void);
int appmngr_showXmlDesc(void);
int appmngr_showDb(void);
int appmngr_showAppRules(uint32_t appId);

/* List the applications; the types, with dumps of their bitmaps. */
void appmngr_showApps(void);
void appmngr_showAppTypes(void);

/* The same as appmngr_utils_proto2str. */
const char *appmngr_protoName(uint32_t proto);

/* Prints the address, the length and the bytes, in hexadecimal, of buffer; none if length < 0. */
void appmngr_dumpBuffer(const void *buffer, int32_t length);

/* Writes the rules to file as JSON. Texts are not escaped. */
void appmngr_writeJson(FILE *file);

/* Likewise to "database.json"; ends the process with status -1 when the file cannot be opened. */
void appmngr_exportJson(void);

/* ---- Database stamp -------------------------------------------------------------------- */

/* When the database was built; zero while unknown. */
extern uint32_t g_appmngr_dbYear;
extern uint32_t g_appmngr_dbMonth;
extern uint32_t g_appmngr_dbDay;
extern uint32_t g_appmngr_dbHour;
extern uint32_t g_appmngr_dbMinute;
extern uint32_t g_appmngr_dbSecond;
extern uint32_t g_appmngr_dbBuild; /* build number */

/* Room for the text of appmngr_getDbVersionString. */
#define APPMNGR_VERSION_STRING_SIZE 84

/* Writes "build#YYYY-MM-DD hh:mm:ss" to out, which has that room. Fails for a null one. */
int appmngr_getDbVersionString(char *out);

/* Returns the build number. */
uint32_t appmngr_getDbBuild(void);

#ifdef __cplusplus
}
#endif

#endif

/*
 * appmngr - fills the application database from an XML text and sends it to the kernel.
 *
 * Statuses are 0 on success and -1 on failure unless a function says otherwise; failures are
 * reported on standard output as "[Error](function) line: message".
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
 * Parses the XML text buffer and fills the tables from it. Fails when the text is no document or
 * the tables cannot be allocated; elements that cannot be read are reported and left out.
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
 * What a handler is told about where it stands: 0 or 1, a direction or the owner of an "id" or
 * "name"; or, below a "rule", the address of the rule's uint32_t counter of tuples.
 */
typedef uintptr_t appmngr_context;

/* Returns 0 or -1; the walk ignores it. */
typedef int (*appmngr_handler)(XmlpNode *node, appmngr_context context);

/* A row of a handler table; a row with a null tag ends the table. */
typedef struct appmngr_tagHandler {
    const char *tag;         /* matched without regard to ASCII letter case */
    appmngr_handler handler; /* null: the row is passed over */
} appmngr_tagHandler;

/* The table of the application database's elements. */
extern const appmngr_tagHandler _appmngr_appDbHandlers[];

/*
 * Set and read the current table; null for none. The table is not copied. A handler may set
 * another one: the elements after its own go by that.
 */
void appmngr_setHandlerInfo(const appmngr_tagHandler *table);
const appmngr_tagHandler *appmngr_getHandlerInfo(void);

/*
 * Dispatches the children of node in order, up to the first that fails. A handler may call it to
 * have the children of its element walked. Returns 0.
 */
int appmngr_xmlnode_handler(XmlpNode *node, appmngr_context context);

/*
 * Dispatches one element: calls the handlers of all rows of the current table that match its name,
 * in order. An element without type, or null, has none. Fails when there is no table.
 */
int appmngr_childnode_handler(XmlpNode *node, appmngr_context context);

/* ---- Upload ---------------------------------------------------------------------------- */

/* Sends the rule and DNS keyword tables to the kernel. Returns 0, or -1 after reporting. */
int _appmngr_sendMsgToKernel(void);

/* ---- Values ---------------------------------------------------------------------------- */

/*
 * Returns the value of node as text in one shared buffer that the next call overwrites; null for
 * a null node and for a value of 512 bytes or more.
 */
const char *appmngr_getNodeValue(const XmlpNode *node);

/* Counterpart of appmngr_getNodeValue; does nothing. */
void appmngr_freeNodeValue(const char *text);

/* Reads the value as a decimal number, as atoi does. */
int appmngr_getNodeInt(const XmlpNode *node, int32_t *out);

/* Copies the value, cut at size - 1 bytes, into dest, whose size bytes are cleared before. */
int appmngr_getNodeString(const XmlpNode *node, char *dest, uint32_t size);

/* The number that text begins with: atoi as on a 64-bit machine, on every machine. */
int32_t appmngr_atoi(const char *text);

/* ---- Text ------------------------------------------------------------------------------ */

/* No IP protocol: what appmngr_utils_str2proto returns for an unknown name. */
#define APPMNGR_PROTO_UNKNOWN 256u

/* "tcp" 6, "udp" 17, "icmp" 1 in any letter case; else reports and gives APPMNGR_PROTO_UNKNOWN. */
uint32_t appmngr_utils_str2proto(const char *name);

/* The name of protocol 6, 17 or 1; "unknown" for others. */
const char *appmngr_utils_proto2str(uint32_t number);

/* Compares without regard to ASCII letter case; 0 when equal, else the difference. */
int appmngr_strcasecmp(const char *a, const char *b);

/* Likewise; 2147483647 when either is null. */
int appmngr_strcasecmpSafe(const char *a, const char *b);

/* 1 when both texts are equal; reports null ones. */
int appmngr_string_match(const char *a, const char *b);

/*
 * Splits text in place at separator, tab, CR and LF into parts, an array of maxNum pointers. Runs
 * of separators count as one. Returns the number of pieces, at most maxNum - 1 and followed by a
 * null pointer in parts; -1 for more pieces or invalid arguments, both reported.
 */
int32_t appmngr_string_makeSubStrByChar(char *text, char separator, int32_t maxNum, char **parts);

/*
 * Takes the next token: from text, or from *save when text is null. Delimiters are the bytes of
 * delimiters. Writes a NUL over the delimiter that ends the token, if there is one, and keeps the
 * position behind it in *save. Returns null when no token is left.
 */
char *appmngr_string_token(char *text, const char *delimiters, char **save);

/* Sets bit n of an array of 32-bit words, least significant first. */
void appmngr_setBit(uint32_t *words, uint32_t n);

/* 1 when the 512 bytes at block are all zero. */
int appmngr_isZero512(const void *block);

/*
 * Copies text to dest, which has room for it, with blank, double quote and backslash replaced by
 * the bytes 1, 2 and 3. Fails for a null pointer.
 */
int appmngr_escapeSpecial(char *dest, const char *text);

/* ---- Listings -------------------------------------------------------------------------- */

/* The listings print on standard output. They only read the tables, and never past their ends. */

/* XML text of a description database for appmngr_showXmlDesc; null while there is none. */
extern const char *g_appmngr_descXml;

/* Show the raw XML text of the loaded application and description database. Return 0. */
int appmngr_showXmlDb(void);
int appmngr_showXmlDesc(void);

/* Lists header, counts and all rules. Returns 0. */
int appmngr_showDb(void);

/* Lists header and rules of one application. Returns 0. */
int appmngr_showAppRules(uint32_t appId);

/* List the applications; the types with dumps of their bitmaps. */
void appmngr_showApps(void);
void appmngr_showAppTypes(void);

/* The name of protocol 6, 17 or 1; "unknown" for others. */
const char *appmngr_protoName(uint32_t proto);

/*
 * Prints address, length and, in hexadecimal, each of the length bytes at buffer; none when length
 * is negative.
 */
void appmngr_dumpBuffer(const void *buffer, int32_t length);

/* Writes the rules to file as JSON. Texts are not escaped. */
void appmngr_writeJson(FILE *file);

/*
 * Writes them to "database.json" in the current directory. Ends the process with status -1 when
 * the file cannot be opened.
 */
void appmngr_exportJson(void);

/* ---- Database stamp -------------------------------------------------------------------- */

/* When the database was built; all zero while nobody said so. */
extern uint32_t g_appmngr_dbYear;
extern uint32_t g_appmngr_dbMonth;
extern uint32_t g_appmngr_dbDay;
extern uint32_t g_appmngr_dbHour;
extern uint32_t g_appmngr_dbMinute;
extern uint32_t g_appmngr_dbSecond;
extern uint32_t g_appmngr_dbBuild; /* build number */

/* Longest text of appmngr_getDbVersionString, with its terminator. */
#define APPMNGR_VERSION_STRING_SIZE 84

/* Writes "build#YYYY-MM-DD hh:mm:ss", with its terminator, to out. Fails for a null one. */
int appmngr_getDbVersionString(char *out);

/* Returns the build number. */
uint32_t appmngr_getDbBuild(void);

#ifdef __cplusplus
}
#endif

#endif

// From the XML text buffer to filled tables.

#include "appmngr/appmngr.h"
#include "appmngr/appmngr_internal.h"

#include <string.h>

int appmngr_checkEncoding(const char *text, uint32_t length)
{
    if (length < 2) {
        return APPMNGR_MARK_NONE;
    }
    if (memcmp(text, "\xFF\xFE", 2) == 0) {
        return APPMNGR_MARK_UTF16LE;
    }
    if (memcmp(text, "\xFE\xFF", 2) == 0) {
        return APPMNGR_MARK_UTF16BE;
    }
    return length > 2 && memcmp(text, "\xEF\xBB\xBF", 3) == 0 ? APPMNGR_MARK_UTF8
                                                              : APPMNGR_MARK_NONE;
}

uint32_t appmngr_getMarkSize(int mark)
{
    switch (mark) {
    case APPMNGR_MARK_UTF8:
        return 3;
    case APPMNGR_MARK_UTF16LE:
    case APPMNGR_MARK_UTF16BE:
        return 2;
    default:
        return 0;
    }
}

// Counts, allocates and fills.
static int fillTables(XmlpNode *root)
{
    if (appmngr_parseThroughXML("root", root) != 0) {
        // unreachable: it always returns 0 (LCOV_EXCL_START)
        appmngr_report("appmngr_analyzeDbFile", 2318, "appmngr_parseThroughXML failed\n");
        return -1;
        // LCOV_EXCL_STOP
    }
    if (_appmngr_alloc_for_appdb() != 0) {
        appmngr_report("appmngr_analyzeDbFile", 2325, "_appmngr_alloc_for_appdb failed\n");
        return -1;
    }
    // The ids come first, so that an application may name a type that is defined after it.
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; i++) {
        g_appmngr_appDb.type[i].id = g_appmngr_typeIds[i];
    }
    appmngr_setHandlerInfo(_appmngr_appDbHandlers);
    int status = _appmngr_walkChildren(root, 0);
    appmngr_setHandlerInfo(nullptr);
    if (status != 0) {
        appmngr_report("appmngr_analyzeDbFile", 2341, "appmngr_xmlnode_handler failed\n");
        return status;
    }
    g_appmngr_appDb.ruleCount = g_appmngr_count.ruleCur;
    g_appmngr_appDb.typeCount = g_appmngr_count.typeCur;
    g_appmngr_appDb.appCount = g_appmngr_count.appCur;
    return 0;
}

int appmngr_analyzeDbFile(void)
{
    if (g_appmngr_xmlBuf == nullptr) {
        return -1;
    }
    auto length = static_cast<uint32_t>(strlen(g_appmngr_xmlBuf));
    uint32_t skip = appmngr_getMarkSize(appmngr_checkEncoding(g_appmngr_xmlBuf, length));
    XmlpDoc *document = xmlp_loadDoc(g_appmngr_xmlBuf + skip, length - skip, 1);
    if (document == nullptr) {
        return -1;
    }
    appmngr_appdb_free();
    int status = fillTables(document->tree->root);
    xmlp_releaseDoc(document);
    return status;
}

// From the XML text buffer to filled tables, and from the tables to the kernel.

#include "appdist/appdist.h"
#include "appmngr/appmngr_internal.h"

#include <string.h>

int appmngr_checkEncoding(const char *text, uint32_t length)
{
    if (length < 2) {
        return APPMNGR_BOM_NONE;
    }
    if (memcmp(text, "\xFF\xFE", 2) == 0) {
        return APPMNGR_BOM_UTF16LE;
    }
    if (memcmp(text, "\xFE\xFF", 2) == 0) {
        return APPMNGR_BOM_UTF16BE;
    }
    return length > 2 && memcmp(text, "\xEF\xBB\xBF", 3) == 0 ? APPMNGR_BOM_UTF8 : APPMNGR_BOM_NONE;
}

uint32_t appmngr_getBomSize(int bom)
{
    if (bom == APPMNGR_BOM_UTF8) {
        return 3;
    }
    return bom == APPMNGR_BOM_UTF16LE || bom == APPMNGR_BOM_UTF16BE ? 2 : 0;
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
    // The ids come first, so that an application may name a type defined after it.
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; i++) {
        g_appmngr_appDb.type[i].id = g_appmngr_typeIds[i];
    }
    appmngr_setHandlerInfo(_appmngr_appDbHandlers);
    const int status = _appmngr_walk(_appmngr_containers, root, 0);
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
    const auto length = static_cast<uint32_t>(strlen(g_appmngr_xmlBuf));
    const uint32_t skip = appmngr_getBomSize(appmngr_checkEncoding(g_appmngr_xmlBuf, length));
    XmlpDoc *document = xmlp_loadDoc(g_appmngr_xmlBuf + skip, length - skip, 1);
    if (document == nullptr) {
        return -1;
    }
    appmngr_appdb_free();
    const int status = fillTables(document->tree->root);
    xmlp_releaseDoc(document);
    return status;
}

int _appmngr_sendMsgToKernel(void)
{
    appdist_handle *handle = appdist_create_handle(0, 2);
    if (handle == nullptr) {
        APPMNGR_ERROR(2532, "appdist Failed to initialize handle\n");
        return -1;
    }
    int status = -1;
    if (appdist_send_app_rules(handle) <= 0) {
        APPMNGR_ERROR(2540, "send db to kernel failed\n");
    } else if (appdist_send_dns_rules(handle) < 1) {
        APPMNGR_ERROR(2547, "send db to kernel failed\n");
    } else {
        status = 0;
    }
    appdist_destroy_handle(handle);
    return status;
}

// From the XML text in the buffer to the model.

#include "apppri/apppri_internal.h"

#include "appmngr/appmngr.h"

#include <string.h>

int apppri_detectBom(const char *text, uint32_t length)
{
    return appmngr_checkEncoding(text, length);
}

int _apppri_allocDatabase(void)
{
    return 0;
}

static XmlpDoc *loadText(void)
{
    const char *text = apppri_db.xmlBuf;
    if (text == nullptr) {
        return nullptr;
    }
    const uint32_t length = static_cast<uint32_t>(strlen(text));
    const uint32_t bomSize = appmngr_getBomSize(apppri_detectBom(text, length));
    return xmlp_loadDoc(text + bomSize, length - bomSize, 1);
}

int apppri_analyzeDBFile(void)
{
    // Left by a call whose elements were rejected, which keeps its document on purpose.
    static XmlpDoc *keptDoc;
    if (keptDoc != nullptr) {
        xmlp_releaseDoc(keptDoc);
        keptDoc = nullptr;
    }
    XmlpDoc *doc = loadText();
    if (doc == nullptr) {
        return APPPRI_FAIL(1105, "xmlParseMemory error.\r\n");
    }
    int result = -1;
    const XmlpNode *top = xmlp_getChildNode(doc->tree->root, 0);
    if (top == nullptr) {
        APPPRI_ERROR(1113, "get root child fail\r\n\r\n");
    } else if (apppri_parseThroughXML("root", top) != 0) {
        // The missing value has been reported.
    } else if (_apppri_allocDatabase() != 0) {
        // unreachable: it has nothing that could fail (LCOV_EXCL_START)
        APPPRI_ERROR(1127, "_apppri_allocDatabase FAILED.\r\n");
        // LCOV_EXCL_STOP
    } else if (apppri_db_parseAll(top) != 0) {
        APPPRI_ERROR(1139, "apppri_db_parseAll FAILED\r\n");
        keptDoc = doc;
        return -1;
    } else {
        result = 0;
    }
    xmlp_releaseDoc(doc);
    return result;
}

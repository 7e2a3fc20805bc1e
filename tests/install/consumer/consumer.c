/*
 * Uses something of each library, compiled as C and as C++: the version of a document, a code's
 * name, a digest. It includes each public header.
 */
#include "appdist/appdist.h"
#include "appdist/tarn_classifier.h"
#include "appmngr/appmngr.h"
#include "appmngr/appmngr_model.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/loader.h"
#include "tarn_version.h"
#include "xmlp/xmlp.h"

#include <stdio.h>

#if TARN_VERSION_NUMBER < TARN_VERSION_OF(0, 1, 0)
#error "the version of the headers"
#endif

int main(void)
{
    const char text[] = "<AppDB><ver>1.2.3</ver></AppDB>";
    unsigned char header[14] = {0}, digest[DBIMAGE_DIGEST_SIZE];
    uint32_t none = 0, length = sizeof(header);
    XmlpDoc *document = xmlp_loadDoc(text, sizeof(text) - 1, 1);
    const XmlpNode *version = xmlp_getChildNodeByName(document->tree->root->firstChild, "ver", 3);
    md5_digest(digest, "abc", 3);
    printf("%.*s %s %02x", (int)version->valueSize, (const char *)version->value,
           appmngr_errToStr(APPMNGR_ERR_EXIST), digest[0]);
    xmlp_releaseDoc(document);
    return appmngr_dbReInit() + apppri_DBReInit() + *appdist_last_error_text() +
           (appmngr_lzmaUnpack(digest, &none, header, &length) == -1);
}

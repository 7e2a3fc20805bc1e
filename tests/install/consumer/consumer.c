/* Uses something of each library: the version of a document, a code's name, a digest. */

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "xmlp/xmlp.h"

#include <stdio.h>
#include <string.h>

int main(void)
{
    const char text[] = "<AppDB><ver>1.2.3</ver></AppDB>";
    unsigned char header[14] = {0};
    uint32_t none = 0, length = sizeof header;
    unsigned char digest[16];
    unsigned i;
    XmlpDoc *document = xmlp_loadDoc(text, sizeof text - 1, 1);
    const XmlpNode *version = xmlp_getChildNodeByName(document->tree->root->firstChild, "ver", 3);
    printf("%.*s %s ", (int)version->valueSize, (const char *)version->value,
           appmngr_errToStr(-8994));
    xmlp_releaseDoc(document);

    md5_digest(digest, "abc", 3);
    for (i = 0; i < sizeof digest; i++) {
        printf("%02x", digest[i]);
    }
    printf("\n");
    return appmngr_dbReInit() == 0 && apppri_DBReInit() == 0 &&
                   strcmp(appdist_last_error_text(), "") == 0 &&
                   appmngr_lzmaUnpack(digest, &none, header, &length) != -1
               ? 0
               : 1;
}

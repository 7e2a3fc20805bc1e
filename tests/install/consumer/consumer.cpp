// The same as the program in C, from C++.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "xmlp/xmlp.h"

#include <cstdio>
#include <string>

int main()
{
    const std::string text = "<AppDB><ver>1.2.3</ver></AppDB>";
    XmlpDoc *document = xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), 1);
    const XmlpNode *version = xmlp_getChildNodeByName(document->tree->root->firstChild, "ver", 3);
    std::printf("%s %s ", std::string(version->value, version->value + version->valueSize).c_str(),
                appmngr_errToStr(APPMNGR_ERR_EXIST));
    xmlp_releaseDoc(document);

    unsigned char digest[DBIMAGE_DIGEST_SIZE];
    md5_digest(digest, "abc", 3);
    for (const unsigned char byte : digest) {
        std::printf("%02x", byte);
    }
    std::puts("");
    return appmngr_dbReInit() + apppri_DBReInit() + *appdist_last_error_text();
}

// The document handle: who holds it, and where a lock on it would go.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

int _initLock(XmlpDoc *doc)
{
    if (doc == nullptr) {
        return XMLP_FAIL(78, "doc is null.");
    }
    return 0;
}

void _lock(XmlpDoc *doc)
{
    if (doc == nullptr) {
        XMLP_ERROR(118, "doc is null.");
    }
}

void _unLock(XmlpDoc *doc)
{
    if (doc == nullptr) {
        XMLP_ERROR(143, "doc is null.");
    }
}

void _destroyLock(XmlpDoc *doc)
{
    if (doc == nullptr) {
        XMLP_ERROR(168, "doc is null.");
    }
}

XmlpDoc *xmlp_copyDoc(XmlpDoc *doc)
{
    if (doc == nullptr) {
        XMLP_ERROR(307, "doc is null.");
        return nullptr;
    }
    doc->tree->refCount++;
    return doc;
}

void xmlp_releaseDoc(XmlpDoc *doc)
{
    if (doc == nullptr) {
        XMLP_ERROR(326, "doc is null.");
        return;
    }
    _lock(doc);
    if (--doc->tree->refCount != 0) {
        _unLock(doc);
        return;
    }
    xmlp_destroyXmlTree(doc);
    _destroyLock(doc);
    free(doc->tree);
    free(doc);
}

void xmlp_destroyXmlTree(XmlpDoc *doc)
{
    if (doc == nullptr) {
        XMLP_ERROR(1720, "doc is null.");
        return;
    }
    free(doc->tree->header);
    if (doc->tree->isStatic != 0) {
        xmlp_delStree(doc->tree->root);
    } else {
        xmlp_delDtree(doc->tree->root);
    }
}

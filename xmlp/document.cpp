// The document handle: who holds it, and where a lock on it would go.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

int _initLock(XmlpDoc *doc)
{
    if (doc == nullptr) {
        XMLP_ERROR(78, "doc is null.");
        return -1;
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

// A handle on the document of a text; null with *rejection filled in.
static XmlpDoc *readTree(const char *xmlBuf, uint32_t length, uint32_t isStatic,
                         XmlpLocationList *locations, XmlpRejection *rejection)
{
    *rejection = {};
    if (xmlBuf == nullptr) {
        rejection->fault = {"xmlp_xml2Tree", 1836, "xmlBuf is null.", nullptr};
        return nullptr;
    }
    auto *doc = static_cast<XmlpDoc *>(malloc(sizeof(XmlpDoc)));
    if (doc == nullptr) {
        rejection->fault = {"xmlp_xml2Tree", 1842, "malloc failed.", nullptr};
        return nullptr;
    }
    doc->tree = _parse(xmlBuf, length, isStatic, locations, rejection);
    if (doc->tree == nullptr) {
        free(doc);
        return nullptr;
    }
    return doc;
}

XmlpDoc *xmlp_xml2Tree(const char *xmlBuf, uint32_t length, uint32_t isStatic)
{
    XmlpRejection rejection;
    XmlpDoc *doc = readTree(xmlBuf, length, isStatic, nullptr, &rejection);
    if (doc == nullptr) {
        _reportRejection(&rejection);
    }
    return doc;
}

XmlpDoc *xmlp_loadDoc(const char *buffer, uint32_t length, uint32_t isStatic)
{
    XmlpDoc *doc = xmlp_xml2Tree(buffer, length, isStatic);
    if (_initLock(doc) != 0) {
        free(doc);
        return nullptr;
    }
    doc->tree->refCount = 1;
    return doc;
}

XmlpDoc *xmlp_readDoc(const char *buffer, uint32_t length, uint32_t isStatic, XmlpFault *fault,
                      XmlpLocationList *locations)
{
    XmlpRejection rejection;
    XmlpDoc *doc = readTree(buffer, length, isStatic, locations, &rejection);
    if (doc == nullptr) {
        *fault = _faultOf(&rejection, buffer);
        return nullptr;
    }
    doc->tree->refCount = 1;
    return doc;
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

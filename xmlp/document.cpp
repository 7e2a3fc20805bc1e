// The document handle: who holds it, and where a lock on it would go; and the reports of failures.

#include "xmlp/xmlp_internal.h"

#include <stdarg.h>
#include <stdio.h>
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

void _xmlp_report(const char *function, int line, const char *format, ...)
{
    printf("[ERROR][%s():%d]: ", function, line);
    va_list args;
    va_start(args, format);
    vprintf(format, args); // NOLINT(clang-analyzer-valist.Uninitialized): it was started
    va_end(args);
    fputs("\r\n", stdout);
}

void _xmlp_reportOften(size_t times, const char *function, int line, const char *message)
{
    char text[128];
    snprintf(text, sizeof(text), "[ERROR][%s():%d]: %s\r\n", function, line, message);
    for (; times > 0; times--) {
        fputs(text, stdout);
    }
}

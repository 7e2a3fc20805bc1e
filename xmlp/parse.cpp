// From text to document: the declaration, the tree, and what is printed of a rejected text.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

static const char *skipBlanks(const char *p, const char *end)
{
    while (p < end && _hasClass(*p, XMLP_BLANK)) {
        p++;
    }
    return p;
}

// Returns where the text resumes after the declaration whose "<?" lies at p, or null. The
// declaration ends with a "?" and the byte after it, or with a ">".
static const char *skipDeclaration(const char *p, const char *end)
{
    for (p += 2; end - p >= 2; p += _utf8Length(*p)) {
        if (*p == '?' || p[1] == '>') {
            return p + 2;
        }
        if (_utf8Length(*p) > static_cast<size_t>(end - p)) {
            break;
        }
    }
    return nullptr;
}

// Stores the declaration, if there is one, in tree and sets *text behind it.
static int storeHeader(XmlpTree *tree, const char *xmlBuf, const char *end, const char **text,
                       XmlpFinding *fault)
{
    const bool hasBom = end - xmlBuf >= 3 && memcmp(xmlBuf, "\xEF\xBB\xBF", 3) == 0;
    const char *p = skipBlanks(hasBom ? xmlBuf + 3 : xmlBuf, end);
    if (end - p >= 2 && memcmp(p, "<?", 2) == 0) {
        const char *declaration = p;
        p = skipDeclaration(declaration, end);
        if (p == nullptr) {
            *fault = {"xmlp_parse", 1459, "error in xml header.", declaration};
            return -1;
        }
        auto length = static_cast<size_t>(p - xmlBuf);
        tree->header = static_cast<unsigned char *>(malloc(length));
        if (tree->header == nullptr) {
            *fault = {"xmlp_parse", 1469, "malloc failed.", nullptr};
            return -1;
        }
        memcpy(tree->header, xmlBuf, length);
        tree->headerLen = static_cast<uint32_t>(length);
        p = skipBlanks(p, end);
    }
    *text = p;
    return 0;
}

// xmlp_parse without the report: null with *rejection filled in.
static XmlpTree *parse(const char *xmlBuf, uint32_t length, uint32_t isStatic,
                       XmlpLocationList *locations, XmlpRejection *rejection)
{
    *rejection = {};
    if (xmlBuf == nullptr) {
        rejection->fault = {"xmlp_parse", 1431, "xmlBuf is null.", nullptr};
        return nullptr;
    }
    auto *tree = static_cast<XmlpTree *>(calloc(1, sizeof(XmlpTree)));
    if (tree == nullptr) {
        rejection->fault = {"xmlp_parse", 1438, "malloc failed.", nullptr};
        return nullptr;
    }
    tree->isStatic = isStatic;
    const char *end = xmlBuf + length;
    const char *text = nullptr;
    if (storeHeader(tree, xmlBuf, end, &text, &rejection->fault) == 0) {
        tree->root = _buildTree(text, end, isStatic, xmlBuf, locations, rejection);
    }
    if (tree->root == nullptr) {
        free(tree->header);
        free(tree);
        return nullptr;
    }
    return tree;
}

static const char elementMessage[] = "error xml tag."; // of the elements around a fault

XMLP_COLD static void report(const XmlpRejection *rejection)
{
    const XmlpFinding *fault = &rejection->fault;
    if (fault->line != 0) {
        _xmlp_report(fault->function, fault->line, "%s", fault->message);
    }
    if (fault->at == nullptr) {
        return; // memory is short, which is not the text's fault
    }
    if (rejection->tagLine != 0) {
        _xmlp_report("_subXml", rejection->tagLine, "%s", elementMessage);
    }
    _xmlp_reportOften(rejection->elementLines, "_subXml", 359, elementMessage);
    if (rejection->topLine != 0) {
        _xmlp_report("_checkXml", rejection->topLine, "%s", elementMessage);
    }
}

// The line that would have been printed first.
static XmlpFault faultOf(const XmlpRejection *rejection, const char *xmlBuf)
{
    const char *at = rejection->fault.at;
    XmlpFinding first = rejection->fault;
    if (first.line == 0 && rejection->topLine != 0) {
        first = rejection->elementLines != 0
                    ? XmlpFinding{"_subXml", 359, elementMessage, at}
                    : XmlpFinding{"_checkXml", rejection->topLine, elementMessage, at};
    }
    return {first.function, first.line, first.message,
            at != nullptr ? static_cast<uint32_t>(at - xmlBuf) : XMLP_NOWHERE};
}

XmlpTree *xmlp_parse(const char *xmlBuf, uint32_t length, uint32_t isStatic)
{
    XmlpRejection rejection;
    XmlpTree *tree = parse(xmlBuf, length, isStatic, nullptr, &rejection);
    if (tree == nullptr) {
        report(&rejection);
    }
    return tree;
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
    doc->tree = parse(xmlBuf, length, isStatic, locations, rejection);
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
        report(&rejection);
    }
    return doc;
}

XmlpDoc *xmlp_loadDoc(const char *buffer, uint32_t length, uint32_t isStatic)
{
    XmlpDoc *doc = xmlp_xml2Tree(buffer, length, isStatic);
    if (_initLock(doc) != 0 || doc == nullptr) {
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
        *fault = faultOf(&rejection, buffer);
        return nullptr;
    }
    doc->tree->refCount = 1;
    return doc;
}

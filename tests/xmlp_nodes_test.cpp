// Names, escaping, and the operations on nodes and attributes of a dynamic tree.

#include "tests/capture.h"
#include "xmlp/xmlp_internal.h"

#include <string>

namespace
{
std::string line(const char *function, int number, const std::string &text)
{
    return std::string("[ERROR][") + function + "():" + std::to_string(number) + "]: " + text +
           "\r\n";
}

// A parent with the children that the letters name.
XmlpNode *makeParent(const std::string &children)
{
    XmlpNode *parent = xmlp_initNode();
    for (char letter : children) {
        XmlpNode *child = xmlp_initNode();
        xmlp_setNodeName(child, std::string(1, letter).c_str());
        xmlp_insNodeLast(child, parent);
    }
    return parent;
}

// The children's names, read forwards; they must read the same backwards.
std::string order(const XmlpNode *parent)
{
    std::string forwards;
    std::string backwards;
    for (const XmlpNode *child = parent->firstChild; child != nullptr; child = child->next) {
        EXPECT_EQ(static_cast<const XmlpNode *>(child->parent), parent);
        forwards += child->name;
    }
    for (const XmlpNode *child = parent->lastChild; child != nullptr; child = child->prev) {
        backwards.insert(0, child->name);
    }
    EXPECT_EQ(forwards, backwards);
    return forwards;
}
} // namespace

TEST(XmlpChars, Rules)
{
    const struct {
        const char *bytes;
        uint32_t length;
        int isName;
        int isAttrValue;
        int isChar;
    } rows[] = {
        {"a:b-1.?!'", 9, 1, 1, 1}, {"", 0, 1, 1, 1},     {"a b", 3, 0, 1, 1},
        {"a=b", 3, 0, 1, 1},       {"a/b", 3, 0, 1, 0},  {"\t", 1, 0, 1, 1},
        {"\"", 1, 0, 0, 1},        {"&", 1, 0, 0, 0},    {"<", 1, 0, 0, 0},
        {">", 1, 0, 0, 0},         {"a\0b", 3, 0, 0, 1}, {"\xC3\xA4\xFF", 3, 1, 1, 1},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(xmlp_isValidName(row.bytes, row.length), row.isName) << row.bytes;
        EXPECT_EQ(xmlp_isValidAttrValue(row.bytes, row.length), row.isAttrValue) << row.bytes;
        EXPECT_EQ(xmlp_isValidChar(row.bytes, row.length), row.isChar) << row.bytes;
    }
    EXPECT_EQ(xmlp_nameCmp("applist", 3, "app"), 0);
    EXPECT_EQ(xmlp_nameCmp("app", 3, "apps"), -1);
    EXPECT_EQ(xmlp_nameCmp("ap\0x", 4, "ap"), -1);
    const struct {
        unsigned first;
        unsigned last;
        unsigned step;
    } steps[] = {
        {0x00, 0xC1, 1}, {0xC2, 0xDF, 2}, {0xE0, 0xEF, 3}, {0xF0, 0xF4, 4}, {0xF5, 0xFF, 1}};
    for (const auto &row : steps) {
        for (unsigned byte = row.first; byte <= row.last; byte++) {
            EXPECT_EQ(_stepOf(static_cast<char>(byte)), row.step) << byte;
        }
    }
}

TEST(XmlpChars, Escaping)
{
    EXPECT_EQ(xmlp_transStrLen("<&>\"'", 5), 15u);
    char escaped[16] = {};
    EXPECT_EQ(xmlp_transStr(escaped, "<&>\"'", 5), escaped + 15);
    EXPECT_STREQ(escaped, "&lt;&amp;&gt;\"'");

    const struct {
        const char *text;
        uint32_t length;
        const char *plain; // null: refused
    } rows[] = {
        {"a&lt;b", 6, "a<b"},   {"&amp;&gt;", 9, "&>"}, {"&amp;lt;", 8, "&lt;"},
        {"&quot;", 6, nullptr}, {"&amp", 4, nullptr},   {"&lt", 3, nullptr},
        {"x&", 2, nullptr},     {"&amp;", 4, nullptr},  {"plain", 5, "plain"},
    };
    for (const auto &row : rows) {
        char plain[16] = {};
        char *end = xmlp_unTransStr(plain, row.text, row.length);
        uint32_t length = xmlp_unTransStrLen(row.text, row.length);
        if (row.plain == nullptr) {
            EXPECT_EQ(end, nullptr) << row.text;
            EXPECT_EQ(length, 0u) << row.text;
        } else {
            EXPECT_STREQ(plain, row.plain);
            EXPECT_EQ(end, plain + length);
            EXPECT_EQ(length, strlen(row.plain));
        }
    }
}

TEST(XmlpNodes, LinkFindDelete)
{
    const struct {
        uint32_t position;
        const char *expected;
    } rows[] = {{0, "xabc"}, {1, "axbc"}, {3, "abcx"}, {XMLP_LAST, "abcx"}, {4, "abc"}};
    std::string printed = captured([&] {
        for (const auto &row : rows) {
            XmlpNode *parent = makeParent("abc");
            XmlpNode *node = makeParent("");
            xmlp_setNodeName(node, "x");
            if (xmlp_addChildNode(node, parent, row.position) != 0) {
                xmlp_delNode(node);
            }
            EXPECT_EQ(order(parent), row.expected);
            xmlp_delDtree(parent);
        }
        XmlpNode *parent = makeParent("abcd");
        EXPECT_STREQ(xmlp_getChildNode(parent, XMLP_LAST)->name, "d");
        EXPECT_EQ(xmlp_getChildNode(parent, 4), nullptr);
        EXPECT_EQ(xmlp_getChildNodeByName(parent, "cxx", 1), xmlp_getChildNode(parent, 2));
        EXPECT_EQ(xmlp_getChildNodeByName(parent, "cx", 2), nullptr);
        EXPECT_EQ(xmlp_getChildNodeCount(parent), 4u);
        XmlpNode *before = makeParent("");
        xmlp_setNodeName(before, "y");
        EXPECT_EQ(xmlp_insNodeBefore(before, parent->firstChild), 0);
        for (const char *left : {"yabd", "abd", "ab", "b", ""}) {
            static const char *const victims[] = {"c", "y", "d", "a", "b"};
            XmlpNode *victim =
                xmlp_getChildNodeByName(parent, victims[5 - xmlp_getChildNodeCount(parent)], 1);
            EXPECT_EQ(xmlp_delNode(victim), 0);
            EXPECT_EQ(order(parent), left);
        }
        EXPECT_EQ(parent->lastChild, nullptr);
        xmlp_delDtree(parent);
    });
    EXPECT_EQ(printed, line("xmlp_addChildNode", 1082, "child[3] not found."));
}

TEST(XmlpNodes, NamesAndValues)
{
    XmlpNode *parent = makeParent("ab");
    XmlpNode *a = parent->firstChild;
    const struct {
        int (*call)(XmlpNode *parent, XmlpNode *a);
        int result;
        std::string printed;
    } rows[] = {
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeName(n, ""); }, -1,
         line("xmlp_setNodeName", 1162, "invalid params.")},
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeName(n, "a b"); }, -1,
         line("xmlp_setNodeName", 1168, "invalid name.")},
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeName(n, "a"); }, -1,
         line("xmlp_setNodeName", 1173, "node name existed.")},
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeName(n, "c"); }, 0, ""},
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeValue(n, nullptr, 1); }, -1,
         line("xmlp_setNodeValue", 1212, "value is null but valueSize > 0.")},
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeValue(n, "x", 0); }, -1,
         line("xmlp_setNodeValue", 1217, "value is not null but valueSize is 0.")},
        {[](XmlpNode *p, XmlpNode *) { return xmlp_setNodeValue(p, nullptr, 0); }, -1,
         line("xmlp_setNodeValue", 1222, "pNode is not leaf node.")},
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeValue(n, "a\0b", 3); }, 0, ""},
        {[](XmlpNode *, XmlpNode *n) { return xmlp_setNodeValue(n, nullptr, 0); }, 0, ""},
        {[](XmlpNode *p, XmlpNode *) { return xmlp_delNode(p); }, -1,
         line("xmlp_delNode", 1624, "invalid params.")},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(captured([&] { EXPECT_EQ(row.call(parent, a), row.result); }), row.printed);
    }
    EXPECT_EQ(order(parent), "cb");
    xmlp_delDtree(parent);
}

// An item keeps the shared name when children type it anew, and loses it when renamed.
TEST(XmlpNodes, SharedItemName)
{
    const std::string text = "<a><item><b/></item><item/></a>";
    XmlpDoc *doc = xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), 0);
    ASSERT_NE(doc, nullptr);
    XmlpNode *first = doc->tree->root->firstChild->firstChild;
    EXPECT_EQ(first->type, XMLP_NODE_STRUCT + 0u);
    EXPECT_EQ(first->name, first->next->name);
    EXPECT_EQ(xmlp_setNodeName(first, "renamed"), 0);
    EXPECT_STREQ(first->next->name, "item");
    xmlp_releaseDoc(doc);
}

TEST(XmlpNodes, Attributes)
{
    XmlpNode *node = xmlp_initNode();
    auto add = [&](const char *name, const char *value) {
        return xmlp_addNodeAttr(node, name, value);
    };
    std::string printed = captured([&] {
        EXPECT_EQ(add("a", "1"), 0);
        EXPECT_EQ(add("ab", nullptr), 0);
        EXPECT_EQ(add("a", "2"), -1);
        EXPECT_EQ(add("ab", "2"), -1);
        EXPECT_EQ(add("x y", "2"), -1);
        EXPECT_EQ(add("x", "<"), -1);
        EXPECT_EQ(xmlp_setNodeAttr(node, "x y", "2"), -1);
        EXPECT_EQ(xmlp_setNodeAttr(node, "x", "2"), -1);
        EXPECT_EQ(xmlp_delNodeAttr(node, "x"), -1);
    });
    EXPECT_EQ(printed, line("xmlp_addNodeAttr", 1350, "attribute existed.") +
                           line("xmlp_addNodeAttr", 1357, "attribute existed.") +
                           line("xmlp_addNodeAttr", 1301, "invalid attribute name x y.") +
                           line("xmlp_addNodeAttr", 1306, "invalid attribute value.") +
                           line("xmlp_setNodeAttr", 1475, "invalid attribute name.") +
                           line("xmlp_setNodeAttr", 1511, "attribute not exist.") +
                           line("xmlp_delNodeAttr", 1448, "attribute not exist."));
    EXPECT_EQ(xmlp_isNodeAttr(node, "a", "1"), 1);
    EXPECT_EQ(xmlp_isNodeAttr(node, "a", nullptr), 0);
    EXPECT_EQ(xmlp_isNodeAttr(node, "ab", nullptr), 1);
    EXPECT_EQ(xmlp_isNodeAttr(node, "b", nullptr), 0);
    EXPECT_EQ(_hasAttrName(node->attrs, "a", 1), 1);
    EXPECT_EQ(_hasAttrName(node->attrs->next, "abc", 3), 0);

    char *value = nullptr;
    EXPECT_EQ(xmlp_setNodeAttr(node, "a", "new"), 0);
    EXPECT_EQ(xmlp_getNodeAttr(node, "a", &value), 0);
    EXPECT_STREQ(value, "new");
    free(value);
    EXPECT_EQ(xmlp_getNodeAttr(node, "ab", &value), 0);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(xmlp_delNodeAttr(node, "a"), 0);
    EXPECT_EQ(xmlp_delNodeAttr(node, "ab"), 0);
    EXPECT_EQ(captured([&] { xmlp_delNodeAttr(node, "ab"); }),
              line("xmlp_delNodeAttr", 1417, "attribute not exist."));
    xmlp_delNode(node);
}

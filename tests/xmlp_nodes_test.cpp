// Names, escaping, and the operations on nodes and attributes of a dynamic tree.

#include "tests/capture.h"
#include "xmlp/xmlp_internal.h"

#include <string.h>

namespace
{
XmlpNode *named(const std::string &name)
{
    XmlpNode *node = xmlp_initNode();
    xmlp_setNodeName(node, name.c_str());
    return node;
}

// A parent with the children that the letters name.
XmlpNode *makeParent(const std::string &children)
{
    XmlpNode *parent = xmlp_initNode();
    for (char letter : children) {
        xmlp_insNodeLast(named({letter}), parent);
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

// The result of the call and the lines it prints.
template <typename Call> std::string outcome(Call call)
{
    int64_t result = 0;
    const std::string printed = captured([&] { result = call(); });
    return std::to_string(result) + xmlpLines(printed);
}
} // namespace

TEST(XmlpChars, Rules)
{
    const std::tuple<const char *, uint32_t, int, int, int> rows[] = {
        {"a:b-1.?!'", 9, 1, 1, 1}, {"", 0, 1, 1, 1},     {"a b", 3, 0, 1, 1},
        {"a=b", 3, 0, 1, 1},       {"a/b", 3, 0, 1, 0},  {"\t", 1, 0, 1, 1},
        {"\"", 1, 0, 0, 1},        {"&", 1, 0, 0, 0},    {"<", 1, 0, 0, 0},
        {">", 1, 0, 0, 0},         {"a\0b", 3, 0, 0, 1}, {"\xC3\xA4\xFF", 3, 1, 1, 1},
    };
    for (const auto &[bytes, length, isName, isAttrValue, isChar] : rows) {
        EXPECT_EQ(xmlp_isValidName(bytes, length), isName) << bytes;
        EXPECT_EQ(xmlp_isValidAttrValue(bytes, length), isAttrValue) << bytes;
        EXPECT_EQ(xmlp_isValidChar(bytes, length), isChar) << bytes;
    }
    EXPECT_EQ(xmlp_nameCmp("applist", 3, "app"), 0);
    EXPECT_EQ(xmlp_nameCmp("app", 3, "apps"), -1);
    EXPECT_EQ(xmlp_nameCmp("ap\0x", 4, "ap"), -1);
    for (unsigned byte = 0; byte < 256; byte++) {
        const bool isLead = byte >= 0xC2 && byte <= 0xF4;
        const unsigned step = !isLead ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        EXPECT_EQ(_stepOf(static_cast<char>(byte)), step) << byte;
    }
}

TEST(XmlpChars, Escaping)
{
    EXPECT_EQ(xmlp_transStrLen("<&>\"'", 5), 15u);
    char escaped[16] = {};
    EXPECT_EQ(xmlp_transStr(escaped, "<&>\"'", 5), escaped + 15);
    EXPECT_STREQ(escaped, "&lt;&amp;&gt;\"'");

    const char *const rows[][2] = {
        {"a&lt;b", "a<b"},   {"&amp;&gt;", "&>"}, {"&amp;lt;", "&lt;"},
        {"&quot;", nullptr}, {"&amp", nullptr},   {"&lt", nullptr},
        {"x&", nullptr},     {"&amp;", "&"},      {"plain", "plain"},
    };
    EXPECT_EQ(xmlp_unTransStrLen("&amp;", 4), 0u);
    EXPECT_EQ(xmlp_unTransStr(escaped, "&amp;", 4), nullptr);
    for (const auto &[text, expected] : rows) {
        char plain[16] = {};
        const auto length = static_cast<uint32_t>(strlen(text));
        const auto plainLength = static_cast<uint32_t>(expected != nullptr ? strlen(expected) : 0);
        EXPECT_EQ(xmlp_unTransStrLen(text, length), plainLength) << text;
        char *end = xmlp_unTransStr(plain, text, length);
        EXPECT_EQ(end, expected != nullptr ? plain + plainLength : nullptr) << text;
        EXPECT_TRUE(expected == nullptr || plain == std::string(expected)) << plain;
    }
}

TEST(XmlpNodes, LinkFindDelete)
{
    const std::tuple<uint32_t, const char *, const char *> rows[] = {
        {0, "0", "xabc"},
        {1, "0", "axbc"},
        {3, "0", "abcx"},
        {XMLP_LAST, "0", "abcx"},
        {4, "-1; addChildNode:1082 child[3] not found.", "abc"}};
    for (const auto &[position, status, expected] : rows) {
        XmlpNode *parent = makeParent("abc");
        XmlpNode *node = named("x");
        EXPECT_EQ(outcome([&, at = position] { return xmlp_addChildNode(node, parent, at); }),
                  status);
        EXPECT_EQ(order(parent), expected);
        if (node->parent == nullptr) {
            xmlp_delNode(node);
        }
        xmlp_delDtree(parent);
    }
    XmlpNode *parent = makeParent("abcd");
    EXPECT_STREQ(xmlp_getChildNode(parent, XMLP_LAST)->name, "d");
    EXPECT_EQ(xmlp_getChildNode(parent, 4), nullptr);
    EXPECT_EQ(xmlp_getChildNodeByName(parent, "cxx", 1), xmlp_getChildNode(parent, 2));
    EXPECT_EQ(xmlp_getChildNodeByName(parent, "cx", 2), nullptr);
    EXPECT_EQ(xmlp_getChildNodeCount(parent), 4u);
    EXPECT_EQ(xmlp_insNodeBefore(named("y"), parent->firstChild), 0);
    const char *const steps[][2] = {
        {"c", "yabd"}, {"y", "abd"}, {"d", "ab"}, {"a", "b"}, {"b", ""}};
    for (const auto &[victim, left] : steps) {
        EXPECT_EQ(xmlp_delNode(xmlp_getChildNodeByName(parent, victim, 1)), 0);
        EXPECT_EQ(order(parent), left);
    }
    EXPECT_EQ(parent->lastChild, nullptr);
    xmlp_delDtree(parent);
}

TEST(XmlpNodes, NamesAndValues)
{
    XmlpNode *parent = makeParent("ab");
    XmlpNode *a = parent->firstChild;
    const auto name = [&](const char *text) {
        return outcome([&] { return xmlp_setNodeName(a, text); });
    };
    const auto value = [&](const char *text, uint32_t size) {
        return outcome([&] { return xmlp_setNodeValue(a, text, size); });
    };
    EXPECT_EQ(name("a b"), "-1; setNodeName:1168 invalid name.");
    EXPECT_EQ(name("c"), "0");
    EXPECT_EQ(value(nullptr, 1), "-1; setNodeValue:1212 value is null but valueSize > 0.");
    EXPECT_EQ(value("x", 0), "-1; setNodeValue:1217 value is not null but valueSize is 0.");
    EXPECT_EQ(value("a\0b", 3), "0");
    EXPECT_EQ(value(nullptr, 0), "0");
    EXPECT_EQ(order(parent), "cb");
    xmlp_delDtree(parent);
}

// An item keeps the shared name when children type it anew, and loses it when renamed.
TEST(XmlpNodes, SharedItemName)
{
    XmlpDoc *doc = xmlp_loadDoc("<a><item><b/></item><item/></a>", 31, 0);
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
    const auto add = [&](const char *name, const char *value) {
        return outcome([&] { return xmlp_addNodeAttr(node, name, value); });
    };
    const auto set = [&](const char *name, const char *value) {
        return outcome([&] { return xmlp_setNodeAttr(node, name, value); });
    };
    const auto remove = [&](const char *name) {
        return outcome([&] { return xmlp_delNodeAttr(node, name); });
    };
    EXPECT_EQ(add("a", "1"), "0");
    EXPECT_EQ(add("ab", nullptr), "0");
    EXPECT_EQ(add("ab", "2"), "-1; addNodeAttr:1357 attribute existed.");
    EXPECT_EQ(add("x y", "2"), "-1; addNodeAttr:1301 invalid attribute name x y.");
    EXPECT_EQ(add("x", "<"), "-1; addNodeAttr:1306 invalid attribute value.");
    EXPECT_EQ(set("x y", "2"), "-1; setNodeAttr:1475 invalid attribute name.");
    EXPECT_EQ(set("a", ">"), "-1; setNodeAttr:1480 invalid attribute value.");
    EXPECT_EQ(remove("x"), "-1; delNodeAttr:1448 attribute not exist.");
    EXPECT_EQ(xmlp_getNodeAttrCount(node), 2u);
    EXPECT_EQ(xmlp_isNodeAttr(node, "a", "1"), 1);
    EXPECT_EQ(xmlp_isNodeAttr(node, "a", nullptr), 0);
    EXPECT_EQ(xmlp_isNodeAttr(node, "ab", nullptr), 1);
    EXPECT_EQ(xmlp_isNodeAttr(node, "b", nullptr), 0);
    EXPECT_EQ(_hasAttrName(node->attrs, "a", 1), 1);
    EXPECT_EQ(_hasAttrName(node->attrs->next, "abc", 3), 0);

    char *value = nullptr;
    EXPECT_EQ(set("a", "new"), "0");
    EXPECT_EQ(xmlp_getNodeAttr(node, "a", &value), 0);
    EXPECT_STREQ(value, "new");
    free(value);
    EXPECT_EQ(xmlp_getNodeAttr(node, "ab", &value), 0);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(remove("ab"), "0");
    EXPECT_EQ(remove("a"), "0");
    EXPECT_EQ(remove("ab"), "-1; delNodeAttr:1417 attribute not exist.");
    xmlp_delNode(node);
}

#define REFUSED(call, ...)                                            \
    {                                                                 \
#call, [] { return static_cast<int64_t>(call); }, __VA_ARGS__ \
    }
#define NOT(call) ((call) != nullptr) /* no pointer */

// Arguments that nobody should give: the result, and the line and the text of the diagnostic.
TEST(XmlpNodes, RefusedArguments)
{
    static XmlpNode node;
    static XmlpAttr nameless, *area = &nameless;
    static const XmlpItem noAttrs = {1, nullptr, 0, nullptr};
    static const XmlpElement element = {};
    const struct {
        std::string call;
        int64_t (*run)();
        int result, line;
        const char *text;
    } rows[] = {
        REFUSED(xmlp_getNodeAttrCount(nullptr), 0, 1133, "node is null."),
        REFUSED(xmlp_addNodeAttr(nullptr, "a", ""), -1, 1296, "invalid params."),
        REFUSED(xmlp_delNodeAttr(&node, ""), -1, 1412, "invalid params."),
        REFUSED(xmlp_setNodeAttr(&node, "", ""), -1, 1470, "invalid params."),
        REFUSED(xmlp_getNodeAttr(&node, nullptr, nullptr), -1, 1532, "invalid params."),
        REFUSED(xmlp_isNodeAttr(&node, nullptr, ""), 0, 1579, "invalid params."),
        REFUSED(xmlp_insNodeFirst(&node, nullptr), -1, 849, "invalid params."),
        REFUSED(xmlp_insNodeLast(nullptr, &node), -1, 884, "invalid params."),
        REFUSED(xmlp_insNodeAfter(&node, nullptr), -1, 918, "invalid params."),
        REFUSED(xmlp_insNodeBefore(nullptr, &node), -1, 950, "invalid params."),
        REFUSED(xmlp_addChildNode(&node, nullptr, 0), -1, 1064, "invalid params."),
        REFUSED(NOT(xmlp_getChildNode(nullptr, 0)), 0, 983, "parent is null."),
        REFUSED(NOT(xmlp_getChildNodeByName(&node, "a", 0)), 0, 1031, "invalid params."),
        REFUSED(xmlp_getChildNodeCount(nullptr), 0, 1105, "node is null."),
        REFUSED(_hasChildName(nullptr, "a"), 0, 0, ""),
        REFUSED(_hasAttrName(&nameless, "a", 1), 0, 0, ""),
        REFUSED(xmlp_setNodeValue(nullptr, "", 0), -1, 1207, "pNode is null."),
        REFUSED(xmlp_delNode(nullptr), -1, 1624, "invalid params."),
        REFUSED(xmlp_delDtree(nullptr), -1, 1673, "node is null."),
        REFUSED(xmlp_delStree(nullptr), -1, 1695, "rootNode is null."),
        REFUSED(NOT(xmlp_xml2Tree(nullptr, 0, 0)), 0, 1836, "xmlBuf is null."),
        REFUSED(NOT(xmlp_parse(nullptr, 0, 0)), 0, 1431, "xmlBuf is null."),
        REFUSED(NOT(xmlp_copyDoc(nullptr)), 0, 307, "doc is null."),
        REFUSED((xmlp_releaseDoc(nullptr), 0), 0, 326, "doc is null."),
        REFUSED((xmlp_destroyXmlTree(nullptr), 0), 0, 1720, "doc is null."),
        REFUSED((_lock(nullptr), 0), 0, 118, "doc is null."),
        REFUSED((_unLock(nullptr), 0), 0, 143, "doc is null."),
        REFUSED((_destroyLock(nullptr), 0), 0, 168, "doc is null."),
        REFUSED(NOT(xmlp_seekXml(nullptr, "/")), 0, 1871, "invalid params."),
        REFUSED(NOT(_item2Node(nullptr)), 0, 197, "item is null."),
        REFUSED(NOT(_item2Node(&noAttrs)), 0, 0, ""),
        REFUSED(xmlp_nameCmp("", 0, nullptr), -1, 383, "invalid params."),
        REFUSED(xmlp_isValidChar(nullptr, 0), 0, 421, "buf is null."),
        REFUSED(xmlp_isValidName(nullptr, 0), 0, 458, "buf is null."),
        REFUSED(xmlp_isValidAttrValue(nullptr, 0), 0, 502, "buf is null."),
        REFUSED(xmlp_transStrLen(nullptr, 0), 0, 541, "str is null."),
        REFUSED(NOT(xmlp_transStr(nullptr, "", 0)), 0, 584, "invalid params."),
        REFUSED(xmlp_unTransStrLen(nullptr, 0), 0, 641, "str is null."),
        REFUSED(NOT(xmlp_unTransStr(nullptr, "", 0)), 0, 705, "invalid params."),
        REFUSED(NOT(_skipWhiteSpace(nullptr)), 0, 121, "buf is null."),
        REFUSED(_checkNameAttr(nullptr, '/'), -1, 148, "buf is null."),
        REFUSED(_checkNameAttr("/>", '/'), -1, 155, "error xml tag name."),
        REFUSED(_checkXml("", nullptr, nullptr), -1, 396, "invalid params."),
        REFUSED(NOT(_findName(nullptr, "", 0)), 0, 474, "invalid params."),
        REFUSED(_saveNameAttr("", nullptr, nullptr, nullptr), -1, 510, "invalid params."),
        REFUSED(_getNameAttr("", &element, &node, nullptr, 1, nullptr), -1, 621, "invalid params."),
        REFUSED(_getNameAttr("", &element, &node, &area, 1, nullptr), -1, 626, "invalid params."),
        REFUSED(_setType(&node, 0), -1, 811, "invalid params."),
        REFUSED(NOT(_makeStree("", nullptr, nullptr, nullptr, nullptr, nullptr)), 0, 877,
                "invalid params."),
        REFUSED(NOT(_makeDtree(nullptr, nullptr)), 0, 1144, "invalid params."),
        REFUSED(_nodeLen(nullptr) + _treeLen(nullptr) + _formatLen(nullptr, 1), 0, 0, ""),
    };
    for (const auto &row : rows) {
        const std::string name =
            std::regex_replace(row.call, std::regex("^(NOT)?\\(*(xmlp_)?(\\w+).*"), "$3");
        const std::string line = "; " + name + ":" + std::to_string(row.line) + " " + row.text;
        EXPECT_EQ(outcome(row.run), std::to_string(row.result) + (row.line != 0 ? line : ""));
    }
}

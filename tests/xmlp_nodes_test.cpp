// Names, escaping, and the operations on nodes and attributes of a dynamic tree.

#include "tests/document.h"
#include "xmlp/xmlp_internal.h"

namespace
{
XmlpNode *named(const char *name)
{
    XmlpNode *node = xmlp_initNode();
    xmlp_setNodeName(node, name);
    return node;
}

// The children's names; each child must be linked to the one before it and to the parent.
std::string order(const XmlpNode *parent)
{
    std::string names;
    const XmlpNode *last = nullptr;
    for (const XmlpNode *child = parent->firstChild; child != nullptr; child = child->next) {
        EXPECT_TRUE(child->parent == parent && child->prev == last);
        last = child;
        names += child->name;
    }
    EXPECT_EQ(static_cast<const XmlpNode *>(parent->lastChild), last);
    return names;
}

// The result of the call and the lines it prints.
template <typename Call> std::string outcome(Call call)
{
    int64_t result = 0;
    const std::string printed = captured([&] { result = call(); });
    return std::to_string(result) + lines(printed);
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
    char escaped[16] = {};
    EXPECT_EQ(xmlp_transStrLen("<&>\"'", 5), 15u);
    EXPECT_EQ(xmlp_transStr(escaped, "<&>\"'", 5), escaped + 15);
    EXPECT_STREQ(escaped, "&lt;&amp;&gt;\"'");

    const std::tuple<const char *, uint32_t, std::string> rows[] = {
        {"a&lt;b", 6, "a<b"},  {"&amp;&gt;", 9, "&>"}, {"&amp;lt;", 8, "&lt;"},
        {"plain", 5, "plain"}, {"&quot;", 6, ""},      {"&amp;", 4, ""},
        {"&lt", 3, ""},        {"x&", 2, ""},
    };
    for (const auto &[text, length, expected] : rows) {
        char plain[16] = {};
        EXPECT_EQ(xmlp_unTransStrLen(text, length), expected.size()) << text;
        char *end = xmlp_unTransStr(plain, text, length);
        EXPECT_EQ(end, expected.empty() ? nullptr : plain + expected.size()) << text;
        EXPECT_TRUE(expected.empty() || plain == expected) << plain;
    }
}

TEST(XmlpNodes, LinkFindDelete)
{
    XmlpNode *parent = xmlp_initNode();
    const std::tuple<const char *, uint32_t, const char *, const char *> rows[] = {
        {"b", 0, "0", "b"},
        {"a", 0, "0", "ab"},
        {"d", XMLP_LAST, "0", "abd"},
        {"c", 2, "0", "abcd"},
        {"e", 4, "0", "abcde"},
        {"f", 6, "-1; addChildNode:1082 child[5] not found.", "abcde"},
    };
    for (const auto &[name, position, status, expected] : rows) {
        XmlpNode *node = named(name);
        const auto add = [&, at = position] { return xmlp_addChildNode(node, parent, at); };
        EXPECT_EQ(outcome(add), status);
        EXPECT_EQ(order(parent), expected);
        if (node->parent == nullptr) {
            xmlp_delNode(node);
        }
    }
    EXPECT_STREQ(xmlp_getChildNode(parent, XMLP_LAST)->name, "e");
    EXPECT_EQ(xmlp_getChildNode(parent, 5), nullptr);
    EXPECT_EQ(xmlp_getChildNodeByName(parent, "cxx", 1), xmlp_getChildNode(parent, 2));
    EXPECT_EQ(xmlp_getChildNodeByName(parent, "cx", 2), nullptr);
    EXPECT_EQ(xmlp_getChildNodeCount(parent), 5u);
    EXPECT_EQ(xmlp_insNodeBefore(named("y"), parent->firstChild), 0);
    const char *const steps[][2] = {{"c", "yabde"}, {"y", "abde"}, {"e", "abd"},
                                    {"a", "bd"},    {"d", "b"},    {"b", ""}};
    for (const auto &[victim, left] : steps) {
        EXPECT_EQ(xmlp_delNode(xmlp_getChildNodeByName(parent, victim, 1)), 0);
        EXPECT_EQ(order(parent), left);
    }
    xmlp_delDtree(parent);
}

// An item keeps the shared name when children type it anew, and loses it when renamed.
TEST(XmlpNodes, SharedItemName)
{
    const Document doc = loaded("<a><item><b/></item><item/></a>", 0);
    XmlpNode *first = doc->tree->root->firstChild->firstChild;
    EXPECT_EQ(first->type, XMLP_NODE_STRUCT + 0u);
    EXPECT_EQ(first->name, first->next->name);
    EXPECT_EQ(xmlp_setNodeName(first, "renamed"), 0);
    EXPECT_STREQ(first->next->name, "item");
}

TEST(XmlpNodes, ValuesAndAttributes)
{
    XmlpNode *node = named("n");
    EXPECT_EQ(xmlp_setNodeValue(node, "a\0b", 3), 0);
    EXPECT_EQ(xmlp_addNodeAttr(node, "a", "1"), 0);
    EXPECT_EQ(xmlp_addNodeAttr(node, "ab", nullptr), 0);
    EXPECT_EQ(xmlp_getNodeAttrCount(node), 2u);
    EXPECT_TRUE(xmlp_isNodeAttr(node, "a", "1") && xmlp_isNodeAttr(node, "ab", nullptr));
    EXPECT_FALSE(xmlp_isNodeAttr(node, "a", nullptr) || xmlp_isNodeAttr(node, "b", nullptr));
    EXPECT_TRUE(_hasAttrName(node->attrs, "a", 1) && !_hasAttrName(node->attrs->next, "abc", 3));

    char *value = nullptr;
    EXPECT_EQ(xmlp_setNodeAttr(node, "a", "new"), 0);
    EXPECT_EQ(xmlp_getNodeAttr(node, "a", &value), 0);
    EXPECT_STREQ(value, "new");
    free(value);
    EXPECT_EQ(xmlp_getNodeAttr(node, "ab", &value), 0);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(xmlp_delNodeAttr(node, "ab"), 0);
    EXPECT_EQ(xmlp_delNodeAttr(node, "a"), 0);
    EXPECT_EQ(node->attrs, nullptr);
    xmlp_delNode(node);
}

#define REFUSED(call, ...)                                            \
    {                                                                 \
#call, [] { return static_cast<int64_t>(call); }, __VA_ARGS__ \
    }
#define NOT(call) ((call) != nullptr) /* no pointer */

// Arguments that are refused: the result, and the line and the text of the diagnostic.
TEST(XmlpNodes, RefusedArguments)
{
    static char text[] = "a";
    static XmlpAttr nameless, *area = &nameless, attr = {text, nullptr, nullptr};
    static XmlpNode node, owner;
    owner.attrs = &attr;
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
        REFUSED(xmlp_addNodeAttr(&node, "x y", ""), -1, 1301, "invalid attribute name x y."),
        REFUSED(xmlp_addNodeAttr(&node, "a", "<"), -1, 1306, "invalid attribute value."),
        REFUSED(xmlp_addNodeAttr(&owner, "a", ""), -1, 1357, "attribute existed."),
        REFUSED(xmlp_delNodeAttr(&node, ""), -1, 1412, "invalid params."),
        REFUSED(xmlp_delNodeAttr(&node, "a"), -1, 1417, "attribute not exist."),
        REFUSED(xmlp_delNodeAttr(&owner, "b"), -1, 1448, "attribute not exist."),
        REFUSED(xmlp_setNodeAttr(&node, "", ""), -1, 1470, "invalid params."),
        REFUSED(xmlp_setNodeAttr(&owner, "x y", ""), -1, 1475, "invalid attribute name."),
        REFUSED(xmlp_setNodeAttr(&owner, "a", ">"), -1, 1480, "invalid attribute value."),
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
        REFUSED(xmlp_setNodeName(&node, "a b"), -1, 1168, "invalid name."),
        REFUSED(xmlp_setNodeValue(nullptr, "", 0), -1, 1207, "pNode is null."),
        REFUSED(xmlp_setNodeValue(&node, nullptr, 1), -1, 1212, "value is null but valueSize > 0."),
        REFUSED(xmlp_setNodeValue(&node, "", 0), -1, 1217, "value is not null but valueSize is 0."),
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
        REFUSED(*_skipWhiteSpace(" \n>"), '>', 0, ""),
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

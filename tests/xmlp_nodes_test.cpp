// Bytes of names and values, and what all functions of the library refuse.

#include "tests/document.h"
#include "xmlp/xmlp_internal.h"

// A line, the call that it refuses, as text, and what makes the call.
using Refusal = std::tuple<int, std::string, std::function<int()>>;

#define OF(line, call) Refusal(line, #call, [&] { return shown(call); })

static int shown(int64_t number)
{
    return static_cast<int>(number);
}

static int shown(const void *pointer)
{
    return pointer != nullptr ? 1 : 0;
}

// Each call must give the result (0 may be null) and report the text; nothing, when that is empty.
static void expect(int result, const std::string &text, const std::vector<Refusal> &refusals)
{
    for (const auto &[line, call, make] : refusals) {
        int given = 1;
        const std::string printed = captured([&given, &make = make] { given = make(); });
        const std::string name = edit(call, "^\\(*(\\w+).*", "$1");
        const std::string report = "; " + name + ":" + std::to_string(line) + " " + text;
        EXPECT_EQ(given, result) << call;
        EXPECT_EQ(lines(printed), text.empty() ? "" : report) << call;
    }
}

TEST(Characters, AreValidInNamesOrValues)
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
}

TEST(Characters, BecomeEntitiesAndBack)
{
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"a&b", "a&amp;b"},
        {"<1234567>&lt;", "&lt;1234567&gt;&amp;lt;"},
    };
    for (const auto &[plain, escaped] : rows) {
        char text[64];
        const auto plainSize = static_cast<uint32_t>(plain.size());
        const auto escapedSize = static_cast<uint32_t>(escaped.size());
        EXPECT_EQ(xmlp_transStrLen(plain.data(), plainSize), escapedSize) << plain;
        EXPECT_EQ(std::string(text, xmlp_transStr(text, plain.data(), plainSize)), escaped);
        EXPECT_EQ(xmlp_unTransStrLen(escaped.data(), escapedSize), plainSize) << plain;
        EXPECT_EQ(std::string(text, xmlp_unTransStr(text, escaped.data(), escapedSize)), plain);
    }
}

TEST(Nodes, RejectInvalidArguments)
{
    char name[] = "a";
    uint32_t length = 0;
    XmlpAttr nameless = {}, attr = {name, nullptr, nullptr};
    XmlpNode node = {}, owner = {};
    owner.attrs = &attr;
    const XmlpItem noAttrs = {1, nullptr, 0, nullptr};
    expect(-1, "invalid params.",
           {OF(849, xmlp_insNodeFirst(&node, nullptr)), OF(884, xmlp_insNodeLast(nullptr, &node)),
            OF(918, xmlp_insNodeAfter(&node, nullptr)), OF(950, xmlp_insNodeBefore(nullptr, &node)),
            OF(1064, xmlp_addChildNode(&node, nullptr, 0)), OF(1624, xmlp_delNode(nullptr)),
            OF(1296, xmlp_addNodeAttr(nullptr, "a", "")), OF(1412, xmlp_delNodeAttr(&node, "")),
            OF(1470, xmlp_setNodeAttr(&node, "", "")), OF(383, xmlp_nameCmp("", 0, nullptr)),
            OF(1532, xmlp_getNodeAttr(&node, nullptr, nullptr))});
    expect(0, "invalid params.",
           {OF(1031, xmlp_getChildNodeByName(&node, "a", 0)), OF(1871, xmlp_seekXml(nullptr, "/")),
            OF(1579, xmlp_isNodeAttr(&node, nullptr, "")), OF(584, xmlp_transStr(nullptr, "", 0)),
            OF(705, xmlp_unTransStr(nullptr, "", 0)), OF(363, xmlp_dumpDoc(nullptr, 1, &length)),
            OF(1757, xmlp_tree2Xml(nullptr, 1, &length))});
    expect(0, "node is null.",
           {OF(1105, xmlp_getChildNodeCount(nullptr)), OF(1133, xmlp_getNodeAttrCount(nullptr))});
    expect(-1, "node is null.", {OF(1673, xmlp_delDtree(nullptr))});
    expect(-1, "pNode is null.", {OF(1207, xmlp_setNodeValue(nullptr, "", 0))});
    expect(-1, "rootNode is null.", {OF(1695, xmlp_delStree(nullptr))});
    expect(0, "parent is null.", {OF(983, xmlp_getChildNode(nullptr, 0))});
    expect(0, "item is null.", {OF(197, _item2Node(nullptr))});
    expect(-1, "invalid name.", {OF(1168, xmlp_setNodeName(&node, "a b"))});
    expect(-1, "invalid attribute name x y.", {OF(1301, xmlp_addNodeAttr(&node, "x y", ""))});
    expect(-1, "invalid attribute name.", {OF(1475, xmlp_setNodeAttr(&owner, "x y", ""))});
    expect(-1, "invalid attribute value.",
           {OF(1306, xmlp_addNodeAttr(&node, "a", "<")),
            OF(1480, xmlp_setNodeAttr(&owner, "a", ">"))});
    expect(-1, "attribute existed.", {OF(1357, xmlp_addNodeAttr(&owner, "a", ""))});
    expect(-1, "attribute not exist.",
           {OF(1417, xmlp_delNodeAttr(&node, "a")), OF(1448, xmlp_delNodeAttr(&owner, "b"))});
    expect(-1, "value is null but valueSize > 0.",
           {OF(1212, xmlp_setNodeValue(&node, nullptr, 1))});
    expect(-1, "value is not null but valueSize is 0.",
           {OF(1217, xmlp_setNodeValue(&node, "", 0))});
    expect(0, "buf is null.",
           {OF(421, xmlp_isValidChar(nullptr, 0)), OF(458, xmlp_isValidName(nullptr, 0)),
            OF(502, xmlp_isValidAttrValue(nullptr, 0)), OF(200, _tree2Xml(&node, nullptr)),
            OF(286, _tree2FormatXml(&node, nullptr, 0))});
    expect(0, "str is null.",
           {OF(541, xmlp_transStrLen(nullptr, 0)), OF(641, xmlp_unTransStrLen(nullptr, 0))});
    expect(0, "xmlBuf is null.",
           {OF(1836, xmlp_xml2Tree(nullptr, 0, 0)), OF(1431, xmlp_parse(nullptr, 0, 0))});
    expect(0, "doc is null.",
           {OF(307, xmlp_copyDoc(nullptr)), OF(326, (xmlp_releaseDoc(nullptr), 0)),
            OF(1720, (xmlp_destroyXmlTree(nullptr), 0)), OF(118, (_lock(nullptr), 0)),
            OF(143, (_unLock(nullptr), 0)), OF(168, (_destroyLock(nullptr), 0))});
    expect(-1, "", {OF(0, xmlp_nameCmp("app", 3, "apps")), OF(0, xmlp_nameCmp("ap\0x", 4, "ap"))});
    expect(0, "",
           {OF(0, _hasChildName(nullptr, "a")), OF(0, _hasAttrName(&nameless, "a", 1)),
            OF(0, xmlp_getNodeAttrCount(&owner) != 1), OF(0, _item2Node(&noAttrs)),
            OF(0, xmlp_unTransStr(name, "&amp;", 4)), OF(0, xmlp_unTransStrLen("&amp;", 4)),
            OF(0, _nodeLen(nullptr) + _treeLen(nullptr) + _formatLen(nullptr, 1) != 0),
            OF(0, _tree2FormatXml(nullptr, _tree2Xml(nullptr, name), 0) != name)});
}

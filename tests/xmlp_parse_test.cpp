// The parser: what it accepts, what it refuses and says, and how much of the text it looks at.

#include "tests/capture.h"
#include "xmlp/scanner.h"
#include "xmlp/xmlp_internal.h"

#include <pthread.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{
// name:type{attr=value attr}'value'[children]
std::string dump(const XmlpNode *node)
{
    std::string out = node->name != nullptr ? node->name : "";
    out += ":" + std::to_string(node->type);
    if (node->attrs != nullptr) {
        out += "{";
        for (const XmlpAttr *attr = node->attrs; attr != nullptr; attr = attr->next) {
            out += attr->name;
            out += attr->value != nullptr ? std::string("=") + attr->value : "";
            out += attr->next != nullptr ? " " : "}";
        }
    }
    if (node->valueSize > 0) {
        out += "'" + std::string(node->value, node->value + node->valueSize) + "'";
    }
    if (node->firstChild != nullptr) {
        out += "[";
        for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
            EXPECT_EQ(static_cast<const XmlpNode *>(child->parent), node);
            out += dump(child) + (child->next != nullptr ? " " : "]");
        }
    }
    return out;
}

// Loads the text from an allocation of exactly its size, so that a look past its end is seen.
XmlpDoc *load(const std::string &text, uint32_t isStatic)
{
    std::unique_ptr<char[]> exact(new char[text.size()]);
    text.copy(exact.get(), text.size());
    return xmlp_loadDoc(exact.get(), static_cast<uint32_t>(text.size()), isStatic);
}

// The tree's dump, or what was printed: "function line message" for each line.
std::string outcome(const std::string &text, uint32_t isStatic)
{
    std::string tree;
    std::string printed = captured([&] {
        XmlpDoc *doc = load(text, isStatic);
        if (doc != nullptr) {
            EXPECT_EQ(doc->tree->refCount, 1u);
            tree = dump(doc->tree->root);
            xmlp_releaseDoc(doc);
        }
    });
    if (!tree.empty()) {
        return tree + printed;
    }
    std::string lines;
    for (size_t at = 0; at < printed.size();) {
        size_t end = printed.find("\r\n", at);
        std::string line = printed.substr(at, end - at);
        size_t function = std::string("[ERROR][").size();
        size_t number = line.find("():");
        size_t text_at = line.find("]: ");
        EXPECT_TRUE(line.rfind("[ERROR][", 0) == 0 && number != line.npos && text_at != line.npos);
        lines += line.substr(function, number - function) + " " +
                 line.substr(number + 3, text_at - number - 3) + " " + line.substr(text_at + 3) +
                 "\n";
        at = end + 2;
    }
    return lines;
}

const std::string tag = "error xml tag.\n";
const std::string null = "_initLock 78 doc is null.\n";
const std::string content = "_checkXml 441 " + tag + null;

std::string name(int line)
{
    return "_checkNameAttr " + std::to_string(line) + " error xml tag name.\n";
}

std::string attribute(int line)
{
    return "_checkNameAttr " + std::to_string(line) + " error xml attribute.\n";
}

struct Case {
    std::string text;
    std::string expected;
};
} // namespace

TEST(XmlpParse, AcceptedText)
{
    const Case cases[] = {
        {"<a/>", ":0[a:0]"},
        {"<a></a>", ":0[a:0]"},
        {"<a> x\n</a>", ":0[a:2' x\n']"},
        {"<a>1 &amp; 2 &lt;&gt;</a>", ":0[a:2'1 & 2 <>']"},
        {"\xEF\xBB\xBF \n<?xml version=\"1.0\"?>\r\n<a>x</a> tail", ":0[a:2'x']"},
        {"<?no question mark><a/>", ":0[a:0]"},
        {"<?a?b<a/>", ":0[a:0]"}, // the "b" goes with the declaration
        {"noise<a/>noise", ":0[a:0]"},
        {"<a><b>x</b><b>y</b></a>", ":0[a:1[b:2'x' b:2'y']]"},
        {"<a>dropped<b/>&bad;</a>", ":0[a:1[b:0]]"},
        {"<a><item>x</item><item/></a>", ":0[a:3[item:4'x' item:4]]"},
        {"<a><item><b/></item><item><item/></item></a>", ":0[a:3[item:1[b:0] item:3[item:4]]]"},
        {"<item>x</item>", ":0[item:4'x']"},
        {"<a x=\"1\"y = \"2\" z=\"\" />", ":0[a:0{x=1 y=2 z}]"},
        {"<a x=\"1/2 it's\">v</a>", ":0[a:2{x=1/2 it's}'v']"},
        {"<a x=\"1\" xy=\"2\"/>", ":0[a:0{x=1 xy=2}]"},
        {"<a/anything goes/>", ":0[a:0]"},
        {"<\"a/>", ":0[\"a:0]"},
        {"<\xC3\xA4 \xE2\x82\xAC=\"\xF0\x9F\x98\x80\">\xE2\x82\xAC</\xC3\xA4>",
         ":0[\xC3\xA4:2{\xE2\x82\xAC=\xF0\x9F\x98\x80}'\xE2\x82\xAC']"},
        {"<a>\xC3&lt;</a>", ":0[a:2'\xC3<']"}, // but not the entity, which goes byte by byte
        {"<a", ":0"},
        {"< />", ":0[:0]"},
        {"< a b=\"c\"/>", ":0[:0{a=c}]"},
        {std::string("<a><\0x/><\0/><b/></a>", 20), ":0[a:1[:0 :0 b:0]]"},
        {"<abcd><efghabcd/><abcd x=\"abcd\"/></abcd>", ":0[abcd:1[efghabcd:0 abcd:0{x=abcd}]]"},
    };
    for (const Case &row : cases) {
        EXPECT_EQ(outcome(row.text, 1), row.expected) << row.text;
        EXPECT_EQ(outcome(row.text, 0), row.expected) << row.text;
    }
}

TEST(XmlpParse, RefusedText)
{
    const std::string unfit = "_checkNameAttr 232 error xml attributeibute.\n";
    const std::string same = "not same tag name.\n";
    const std::string top = "_checkXml 431 " + tag + null;
    const std::string around = "_subXml 359 " + tag + content;
    const Case cases[] = {
        {"", "_checkXml 452 no xml tag found.\n" + null},
        {"<?xml version=\"1.0\"?> x", "_checkXml 452 no xml tag found.\n" + null},
        {"<?xml", "xmlp_parse 1459 error in xml header.\n" + null},
        {"<?xml ?", "xmlp_parse 1459 error in xml header.\n" + null},
        {"<a/><b/>", "_checkXml 406 " + tag + null},
        {"</a>", "_checkXml 411 " + tag + null},
        {"a><a/>", "_checkXml 424 " + tag + null},
        {"<a/>>", "_checkXml 424 " + tag + null},
        {"</>", "_checkXml 411 " + tag + null},
        {"<a\"/>", name(169) + top},
        {"<a x='1'/>", attribute(205) + top},
        {"<a x y=\"1\"/>", attribute(199) + top},
        {"<a x=\"1\" \"/>", attribute(188) + top},
        {"<a x=\"&\"/>", attribute(223) + top},
        {"<a x=\"1/2\"/>", unfit + top},
        {"<a x/>", unfit + top},
        {"<a x></a>", unfit + content},
        {"<a><b x></b></a>", unfit + around},
        {"<a><b x='1'/></a>", attribute(205) + "_subXml 298 " + tag + content},
        {"<a></>", "_subXml 305 " + tag + content},
        {"<a>b/></a>", "_subXml 305 " + tag + content},
        {"<a>\xC3<b/></a>", "_subXml 305 " + tag + content}, // a broken character hides the "<"
        {"<a></a >", "_subXml 322 " + same + content},
        {"<a><b></c></a>", "_subXml 322 " + same + around},
        {"<a x=\"\"></a x>", "_subXml 327 valid tag name.\n" + content},
        {"<ab></a>", "_subXml 350 " + same + content},
        {"<a><b<c></a>", "_subXml 272 " + tag + content},
        {"<a>></a>", "_subXml 367 " + tag + content},
        {"<!-- comment --><a/>", "_subXml 374 " + tag + content},
        {"<a><b></", around},
        {"<a></", content},
        {"<a>\xF0", "_subXml 374 " + tag + content},
        {"<a>&quot;</a>", "_makeStree 904 invalid value.\n" + null},
        {"<a>&am</a>", "_makeStree 904 invalid value.\n" + null},
        {"<a>&amp</a>", "_makeStree 904 invalid value.\n" + null},
        {"<a><item/><b/></a>", "_setType 840 tag name is not item.\n" + null},
        {"<a><b/><item/></a>", "_setType 822 single element is named item.\n" + null},
        {"<a xy=\"1\" x=\"2\"/>", "_getNameAttr 690 attr name existed.\n" + null},
        {"< a/>", null},
    };
    for (const Case &row : cases) {
        std::string expected = row.expected;
        EXPECT_EQ(outcome(row.text, 1), expected) << row.text;
        size_t at = expected.find("_makeStree 904");
        if (at != expected.npos) {
            expected.replace(at, 14, "_makeDtree 1180");
        }
        EXPECT_EQ(outcome(row.text, 0), expected) << row.text;
    }
    std::string header = captured([] {
        XmlpDoc *doc = load("\xEF\xBB\xBF <?xml?>\n<a/>", 1);
        ASSERT_NE(doc, nullptr);
        EXPECT_EQ(std::string(doc->tree->header, doc->tree->header + doc->tree->headerLen),
                  "\xEF\xBB\xBF <?xml?>");
        EXPECT_EQ(xmlp_copyDoc(doc), doc);
        xmlp_releaseDoc(doc);
        EXPECT_EQ(dump(doc->tree->root), ":0[a:0]");
        xmlp_releaseDoc(doc);
    });
    EXPECT_EQ(header, "");
}

TEST(XmlpParse, RefusedOffset)
{
    const struct {
        const char *text;
        uint32_t offset;
    } rows[] = {
        {"<a/>", UINT32_MAX},
        {"\xEF\xBB\xBF <?xml", 4},
        {"<a/><b/>", 4},
        {"<a x='1'/>", 5},
        {"<a><b x></b></a>", 7},
        {"<a><b></c></a>", 8},
        {"<a>ok &amp; &x;</a>", 12},
        {"<a><b/><item/></a>", 8},
        {"<a xy=\"1\" x=\"2\"/>", 10},
        {"< a/>", 1},
        {"<a>", 3},
        {"", 0},
    };
    for (const auto &row : rows) {
        for (uint32_t isStatic : {0u, 1u}) {
            outcome(row.text, isStatic);
            EXPECT_EQ(xmlp_getRefusedOffset(), row.offset) << row.text;
        }
    }
}

TEST(XmlpParse, EveryBeginningOfAText)
{
    const std::string text = "\xEF\xBB\xBF<?x?><a x=\"1\" y=\"\xC3\xA4\"><item>&lt;&amp;</item>"
                             "<item z=\"2\"/></a>";
    for (size_t length = 0; length <= text.size(); length++) {
        EXPECT_NE(outcome(text.substr(0, length), 1), "") << length;
        EXPECT_NE(outcome(text.substr(0, length), 0), "") << length;
    }
}

TEST(XmlpParse, AttributeNamesOfALongTag)
{
    std::string tag40 = "<a";
    for (int i = 10; i < 50; i++) {
        tag40 += " n" + std::to_string(i) + "=\"\"";
    }
    std::string printed = captured([&] {
        XmlpDoc *doc = load(tag40 + "/>", 1);
        ASSERT_NE(doc, nullptr);
        EXPECT_EQ(xmlp_getNodeAttrCount(doc->tree->root->firstChild), 40u);
        xmlp_releaseDoc(doc);
    });
    EXPECT_EQ(printed, "");
    for (const char *name : {"n1", "n10", "n49", "n"}) {
        EXPECT_EQ(outcome(tag40 + name + "=\"\"/>", 1),
                  "_getNameAttr 690 attr name existed.\n" + null);
    }
    EXPECT_EQ(outcome(tag40 + "n100=\"\"/>", 0).substr(0, 7), ":0[a:0{");
}

TEST(XmlpParse, NamePool)
{
    const struct {
        const char *name;
        size_t place;
        size_t used;
    } rows[] = {
        {"abc", 0, 4},        {"efghabcd", 4, 16}, {"abcd", 8, 16},          {"", 12, 16},
        {"abcdefgh", 16, 28}, {"abcd", 8, 28},     {"xxxxefghabcd", 28, 44}, {"efgh", 20, 44},
        {"abc", 0, 44},       {"bcd", 44, 48},
    };
    XmlpNamePool pool;
    ASSERT_EQ(_initNamePool(&pool), 0);
    for (const auto &row : rows) {
        auto length = static_cast<uint32_t>(strlen(row.name));
        EXPECT_EQ(_saveName(&pool, row.name, length), row.place / 4 + 1);
        EXPECT_EQ(_findName(&pool, row.name, length), pool.base + row.place) << row.name;
        EXPECT_STREQ(pool.base + row.place, row.name);
        EXPECT_EQ(pool.used, row.used) << row.name;
    }
    EXPECT_EQ(_findName(&pool, "missing", 7), pool.base + pool.used);
    _freeNamePool(&pool);
}

TEST(XmlpParse, DocumentsThatCrowdThePool)
{
    std::string attrs = "<a";
    std::string elements = "<a>";
    for (int i = 0; i < 8000; i++) {
        std::string four = std::to_string(1000 + i);
        attrs += " " + four + "=\"v" + four.substr(1) + "\"";
        elements += "<" + four + "/>";
    }
    for (const std::string &text : {attrs + "/>", elements + "</a>"}) {
        EXPECT_EQ(outcome(text, 1).substr(0, 4), ":0[a");
        EXPECT_EQ(outcome(text, 1), outcome(text, 0));
    }
}

// Both ways of looking at 64 bytes find the same, but for bytes that begin no character.
TEST(XmlpParse, ScannersAgree)
{
    char block[XMLP_SCAN_BLOCK];
    for (unsigned first = 0; first < 256; first++) {
        for (unsigned i = 0; i < XMLP_SCAN_BLOCK; i++) {
            block[i] = static_cast<char>(first + 37 * i);
        }
        uint64_t one = _scanBytes(block, XMLP_SCAN_BLOCK);
        uint64_t other = _scanBlock(block);
        for (unsigned i = 0; i < XMLP_SCAN_BLOCK; i++) {
            bool isStray = static_cast<unsigned char>(block[i]) > 0xF4;
            EXPECT_EQ(one >> i & 1, isStray ? 0 : other >> i & 1) << first << " " << i;
        }
    }
}

// A million nested elements, on a stack of 256 KiB.
TEST(XmlpParse, Depth)
{
    auto nest = [](void *) -> void * {
        const size_t depth = 1000000;
        std::string open(3 * depth, '\0');
        std::string close(4 * depth, '\0');
        for (size_t i = 0; i < depth; i++) {
            open.replace(3 * i, 3, "<a>");
            close.replace(4 * i, 4, "</a>");
        }
        for (uint32_t isStatic : {0u, 1u}) {
            XmlpDoc *doc = load(open + close, isStatic);
            EXPECT_NE(doc, nullptr);
            size_t met = 0;
            for (XmlpNode *node = doc->tree->root; node != nullptr; node = node->firstChild) {
                met++;
            }
            EXPECT_EQ(met, depth + 1);
            xmlp_releaseDoc(doc);
        }
        EXPECT_EQ(load(open, 1), nullptr);
        return nullptr;
    };
    std::string printed = captured([&] {
        pthread_attr_t attr;
        pthread_attr_init(&attr);
        pthread_attr_setstacksize(&attr, 256 * 1024);
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, &attr, nest, nullptr), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attr);
    });
    const std::string around = "[ERROR][_subXml():359]: error xml tag.\r\n";
    EXPECT_EQ(printed.substr(0, 80), "[ERROR][_subXml():374]: error xml tag.\r\n" + around);
    EXPECT_EQ(printed.size(), 1000000 * around.size() + 42 + 39);
}

// From the tree back to text: what is written, how long it says it is, and that it is the same
// tree.

#include "tests/capture.h"
#include "xmlp/xmlp_internal.h"

#include <pthread.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace
{
const int formatted = 0;
const int compact = 1;

using Document = std::unique_ptr<XmlpDoc, decltype(&xmlp_releaseDoc)>;

Document loaded(const std::string &text, uint32_t isStatic)
{
    return {xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), isStatic),
            xmlp_releaseDoc};
}

// The text, which must be as long as it was computed to be.
std::string dumped(XmlpDoc *doc, int form)
{
    uint32_t length = 0;
    std::unique_ptr<char, decltype(&free)> text(xmlp_dumpDoc(doc, form, &length), free);
    EXPECT_EQ(strlen(text.get()), length);
    return text.get();
}

std::string described(const XmlpNode *node)
{
    std::ostringstream out;
    out << (node->name != nullptr ? node->name : "") << node->type << '"';
    out.write(reinterpret_cast<const char *>(node->value), node->valueSize) << '"';
    for (const XmlpAttr *attr = node->attrs; attr != nullptr; attr = attr->next) {
        out << attr->name << '=' << (attr->value != nullptr ? attr->value : "-") << ' ';
    }
    for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
        out << '(' << described(child) << ')';
    }
    return out.str();
}

void expectRoundTrip(const std::string &text)
{
    for (uint32_t isStatic : {0u, 1u}) {
        const Document doc = loaded(text, isStatic);
        for (int form : {formatted, compact}) {
            const std::string written = dumped(doc.get(), form);
            const Document again = loaded(written, 1 - isStatic);
            ASSERT_NE(again, nullptr) << written;
            EXPECT_EQ(described(again->tree->root), described(doc->tree->root));
            EXPECT_EQ(dumped(again.get(), form), written);
        }
    }
}

struct Case {
    const char *text;
    const char *compact;
    const char *formatted;
};

const Case cases[] = {
    {"<a></a>", "<a/>", "<a/>\n"},
    {" <a> </a>\n", "<a> </a>", "<a> </a>\n"},
    {R"(<a b = "it's" c=""/>)", R"(<a b="it's" c=""/>)", "<a b=\"it's\" c=\"\"/>\n"},
    {"<a>&lt;&gt;&amp;\"</a>", "<a>&lt;&gt;&amp;\"</a>", "<a>&lt;&gt;&amp;\"</a>\n"},
    {"<a>text<b><c>1\n2</c> </b><d/>text</a>", "<a><b><c>1\n2</c></b><d/></a>",
     "<a>\n  <b>\n    <c>1\n2</c>\n  </b>\n  <d/>\n</a>\n"},
    {"<l><item>1</item><item><k>v</k></item></l>", "<l><item>1</item><item><k>v</k></item></l>",
     "<l>\n  <item>1</item>\n  <item>\n    <k>v</k>\n  </item>\n</l>\n"},
    {"\xEF\xBB\xBF <?xml?>\r\n<\xC3\xA9/>", "\xEF\xBB\xBF <?xml?><\xC3\xA9/>",
     "\xEF\xBB\xBF <?xml?>\n<\xC3\xA9/>\n"},
};

TEST(XmlpSerialize, writesTheSameTree)
{
    for (const Case &c : cases) {
        const Document doc = loaded(c.text, 0);
        EXPECT_EQ(dumped(doc.get(), compact), c.compact);
        EXPECT_EQ(dumped(doc.get(), formatted), c.formatted);
        expectRoundTrip(c.text);
    }
    for (const auto &file : std::filesystem::directory_iterator(TARN_EXAMPLES)) {
        std::ostringstream text;
        text << std::ifstream(file.path()).rdbuf();
        expectRoundTrip(text.str());
    }
}

TEST(XmlpSerialize, handMadeTrees)
{
    char name[] = "n";
    unsigned char value[] = "<";
    unsigned char header[] = "<?x?>";
    XmlpAttr attr = {name, nullptr, nullptr};
    XmlpNode leaf = {};
    leaf.name = name;
    leaf.value = value;
    leaf.valueSize = 1;
    leaf.attrs = &attr;
    XmlpNode parent = leaf; // with children, its value does not count
    XmlpNode nameless = {};
    xmlp_insNodeFirst(&nameless, &parent);
    xmlp_insNodeAfter(&parent, &leaf); // siblings without a parent

    char text[64] = "";
    *_tree2Xml(&leaf, text) = '\0';
    EXPECT_STREQ(text, "<n n=\"\">&lt;</n>");
    EXPECT_EQ(_treeLen(&leaf), strlen(text));
    *_tree2FormatXml(&parent, text, 1) = '\0';
    EXPECT_STREQ(text, "  <n n=\"\">\n    </>\n  </n>\n");
    EXPECT_EQ(_formatLen(&parent, 1), strlen(text));

    XmlpNode root = {};
    XmlpTree tree = {0, 0, nullptr, &root, 0, 1};
    XmlpDoc doc = {&tree};
    EXPECT_EQ(dumped(&doc, compact) + dumped(&doc, formatted), "");
    tree.header = header;
    tree.headerLen = 5;
    EXPECT_EQ(dumped(&doc, compact) + dumped(&doc, formatted), "<?x?><?x?>\n");
    root.firstChild = &leaf;
    EXPECT_EQ(dumped(&doc, compact), "<?x?><n n=\"\">&lt;</n><n n=\"\"></></n>");
}

TEST(XmlpSerialize, refusesNull)
{
    uint32_t length = 0;
    char text[] = "";
    XmlpNode node = {};
    EXPECT_EQ(captured([&] { EXPECT_EQ(xmlp_dumpDoc(nullptr, compact, &length), nullptr); }),
              "[ERROR][xmlp_dumpDoc():363]: invalid params.\r\n");
    EXPECT_EQ(captured([&] { EXPECT_EQ(xmlp_tree2Xml(nullptr, compact, &length), nullptr); }),
              "[ERROR][xmlp_tree2Xml():1757]: invalid params.\r\n");
    EXPECT_EQ(captured([&] { EXPECT_EQ(_tree2Xml(&node, nullptr), nullptr); }),
              "[ERROR][_tree2Xml():200]: buf is null.\r\n");
    EXPECT_EQ(captured([&] { EXPECT_EQ(_tree2FormatXml(&node, nullptr, 0), nullptr); }),
              "[ERROR][_tree2FormatXml():286]: buf is null.\r\n");
    EXPECT_EQ(_tree2FormatXml(nullptr, _tree2Xml(nullptr, text), 0), text);
    EXPECT_EQ(_treeLen(nullptr) + _formatLen(nullptr, 1), 0u);
}

// A million nested elements; indented, their text passes 4 GiB by far.
void *dumpNested(void *)
{
    const uint32_t depth = 1000000;
    std::string text;
    for (uint32_t i = 0; i < depth; i++) {
        text += "<a>";
    }
    text += "x";
    for (uint32_t i = 0; i < depth; i++) {
        text += "</a>";
    }
    const Document doc = loaded(text, 0);
    EXPECT_TRUE(dumped(doc.get(), compact) == text);
    uint32_t length = 0;
    const std::string printed =
        captured([&] { EXPECT_EQ(xmlp_dumpDoc(doc.get(), formatted, &length), nullptr); });
    EXPECT_EQ(printed, "[ERROR][xmlp_tree2Xml():1789]: malloc failed.\r\n");
    EXPECT_EQ(length, 0xFFFFFFFFu);
    return nullptr;
}

TEST(XmlpSerialize, anyDepthOnASmallStack)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, dumpNested, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}
} // namespace

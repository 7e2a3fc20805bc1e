// From the tree back to text: what is written, how long it is said to be, and the way back.

#include "tests/capture.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <vector>

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

// Names, attributes, values and structure all show in the compact text, and the types follow.
void expectRoundTrip(const std::string &text)
{
    for (uint32_t isStatic : {0u, 1u}) {
        const Document doc = loaded(text, isStatic);
        for (int form : {formatted, compact}) {
            const std::string written = dumped(doc.get(), form);
            const Document again = loaded(written, 1 - isStatic);
            ASSERT_NE(again, nullptr) << written;
            EXPECT_EQ(dumped(again.get(), compact), dumped(doc.get(), compact));
            EXPECT_EQ(dumped(again.get(), form), written);
        }
    }
}

const char *const cases[][3] = {
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
    for (const auto &[text, inOneLine, indented] : cases) {
        const Document doc = loaded(text, 0);
        EXPECT_EQ(dumped(doc.get(), compact), inOneLine);
        EXPECT_EQ(dumped(doc.get(), formatted), indented);
        expectRoundTrip(text);
    }
    for (const auto &file : std::filesystem::directory_iterator(TARN_EXAMPLES)) {
        expectRoundTrip(contents(file.path()));
    }
}

// More names than there is room for their lengths, each element inside of those before it.
TEST(XmlpSerialize, manyNames)
{
    std::string start;
    std::string end;
    for (size_t i = 0; i < 300; i++) {
        const std::string name = std::string(1 + i % 20, 'n') + std::to_string(i);
        start += "<" + name + ">";
        end.insert(0, "</" + name + ">");
    }
    for (uint32_t isStatic : {0u, 1u}) {
        EXPECT_EQ(dumped(loaded(start + "x" + end, isStatic).get(), compact), start + "x" + end);
    }
}

// Among bytes that differ from an escaped one by a bit, at each place of values of many lengths.
TEST(XmlpSerialize, escapesEverywhere)
{
    const char *const written[][2] = {{"=", "="}, {"<", "&lt;"}, {">", "&gt;"}, {"&", "&amp;"}};
    std::string around;
    while (around.size() < 300) {
        around += "=\x1C\xBC:.\xBE~'\xA6\x06\"";
    }
    for (size_t size = 1; size < 300; size += size < 40 ? 1 : 7) {
        for (size_t i = 0; i < size * std::size(written); i++) {
            const auto &[character, entity] = written[i / size];
            std::string before = around.substr(0, i % size);
            std::string after = around.substr(0, size - 1 - i % size);
            const std::string value = before + character + after;
            std::vector<unsigned char> bytes(value.begin(), value.end());
            XmlpNode node = {};
            node.value = bytes.data();
            node.valueSize = static_cast<uint32_t>(size);
            std::vector<char> text(_treeLen(&node));
            ASSERT_EQ(_tree2Xml(&node, text.data()), text.data() + text.size());
            ASSERT_EQ(std::string(text.begin(), text.end()),
                      "<>" + before + entity + after + "</>");
        }
    }
}

TEST(XmlpSerialize, treesThatNoTextGives)
{
    const Document doc = loaded("<?x?><a>1</a>", 0);
    XmlpNode *top = xmlp_getChildNode(doc->tree->root, 0);
    xmlp_insNodeFirst(xmlp_initNode(), top); // nameless; and with a child, the value does not count
    EXPECT_EQ(dumped(doc.get(), compact), "<?x?><a></></a>");
    EXPECT_EQ(dumped(doc.get(), formatted), "<?x?>\n<a>\n  </>\n</a>\n");
    xmlp_add(doc.get(), "/", XMLP_LAST, "b", nullptr, nullptr, 0);
    EXPECT_EQ(dumped(doc.get(), compact), "<?x?><a></></a><b/>");
    xmlp_delete(doc.get(), "/a");
    xmlp_delete(doc.get(), "/b");
    EXPECT_EQ(dumped(doc.get(), compact), "<?x?>");
    EXPECT_EQ(dumped(doc.get(), formatted), "<?x?>\n");

    char text[] = "____";
    XmlpNode node = {};
    XmlpNode sibling = {};
    xmlp_insNodeAfter(&sibling, &node); // without a parent
    EXPECT_EQ(_tree2Xml(&node, text), text + _treeLen(&node));
    EXPECT_EQ(_tree2FormatXml(&node, text, 0), text + _formatLen(&node, 0));
    EXPECT_STREQ(text, "</>\n");

    alignas(512) char name[] = "a"; // its length is remembered where that of no name would be
    char tags[] = "__________";
    XmlpNode named = {};
    XmlpNode nameless = {};
    named.name = name;
    xmlp_insNodeLast(&nameless, &named);
    EXPECT_EQ(_tree2Xml(&named, tags), tags + _treeLen(&named));
    EXPECT_STREQ(tags, "<a></></a>");
}

TEST(XmlpSerialize, refusesNull)
{
    uint32_t length = 0;
    char text[] = "";
    XmlpNode node = {};
    const std::string printed = captured([&] {
        EXPECT_EQ(xmlp_dumpDoc(nullptr, compact, &length), nullptr);
        EXPECT_EQ(xmlp_tree2Xml(nullptr, compact, &length), nullptr);
        EXPECT_EQ(_tree2Xml(&node, nullptr), nullptr);
        EXPECT_EQ(_tree2FormatXml(&node, nullptr, 0), nullptr);
        EXPECT_EQ(_tree2FormatXml(nullptr, _tree2Xml(nullptr, text), 0), text);
    });
    EXPECT_EQ(xmlpLines(printed), "; dumpDoc:363 invalid params.; tree2Xml:1757 invalid params."
                                  "; _tree2Xml:200 buf is null.; _tree2FormatXml:286 buf is null.");
}

// A million nested elements; indented, their text passes 4 GiB by far.
TEST(XmlpSerialize, anyDepthOnASmallStack)
{
    std::string start;
    std::string end;
    for (uint32_t i = 0; i < 1000000; i++) {
        start += "<a>";
        end += "</a>";
    }
    const std::string text = start + "x" + end;
    uint32_t length = 0;
    const std::string printed = capturedOnSmallStack([&] {
        const Document doc = loaded(text, 0);
        EXPECT_TRUE(dumped(doc.get(), compact) == text);
        EXPECT_EQ(xmlp_dumpDoc(doc.get(), formatted, &length), nullptr);
    });
    EXPECT_EQ(xmlpLines(printed), "; tree2Xml:1789 malloc failed.");
    EXPECT_EQ(length, 0xFFFFFFFFu);
}
} // namespace

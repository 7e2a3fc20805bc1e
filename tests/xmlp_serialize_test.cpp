// From the tree back to text: what is written, how long it is said to be, and the way back.

#include "tests/document.h"
#include "xmlp/xmlp_internal.h"

#include <filesystem>

namespace
{
const int formatted = 0;
const int compact = 1;

// Names, attributes, values and structure all show in the compact text, and the types follow.
void expectRoundTrip(const std::string &text)
{
    for (uint32_t isStatic : {0u, 1u}) {
        const Document doc = loaded(text, isStatic);
        for (int form : {formatted, compact}) {
            const std::string written = dumped(doc, form);
            const Document again = loaded(written, 1 - isStatic);
            ASSERT_NE(again, nullptr) << written;
            EXPECT_EQ(dumped(again, compact), dumped(doc, compact));
            EXPECT_EQ(dumped(again, form), written);
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
        EXPECT_EQ(xmlp_copyDoc(doc.get()), doc.get());
        xmlp_releaseDoc(doc.get()); // the second owner's
        EXPECT_EQ(doc->tree->refCount, 1u);
        EXPECT_EQ(dumped(doc, compact), inOneLine);
        EXPECT_EQ(dumped(doc, formatted), indented);
        expectRoundTrip(text);
    }
    for (const auto &file : std::filesystem::directory_iterator(TARN_EXAMPLES)) {
        expectRoundTrip(contents(file.path()));
    }
}

// More names than there is room for their lengths, each element inside of those before it.
TEST(XmlpSerialize, manyNames)
{
    std::string start, end;
    for (size_t i = 0; i < 300; i++) {
        const std::string name = std::string(1 + i % 20, 'n') + std::to_string(i);
        start += "<" + name + ">";
        end.insert(0, "</" + name + ">");
    }
    for (uint32_t isStatic : {0u, 1u}) {
        EXPECT_EQ(dumped(loaded(start + "x" + end, isStatic), compact), start + "x" + end);
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
            const std::string before = around.substr(0, i % size);
            const std::string after = around.substr(0, size - 1 - i % size);
            std::string value = before + character + after;
            XmlpNode node = {};
            node.value = reinterpret_cast<unsigned char *>(value.data());
            node.valueSize = static_cast<uint32_t>(size);
            std::string text(static_cast<size_t>(_treeLen(&node)), '\0');
            ASSERT_EQ(_tree2Xml(&node, text.data()), text.data() + text.size());
            ASSERT_EQ(text, "<>" + before + entity + after + "</>");
        }
    }
}

TEST(XmlpSerialize, treesThatNoTextGives)
{
    const Document doc = loaded("<?x?><a>1</a>", 0);
    XmlpNode *top = xmlp_getChildNode(doc->tree->root, 0);
    xmlp_insNodeFirst(xmlp_initNode(), top); // nameless; and with a child, the value does not count
    EXPECT_EQ(dumped(doc, formatted), "<?x?>\n<a>\n  </>\n</a>\n");
    xmlp_add(doc.get(), "/", XMLP_LAST, "b", nullptr, nullptr, 0);
    EXPECT_EQ(dumped(doc, compact), "<?x?><a></></a><b/>");
    xmlp_delete(doc.get(), "/a");
    xmlp_delete(doc.get(), "/b");
    EXPECT_EQ(dumped(doc, compact) + dumped(doc, formatted), "<?x?><?x?>\n");

    alignas(512) char name[] = "a"; // its length is remembered where that of no name would be
    char text[] = "__________";
    XmlpNode named = {}, nameless = {}, sibling = {};
    named.name = name;
    xmlp_insNodeLast(&nameless, &named);
    xmlp_insNodeAfter(&sibling, &named); // without a parent
    EXPECT_EQ(_tree2Xml(&named, text), text + _treeLen(&named));
    EXPECT_STREQ(text, "<a></></a>");
    EXPECT_EQ(_tree2FormatXml(&nameless, text, 0), text + _formatLen(&nameless, 0));
    EXPECT_EQ(std::string(text, 4), "</>\n");
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
    EXPECT_EQ(lines(printed), "; dumpDoc:363 invalid params.; tree2Xml:1757 invalid params."
                              "; _tree2Xml:200 buf is null.; _tree2FormatXml:286 buf is null.");
}

// A million nested elements; indented, their text passes 4 GiB by far.
TEST(XmlpSerialize, anyDepthOnASmallStack)
{
    const size_t depth = 1000000;
    std::string start, end;
    for (size_t i = 0; i < depth; i++) {
        start += "<a>";
        end += "</a>";
    }
    const std::string text = start + "x" + end;
    const std::string tooLong = capturedOnSmallStack([&] {
        for (uint32_t isStatic : {0u, 1u}) {
            uint32_t length = 0;
            const Document doc = loaded(text, isStatic);
            EXPECT_TRUE(dumped(doc, compact) == text);
            EXPECT_EQ(xmlp_dumpDoc(doc.get(), formatted, &length), nullptr);
            EXPECT_EQ(length, 0xFFFFFFFFu);
        }
    });
    EXPECT_EQ(lines(tooLong), "; tree2Xml:1789!; tree2Xml:1789!");

    const std::string refused = capturedOnSmallStack([&] { EXPECT_EQ(loaded(start, 1), nullptr); });
    const std::string around = "[ERROR][_subXml():359]: error xml tag.\r\n";
    EXPECT_EQ(refused.substr(0, 80), "[ERROR][_subXml():374]: error xml tag.\r\n" + around);
    EXPECT_EQ(refused.size(), depth * around.size() + 42 + 39);
}
} // namespace

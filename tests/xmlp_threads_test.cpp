// Two threads that parse, edit and serialize a document each, at once. What the library kept of its
// own would be shared by them; this program and the library in it are built with ThreadSanitizer.
#include "tests/document.h"

static void parseEditAndSerialize()
{
    char name[] = "id", value[] = "2";
    const XmlpAttrPair attr = {name, value};
    const XmlpItem item = {};
    for (uint32_t i = 0; i < 20; i++) {
        for (const char *rejected : {"<a<", "<a x/>", "<a>&x;</a>", "<a><b></a>", "<?", "<a x<"}) {
            EXPECT_EQ(loaded(rejected, i % 2), nullptr);
        }
        const std::string text = "<a><b id=\"1\">&lt;</b><l><item/></l></a>";
        EXPECT_EQ(dumped(loaded(text, 1), 1), text);
        const Document doc = loaded(text, 0);
        EXPECT_EQ(xmlp_setValue(doc.get(), "/a/b", ">", 1), 0);
        EXPECT_EQ(xmlp_setAttr(doc.get(), "/a/b", &attr), 0);
        EXPECT_EQ(xmlp_addItem(doc.get(), "/a/l", &item, 0, 1), 1u);
        EXPECT_EQ(xmlp_delete(doc.get(), "/a/l/item"), 0);
        EXPECT_EQ(xmlp_add(doc.get(), "/a", 0, "c", nullptr, &attr, 1), 0);
        EXPECT_EQ(dumped(doc, 0), "<a>\n  <c id=\"2\"/>\n  <b id=\"2\">&gt;</b>\n  <l>\n"
                                  "    <item/>\n  </l>\n</a>\n");
    }
}

TEST(Threads, ParseAndEditWithoutSharing)
{
    std::thread other(parseEditAndSerialize);
    parseEditAndSerialize();
    other.join();
}

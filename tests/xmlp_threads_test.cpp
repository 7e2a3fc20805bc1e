/*
 * Two threads that parse, edit and serialize a document each, at once. What the library kept of its
 * own would be shared by them; this program and the library in it are built with ThreadSanitizer.
 */
#include "xmlp/xmlp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

static XmlpDoc *read(const std::string &text, uint32_t isStatic)
{
    XmlpFault fault = {};
    XmlpLocationList locations = {};
    const auto size = static_cast<uint32_t>(text.size());
    XmlpDoc *const doc = xmlp_readDoc(text.data(), size, isStatic, &fault, &locations);
    EXPECT_EQ(doc == nullptr, fault.line != 0);
    free(locations.items);
    return doc;
}

static std::string dumpAndRelease(XmlpDoc *doc, int compact)
{
    uint32_t length = 0;
    char *const text = xmlp_dumpDoc(doc, compact, &length);
    std::string dumped(text, length);
    free(text);
    xmlp_releaseDoc(doc);
    return dumped;
}

static void parseEditAndSerialize()
{
    char name[] = "id", value[] = "2";
    const XmlpAttrPair attr = {name, value};
    const XmlpItem item = {};
    for (int i = 0; i < 100; i++) {
        for (const char *rejected : {"<a", "<a x/>", "<a>&x;</a>", "<a><b></a>", "<?", "<a x"}) {
            for (uint32_t isStatic : {0u, 1u}) {
                EXPECT_EQ(read(std::string(rejected) + "<", isStatic), nullptr);
            }
        }
        const std::string text = "<a><b id=\"1\">&lt;</b><l><item/></l></a>";
        EXPECT_EQ(dumpAndRelease(read(text, 1), 1), text);
        XmlpDoc *doc = read(text, 0);
        EXPECT_EQ(xmlp_setValue(doc, "/a/b", ">", 1), 0);
        EXPECT_EQ(xmlp_setAttr(doc, "/a/b", &attr), 0);
        EXPECT_EQ(xmlp_addItem(doc, "/a/l", &item, 0, 1), 1u);
        EXPECT_EQ(xmlp_delete(doc, "/a/l/item"), 0);
        EXPECT_EQ(xmlp_add(doc, "/a", 0, "c", nullptr, &attr, 1), 0);
        EXPECT_EQ(dumpAndRelease(doc, 0), "<a>\n  <c id=\"2\"/>\n  <b id=\"2\">&gt;</b>\n  <l>\n"
                                          "    <item/>\n  </l>\n</a>\n");
    }
}

TEST(XmlpThreads, shareNothing)
{
    std::thread other(parseEditAndSerialize);
    parseEditAndSerialize();
    other.join();
}

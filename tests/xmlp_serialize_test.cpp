// From the tree back to text: what is written, and how long it is said to be. That it gives the
// same tree again is a matter of xmlp_parse_test.cpp.

#include "tests/document.h"
#include "xmlp/xmlp_internal.h"

const int formatted = 0, compact = 1;

TEST(Serializer, WritesTheSameTree)
{
    const char *const cases[][3] = {
        {" <a b = \"it's\" c=\"\"></a>\n", "<a b=\"it's\" c=\"\"/>", "<a b=\"it's\" c=\"\"/>\n"},
        {"<a> &lt;&gt;&amp;\"</a>", "<a> &lt;&gt;&amp;\"</a>", "<a> &lt;&gt;&amp;\"</a>\n"},
        {"<a>text<b><c>1\n2</c> </b><d/>text</a>", "<a><b><c>1\n2</c></b><d/></a>",
         "<a>\n  <b>\n    <c>1\n2</c>\n  </b>\n  <d/>\n</a>\n"},
        {"<l><item>1</item><item><k>v</k></item></l>", "<l><item>1</item><item><k>v</k></item></l>",
         "<l>\n  <item>1</item>\n  <item>\n    <k>v</k>\n  </item>\n</l>\n"},
        {"\xEF\xBB\xBF <?xml?>\r\n<\xC3\xA9/>", "\xEF\xBB\xBF <?xml?><\xC3\xA9/>",
         "\xEF\xBB\xBF <?xml?>\n<\xC3\xA9/>\n"},
    };
    for (const auto &[text, inOneLine, indented] : cases) {
        for (uint32_t isStatic : {0u, 1u}) {
            SCOPED_TRACE(text + std::to_string(isStatic));
            const Document doc = loaded(text, isStatic);
            EXPECT_EQ(xmlp_copyDoc(doc.get())->tree->refCount, 2u);
            xmlp_releaseDoc(doc.get()); // the second owner's
            EXPECT_EQ(dumped(doc, compact), inOneLine);
            EXPECT_EQ(dumped(doc, formatted), indented);
        }
    }
}

TEST(Serializer, WritesTreesThatNoTextGives)
{
    const Document doc = loaded("<?x?><a>1</a>", 0);
    XmlpNode *root = doc->tree->root;
    // A nameless child; and with a child, the value does not count.
    xmlp_insNodeFirst(xmlp_initNode(), root->firstChild);
    EXPECT_EQ(dumped(doc, formatted), "<?x?>\n<a>\n  </>\n</a>\n");
    xmlp_add(doc.get(), "/", XMLP_LAST, "b", nullptr, nullptr, 0);
    xmlp_insNodeBefore(xmlp_initNode(), xmlp_getChildNode(root, XMLP_LAST));
    xmlp_insNodeBefore(xmlp_initNode(), root->firstChild);
    EXPECT_EQ(dumped(doc, compact), "<?x?></><a></></a></><b/>");
    xmlp_delNode(root->firstChild);
    xmlp_delete(doc.get(), "/a");
    xmlp_delNode(root->firstChild);
    xmlp_delete(doc.get(), "/b");
    EXPECT_EQ(dumped(doc, compact) + dumped(doc, formatted), "<?x?><?x?>\n");
}

TEST(Serializer, CountsAnElementWithoutItsChildren)
{
    const Document doc = loaded(R"(<a b="1" c="">&lt;<d>&gt;</d></a>)", 0);
    const XmlpNode *top = doc->tree->root->firstChild;
    EXPECT_EQ(_attrsLen(top->attrs), strlen(R"( b="1" c="")"));
    EXPECT_EQ(_nodeLen(top), strlen(R"(<a b="1" c=""></a>)"));
    EXPECT_EQ(_nodeLen(top->firstChild), strlen("<d>&gt;</d>"));
}

// Links once more in a list of a, b, c below p. The list must end, and is written as it leads.
TEST(Serializer, FollowsTheListsOfNodesThatAreLinkedTwice)
{
    enum { P, A, B, C, S };
    const char *const asBefore = "<a/><b/><c/>";
    const std::tuple<const char *, int (*)(XmlpNode *, XmlpNode *), int, int, int, const char *>
        rows[] = {{"xmlp_insNodeLast", xmlp_insNodeLast, C, P, 0, asBefore},
                  {"xmlp_insNodeLast", xmlp_insNodeLast, A, P, 0, "<a/>"},
                  {"xmlp_insNodeFirst", xmlp_insNodeFirst, A, P, 0, asBefore},
                  {"xmlp_insNodeFirst", xmlp_insNodeFirst, C, P, -1, asBefore},
                  {"xmlp_insNodeAfter", xmlp_insNodeAfter, B, B, 0, asBefore},
                  {"xmlp_insNodeAfter", xmlp_insNodeAfter, C, A, -1, asBefore},
                  {"xmlp_insNodeAfter", xmlp_insNodeAfter, A, C, 0, "<a/>"},
                  {"xmlp_insNodeBefore", xmlp_insNodeBefore, B, B, 0, asBefore},
                  {"xmlp_insNodeBefore", xmlp_insNodeBefore, C, A, -1, asBefore},
                  {"xmlp_insNodeBefore", xmlp_insNodeBefore, A, C, 0, "<a/><c/>"},
                  {"xmlp_insNodeBefore", xmlp_insNodeBefore, B, C, 0, asBefore},
                  {"xmlp_insNodeBefore", xmlp_insNodeBefore, S, P, -1, asBefore},
                  {"xmlp_insNodeLast", xmlp_insNodeLast, B, B, -1, asBefore},
                  {"xmlp_insNodeLast", xmlp_insNodeLast, P, C, -1, asBefore},
                  {"xmlp_insNodeLast", xmlp_insNodeLast, C, A, 0, "<a><c/></a><b/><c/>"}};
    for (const auto &[name, insert, which, where, status, children] : rows) {
        SCOPED_TRACE(testing::Message() << name << " " << which << " " << where);
        char names[][2] = {"p", "a", "b", "c"}, text[64] = "";
        XmlpNode nodes[5] = {};
        xmlp_insNodeAfter(&nodes[S], &nodes[P]); // is not written
        for (int i : {P, A, B, C}) {
            nodes[i].name = names[i];
            EXPECT_EQ(i == P || xmlp_insNodeLast(&nodes[i], &nodes[P]) == 0, true);
        }
        EXPECT_EQ(insert(&nodes[which], &nodes[where]), status);
        *_tree2Xml(&nodes[P], text) = '\0';
        EXPECT_EQ(text, "<p>" + std::string(children) + "</p>");
        EXPECT_EQ(strlen(text), _treeLen(&nodes[P]));
    }

    const Document doc = loaded("<p><a/><b/><c><d/></c></p>", 0);
    XmlpNode *top = doc->tree->root->firstChild;
    xmlp_insNodeLast(top->lastChild, top);
    xmlp_insNodeLast(top->lastChild->firstChild, top->firstChild); // which leaves it in both
    EXPECT_EQ(xmlp_getChildNodeCount(top), 3u);
    xmlp_delDtree(top->lastChild);
    EXPECT_EQ(dumped(doc, compact), "<p><a><d/></a><b/></p>");
}

// A million nested elements; indented, their text passes 4 GiB by far.
TEST(Serializer, TakesAnyDepthOnASmallStack)
{
    const int depth = 1000000;
    const std::string start = repeated(depth, "<a>"), text = start + "x" + repeated(depth, "</a>");
    const std::string tooLong = capturedOnSmallStack([&] {
        for (uint32_t isStatic : {0u, 1u}) {
            uint32_t length = 0;
            const Document doc = loaded(text, isStatic);
            EXPECT_TRUE(dumped(doc, compact) == text);
            EXPECT_EQ(xmlp_dumpDoc(doc.get(), formatted, &length), nullptr);
            EXPECT_EQ(length, UINT32_MAX);
        }
    });
    EXPECT_EQ(lines(tooLong),
              "; xmlp_tree2Xml:1789 malloc failed.; xmlp_tree2Xml:1789 malloc failed.");
    const std::string refused = capturedOnSmallStack([&] { EXPECT_EQ(loaded(start, 1), nullptr); });
    EXPECT_EQ(std::count(refused.begin(), refused.end(), '\n'), depth + 2);
}

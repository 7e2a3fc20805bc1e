// The parser: what it accepts, what it refuses and says, and what it keeps of names.

#include "tests/document.h"
#include "xmlp/brackets.h"
#include "xmlp/name_pool.h"

// The tree as described, or the rejected offset and the lines that are printed, without their
// "error xml tag."; the same for a static and a dynamic tree.
static std::string outcome(const std::string &text)
{
    std::string outcomes[2];
    for (uint32_t isStatic : {0u, 1u}) {
        XmlpLocationList locations = {};
        XmlpFault fault = {};
        const auto size = static_cast<uint32_t>(text.size());
        XmlpDoc *read = nullptr;
        const auto readIt = [&] {
            read = xmlp_readDoc(text.data(), size, isStatic, &fault, &locations);
        };
        EXPECT_EQ(captured(readIt), "");
        const Document doc(read, xmlp_releaseDoc);
        const std::string printed = captured([&] { loaded(text, isStatic); });
        if (fault.line != 0) {
            const std::string at =
                "[ERROR][" + (fault.function + ("():" + std::to_string(fault.line)));
            EXPECT_EQ(printed.rfind(at + "]: " + fault.message + "\r\n", 0), 0u) << printed;
        }
        outcomes[isStatic] =
            doc != nullptr ? describe(nodesOf(doc)[0], true) : std::to_string(fault.offset);
        outcomes[isStatic] += edit(lines(printed), " error xml tag\\.", "");
        for (uint32_t i = 0; i < locations.count; i++) {
            const auto [tag, content, end] = locations.items[i];
            EXPECT_TRUE(text[tag] == '<' && text[content - 1] == '>' && text[end - 1] == '>');
        }
        free(locations.items);
    }
    EXPECT_EQ(edit(outcomes[0], "_makeDtree:1180", "_makeStree:904"), outcomes[1]) << text;
    return outcomes[1];
}

const std::string null = "; _initLock:78 doc is null."; // the last line of all that are refused

TEST(Parser, BuildsTheTreeOrRejectsTheText)
{
    const std::string cases[][2] = {
        {"<a> 1 &amp; 2\n&lt;&gt;&amp;lt;</a>", ":0[a:2' 1 & 2\n<>&lt;']"},
        {"\xEF\xBB\xBF \n<?xml version=\"1.0\"?>\r\n<a >x</a> and a tail", ":0[a:2'x']"},
        {"<?no question mark><a/>", ":0[a:0]"},
        {"<?a?b<a/>", ":0[a:0]"}, // the "b" goes with the declaration
        {"noise<a/>noise", ":0[a:0]"},
        {"<a>dropped<b>x</b><b>y</b>&bad;</a>", ":0[a:1[b:2'x'][b:2'y']]"},
        {"<a><item>x</item><item><b/></item><item><item/></item></a>",
         ":0[a:3[item:4'x'][item:1[b:0]][item:3[item:4]]]"},
        {"<item>x</item>", ":0[item:4'x']"},
        {R"(<a x="" xy = "1"y="" z="1/2 it's" >v</a>)", ":0[a:2 x xy=1 y z=1/2 it's'v']"},
        {"<\"a/anything goes/>", ":0[\"a:0]"},
        {"<\xC3\xA4 \xE2\x82\xAC=\"\xF0\x9F\x98\x80\">\xE2\x82\xAC</\xC3\xA4>",
         ":0[\xC3\xA4:2 \xE2\x82\xAC=\xF0\x9F\x98\x80'\xE2\x82\xAC']"},
        // A broken character hides as many bytes as its first one promises, but no entity.
        {"<a>\xC2<\xDF>\xE0-<\xEF->\xF0--<\xF4--<\xF5\xC1\xC3&lt;</a>",
         ":0[a:2'\xC2<\xDF>\xE0-<\xEF->\xF0--<\xF4--<\xF5\xC1\xC3<']"},
        {"<a", ":0"},
        {"< a b=\"c\" />", ":0[:0 a=c]"},
        {std::string("<a><\0x/><\0/><b/></a>", 20), ":0[a:1[:0][:0][b:0]]"},

        {"<?xml?> x", "9; _checkXml:452 no xml tag found."},
        {"<?xml ?", "0; xmlp_parse:1459 error in xml header."},
        {"<?\xF0\x9F", "0; xmlp_parse:1459 error in xml header."},
        {"<a/><b/>", "4; _checkXml:406"},
        {"</a>", "0; _checkXml:411"},
        {"a><a/>", "1; _checkXml:424"},
        {"<a/>>", "4; _checkXml:424"},
        {"<></a>", "4; _subXml:322 not same tag name.; _checkXml:441"},
        {"<ab\"/>", "3; _checkNameAttr:169 error xml tag name.; _checkXml:431"},
        {R"(<a x="1" "/>)", "9; _checkNameAttr:188 error xml attribute.; _checkXml:431"},
        {R"(<a x y="1"/>)", "5; _checkNameAttr:199 error xml attribute.; _checkXml:431"},
        {R"(<a x="&"/>)", "6; _checkNameAttr:223 error xml attribute.; _checkXml:431"},
        {"< a b/>", "5; _checkNameAttr:232 error xml attributeibute.; _checkXml:431"},
        {R"(<a x="1/2"/>)", "7; _checkNameAttr:232 error xml attributeibute.; _checkXml:431"},
        {"<a><b x></b></a>",
         "7; _checkNameAttr:232 error xml attributeibute.; _subXml:359; _checkXml:441"},
        {"<a><b x='1'/></a>",
         "8; _checkNameAttr:205 error xml attribute.; _subXml:298; _checkXml:441"},
        {"<a></>", "5; _subXml:305; _checkXml:441"},
        {"<a>\xC3<b/></a>", "7; _subXml:305; _checkXml:441"},
        {"<a>" + std::string(60, ' ') + "\xC3<b/></a>", "67; _subXml:305; _checkXml:441"},
        {"<a><b></c></a>", "8; _subXml:322 not same tag name.; _subXml:359; _checkXml:441"},
        {"<a=></a=> and more", "7; _subXml:327 valid tag name.; _checkXml:441"},
        {"<a&></a&> and more", "7; _subXml:327 valid tag name.; _checkXml:441"},
        {"<a\"></a\"> and more", "7; _subXml:327 valid tag name.; _checkXml:441"},
        {"<a/b></a/b> and more", "8; _subXml:327 valid tag name.; _checkXml:441"},
        {"<ab></a>", "7; _subXml:350 not same tag name.; _checkXml:441"},
        {"<a><b<c></a>", "5; _subXml:272; _checkXml:441"},
        {"<a>></a>", "3; _subXml:367; _checkXml:441"},
        {"<!-- comment --><a/>", "20; _subXml:374; _checkXml:441"},
        {"<a>\xF0", "4; _subXml:374; _checkXml:441"},
        {"<a><b></", "6; _subXml:359; _checkXml:441"},
        {"<a>&amp; &amp</a>", "9; _makeStree:904 invalid value."},
        {"<a><item/><b/></a>", "11; _setType:840 tag name is not item."},
        {"<a><b/><item/></a>", "8; _setType:822 single element is named item."},
        {R"(<a x="" x=""><b c></b></a>)", "17; _checkNameAttr:232 error xml attributeibute.; "
                                          "_subXml:359; _checkXml:441"},
        {R"(<a xy="1" x="2"/>)", "10; _getNameAttr:690 attr name existed."},
        {"< a/>", "1"},
    };
    for (const auto &[text, expected] : cases) {
        const bool isAccepted = expected[0] == ':';
        EXPECT_EQ(outcome(text), isAccepted ? expected : expected + null) << text;
        if (isAccepted) { // also when all of it lies in a block
            EXPECT_EQ(outcome(text + std::string(64, ' ')), expected) << text;
        }
    }
}

// An element with random attributes, text and children, at most some levels of them.
std::string randomElement(std::mt19937 &random, unsigned levels, bool isItem)
{
    const char *const names[] = {"a", "abcd", "efghabcd", "\xC3\xA4", "a-name-of-18-bytes"};
    const char *const pieces[] = {"v", " ", "=", "&lt;", "&gt;", "&amp;", "\xE2\x82\xAC\n"};
    const std::string name = isItem ? "item" : names[random() % 5];
    const bool isList = random() % 2 == 0;
    std::string text = "<" + name;
    for (auto i = random() % 3; i > 0; i--) {
        text += " " + std::to_string(i) + "=\"" + names[random() % 5] + "\"";
    }
    text += ">";
    for (auto i = levels > 0 ? random() % 4 : 0; i > 0; i--) {
        text += pieces[random() % 7] + randomElement(random, levels - 1, isList);
    }
    for (auto i = random() % 20; i > 0; i--) {
        text += pieces[random() % 7];
    }
    return text + "</" + name + ">";
}

// On random documents, and when a byte is changed or the end is missing: the same tree or the same
// refusal from both builders, and again the same tree from the text that is made of it. (Not so
// with a "/" in an attribute's value, which an empty-element tag cannot hold.)
TEST(Parser, BothBuildersAgreeOnRandomDocuments)
{
    std::mt19937 random(1);
    for (uint32_t i = 0; i < 1000; i++) {
        std::string text = "\xEF\xBB\xBF<?x?>" + randomElement(random, 4, false);
        if (i % 3 == 1) {
            text[random() % text.size()] = "<>&=\" a\xE2"[random() % 8];
        }
        text.resize(i % 3 == 2 ? random() % text.size() : text.size());
        const std::string tree = outcome(text);
        if (tree.rfind(":0[", 0) == 0) {
            EXPECT_EQ(outcome(dumped(loaded(text, i % 2), i / 2 % 2)), tree) << text;
        }
    }
}

// How many elements there may be follows from this count.
TEST(Parser, CountsBrackets)
{
    std::mt19937 random(1);
    std::string text;
    for (size_t i = 0; i < 100; i++) {
        text += std::string(random() % 100, 'x') + "<>"[i % 2];
    }
    XmlpBrackets found;
    EXPECT_EQ(_findBrackets(&found, text.data(), text.size()), 0);
    EXPECT_EQ(found.count, 100u);
    free(found.blocks);
}

// Names of all lengths, and a tag with so many of them that they are kept in a tree.
TEST(Parser, FindsARepeatedAttributeAmongThousands)
{
    std::string tag = "<a same-beginning=\"1\" same-begin-other=\"2\"", children, below;
    std::string tree = ":0[a:1 same-beginning=1 same-begin-other=2", padded = "<a><v>1</v>";
    for (unsigned i = 1000; i < 9000; i++) {
        const std::string number = std::to_string(i), name = std::string(i % 20, 'n') + number;
        tag += " " + number + "=\"v" + number + "\"";
        tree += " " + number + "=v" + number;
        children += "<" + name + "/>";
        padded += "<" + number + "/>"; // with 4 bytes, takes 8
        below += "[" + name + ":0]";
    }
    const std::string text = tag + " 900=\"v\">" + children + "</a>";
    EXPECT_EQ(outcome(text), tree + " 900=v" + below + "]");
    EXPECT_EQ(dumped(loaded(text, 0), 1) + dumped(loaded(text, 1), 1), text + text);
    EXPECT_EQ(dumped(loaded(padded + "</a>", 1), 1), padded + "</a>");
    for (const char *name : {"1", "1000", "899", "8999 ", "same-begin"}) {
        EXPECT_EQ(outcome(tag + " " + name + "=\"\"/>"),
                  std::to_string(tag.size() + 1) + "; _getNameAttr:690 attr name existed." + null);
    }
}

// From the tag, behind the start tag, behind the end: of each element in document order.
TEST(Parser, TellsWhereElementsAre)
{
    const std::string text = "\xEF\xBB\xBF<?x?> <a>1<b c=\"/\">\xC3<</b>2<b\n>3<d/></b></a>x";
    XmlpFault fault = {};
    XmlpLocationList locations = {};
    const auto size = static_cast<uint32_t>(text.size());
    xmlp_releaseDoc(xmlp_readDoc(text.data(), size, 1, &fault, &locations));
    std::string found;
    for (uint32_t i = 0; i < locations.count; i++) {
        const auto [tag, content, end] = locations.items[i];
        found += text.substr(tag, content - tag) + " " + text.substr(content, end - content) + "|";
    }
    EXPECT_EQ(found, "<a> 1<b c=\"/\">\xC3<</b>2<b\n>3<d/></b></a>|<b c=\"/\"> \xC3<</b>|"
                     "<b\n> 3<d/></b>|<d/> |");
    free(locations.items);
}

// A string is where its bytes and a NUL stand, from a word on.
TEST(NamePool, SharesTheTailsOfLongerNames)
{
    const std::tuple<std::string, uint32_t, size_t> rows[] = {
        {"abc", 0, 4},        {"efghabcd", 4, 16}, {"abcd", 8, 16},          {"", 12, 16},
        {"abcdefgh", 16, 28}, {"abcd", 8, 28},     {"xxxxefghabcd", 28, 44}, {"efgh", 20, 44},
        {"abc", 0, 44},       {"bcd", 44, 48},
    };
    const uint32_t many = 200000;
    std::string base(48 + many * 8, 'x');
    XmlpNamePool pool;
    ASSERT_EQ(_initNamePool(&pool), 0);
    pool.base = base.data();
    pool.seed = 0; // so that the same strings share a hash in every run
    for (const auto &[name, offset, used] : rows) {
        SCOPED_TRACE(name + "/" + std::to_string(used));
        EXPECT_EQ(_saveName(&pool, name.data(), name.size()), &base[offset]);
        EXPECT_EQ(&base[offset], name);
        EXPECT_EQ(pool.used, used);
    }
    for (uint32_t i = 0; i < 2 * many; i++) {
        const std::string name = std::to_string(100000 + i % many);
        EXPECT_EQ(_saveName(&pool, name.data(), 6), name);
    }
    EXPECT_EQ(_saveName(&pool, "abc", 3), base.data());
    EXPECT_EQ(pool.used, base.size());
    _freeNameIndex(&pool);
}

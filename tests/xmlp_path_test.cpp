/*
 * The path-addressed interface: what each operation refuses, and what it makes of a document.
 */
#include "tests/document.h"
#include "tests/faults.h"
#include "xmlp/xmlp_internal.h"

const uint32_t isDynamic = 0, isStatic = 1;

/* ---- A call, and all that comes of it as one text ------------------------------------------ */

/* What getters fill in beside their result. */
static char unset[] = "unset";
static XmlpAttrPair got[2];
static uint32_t filled;
uint32_t *const out = &filled;

static std::string shown(int64_t number)
{
    return std::to_string(number);
}

static std::string shown(XmlpValue *values)
{
    std::string text = shown(filled);
    for (uint32_t i = 0; values != nullptr && i < filled; i++) {
        const auto *data = reinterpret_cast<const char *>(values[i].data);
        text += " " + (data != nullptr ? std::string(data, values[i].size) : "none");
        free(values[i].data);
    }
    free(values);
    return values != nullptr ? text : text + " null";
}

/*
 * The result of the call on a fresh document, the lines it prints, the attributes it gives and,
 * when it changed it, the document; separated by "; ". Also while one allocation after the other
 * fails.
 */
template <typename Call>
static faults::Outcomes outcomesOf(const std::string &xml, uint32_t kind, Call call)
{
    Document doc(nullptr, xmlp_releaseDoc);
    const auto before = [&] {
        doc = loaded(xml, kind);
        got[0] = {"a", unset};
        got[1] = {"b", unset};
        filled = 1;
    };
    const auto after = [&] {
        std::string text;
        for (const XmlpAttrPair &attr : got) {
            if (attr.value != unset) {
                text += std::string("; ") + attr.name;
                text += attr.value != nullptr ? std::string("=") + attr.value : "";
                free(attr.value);
            }
        }
        nodesOf(doc);
        const std::string changed = dumped(doc, 1);
        doc.reset();
        return changed != xml ? text + "; " + changed : text;
    };
    faults::Outcomes all = faults::outcomesOf(
        before, [&] { return call(doc.get()); }, after, [] {});
    EXPECT_EQ(all.kept, 0u);
    return all;
}

#define DO(name, ...)    [](XmlpDoc *d) { return shown(xmlp_##name(d, __VA_ARGS__)); }
#define NAMED(name, ...) #name, DO(name, __VA_ARGS__)

/* ---- The frame around every operation ------------------------------------------------------ */

const int silent = -1; /* a refusal without a line */

struct FrameCase {
    const char *name;
    std::string (*call)(XmlpDoc *d);
    const char *refused;
    int lines[6]; /* of the refusals below; 0 for none */
};

static const char *p; /* where the calls go */
static uint32_t mode, ignored;
const uint32_t first[] = {0}, at[] = {1}, last[] = {XMLP_LAST}, some[] = {1, 3, 4},
               twice[] = {2, 2};
const XmlpValue empty = {0, nullptr};
const XmlpItem bare = {0, nullptr, 0, nullptr};

const FrameCase frameCases[] = {
    {NAMED(isExist, p), "0", {388, 0, silent}},
    {NAMED(getValue, p), "1 null", {420, 0, 428, 433}},
    {NAMED(setValue, p, "v", 1), "-1", {484, 489, 496, 502}},
    {NAMED(setName, p, "n"), "-1", {530, 535, 542}},
    {NAMED(add, p, 0, "n", nullptr, nullptr, 0), "-1", {579, 584, 591, 601}},
    {NAMED(getChildCount, p), "0", {690, 0, 697}},
    {NAMED(delete, p), "-1", {721, 726, 733}},
    {NAMED(getAttr, p, got), "-1", {776, 0, 783}},
    {NAMED(setAttr, p, got), "-1", {811, 816, 823}},
    {NAMED(addAttr, p, got), "-1", {851, 856, 863}},
    {NAMED(deleteAttr, p, "k"), "-1", {891, 896, 903}},
    {NAMED(isItemExist, p, 0), "0", {932, 0, 940, 945}},
    {NAMED(getItemValue, p, mode, at, 1, &ignored), "1 null", {984, 0, 993, 998, 1016, 1021}},
    {NAMED(setItemValue, p, mode, &empty, at, 1), "0", {1131, 1136, 1144, 1149, 1167, 1172}},
    {NAMED(addItem, p, &bare, 0, 1), "0", {1237, 1242, 1250, 1259}},
    {NAMED(deleteItem, p, mode, at, 1), "-1", {1344, 1357, 1365, 1371, 1405, 1411}},
    {NAMED(getItemAttr, p, mode, got, at, 1), "0", {1474, 0, 1482, 1487, 1505, 1510}},
    {NAMED(setItemAttr, p, mode, got, at, 1), "0", {1578, 1583, 1591, 1596, 1614, 1619}},
    {NAMED(addItemAttr, p, mode, got, at, 1), "0", {1687, 1692, silent, 1705, 1723, silent}},
    {NAMED(deleteItemAttr, p, mode, "k", at, 1), "0", {1796, 1801, 1809, 1814, 1832, 1837}},
    {NAMED(getItemValueByAttr, p, got, 1, &ignored), "1 null", {1908, 0, 1916, 1921}},
};

TEST(XmlpPath, everyOperationRefusesInTheSameOrder)
{
    const std::tuple<uint32_t, const char *, uint32_t, const char *> refusals[] = {
        {isStatic, nullptr, 2, " invalid params."},
        {isStatic, "/none", 2, " static xml."},
        {isDynamic, "/none", 2, " node not exist."},
        {isDynamic, "/l/item", 2, " error node type."},
        {isDynamic, "/l", 2, " unkown mode."},
        {isDynamic, "/l", XMLP_POS_RUN, " pos over range."},
    };
    for (const FrameCase &c : frameCases) {
        for (size_t i = 0; i < std::size(refusals); i++) {
            uint32_t kind = 0;
            const char *message = nullptr;
            std::tie(kind, p, mode, message) = refusals[i];
            SCOPED_TRACE(c.name + std::string(message));
            const std::string line = std::string(";") + c.name + ":" + shown(c.lines[i]) + message;
            if (c.lines[i] != 0) {
                EXPECT_EQ(outcomesOf("<l><item>A</item></l>", kind, c.call).success,
                          c.refused + (c.lines[i] != silent ? line : ""));
            }
        }
    }
}

/* ---- What the operations do ---------------------------------------------------------------- */

struct Case {
    const char *xml;
    std::string (*call)(XmlpDoc *d);
    const char *outcome;
    const char *failures = nullptr; /* while the first allocation fails, the second, ... */
};

static char one[] = "1";
static unsigned char letter[] = "P", mark[] = "<";
const XmlpAttrPair attrs[] = {{"a", one}, {"b", nullptr}, {"a", nullptr}};
const XmlpValue values[] = {{1, letter}, {1, mark}, {0, nullptr}};
const XmlpItem items[] = {{1, attrs, 1, letter}, bare};
const XmlpItem noAttrs[] = {bare, {1, nullptr, 0, nullptr}};

const char *const two = "<l><item>A</item><item>B</item></l>";
const char *const parent = "<l><item>A</item><item><x/></item><item>C</item></l>";
const char *const five = R"(<l><item a="0">A</item><item a="1">B</item><item a="1" b="">C</item>)"
                         R"(<item a="1">D</item><item a="1"/></l>)";

const Case cases[] = {
    {"<a><b/></a>", DO(isExist, "/a/b"), "1"},
    {"<a><b/></a>", DO(isExist, "a"), "0"},
    {"<a/>", DO(isExist, "/a/"), "0;getChildNodeByName:1031 invalid params."},
    {"<a>&lt;</a>", DO(getValue, "/a"), "1 <", "1 null;getValue:440! | 1 null;getValue:448!"},
    {"<a/>", DO(getValue, "/a"), "1 none"},
    {"<a><b/></a>", DO(getValue, "/a"), "1 null;getValue:433 error node type."},
    {"<a/>", DO(setValue, "/a", "x", 1), "-1;setValue:502 error node type."},
    {"<a>x</a>", DO(setValue, "/a", "y<", 2), "0; <a>y&lt;</a>", "-1;setNodeValue:1231!"},
    {"<a>x</a>", DO(setValue, "/a", nullptr, 0), "0; <a/>"},
    {"<a/>", DO(setName, "/a", "a"), "-1;setNodeName:1173 node name existed."},
    {"<l><item><b/></item><item/></l>", DO(setName, "/l/item", "n"), "0; <l><n><b/></n><item/></l>",
     "-1;setNodeName:1181!"},
    {"<a><b/></a>", DO(add, "/a", 0, "n", &values[1], attrs, 2),
     R"(0; <a><n a="1" b="">&lt;</n><b/></a>)",
     "-1;initNode:827! | -1;setNodeName:1181! | -1;setNodeValue:1231! | -1;addNodeAttr:1314! | "
     "-1;addNodeAttr:1320! | -1;addNodeAttr:1331! | -1;addNodeAttr:1363! | -1;addNodeAttr:1369!"},
    {"<a><b/><c/></a>", DO(add, "/a", 2, "n", nullptr, attrs, 0), "0; <a><b/><c/><n/></a>"},
    {"<a><b/></a>", DO(add, "/a", XMLP_LAST, "n", &empty, attrs, 0), "0; <a><b/><n/></a>"},
    {"<a/>", DO(add, "/a", 2, "n", nullptr, attrs, 0), "-1;addChildNode:1082 child[1] not found."},
    {"<a/>", /* a structure, from then on */
     [](XmlpDoc *d) {
         return shown(xmlp_add(d, "/a", 0, "", nullptr, attrs, 0) && xmlp_isItemExist(d, "/a", 0));
     },
     "0;setNodeName:1162 invalid params.;isItemExist:945 error node type."},
    {"<a/>", DO(add, "/a", 0, "n", nullptr, attrs, 3), "-1;addNodeAttr:1350 attribute existed."},
    {"<a>x</a>", DO(add, "/a", 0, "n", nullptr, attrs, 0), "-1;add:601 error node type."},
    {"<a/>", DO(add, "/a", 0, "n", nullptr, nullptr, 1), "-1;add:579 invalid params."},
    {"<a><b/><b/></a>", DO(getChildCount, "/a"), "2"},
    {"<a><b/></a>", DO(delete, "/"), "-1;delete:739 not allow to delete root node."},
    {"<a><bc/><b><c/></b><d/></a>", DO(delete, "/a/b"), "0; <a><bc/><d/></a>"},
    {R"(<a b="1"/>)", DO(setAttr, "/a", &attrs[1]), R"(0; <a b=""/>)"},
    {R"(<a b="1"/>)", DO(addAttr, "/a", &attrs[0]), R"(0; <a b="1" a="1"/>)",
     "-1;addNodeAttr:1363! | -1;addNodeAttr:1369! | -1;addNodeAttr:1380!"},
    {R"(<a b="1" bc="2" d="3"/>)", DO(deleteAttr, "/a", "bc"), R"(0; <a b="1" d="3"/>)"},
    {"<a/>", DO(deleteAttr, "/a", nullptr), "-1;deleteAttr:891 invalid params."},

    {two, DO(isItemExist, "/l", 1), "1"},
    {two, DO(isItemExist, "/l", XMLP_LAST), "0"},

    {five, DO(getItemValue, "/l", 0, some, 3, out), "3 B C D",
     "0 null;getItemValue:1027! | 0;getItemValue:1039! | 1 B;getItemValue:1061! | 2 B "
     "C;getItemValue:1061!"},
    {five, DO(getItemValue, "/l", 1, some, 3, out), "3 B D none",
     "0 null;getItemValue:1027! | 0;getItemValue:1039! | 1 B;getItemValue:1088!"},
    {five, DO(getItemValue, "/l", 1, twice, 2, out), "0 null; _checkOrder:255 error order in pos."},
    {five, DO(getItemValue, "/l", 0, last, 2, out), "0 null;getItemValue:1021 pos over range."},

    {five, DO(getItemValueByAttr, "/l", &attrs[0], 1, out), "4 B C D none",
     "1 null;getItemValueByAttr:1947! | 1 null;getItemValueByAttr:1968!"},
    {five, DO(getItemValueByAttr, "/l", attrs, 2, out), "1 C"},
    {five, DO(getItemValueByAttr, "/l", &attrs[2], 1, out), "0 null"},
    {five, DO(getItemValueByAttr, "/l", attrs, 0, out),
     "1 null;getItemValueByAttr:1908 invalid params."},

    {two, DO(setItemValue, "/l", 0, values, first, 2), "2; <l><item>P</item><item>&lt;</item></l>",
     "0;setNodeValue:1231! | 1;setNodeValue:1231!; <l><item>P</item><item>B</item></l>"},
    {parent, DO(setItemValue, "/l", 0, values, first, 3),
     "1;setNodeValue:1222 pNode is not leaf node.; "
     "<l><item>P</item><item><x/></item><item>C</item></l>"},

    {"<l/>", DO(addItem, "/l", items, XMLP_LAST, 2), R"(2; <l><item a="1">P</item><item/></l>)",
     "0;initNode:827! | 0; _item2Node:212! | 0;addNodeAttr:1314! | 0;addNodeAttr:1320! | "
     "0;addNodeAttr:1331! | 1;initNode:827!; <l><item a=\"1\">P</item></l>"},
    {"<l/>",
     [](XmlpDoc *d) {
         xmlp_addItem(d, "/l", &bare, 0, 1);
         const XmlpNode *item = d->tree->root->firstChild->firstChild;
         return shown(item != nullptr && item->type == XMLP_NODE_ITEM);
     },
     "1; <l><item/></l>"},
    {two, DO(addItem, "/l", items, 1, 2),
     R"(2; <l><item>A</item><item a="1">P</item><item/><item>B</item></l>)"},
    {"<l/>", DO(addItem, "/l", items, 1, 1), "0;addItem:1300 pos over range."},
    {"<a>x</a>", DO(addItem, "/a", items, 0, 1), "0;addItem:1259 error node type."},
    {"<l/>", DO(addItem, "/l", noAttrs, 0, 2), "0;addItem:1237 invalid params."},
    {"<l/>", DO(addItem, "/l", nullptr, 0, 1), "0;addItem:1237 invalid params."},

    {five, DO(deleteItem, "/l", 1, some, 3),
     R"(0; <l><item a="0">A</item><item a="1" b="">C</item></l>)"},
    {parent, DO(deleteItem, "/l", 0, first, 3),
     "0;delNode:1624 invalid params.; <l><item><x/></item></l>"},
    {two, DO(deleteItem, "/l", 0, last, 0), "0; <l/>"},
    {parent, DO(deleteItem, "/l", 0, last, 1),
     "-1;delNode:1624 invalid params.; <l><item><x/></item><item>C</item></l>"},
    {two, DO(deleteItem, "/l", 1, last, 0), "-1"},
    {two, DO(deleteItem, "/l", 1, first, 0), "-1;deleteItem:1351 invalid params."},
    {"<l/>", DO(deleteItem, "/l", 0, first, 0), "-1;deleteItem:1411 pos over range."},
    {two, DO(deleteItem, "/l", 0, first, 0), "0"},
    {five, DO(deleteItem, "/l", 0, &some[2], 0), "0"},

    {five, DO(getAttr, "/l/item", got), "0; a=0", "-1;getNodeAttr:1549!"},
    {five, DO(getItemAttr, "/l", 0, got, some, 2), "2; a=1; b"},
    {five, DO(getItemAttr, "/l", 1, got, some, 2), "1;getNodeAttr:1558 attribute not exist.; a=1"},
    {five, DO(setItemAttr, "/l", 1, attrs, some, 2), "1;setNodeAttr:1511 attribute not exist.",
     "0;setNodeAttr:1497!"},
    {two, DO(addItemAttr, "/l", 0, attrs, first, 2),
     R"(2; <l><item a="1">A</item><item b="">B</item></l>)"},
    {two, DO(addItemAttr, "/l", 0, attrs, last, 1), "0"},
    {five, DO(deleteItemAttr, "/l", 1, "a", some, 3),
     R"(3; <l><item a="0">A</item><item>B</item><item a="1" b="">C</item><item>D</item><item/></l>)"},
    {two, DO(deleteItemAttr, "/l", 0, nullptr, first, 1), "0;deleteItemAttr:1796 invalid params."},
};

TEST(XmlpPath, operationsDoWhatWasAskedFor)
{
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.xml) + " gives " + c.outcome);
        const faults::Outcomes outcomes = outcomesOf(c.xml, isDynamic, c.call);
        EXPECT_EQ(outcomes.success, c.outcome);
        if (c.failures != nullptr) { /* those of the other rows are alike */
            EXPECT_EQ(outcomes.failures, c.failures);
        }
    }
}

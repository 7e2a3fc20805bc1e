// The path-addressed interface: what each operation rejects, and what it makes of a document.
#include "tests/document.h"
#include "tests/faults.h"
#include "xmlp/xmlp_internal.h"

const uint32_t isDynamic = 0, isStatic = 1;

// What getters fill in beside their result.
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

// The result of the call on a fresh document, the lines it prints, the attributes it gives and,
// when it changed it, the document; separated by "; ". Also while one allocation after the other
// fails.
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

// A call, also as text for the messages of failing rows.
struct Call {
    const char *text;
    std::string (*make)(XmlpDoc *doc);
};

#define CALL(expression)                                             \
    {                                                                \
#expression, [](XmlpDoc * doc) { return shown(expression); } \
    }

static const char *p; // where the calls go
static uint32_t mode, ignored;
const uint32_t first[] = {0}, at[] = {1}, last[] = {XMLP_LAST}, some[] = {1, 3, 4},
               twice[] = {2, 2};
const XmlpValue empty = {0, nullptr};
const XmlpItem bare = {0, nullptr, 0, nullptr};

struct Rejections {
    Call call;
    const char *result;
    int lines[6]; // of the rejections below; 0 for none, -1 for one without a line
};

const Rejections operations[] = {
    {CALL(xmlp_isExist(doc, p)), "0", {388, 0, -1}},
    {CALL(xmlp_getValue(doc, p)), "1 null", {420, 0, 428, 433}},
    {CALL(xmlp_setValue(doc, p, "v", 1)), "-1", {484, 489, 496, 502}},
    {CALL(xmlp_setName(doc, p, "n")), "-1", {530, 535, 542}},
    {CALL(xmlp_add(doc, p, 0, "n", nullptr, nullptr, 0)), "-1", {579, 584, 591, 601}},
    {CALL(xmlp_getChildCount(doc, p)), "0", {690, 0, 697}},
    {CALL(xmlp_delete(doc, p)), "-1", {721, 726, 733}},
    {CALL(xmlp_getAttr(doc, p, got)), "-1", {776, 0, 783}},
    {CALL(xmlp_setAttr(doc, p, got)), "-1", {811, 816, 823}},
    {CALL(xmlp_addAttr(doc, p, got)), "-1", {851, 856, 863}},
    {CALL(xmlp_deleteAttr(doc, p, "k")), "-1", {891, 896, 903}},
    {CALL(xmlp_isItemExist(doc, p, 0)), "0", {932, 0, 940, 945}},
    {CALL(xmlp_getItemValue(doc, p, mode, at, 1, &ignored)),
     "1 null",
     {984, 0, 993, 998, 1016, 1021}},
    {CALL(xmlp_setItemValue(doc, p, mode, &empty, at, 1)),
     "0",
     {1131, 1136, 1144, 1149, 1167, 1172}},
    {CALL(xmlp_addItem(doc, p, &bare, 0, 1)), "0", {1237, 1242, 1250, 1259}},
    {CALL(xmlp_deleteItem(doc, p, mode, at, 1)), "-1", {1344, 1357, 1365, 1371, 1405, 1411}},
    {CALL(xmlp_getItemAttr(doc, p, mode, got, at, 1)), "0", {1474, 0, 1482, 1487, 1505, 1510}},
    {CALL(xmlp_setItemAttr(doc, p, mode, got, at, 1)), "0", {1578, 1583, 1591, 1596, 1614, 1619}},
    {CALL(xmlp_addItemAttr(doc, p, mode, got, at, 1)), "0", {1687, 1692, -1, 1705, 1723, -1}},
    {CALL(xmlp_deleteItemAttr(doc, p, mode, "k", at, 1)),
     "0",
     {1796, 1801, 1809, 1814, 1832, 1837}},
    {CALL(xmlp_getItemValueByAttr(doc, p, got, 1, &ignored)), "1 null", {1908, 0, 1916, 1921}},
};

TEST(Path, EveryOperationRejectsInTheSameOrder)
{
    const std::tuple<uint32_t, const char *, uint32_t, const char *> rejections[] = {
        {isStatic, nullptr, 2, " invalid params."},
        {isStatic, "/none", 2, " static xml."},
        {isDynamic, "/none", 2, " node not exist."},
        {isDynamic, "/l/item", 2, " error node type."},
        {isDynamic, "/l", 2, " unkown mode."},
        {isDynamic, "/l", XMLP_POS_RUN, " pos over range."},
    };
    for (const auto &[call, result, lines] : operations) {
        const int *line = lines;
        for (const auto &[kind, path, modeGiven, message] : rejections) {
            SCOPED_TRACE(call.text + std::string(message));
            p = path;
            mode = modeGiven;
            const std::string name = edit(call.text, "\\(.*", "");
            const std::string printed = "; " + name + ":" + std::to_string(*line) + message;
            if (*line != 0) {
                EXPECT_EQ(outcomesOf("<l><item>A</item></l>", kind, call.make).success,
                          result + (*line > 0 ? printed : ""));
            }
            line++;
        }
    }
}

struct Case {
    const char *xml;
    Call call;
    const char *outcome; // as outcomesOf tells it
    // The same while the first allocation fails, the second, ...; without " malloc failed.".
    const char *failures = nullptr;
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
    {"<a><b/></a>", CALL(xmlp_isExist(doc, "/a/b")), "1"},
    {"<a><b/></a>", CALL(xmlp_isExist(doc, "a")), "0"},
    {"<a/>", CALL(xmlp_isExist(doc, "/a/")), "0; xmlp_getChildNodeByName:1031 invalid params."},
    {"<a>&lt;</a>", CALL(xmlp_getValue(doc, "/a")), "1 <",
     "1 null; xmlp_getValue:440 | 1 null; xmlp_getValue:448"},
    {"<a/>", CALL(xmlp_getValue(doc, "/a")), "1 none"},
    {"<a><b/></a>", CALL(xmlp_getValue(doc, "/a")), "1 null; xmlp_getValue:433 error node type."},
    {"<a/>", CALL(xmlp_setValue(doc, "/a", "x", 1)), "-1; xmlp_setValue:502 error node type."},
    {"<a>x</a>", CALL(xmlp_setValue(doc, "/a", "y<", 2)), "0; <a>y&lt;</a>",
     "-1; xmlp_setNodeValue:1231"},
    {"<a>x</a>", CALL(xmlp_setValue(doc, "/a", nullptr, 0)), "0; <a/>"},
    {"<a/>", CALL(xmlp_setName(doc, "/a", "a")), "-1; xmlp_setNodeName:1173 node name existed."},
    {"<l><item><b/></item><item/></l>", CALL(xmlp_setName(doc, "/l/item", "n")),
     "0; <l><n><b/></n><item/></l>", "-1; xmlp_setNodeName:1181"},
    {"<a><b/></a>", CALL(xmlp_add(doc, "/a", 0, "n", &values[1], attrs, 2)),
     R"(0; <a><n a="1" b="">&lt;</n><b/></a>)",
     "-1; xmlp_initNode:827 | -1; xmlp_setNodeName:1181 | -1; xmlp_setNodeValue:1231 | -1; "
     "xmlp_addNodeAttr:1314 | -1; xmlp_addNodeAttr:1320 | -1; xmlp_addNodeAttr:1331 | -1; "
     "xmlp_addNodeAttr:1363 | -1; xmlp_addNodeAttr:1369"},
    {"<a><b/><c/></a>", CALL(xmlp_add(doc, "/a", 2, "n", nullptr, attrs, 0)),
     "0; <a><b/><c/><n/></a>"},
    {"<a><b/></a>", CALL(xmlp_add(doc, "/a", XMLP_LAST, "n", &empty, attrs, 0)),
     "0; <a><b/><n/></a>"},
    {"<a/>", CALL(xmlp_add(doc, "/a", 2, "n", nullptr, attrs, 0)),
     "-1; xmlp_addChildNode:1082 child[1] not found."},
    {"<a/>", // a structure, from then on
     CALL(xmlp_add(doc, "/a", 0, "", nullptr, attrs, 0) && xmlp_isItemExist(doc, "/a", 0)),
     "0; xmlp_setNodeName:1162 invalid params.; xmlp_isItemExist:945 error node type."},
    {"<a/>", CALL(xmlp_add(doc, "/a", 0, "n", nullptr, attrs, 3)),
     "-1; xmlp_addNodeAttr:1350 attribute existed."},
    {"<a>x</a>", CALL(xmlp_add(doc, "/a", 0, "n", nullptr, attrs, 0)),
     "-1; xmlp_add:601 error node type."},
    {"<a/>", CALL(xmlp_add(doc, "/a", 0, "n", nullptr, nullptr, 1)),
     "-1; xmlp_add:579 invalid params."},
    {"<a><b/><b/></a>", CALL(xmlp_getChildCount(doc, "/a")), "2"},
    {"<a><b/></a>", CALL(xmlp_delete(doc, "/")),
     "-1; xmlp_delete:739 not allow to delete root node."},
    {"<a><bc/><b><c/></b><d/></a>", CALL(xmlp_delete(doc, "/a/b")), "0; <a><bc/><d/></a>"},
    {R"(<a b="1"/>)", CALL(xmlp_setAttr(doc, "/a", &attrs[1])), R"(0; <a b=""/>)"},
    {R"(<a b="1"/>)", CALL(xmlp_addAttr(doc, "/a", &attrs[0])), R"(0; <a b="1" a="1"/>)",
     "-1; xmlp_addNodeAttr:1363 | -1; xmlp_addNodeAttr:1369 | -1; xmlp_addNodeAttr:1380"},
    {R"(<a b="1" bc="2" d="3"/>)", CALL(xmlp_deleteAttr(doc, "/a", "bc")),
     R"(0; <a b="1" d="3"/>)"},
    {"<a/>", CALL(xmlp_deleteAttr(doc, "/a", nullptr)), "-1; xmlp_deleteAttr:891 invalid params."},

    {two, CALL(xmlp_isItemExist(doc, "/l", 1)), "1"},
    {two, CALL(xmlp_isItemExist(doc, "/l", XMLP_LAST)), "0"},

    {five, CALL(xmlp_getItemValue(doc, "/l", 0, some, 3, out)), "3 B C D",
     "0 null; xmlp_getItemValue:1027 | 0; xmlp_getItemValue:1039 | 1 B; xmlp_getItemValue:1061 | 2 "
     "B C; xmlp_getItemValue:1061"},
    {five, CALL(xmlp_getItemValue(doc, "/l", 1, some, 3, out)), "3 B D none",
     "0 null; xmlp_getItemValue:1027 | 0; xmlp_getItemValue:1039 | 1 B; xmlp_getItemValue:1088"},
    {five, CALL(xmlp_getItemValue(doc, "/l", 1, twice, 2, out)),
     "0 null; _checkOrder:255 error order in pos."},
    {five, CALL(xmlp_getItemValue(doc, "/l", 0, last, 2, out)),
     "0 null; xmlp_getItemValue:1021 pos over range."},

    {five, CALL(xmlp_getItemValueByAttr(doc, "/l", &attrs[0], 1, out)), "4 B C D none",
     "1 null; xmlp_getItemValueByAttr:1947 | 1 null; xmlp_getItemValueByAttr:1968"},
    {five, CALL(xmlp_getItemValueByAttr(doc, "/l", attrs, 2, out)), "1 C"},
    {five, CALL(xmlp_getItemValueByAttr(doc, "/l", &attrs[2], 1, out)), "0 null"},
    {five, CALL(xmlp_getItemValueByAttr(doc, "/l", attrs, 0, out)),
     "1 null; xmlp_getItemValueByAttr:1908 invalid params."},

    {two, CALL(xmlp_setItemValue(doc, "/l", 0, values, first, 2)),
     "2; <l><item>P</item><item>&lt;</item></l>",
     "0; xmlp_setNodeValue:1231 | 1; xmlp_setNodeValue:1231; <l><item>P</item><item>B</item></l>"},
    {parent, CALL(xmlp_setItemValue(doc, "/l", 0, values, first, 3)),
     "1; xmlp_setNodeValue:1222 pNode is not leaf node.; "
     "<l><item>P</item><item><x/></item><item>C</item></l>"},

    {"<l/>", CALL(xmlp_addItem(doc, "/l", items, XMLP_LAST, 2)),
     R"(2; <l><item a="1">P</item><item/></l>)",
     "0; xmlp_initNode:827 | 0; _item2Node:212 | 0; xmlp_addNodeAttr:1314 | 0; "
     "xmlp_addNodeAttr:1320 | 0; xmlp_addNodeAttr:1331 | 1; xmlp_initNode:827; <l><item "
     "a=\"1\">P</item></l>"},
    {"<l/>", CALL(xmlp_addItem(doc, "/l", &bare, 0, 1) && xmlp_seekXml(doc, "/l/item")->type == 4),
     "1; <l><item/></l>"},
    {two, CALL(xmlp_addItem(doc, "/l", items, 1, 2)),
     R"(2; <l><item>A</item><item a="1">P</item><item/><item>B</item></l>)"},
    {"<l/>", CALL(xmlp_addItem(doc, "/l", items, 1, 1)), "0; xmlp_addItem:1300 pos over range."},
    {"<a>x</a>", CALL(xmlp_addItem(doc, "/a", items, 0, 1)),
     "0; xmlp_addItem:1259 error node type."},
    {"<l/>", CALL(xmlp_addItem(doc, "/l", noAttrs, 0, 2)), "0; xmlp_addItem:1237 invalid params."},
    {"<l/>", CALL(xmlp_addItem(doc, "/l", nullptr, 0, 1)), "0; xmlp_addItem:1237 invalid params."},

    {five, CALL(xmlp_deleteItem(doc, "/l", 1, some, 3)),
     R"(0; <l><item a="0">A</item><item a="1" b="">C</item></l>)"},
    {parent, CALL(xmlp_deleteItem(doc, "/l", 0, first, 3)),
     "0; xmlp_delNode:1624 invalid params.; <l><item><x/></item></l>"},
    {two, CALL(xmlp_deleteItem(doc, "/l", 0, last, 0)), "0; <l/>"},
    {parent, CALL(xmlp_deleteItem(doc, "/l", 0, last, 1)),
     "-1; xmlp_delNode:1624 invalid params.; <l><item><x/></item><item>C</item></l>"},
    {two, CALL(xmlp_deleteItem(doc, "/l", 1, last, 0)), "-1"},
    {two, CALL(xmlp_deleteItem(doc, "/l", 1, first, 0)),
     "-1; xmlp_deleteItem:1351 invalid params."},
    {"<l/>", CALL(xmlp_deleteItem(doc, "/l", 0, first, 0)),
     "-1; xmlp_deleteItem:1411 pos over range."},
    {two, CALL(xmlp_deleteItem(doc, "/l", 0, first, 0)), "0"},
    {five, CALL(xmlp_deleteItem(doc, "/l", 0, &some[2], 0)), "0"},

    {five, CALL(xmlp_getAttr(doc, "/l/item", got)), "0; a=0", "-1; xmlp_getNodeAttr:1549"},
    {five, CALL(xmlp_getItemAttr(doc, "/l", 0, got, some, 2)), "2; a=1; b"},
    {five, CALL(xmlp_getItemAttr(doc, "/l", 1, got, some, 2)),
     "1; xmlp_getNodeAttr:1558 attribute not exist.; a=1"},
    {five, CALL(xmlp_setItemAttr(doc, "/l", 1, attrs, some, 2)),
     "1; xmlp_setNodeAttr:1511 attribute not exist.", "0; xmlp_setNodeAttr:1497"},
    {two, CALL(xmlp_addItemAttr(doc, "/l", 0, attrs, first, 2)),
     R"(2; <l><item a="1">A</item><item b="">B</item></l>)"},
    {two, CALL(xmlp_addItemAttr(doc, "/l", 0, attrs, last, 1)), "0"},
    {five, CALL(xmlp_deleteItemAttr(doc, "/l", 1, "a", some, 3)),
     R"(3; <l><item a="0">A</item><item>B</item><item a="1" b="">C</item><item>D</item><item/></l>)"},
    {two, CALL(xmlp_deleteItemAttr(doc, "/l", 0, nullptr, first, 1)),
     "0; xmlp_deleteItemAttr:1796 invalid params."},
};

TEST(Path, OperationsDoWhatTheyAreCalledFor)
{
    for (const Case &c : cases) {
        SCOPED_TRACE(c.call.text + std::string(" on ") + c.xml);
        const faults::Outcomes outcomes = outcomesOf(c.xml, isDynamic, c.call.make);
        EXPECT_EQ(outcomes.success, c.outcome);
        if (c.failures != nullptr) { // those of the other rows are alike
            EXPECT_EQ(edit(outcomes.failures, " malloc failed\\.", ""), c.failures);
        }
    }
}

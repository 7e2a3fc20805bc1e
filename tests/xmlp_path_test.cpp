/*
 * The path-addressed interface: what each operation refuses, and what it makes of a document.
 */
#include "tests/document.h"
#include "tests/faults.h"
#include "xmlp/xmlp_internal.h"

#include <string.h>

namespace
{

const uint32_t isDynamic = 0;
const uint32_t isStatic = 1;

/* ---- A call, and all that comes of it as one text ------------------------------------------ */

uint32_t filled; /* what a getter reports beside its result */
uint32_t *const out = &filled;

std::string shown(int64_t number)
{
    return std::to_string(number);
}

std::string shown(XmlpValue *values)
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
 * The result of the call on a fresh document, the lines it prints and, when it changed it, the
 * document; separated by "; ". Also while one allocation after the other fails.
 */
template <typename Call>
faults::Outcomes outcomesOf(const std::string &xml, uint32_t kind, Call call)
{
    Document doc(nullptr, xmlp_releaseDoc);
    const auto before = [&] {
        doc = loaded(xml, kind);
        filled = 1;
    };
    const auto after = [&] {
        const std::string changed = dumped(doc, 1);
        doc.reset();
        return changed != xml ? "; " + changed : "";
    };
    faults::Outcomes all = faults::outcomesOf(
        before, [&] { return call(doc.get()); }, after, [] {});
    EXPECT_EQ(all.kept.text, "");
    return all;
}

/* ---- The frame around every operation ------------------------------------------------------ */

struct FrameCase {
    const char *name;
    const char *refused;
    int lines[6]; /* of the refusals below; 0 for a silent one, -1 for none */
    std::string (*call)(XmlpDoc *d, const char *p, uint32_t mode, const uint32_t *pos);
};

/* clang-format off */
#define FRAME(name, refused, params, fixed, exist, type, mode, range, arguments) \
    {#name, refused, {params, fixed, exist, type, mode, range}, \
     []([[maybe_unused]] auto *d, [[maybe_unused]] auto *p, [[maybe_unused]] auto m, \
        [[maybe_unused]] auto *pos) { return shown(xmlp_##name arguments); }}
/* clang-format on */

XmlpAttrPair pair = {"k", nullptr};
const XmlpValue empty = {0, nullptr};
const XmlpItem bare = {0, nullptr, 0, nullptr};
const uint32_t first[] = {0};
const uint32_t beyond[] = {1};
uint32_t ignored;

const FrameCase frameCases[] = {
    FRAME(isExist, "0", 388, -1, 0, -1, -1, -1, (d, p)),
    FRAME(getValue, "1 null", 420, -1, 428, 433, -1, -1, (d, p)),
    FRAME(setValue, "-1", 484, 489, 496, 502, -1, -1, (d, p, "v", 1)),
    FRAME(setName, "-1", 530, 535, 542, -1, -1, -1, (d, p, "n")),
    FRAME(add, "-1", 579, 584, 591, 601, -1, -1, (d, p, 0, "n", nullptr, nullptr, 0)),
    FRAME(getChildCount, "0", 690, -1, 697, -1, -1, -1, (d, p)),
    FRAME(delete, "-1", 721, 726, 733, -1, -1, -1, (d, p)),
    FRAME(getAttr, "-1", 776, -1, 783, -1, -1, -1, (d, p, &pair)),
    FRAME(setAttr, "-1", 811, 816, 823, -1, -1, -1, (d, p, &pair)),
    FRAME(addAttr, "-1", 851, 856, 863, -1, -1, -1, (d, p, &pair)),
    FRAME(deleteAttr, "-1", 891, 896, 903, -1, -1, -1, (d, p, "k")),
    FRAME(isItemExist, "0", 932, -1, 940, 945, -1, -1, (d, p, 0)),
    FRAME(getItemValue, "1 null", 984, -1, 993, 998, 1016, 1021, (d, p, m, pos, 1, &ignored)),
    FRAME(setItemValue, "0", 1131, 1136, 1144, 1149, 1167, 1172, (d, p, m, &empty, pos, 1)),
    FRAME(addItem, "0", 1237, 1242, 1250, 1259, -1, -1, (d, p, &bare, 0, 1)),
    FRAME(deleteItem, "-1", 1344, 1357, 1365, 1371, 1405, 1411, (d, p, m, pos, 1)),
    FRAME(getItemAttr, "0", 1474, -1, 1482, 1487, 1505, 1510, (d, p, m, &pair, pos, 1)),
    FRAME(setItemAttr, "0", 1578, 1583, 1591, 1596, 1614, 1619, (d, p, m, &pair, pos, 1)),
    FRAME(addItemAttr, "0", 1687, 1692, 0, 1705, 1723, 0, (d, p, m, &pair, pos, 1)),
    FRAME(deleteItemAttr, "0", 1796, 1801, 1809, 1814, 1832, 1837, (d, p, m, "k", pos, 1)),
    FRAME(getItemValueByAttr, "1 null", 1908, -1, 1916, 1921, -1, -1, (d, p, &pair, 1, &ignored)),
};

TEST(XmlpPath, everyOperationRefusesInTheSameOrder)
{
    const std::tuple<uint32_t, const char *, uint32_t, const char *> refusals[] = {
        {isStatic, nullptr, 2, " invalid params."},
        {isStatic, "/none", 2, " static xml."},
        {isDynamic, "/none", 2, " node not exist."},
        {isDynamic, "/r", 2, " error node type."},
        {isDynamic, "/r/l", 2, " unkown mode."},
        {isDynamic, "/r/l", XMLP_POS_RUN, " pos over range."},
    };
    for (const FrameCase &c : frameCases) {
        for (size_t i = 0; i < 6; i++) {
            const auto &[kind, path, mode, message] = refusals[i];
            const bool isAddBelowValue = i == 3 && strcmp(c.name, "add") == 0;
            const auto call = [&, p = isAddBelowValue ? "/r/v" : path, m = mode](XmlpDoc *doc) {
                return c.call(doc, p, m, beyond);
            };
            const int line = c.lines[i];
            const std::string report = std::string("; ") + c.name + ":" + shown(line) + message;
            if (line >= 0) {
                EXPECT_EQ(outcomesOf("<r><v>x</v><l><item/></l></r>", kind, call).success,
                          c.refused + (line != 0 ? report : ""));
            }
        }
    }
}

/* ---- What the operations do ---------------------------------------------------------------- */

std::string typeAfterFailedAdd(XmlpDoc *doc)
{
    const int status = xmlp_add(doc, "/a", 0, "", nullptr, nullptr, 0);
    return shown(status) + " " + shown(xmlp_seekXml(doc, "/a")->type);
}

std::string attrValues(XmlpDoc *doc)
{
    const uint32_t pos[] = {2};
    XmlpAttrPair got[] = {{"a", nullptr}, {"b", nullptr}, {"a", nullptr}};
    uint32_t done = xmlp_getItemAttr(doc, "/l", XMLP_POS_RUN, got, pos, 2);
    done += xmlp_getAttr(doc, "/l/item", &got[2]) == 0;
    std::string result = shown(done);
    for (const XmlpAttrPair &attr : got) {
        result += std::string(" ") + (attr.value != nullptr ? attr.value : "none");
        free(attr.value);
    }
    return result;
}

struct Case {
    const char *xml;
    std::string (*call)(XmlpDoc *d);
    const char *outcome;
    const char *failures = nullptr; /* while the first allocation fails, the second, ... */
};

#define DO(name, ...) [](XmlpDoc *d) { return shown(xmlp_##name(d, __VA_ARGS__)); }

const uint32_t last[] = {XMLP_LAST};
const uint32_t some[] = {1, 3, 4};
const uint32_t twice[] = {2, 2};
const uint32_t passing[] = {0, XMLP_LAST};
char one[] = "1";
char three[] = "3";
unsigned char letter[] = "P";
unsigned char mark[] = "<";
const XmlpAttrPair attrs[] = {{"a", one}, {"b", nullptr}, {"a", three}};
const XmlpValue values[] = {{1, letter}, {1, mark}, {0, nullptr}};
const XmlpItem items[] = {{2, attrs, 1, letter}, bare, {3, attrs, 1, letter}};
const XmlpItem noAttrs[] = {bare, {1, nullptr, 0, nullptr}};

const char *const two = "<l><item>A</item><item>B</item></l>";
const char *const parent = "<l><item>A</item><item><x/></item><item>C</item></l>";
const char *const five = R"(<l><item a="0">A</item><item a="1">B</item><item a="1" b="">C</item>)"
                         R"(<item a="1">D</item><item a="1"/></l>)";

const Case cases[] = {
    {"<a><b/></a>", DO(isExist, "/a/b"), "1"},
    {"<a><b/></a>", DO(isExist, "a"), "0"},
    {"<a/>", DO(isExist, "/a/"), "0; getChildNodeByName:1031 invalid params."},
    {"<a>1 &lt; 2</a>", DO(getValue, "/a"), "1 1 < 2",
     "1 null; getValue:440! | 1 null; getValue:448!"},
    {"<a/>", DO(getValue, "/a"), "1 none"},
    {"<a/>", DO(setValue, "/a", "x", 1), "-1; setValue:502 error node type."},
    {"<a>x</a>", DO(setValue, "/a", "y<", 2), "0; <a>y&lt;</a>", "-1; setNodeValue:1231!"},
    {"<a>x</a>", DO(setValue, "/a", nullptr, 0), "0; <a/>"},
    {"<a/>", DO(setName, "/a", "a"), "-1; setNodeName:1173 node name existed."},
    {"<l><item>A</item></l>", DO(setName, "/l/item", "n"), "0; <l><n>A</n></l>",
     "-1; setNodeName:1181!"},
    {"<a><b/></a>", DO(add, "/a", 0, "n", &values[1], attrs, 2),
     R"(0; <a><n a="1" b="">&lt;</n><b/></a>)",
     "-1; initNode:827! | -1; setNodeName:1181! | -1; setNodeValue:1231! | -1; addNodeAttr:1314! | "
     "-1; addNodeAttr:1320! | -1; addNodeAttr:1331! | -1; addNodeAttr:1363! | -1; "
     "addNodeAttr:1369!"},
    {"<a><b/><c/></a>", DO(add, "/a", 1, "n", nullptr, nullptr, 0), "0; <a><b/><n/><c/></a>"},
    {"<a><b/></a>", DO(add, "/a", XMLP_LAST, "n", &empty, nullptr, 0), "0; <a><b/><n/></a>"},
    {"<a/>", DO(add, "/a", 2, "n", nullptr, nullptr, 0),
     "-1; addChildNode:1082 child[1] not found."},
    {"<a/>", typeAfterFailedAdd, "-1 1; setNodeName:1162 invalid params."},
    {"<a/>", DO(add, "/a", 0, "n", nullptr, attrs, 3), "-1; addNodeAttr:1350 attribute existed."},
    {"<a/>", DO(add, "/a", 0, "n", nullptr, nullptr, 1), "-1; add:579 invalid params."},
    {"<a><b/><b/></a>", DO(getChildCount, "/a"), "2"},
    {"<a><b/></a>", DO(delete, "/"), "-1; delete:739 not allow to delete root node."},
    {"<a><b><c/></b><d/></a>", DO(delete, "/a/b"), "0; <a><d/></a>"},
    {R"(<a b="1"/>)", DO(setAttr, "/a", &attrs[1]), R"(0; <a b=""/>)"},
    {R"(<a b="1"/>)", DO(addAttr, "/a", &attrs[0]), R"(0; <a b="1" a="1"/>)",
     "-1; addNodeAttr:1363! | -1; addNodeAttr:1369! | -1; addNodeAttr:1380!"},
    {R"(<a b="1"/>)", DO(deleteAttr, "/a", "b"), "0; <a/>"},
    {"<a/>", DO(deleteAttr, "/a", nullptr), "-1; deleteAttr:891 invalid params."},

    {two, DO(isItemExist, "/l", 1), "1"},
    {two, DO(isItemExist, "/l", XMLP_LAST), "0"},

    {five, DO(getItemValue, "/l", 0, some, 3, out), "3 B C D",
     "0 null; getItemValue:1027! | 0; getItemValue:1039! | 1 B; getItemValue:1061! | 2 B C ~"},
    {five, DO(getItemValue, "/l", 1, some, 3, out), "3 B D none",
     "0 null; getItemValue:1027! | 0; getItemValue:1039! | 1 B; getItemValue:1088!"},
    {five, DO(getItemValue, "/l", 1, twice, 2, out), "0 null; _checkOrder:255 error order in pos."},
    {five, DO(getItemValue, "/l", 0, last, 2, out), "0 null; getItemValue:1021 pos over range."},
    {five, DO(getItemValue, "/l", 1, passing, 2, out), "0 null; getItemValue:1021 pos over range."},
    {five, DO(getItemValue, "/l", 0, first, 0, out), "1 null; getItemValue:984 invalid params."},

    {five, DO(getItemValueByAttr, "/l", &attrs[0], 1, out), "4 B C D none",
     "1 null; getItemValueByAttr:1947! | 1 null; getItemValueByAttr:1968!"},
    {five, DO(getItemValueByAttr, "/l", attrs, 2, out), "1 C"},
    {five, DO(getItemValueByAttr, "/l", &attrs[2], 1, out), "0 null"},
    {five, DO(getItemValueByAttr, "/l", attrs, 0, out),
     "1 null; getItemValueByAttr:1908 invalid params."},

    {two, DO(setItemValue, "/l", 0, values, first, 2), "2; <l><item>P</item><item>&lt;</item></l>",
     "0; setNodeValue:1231! | 1; setNodeValue:1231!; <l><item>P</item><item>B</item></l>"},
    {parent, DO(setItemValue, "/l", 0, values, first, 3),
     "1; setNodeValue:1222 pNode is not leaf node.; "
     "<l><item>P</item><item><x/></item><item>C</item></l>"},

    {"<l/>", DO(addItem, "/l", items, XMLP_LAST, 2),
     R"(2; <l><item a="1" b="">P</item><item/></l>)",
     R"(0; initNode:827! | 0; _item2Node:212! | 0; addNodeAttr:1314! | 0; addNodeAttr:1320! | )"
     R"(0; addNodeAttr:1331! | 0; addNodeAttr:1363! | 0; addNodeAttr:1369! | )"
     R"(1; initNode:827!; <l><item a="1" b="">P</item></l>)"},
    {two, DO(addItem, "/l", items, 1, 2),
     R"(2; <l><item>A</item><item a="1" b="">P</item><item/><item>B</item></l>)"},
    {"<l/>", DO(addItem, "/l", items, 1, 1), "0; addItem:1300 pos over range."},
    {"<l/>", DO(addItem, "/l", &items[1], 0, 2),
     "1; addNodeAttr:1350 attribute existed.; <l><item/></l>"},
    {"<l/>", DO(addItem, "/l", &items[2], 7, 1), "0; addNodeAttr:1350 attribute existed."},
    {"<l/>", DO(addItem, "/l", noAttrs, 0, 2), "0; addItem:1237 invalid params."},
    {"<l/>", DO(addItem, "/l", nullptr, 0, 1), "0; addItem:1237 invalid params."},

    {five, DO(deleteItem, "/l", 1, some, 3),
     R"(0; <l><item a="0">A</item><item a="1" b="">C</item></l>)"},
    {parent, DO(deleteItem, "/l", 0, first, 3),
     "0; delNode:1624 invalid params.; <l><item><x/></item></l>"},
    {two, DO(deleteItem, "/l", 0, last, 0), "0; <l/>"},
    {parent, DO(deleteItem, "/l", 0, last, 1),
     "-1; delNode:1624 invalid params.; <l><item><x/></item><item>C</item></l>"},
    {two, DO(deleteItem, "/l", 1, last, 0), "-1"},
    {two, DO(deleteItem, "/l", 1, last, 1), "-1; deleteItem:1411 pos over range."},
    {two, DO(deleteItem, "/l", 1, first, 0), "-1; deleteItem:1351 invalid params."},
    {"<l/>", DO(deleteItem, "/l", 0, first, 0), "0"},
    {five, DO(deleteItem, "/l", 0, &some[2], 0), "0"},
    {two, DO(deleteItem, "/l", 0, &some[1], 0), "-1; deleteItem:1411 pos over range."},

    {five, attrValues, "2 1 none 0; getNodeAttr:1558 attribute not exist.",
     "1 none none 0; getNodeAttr:1549! | 1 1 none none; getNodeAttr:1558 attribute not exist. ~"},
    {five, DO(setItemAttr, "/l", 1, attrs, some, 2), "1; setNodeAttr:1511 attribute not exist.",
     "0; setNodeAttr:1497!"},
    {two, DO(addItemAttr, "/l", 0, attrs, first, 2),
     R"(2; <l><item a="1">A</item><item b="">B</item></l>)",
     R"(0; addNodeAttr:1314! | 0; addNodeAttr:1320! | 0; addNodeAttr:1331! | )"
     R"(1; addNodeAttr:1314!; <l><item a="1">A</item><item>B</item></l> | )"
     R"(1; addNodeAttr:1320! ~)"},
    {two, DO(addItemAttr, "/l", 0, attrs, last, 1), "0"},
    {five, DO(deleteItemAttr, "/l", 1, "a", some, 3),
     R"(3; <l><item a="0">A</item><item>B</item><item a="1" b="">C</item><item>D</item><item/></l>)"},
    {two, DO(deleteItemAttr, "/l", 0, nullptr, first, 1), "0; deleteItemAttr:1796 invalid params."},
};

TEST(XmlpPath, operationsDoWhatWasAskedFor)
{
    for (const Case &c : cases) {
        const faults::Outcomes outcomes = outcomesOf(c.xml, isDynamic, c.call);
        EXPECT_EQ(outcomes.success, c.outcome);
        if (c.failures != nullptr) { /* those of the other rows are alike */
            EXPECT_EQ(outcomes.failures.text, c.failures) << c.xml;
        }
    }
}

} // namespace

// Texts that are meant to make a reader slow, all as long as the longest that a loader reads.
//
// Benchmarks are named hostile/TEXT/OPERATION. Most of the texts are rejected, some of them with
// thousands of printed lines; what counts is that it does not take long.

#include "appmngr/appmngr.h"
#include "bench/benchmarks.h"
#include "loader/loader.h"
#include "xmlp/xmlp.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <string>

namespace bench
{

namespace
{

constexpr size_t SIZE = 204799;

std::string padded(std::string text)
{
    text.resize(SIZE, ' ');
    return text;
}

// head, as many pieces as there is room for, tail, and blanks up to the size. makePiece is given
// the number of the piece.
template <typename Piece>
std::string fill(const std::string &head, const std::string &tail, Piece makePiece)
{
    std::string text = head;
    std::string piece = makePiece(0);
    for (size_t i = 1; text.size() + piece.size() + tail.size() <= SIZE; i++) {
        text += piece;
        piece = makePiece(i);
    }
    return padded(text + tail);
}

std::string repeat(const std::string &head, const std::string &piece, const std::string &tail)
{
    return fill(head, tail, [&piece](size_t /*i*/) { return piece; });
}

std::string nested(const std::string &name)
{
    const std::string open = "<" + name + ">";
    const std::string close = "</" + name + ">";
    std::string text;
    const size_t depth = SIZE / (open.size() + close.size());
    for (size_t i = 0; i < depth; i++) {
        text += open;
    }
    for (size_t i = 0; i < depth; i++) {
        text += close;
    }
    return padded(text);
}

// Letters without a short period.
std::string letters(size_t count)
{
    std::string text;
    uint32_t state = 1;
    while (count-- > 0) {
        state = state * 1664525 + 1013904223;
        text += static_cast<char>('a' + (state >> 24) % 26);
    }
    return text;
}

#define TUPLE "<tuple>tcp 0:0 0:0</tuple>"

// A small application database with as many pieces more in its rule as there is room for.
std::string inRule(const std::string &piece)
{
    return repeat("<AppDB><appTypeList><appType><id>1</id></appType></appTypeList><appList><app>"
                  "<id>1</id><ruleList><rule><tupleList>" TUPLE,
                  piece, "</tupleList></rule></ruleList></app></appList></AppDB>");
}

const struct {
    const char *name;
    std::string (*make)();
} texts[] = {
    {"attributes of one tag",
     [] { return fill("<a", "/>", [](size_t i) { return " b" + std::to_string(i) + "=\"1\""; }); }},
    {"long attribute names",
     [] {
         return fill("<a", "/>", [](size_t i) {
             return " " + std::string(1, static_cast<char>('A' + i)) + letters(10000) + "=\"1\"";
         });
     }},
    {"attribute names that begin alike",
     [] {
         return fill("<a", "/>", [](size_t i) { return " " + std::string(i + 1, 'b') + "=\"\""; });
     }},
    {"one long attribute value", [] { return repeat("<a b=\"", "c", "\"/>"); }},
    {"distinct names",
     [] { return fill("<a>", "</a>", [](size_t i) { return "<" + std::to_string(i) + "/>"; }); }},
    {"distinct attribute values",
     [] {
         return fill("<a>", "</a>",
                     [](size_t i) { return "<b c=\"" + std::to_string(i) + "\"/>"; });
     }},
    {"one long name", [] { return padded("<" + letters(SIZE - 3) + "/>"); }},
    {"names that end alike",
     [] {
         return fill("<a>", "</a>",
                     [](size_t i) { return "<" + letters(640).substr(i < 640 ? i : 639) + "/>"; });
     }},
    {"names that end alike, rising",
     [] {
         return fill("<a>", "</a>", [](size_t i) { return "<" + std::string(i + 1, 'b') + "/>"; });
     }},
    {"a long name in start and end tag",
     [] {
         const std::string name = letters(SIZE / 2 - 3);
         return padded("<" + name + "></" + name + ">");
     }},
    {"short elements", [] { return repeat("<a>", "<b/>", "</a>"); }},
    {"items", [] { return repeat("<a>", "<item>1</item>", "</a>"); }},
    {"nested", [] { return nested("a"); }},
    {"nested, never closed", [] { return repeat("", "<a>", ""); }},
    {"nested rules", [] { return nested("rule"); }},
    {"nested, faulty inside",
     [] {
         std::string text = nested("a");
         text[text.find("</")] = '&';
         return text;
     }},
    {"entities", [] { return repeat("<a>", "&amp;", "</a>"); }},
    {"ampersands", [] { return repeat("<a>", "&", "</a>"); }},
    {"one opening bracket after the other", [] { return repeat("", "<", ""); }},
    {"one closing bracket after the other", [] { return repeat("<a>", ">", ""); }},
    {"end tags", [] { return repeat("<a>", "</a>", ""); }},
    {"quotation marks", [] { return repeat("<a ", "\"", "/>"); }},
    {"blanks in a tag", [] { return repeat("<a ", " ", "/>"); }},
    {"blanks", [] { return repeat("", " ", ""); }},
    {"a declaration without end", [] { return repeat("<?", "x", ""); }},
    {"broken UTF-8", [] { return repeat("<a>", "\xF4\xC3\xE2\x80\xFF\xF0", "</a>"); }},
    {"broken UTF-8 in names", [] { return repeat("<a><", "\xE2\xC3\xFF", "/></a>"); }},
    {"NUL bytes", [] { return repeat("<a>", std::string(1, '\0'), "</a>"); }},
    {"tuples", [] { return inRule(TUPLE); }},
    {"faulty tuples", [] { return inRule("<tuple>x</tuple>"); }},
    {"rules in rules",
     [] { return inRule(TUPLE "<rule><tupleList>" TUPLE TUPLE "</tupleList></rule>"); }},
    {"types without definition", [] { return inRule("<typeId>9</typeId>"); }},
};

template <uint32_t isStatic> void load(const std::string &text)
{
    xmlp_releaseDoc(xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), isStatic));
}

// The text is in the buffer of a load already.
void analyze(const std::string & /*text*/)
{
    appmngr_dbReInit();
    benchmark::DoNotOptimize(appmngr_analyzeDbFile());
}

const struct {
    const char *name;
    void (*run)(const std::string &text);
} operations[] = {{"static", load<1>}, {"dynamic", load<0>}, {"analyze", analyze}};

} // namespace

void addHostileBenchmarks()
{
    for (const auto &row : texts) {
        for (const auto &operation : operations) {
            const std::string name = std::string("hostile/") + row.name + "/" + operation.name;
            benchmark::RegisterBenchmark(name.c_str(), [&](benchmark::State &state) {
                const std::string text = row.make();
                if (appmngr_file_alloc() != 0) {
                    state.SkipWithError("no memory");
                    return;
                }
                memcpy(g_appmngr_xmlBuf, text.c_str(), SIZE + 1);
                for (auto _ : state) {
                    operation.run(text);
                }
                appmngr_dbReInit();
                appmngr_file_free();
            });
        }
    }
}

} // namespace bench

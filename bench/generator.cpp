#include "bench/generator.h"

#include <cstdint>
#include <iterator>
#include <random>

namespace bench
{

namespace
{

/* ---- Words ----------------------------------------------------------------------------- */

const char *const consonants[] = {"b", "c", "d", "f",  "g",  "h",  "k",  "l",  "m",  "n",
                                  "p", "r", "s", "t",  "v",  "w",  "br", "st", "th", "qu",
                                  "x", "z", "j", "cl", "fr", "gr", "pl", "sh", "tr", "y"};
const char *const vowels[] = {"a", "e", "i", "o", "u", "ar", "en", "il", "or", "un"};
const char *const wares[] = {"News", "Mail", "Maps",  "Calls",  "Music", "Video", "Cloud", "Games",
                             "Shop", "Chat", "Radio", "Update", "Drive", "Photo", "Books", "Meet"};
const char *const protocols[] = {"tcp", "tcp", "tcp", "udp"};
const char *const ports[] = {"443", "80", "8080", "5222", "3478"};
const char *const patterns[] = {"GET /", "POST /api/", "Host: ", "&lt;stream to='", "User-Agent: "};
const char *const types[] = {"Web",       "Mail",   "Streaming", "Games", "Messaging", "Files",
                             "Telephony", "Social", "Shopping",  "News",  "Work",      "Updates"};
const char *const attributeWords[] = {"port", "label", "vendor", "serial", "zone", "rate"};
const char *const levels[] = {"region", "site", "rack", "shelf", "slot", "card", "lane", "unit"};
const char *const proseWords[] = {
    "the",    "river", "runs",  "below", "an",     "old",      "bridge", "and",     "nobody",
    "counts", "boats", "&amp;", "&lt;b", "&gt;",   "café",     "straße", "naïve",   "Ørsted",
    "λόγος",  "мост",  "道路",  "川",    "summer", "lanterns", "🙂",   "evening", "water"};

// The standard's distributions differ from library to library, its engines do not. Two numbers
// are never drawn in one expression, since compilers differ in the order.
class Random
{
public:
    explicit Random(uint32_t seed) : engine_(seed) {}

    uint32_t below(uint32_t limit)
    {
        return static_cast<uint32_t>(engine_() % limit);
    }

    // A number from low to high.
    std::string number(uint32_t low, uint32_t high)
    {
        return std::to_string(low + below(high - low + 1));
    }

    bool chance(uint32_t percent)
    {
        return below(100) < percent;
    }

    template <typename Words> std::string of(const Words &words)
    {
        return words[below(static_cast<uint32_t>(std::size(words)))];
    }

    std::string word(uint32_t syllables)
    {
        std::string text;
        while (syllables-- > 0) {
            text += of(consonants);
            text += of(vowels);
        }
        return text;
    }

    std::string hex(uint32_t digits)
    {
        std::string text;
        while (digits-- > 0) {
            text += "0123456789abcdef"[below(16)];
        }
        return text;
    }

private:
    std::mt19937 engine_;
};

/* ---- Database -------------------------------------------------------------------------- */

// Elements one below the other, indented by two blanks a level.
class Outline
{
public:
    explicit Outline(size_t depth) : depth_(depth) {}

    void open(const char *name)
    {
        indent();
        text += std::string("<") + name + ">\n";
        depth_++;
    }

    void close(const char *name)
    {
        depth_--;
        indent();
        text += std::string("</") + name + ">\n";
    }

    void leaf(const char *name, const std::string &value)
    {
        indent();
        text += std::string("<") + name + ">" + value + "</" + name + ">\n";
    }

    std::string text;

private:
    void indent()
    {
        text.append(2 * depth_, ' ');
    }

    size_t depth_;
};

void addSignature(Outline &outline, Random &random, const char *direction)
{
    outline.open(direction);
    outline.leaf("enable", "1");
    outline.open("segment");
    outline.leaf("start", random.number(0, 7));
    outline.leaf("end", random.number(16, 1400));
    outline.close("segment");
    outline.leaf("minlength", random.number(8, 200));
    if (random.chance(65)) {
        outline.leaf("dpiType", "hex");
        outline.leaf("dpiCode", random.hex(48 + 2 * random.below(64)));
    } else {
        outline.leaf("dpiType", "string");
        const std::string pattern = random.of(patterns);
        outline.leaf("dpiCode", pattern + random.word(8 + random.below(12)));
    }
    outline.close(direction);
}

void addRule(Outline &outline, Random &random)
{
    outline.open("rule");
    outline.open("tupleList");
    for (uint32_t left = random.chance(15) ? 2 : 1; left > 0; left--) {
        std::string tuple = random.of(protocols) + " 0:0 198.";
        tuple += random.number(18, 19) + "."; // the addresses set aside for benchmarks
        tuple += random.number(0, 255) + ".";
        tuple += random.number(0, 255) + ":";
        tuple += random.chance(40) ? random.of(ports) : random.number(1024, 65535);
        outline.leaf("tuple", tuple);
    }
    outline.close("tupleList");
    if (random.chance(32)) {
        addSignature(outline, random, "ori");
    }
    if (random.chance(12)) {
        addSignature(outline, random, "rep");
    }
    outline.close("rule");
}

std::string application(Random &random, uint32_t id)
{
    Outline outline(2);
    outline.open("app");
    outline.leaf("id", std::to_string(id));
    const std::string brand = random.word(3 + random.below(3));
    outline.leaf("name", brand + " " + random.of(wares));
    outline.leaf("visible", "1");
    outline.open("typeIdList");
    outline.leaf("typeId", random.number(1, static_cast<uint32_t>(std::size(types))));
    outline.close("typeIdList");
    outline.open("ruleList");
    for (uint32_t left = 1 + random.below(3); left > 0; left--) {
        addRule(outline, random);
    }
    outline.close("ruleList");
    outline.open("dnsKwList");
    outline.leaf("dnsKw", brand);
    if (random.chance(50)) {
        outline.leaf("dnsKw", random.word(4));
    }
    outline.close("dnsKwList");
    outline.close("app");
    return outline.text;
}

std::string applicationTypes()
{
    Outline outline(1);
    outline.open("appTypeList");
    for (uint32_t i = 0; i < std::size(types); i++) {
        outline.open("appType");
        outline.leaf("id", std::to_string(i + 1));
        outline.leaf("name", types[i]);
        outline.close("appType");
    }
    outline.close("appTypeList");
    return outline.text;
}

/* ---- The documents --------------------------------------------------------------------- */

// As many pieces, each made by makePiece, as fit size bytes between head and tail.
template <typename Piece>
std::string fill(size_t size, std::string head, const std::string &tail, Piece makePiece)
{
    std::string piece = makePiece();
    while (head.size() + piece.size() + tail.size() <= size) {
        head += piece;
        piece = makePiece();
    }
    return head + tail;
}

std::string makeDatabase(size_t size, Random &random)
{
    uint32_t id = 0;
    return fill(size,
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<AppDB>\n  <ver>1.2.0</ver>\n"
                "  <proModel>TARN-AR300</proModel>\n  <expired>2030-12-31</expired>\n  <appList>\n",
                "  </appList>\n" + applicationTypes() + "</AppDB>\n",
                [&] { return application(random, ++id); });
}

// No name of an element or attribute comes twice, and hardly a value.
std::string makeAttributes(size_t size, Random &random)
{
    uint32_t count = 0;
    return fill(size, "<inventory>\n", "  <end/>\n</inventory>\n", [&] {
        const std::string name = "device" + std::to_string(count++);
        std::string element = "  <" + name;
        for (uint32_t left = 3 + random.below(5); left > 0; left--) {
            element += " " + random.of(attributeWords) + std::to_string(count++) + "=\"";
            const uint32_t digits = 2 + random.below(20);
            element += random.hex(digits) + "\"";
        }
        return element + (random.chance(50) ? "/>\n" : ">" + random.hex(6) + "</" + name + ">\n");
    });
}

std::string prose(Random &random, uint32_t words)
{
    std::string text = random.of(proseWords);
    while (--words > 0) {
        text += " " + random.of(proseWords);
    }
    return text;
}

std::string makeText(size_t size, Random &random)
{
    return fill(size, "<book>\n", "</book>\n", [&] {
        std::string chapter = "  <chapter>\n    <title>" + prose(random, 4) + "</title>\n";
        for (uint32_t left = 1 + random.below(4); left > 0; left--) {
            const uint32_t words = 10 + random.below(70);
            chapter += "    <par>" + prose(random, words) + "</par>\n";
        }
        return chapter + "  </chapter>\n";
    });
}

// Chains as long as the strictest of the compared libraries reads: it stops at 100 levels.
std::string makeDeep(size_t size, Random &random)
{
    constexpr uint32_t depth = 96;
    std::string down;
    std::string up;
    for (uint32_t i = 0; i < depth; i++) {
        const std::string name = levels[i % std::size(levels)];
        down += "<" + name + ">";
        up.insert(0, "</" + name + ">");
    }
    return fill(size, "<network>\n", "</network>\n",
                [&] { return down + random.hex(8) + up + "\n"; });
}

} // namespace

std::string generate(const std::string &kind, size_t size, uint32_t seed)
{
    constexpr struct {
        const char *kind;
        std::string (*make)(size_t size, Random &random);
    } makers[] = {{"database", makeDatabase},
                  {"attributes", makeAttributes},
                  {"text", makeText},
                  {"deep", makeDeep}};

    Random random(seed);
    for (const auto &maker : makers) {
        if (maker.kind == kind) {
            return maker.make(size, random);
        }
    }
    return "";
}

} // namespace bench

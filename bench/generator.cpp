// The texts of the documents, made from words and random numbers.

#include "bench/generator.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <vector>

namespace bench
{

namespace
{

const char *const consonants[] = {"b", "c", "d", "f",  "g",  "h",  "k",  "l",  "m",  "n",
                                  "p", "r", "s", "t",  "v",  "w",  "br", "st", "th", "qu",
                                  "x", "z", "j", "cl", "fr", "gr", "pl", "sh", "tr", "y"};
const char *const vowels[] = {"a", "e", "i", "o", "u", "ar", "en", "il", "or", "un"};
const char *const wares[] = {"News", "Mail", "Maps &amp; More", "Calls", "Music", "Video 24",
                             "Go",   "Chat", "Radio",           "Drive", "TV",    "Business"};
const char *const protocols[] = {"tcp", "tcp", "udp", "icmp"};
const char *const networks[] = {"10.", "172.16.", "192.168.", "198.18.", "203.0.113."};
const char *const switches[] = {"1", "1", "0"};
const char *const patterns[] = {"GET /", "POST /api/", "Host: ", "&lt;stream to='", "User-Agent: "};
const char *const attributeWords[] = {"port", "label", "vendor", "serial", "zone", "rate"};
const char *const recordNames[] = {"host", "link", "reservation"};
const char *const recordAttributes[] = {"id",   "name", "type",  "owner",    "address", "mask",
                                        "vlan", "mtu",  "state", "priority", "since",   "comment"};
const char *const levels[] = {"region", "site", "rack", "shelf", "slot", "card", "lane", "unit"};
const char *const proseWords[] = {
    "the",    "river", "runs",  "below", "an",     "old",      "bridge", "and",     "nobody",
    "counts", "boats", "&amp;", "&lt;b", "&gt;",   "café",     "straße", "naïve",   "Ørsted",
    "λόγος",  "мост",  "道路",  "川",    "summer", "lanterns", "🙂",   "evening", "water"};

// The standard's distributions differ between libraries, its engines do not. Two numbers
// are never drawn in one expression, since compilers differ in the order.
class Random
{
public:
    explicit Random(uint32_t seed) : engine_(seed) {}

    uint32_t below(uint32_t limit)
    {
        return static_cast<uint32_t>(engine_() % limit);
    }

    // A number from 1 to limit, rather a small one.
    uint32_t few(uint32_t limit)
    {
        return 1 + below(1 + below(limit));
    }

    // A number from low to high, of few digits or many.
    std::string number(uint32_t low, uint32_t high)
    {
        return std::to_string(low - 1 + few(high - low + 1));
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

    std::string words(uint32_t count)
    {
        std::string text = word(few(4));
        while (--count > 0) {
            text += " " + word(few(4));
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

// Elements one below the other, each level indented by so many blanks; all in one line with none.
class Outline
{
public:
    Outline(size_t depth, size_t blanks) : depth_(depth), blanks_(blanks) {}

    void open(const char *name)
    {
        breakLine();
        text += std::string("<") + name + ">";
        depth_++;
    }

    void close(const char *name)
    {
        depth_--;
        breakLine();
        text += std::string("</") + name + ">";
    }

    void leaf(const char *name, const std::string &value)
    {
        breakLine();
        text += std::string("<") + name + ">" + value + "</" + name + ">";
    }

    std::string text;

private:
    void breakLine()
    {
        if (blanks_ > 0) {
            text += "\n" + std::string(depth_ * blanks_, ' ');
        }
    }

    size_t depth_;
    size_t blanks_;
};

// Optional parts vary, lists and texts have all lengths, and every application is indented
// differently, so that a processor cannot learn what follows.
void addSignature(Outline &outline, Random &random, const char *direction)
{
    outline.open(direction);
    if (random.chance(80)) {
        outline.leaf("enable", random.of(switches));
    }
    if (random.chance(60)) {
        outline.open("segment");
        outline.leaf("start", random.number(0, 99));
        outline.leaf("end", random.number(0, 1499));
        outline.close("segment");
    }
    if (random.chance(50)) {
        outline.leaf("minlength", random.number(0, 1499));
    }
    if (random.chance(50)) {
        outline.leaf("dpiType", "hex");
        const uint32_t bytes = 2 + random.below(60);
        outline.leaf("dpiCode", random.hex(2 * bytes));
    } else if (random.chance(80)) {
        outline.leaf("dpiType", "string");
        const std::string pattern = random.of(patterns);
        outline.leaf("dpiCode", pattern + random.words(1 + random.below(6)));
    }
    outline.close(direction);
}

std::string addressAndPort(Random &random, uint32_t knownPercent)
{
    if (!random.chance(knownPercent)) {
        return "0:0";
    }
    std::string address = random.of(networks);
    while (std::count(address.begin(), address.end(), '.') < 3) {
        address += random.number(0, 255) + ".";
    }
    address += random.number(1, 254) + ":";
    return address + random.number(0, 65535);
}

void addRule(Outline &outline, Random &random)
{
    outline.open("rule");
    outline.open("tupleList");
    for (uint32_t left = random.few(3); left > 0; left--) {
        std::string tuple = random.of(protocols) + " ";
        tuple += addressAndPort(random, 15) + " ";
        tuple += addressAndPort(random, 90);
        outline.leaf("tuple", tuple);
    }
    outline.close("tupleList");
    if (random.chance(70)) {
        addSignature(outline, random, "ori");
    }
    if (random.chance(40)) {
        addSignature(outline, random, "rep");
    }
    outline.close("rule");
}

// The list with as many elements as count says, or nothing.
template <typename Element>
void addList(Outline &outline, const char *name, uint32_t count, Element addElement)
{
    if (count > 0) {
        outline.open(name);
        while (count-- > 0) {
            addElement();
        }
        outline.close(name);
    }
}

std::string application(Random &random, uint32_t id, uint32_t types)
{
    Outline outline(2, random.below(3));
    outline.open("app");
    outline.leaf("id", std::to_string(id));
    const std::string brand = random.words(random.few(3));
    outline.leaf("name", random.chance(60) ? brand + " " + random.of(wares) : brand);
    if (random.chance(70)) {
        outline.leaf("visible", random.of(switches));
    }
    addList(outline, "typeIdList", random.below(5),
            [&] { outline.leaf("typeId", std::to_string(1 + random.below(types))); });
    addList(outline, "ruleList", random.few(5) - 1, [&] { addRule(outline, random); });
    addList(outline, "dnsKwList", random.below(7),
            [&] { outline.leaf("dnsKw", random.word(1 + random.below(6))); });
    outline.close("app");
    return outline.text;
}

std::string applicationTypes(Random &random, uint32_t types)
{
    Outline outline(1, 2);
    outline.open("appTypeList");
    for (uint32_t id = 1; id <= types; id++) {
        outline.open("appType");
        outline.leaf("id", std::to_string(id));
        outline.leaf("name", random.words(random.few(3)));
        outline.close("appType");
    }
    outline.close("appTypeList");
    return outline.text;
}

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
    const uint32_t types = 5 + random.below(40);
    uint32_t id = 0;
    return fill(size,
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<AppDB>\n  <ver>1.2.0</ver>\n"
                "  <proModel>TARN-AR300</proModel>\n  <expired>2030-12-31</expired>\n  <appList>",
                "\n  </appList>" + applicationTypes(random, types) + "\n</AppDB>\n", [&] {
                    id += 1 + random.below(8);
                    return application(random, id, types);
                });
}

// As people write: few names, and every other value repeats.
std::string makeRecords(size_t size, Random &random)
{
    std::vector<std::string> values = {"up"};
    return fill(size, "<records>\n", "</records>\n", [&] {
        const std::string name = random.of(recordNames);
        std::string element = "  <" + name;
        uint32_t wanted = 3 + random.below(4);
        auto left = static_cast<uint32_t>(std::size(recordAttributes));
        for (const char *attribute : recordAttributes) {
            if (random.below(left--) < wanted) {
                wanted--;
                std::string value = random.of(values);
                if (random.chance(50)) {
                    value =
                        random.chance(50) ? random.number(0, 999999) : random.words(random.few(3));
                    values.push_back(value);
                }
                element += std::string(" ") + attribute + "=\"" + value + "\"";
            }
        }
        return element + "/>\n";
    });
}

// No name of an element or attribute occurs twice, and hardly any value.
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
                  {"deep", makeDeep},
                  {"records", makeRecords}};

    Random random(seed);
    for (const auto &maker : makers) {
        if (maker.kind == kind) {
            return maker.make(size, random);
        }
    }
    return "";
}

} // namespace bench

// The stages of a load, and whole loads, of the image that each database is packed into.
//
// Benchmarks are named stage/database/size/STAGE; "raw" is what the others are compared with.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "bench/benchmarks.h"
#include "bench/documents.h"
#include "bench/raw_decode.h"
#include "loader/loader.h"
#include "xmlp/xmlp.h"

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

namespace bench
{

namespace
{

// A text on its way through a load.
struct Load {
    std::string_view text;
    std::string_view image;
    XmlpDoc *parsed;          // the document
    appmngr_counters counted; // what the counting pass found
};

// Each returns whether it succeeded, so that no failure is measured.
using Stage = bool (*)(Load &load);

bool rawDecode(Load &load)
{
    return raw_decode(reinterpret_cast<const unsigned char *>(load.image.data()),
                      reinterpret_cast<unsigned char *>(g_appmngr_xmlBuf)) > 0;
}

bool decode(Load &load)
{
    uint32_t length = g_appmngr_settings.xmlBufSize;
    appmngr_unpackImage(g_appmngr_xmlBuf, &length,
                        reinterpret_cast<const unsigned char *>(load.image.data()));
    g_appmngr_xmlBuf[length] = '\0';
    return length == load.text.size();
}

bool parse(Load &load)
{
    const std::string_view text = load.text;
    XmlpDoc *parsed = xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), 1);
    xmlp_releaseDoc(parsed);
    return parsed != nullptr;
}

bool count(Load &load)
{
    g_appmngr_count = {};
    appmngr_parseThroughXML("root", load.parsed->tree->root);
    return g_appmngr_count.tuple > 0;
}

// With the allocation of the tables.
bool fill(Load &load)
{
    g_appmngr_count = load.counted;
    if (_appmngr_alloc_for_appdb() != 0) {
        return false;
    }
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; i++) {
        g_appmngr_appDb.type[i].id = g_appmngr_typeIds[i];
    }
    appmngr_setHandlerInfo(_appmngr_appDbHandlers);
    const int status = appmngr_xmlnode_handler(load.parsed->tree->root, 0);
    appmngr_setHandlerInfo(nullptr);
    return status == 0 && g_appmngr_count.ruleCur == load.counted.tuple;
}

// Sends what is in the tables.
bool buildMessages(Load & /*load*/)
{
    appdist_handle toSink = {};
    return appdist_send_app_rules(&toSink) > 0 && appdist_send_dns_rules(&toSink) > 0;
}

// From the text, put into the buffer, to the tables: parsing, counting and filling.
bool analyze(Load &load)
{
    load.text.copy(g_appmngr_xmlBuf, load.text.size());
    g_appmngr_xmlBuf[load.text.size()] = '\0';
    return appmngr_dbReInit() == 0 && appmngr_analyzeDbFile() == 0;
}

// From the image in memory to the sends.
bool decodeToSends(Load &load)
{
    return decode(load) && appmngr_dbReInit() == 0 && appmngr_analyzeDbFile() == 0 &&
           _appmngr_sendMsgToKernel() == 0;
}

const struct {
    const char *name;
    Stage stage;
} stages[] = {{"raw", rawDecode},   {"decode", decode},
              {"parse", parse},     {"count", count},
              {"fill", fill},       {"messages", buildMessages},
              {"analyze", analyze}, {"decode-to-sends", decodeToSends}};

// As many as the kernel takes in one datagram.
constexpr uint32_t tupleLimit = 714;

// Runs the load up to where every stage has its input. Returns whether that succeeded.
bool prepare(Load &load)
{
    const std::string_view text = load.text;
    load.parsed = xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), 1);
    const bool isCounted = load.parsed != nullptr && decode(load) && count(load);
    load.counted = g_appmngr_count;
    return isCounted && load.counted.tuple <= tupleLimit && fill(load);
}

void measure(benchmark::State &state, const Document &document, Stage stage)
{
    bool isSound = appmngr_file_alloc() == 0;
    std::vector<Load> loads;
    for (size_t i = 0; i < document.images.size(); i++) {
        loads.push_back({document.texts[i], document.images[i], nullptr, {}});
        isSound = isSound && prepare(loads.back());
    }
    size_t turn = 0;
    for (auto _ : state) {
        isSound = isSound && stage(loads[turn++ % loads.size()]);
    }
    if (!isSound) {
        state.SkipWithError("the stage failed");
    }
    for (const Load &load : loads) {
        xmlp_releaseDoc(load.parsed);
    }
    appmngr_dbReInit();
    appmngr_file_free();
}

} // namespace

void addBenchmarks()
{
    addHostileBenchmarks();
    for (const Document &document : documents()) {
        if (document.images.empty()) {
            continue;
        }
        for (const auto &stage : stages) {
            const std::string name = "stage/" + document.name() + "/" + stage.name;
            benchmark::RegisterBenchmark(name.c_str(), [&document, stage](benchmark::State &state) {
                measure(state, document, stage.stage);
            });
        }
    }
}

} // namespace bench

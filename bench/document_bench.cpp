// Each operation with each library, on each of the documents.
//
// Benchmarks are named operation/document/size/library.

#include "bench/benchmarks.h"
#include "bench/documents.h"
#include "bench/library.h"

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

namespace bench
{

namespace
{

const Library *const libraries[] = {&xmlpStatic, &xmlpDynamic, &pugixml, &rapidxml,
                                    &expat,      &libxml2,     &tinyxml2};

using Operation = void (*)(benchmark::State &state, const Document &document,
                           const Library &library);

// Reads and releases the texts in turn.
void load(benchmark::State &state, const Document &document, const Library &library)
{
    size_t turn = 0;
    for (auto _ : state) {
        void *loaded = library.load(document.texts[turn++ % document.texts.size()]);
        if (loaded == nullptr) {
            state.SkipWithError("the text was refused");
            break;
        }
        library.release(loaded);
    }
}

template <size_t (*Library::*serialize)(void *document)>
void write(benchmark::State &state, const Document &document, const Library &library)
{
    std::vector<void *> loaded;
    for (std::string_view text : document.texts) {
        loaded.push_back(library.load(text));
    }
    size_t turn = 0;
    for (auto _ : state) {
        if ((library.*serialize)(loaded[turn++ % loaded.size()]) == 0) {
            state.SkipWithError("nothing was written");
            break;
        }
    }
    for (void *one : loaded) {
        library.release(one);
    }
}

double meanSize(const Document &document)
{
    double sum = 0;
    for (std::string_view text : document.texts) {
        sum += static_cast<double>(text.size());
    }
    return sum / static_cast<double>(document.texts.size());
}

void add(const char *operation, Operation measure, const Document &document, const Library &library)
{
    const std::string name = std::string(operation) + "/" + document.name() + "/" + library.name;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [&document, &library, measure](benchmark::State &state) {
                                     measure(state, document, library);
                                     state.counters["bytes"] = meanSize(document);
                                 });
}

} // namespace

void addBenchmarks()
{
    for (const Document &document : documents()) {
        for (const Library *library : libraries) {
            add("load", load, document, *library);
            if (library == &expat || library == &xmlpDynamic) {
                continue; // nothing to write, or written like a static tree
            }
            add("compact", write<&Library::compact>, document, *library);
            add("formatted", write<&Library::formatted>, document, *library);
        }
    }
    addFloorBenchmarks();
}

} // namespace bench

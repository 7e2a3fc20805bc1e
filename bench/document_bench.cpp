// What is done with a document: each operation with each library, on each of the documents.
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

void *loadOrFail(benchmark::State &state, const Library &library, std::string_view text)
{
    void *loaded = library.load(text);
    if (loaded == nullptr) {
        state.SkipWithError("the text was refused");
    }
    return loaded;
}

// The texts in turn.
class Turn
{
public:
    explicit Turn(const Document &document) : texts_(document.texts) {}

    std::string_view next()
    {
        return texts_[index()];
    }

    size_t index()
    {
        return turn_++ % texts_.size();
    }

private:
    const std::vector<std::string_view> &texts_;
    size_t turn_ = 0;
};

// Reads and releases.
void load(benchmark::State &state, const Document &document, const Library &library)
{
    Turn turn(document);
    for (auto _ : state) {
        void *loaded = loadOrFail(state, library, turn.next());
        if (loaded == nullptr) {
            break;
        }
        library.release(loaded);
    }
}

// The documents of all texts.
class Held
{
public:
    Held(benchmark::State &state, const Document &document, const Library &library)
        : library_(library)
    {
        for (std::string_view text : document.texts) {
            void *loaded = loadOrFail(state, library, text);
            if (loaded == nullptr) {
                break;
            }
            documents_.push_back(loaded);
        }
    }

    ~Held()
    {
        for (void *document : documents_) {
            library_.release(document);
        }
    }

    Held(const Held &) = delete;
    Held &operator=(const Held &) = delete;

    void *operator[](size_t index) const
    {
        return documents_[index];
    }

private:
    const Library &library_;
    std::vector<void *> documents_;
};

template <size_t (*Library::*serialize)(void *document)>
void write(benchmark::State &state, const Document &document, const Library &library)
{
    const Held held(state, document, library);
    Turn turn(document);
    for (auto _ : state) {
        if ((library.*serialize)(held[turn.index()]) == 0) {
            state.SkipWithError("nothing was written");
            break;
        }
    }
}

void lookUp(benchmark::State &state, const Document &document, const Library &library)
{
    const Held held(state, document, library);
    const std::vector<std::string> names = {"AppDB", "appTypeList", "appType", "name"};
    const std::string path = "/AppDB/appTypeList/appType/name";
    Turn turn(document);
    for (auto _ : state) {
        if (!library.lookUp(held[turn.index()], path, names)) {
            state.SkipWithError("the element was not found");
            break;
        }
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
                continue; // there is nothing to write; it is written as a static one is
            }
            add("compact", write<&Library::compact>, document, *library);
            add("formatted", write<&Library::formatted>, document, *library);
            if (library->lookUp != nullptr && document.kind == "database") {
                add("look-up", lookUp, document, *library);
            }
        }
    }
    addFloorBenchmarks();
}

} // namespace bench

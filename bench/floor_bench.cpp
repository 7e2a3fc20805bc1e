// What no parser can avoid, each step measured alone: reading every byte of a text, writing
// the records of its tree, allocating what a dynamic tree owns.
//
// Benchmarks are named floor/document/size/STEP.

#include "bench/benchmarks.h"
#include "bench/documents.h"
#include "xmlp/xmlp.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace bench
{

namespace
{

// What a text becomes.
struct Content {
    std::string_view text;
    size_t nodes;
    size_t attributes;
    std::vector<size_t> allocations; // the sizes of a dynamic tree's, in the order of the tree
};

void describe(const XmlpNode *node, Content &content)
{
    content.nodes++;
    content.allocations.push_back(sizeof(*node));
    if (node->name != nullptr) {
        content.allocations.push_back(strlen(node->name) + 1);
    }
    if (node->value != nullptr) {
        content.allocations.push_back(node->valueSize + 1);
    }
    for (const XmlpAttr *attr = node->attrs; attr != nullptr; attr = attr->next) {
        content.attributes++;
        content.allocations.push_back(sizeof(*attr));
        content.allocations.push_back(strlen(attr->name) + 1);
        if (attr->value != nullptr) {
            content.allocations.push_back(strlen(attr->value) + 1);
        }
    }
    for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
        describe(child, content);
    }
}

std::vector<Content> describeAll(const Document &document)
{
    std::vector<Content> contents;
    for (std::string_view text : document.texts) {
        contents.push_back({text, 0, 0, {}});
        XmlpDoc *doc = xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), 1);
        if (doc != nullptr) {
            describe(doc->tree->root, contents.back());
        }
        xmlp_releaseDoc(doc);
    }
    return contents;
}

void read(const Content &content)
{
    uint64_t sum = 0;
    uint64_t word;
    for (size_t i = 0; i + sizeof(word) <= content.text.size(); i += sizeof(word)) {
        memcpy(&word, content.text.data() + i, sizeof(word));
        sum += word;
    }
    benchmark::DoNotOptimize(sum);
}

// Every field of every node and attribute, in one block.
void write(const Content &content)
{
    auto *nodes = static_cast<XmlpNode *>(
        malloc(content.nodes * sizeof(XmlpNode) + content.attributes * sizeof(XmlpAttr)));
    auto *attrs = reinterpret_cast<XmlpAttr *>(nodes + content.nodes);
    char *text = const_cast<char *>(content.text.data());
    for (size_t i = 0; i < content.nodes; i++) {
        XmlpNode *node = &nodes[i];
        *node = {text + i,
                 reinterpret_cast<unsigned char *>(text) + i,
                 static_cast<uint32_t>(i),
                 XMLP_NODE_VALUE,
                 attrs,
                 nodes,
                 node - 1,
                 node + 1,
                 node + 1,
                 node + 2};
    }
    for (size_t i = 0; i < content.attributes; i++) {
        attrs[i] = {text + i, text + i, &attrs[i + 1]};
    }
    benchmark::DoNotOptimize(nodes);
    benchmark::ClobberMemory();
    free(nodes);
}

void allocate(const Content &content)
{
    static std::vector<void *> blocks;
    blocks.clear();
    for (size_t size : content.allocations) {
        blocks.push_back(malloc(size));
    }
    for (void *block : blocks) {
        free(block);
    }
}

const struct {
    const char *name;
    void (*run)(const Content &content);
} steps[] = {{"read", read}, {"write", write}, {"allocate", allocate}};

} // namespace

void addFloorBenchmarks()
{
    for (const Document &document : documents()) {
        for (const auto &step : steps) {
            const std::string name = "floor/" + document.name() + "/" + step.name;
            benchmark::RegisterBenchmark(name.c_str(), [&document, step](benchmark::State &state) {
                const std::vector<Content> contents = describeAll(document);
                size_t turn = 0;
                for (auto _ : state) {
                    step.run(contents[turn++ % contents.size()]);
                }
            });
        }
    }
}

} // namespace bench

#include "tests/faults.h"

#include <errno.h>
#include <lzma.h>
#include <stdio.h>

#include <algorithm>
#include <set>

/* Never destroyed: blocks are freed up to the end of the process. */
std::map<void *, size_t> &faults::live = *new std::map<void *, size_t>;
uint32_t faults::countdown;

static bool fails()
{
    return faults::countdown > 0 && --faults::countdown == 0;
}

template <typename Block> static Block *taken(Block *block, size_t size)
{
    if (block != nullptr) {
        faults::live[block] = size;
    }
    return block;
}

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void __real_free(void *block);
FILE *__real_fopen(const char *path, const char *mode);
int __real_fclose(FILE *file);
lzma_ret __real_lzma_properties_decode(lzma_filter *filter, const lzma_allocator *allocator,
                                       const uint8_t *bytes, size_t size);
lzma_ret __real_lzma_raw_decoder(lzma_stream *stream, const lzma_filter *filters);

void *__wrap_malloc(size_t size)
{
    return fails() ? nullptr : taken(__real_malloc(size), size);
}

void *__wrap_calloc(size_t count, size_t size)
{
    return fails() ? nullptr : taken(__real_calloc(count, size), count * size);
}

void *__wrap_realloc(void *block, size_t size)
{
    if (fails()) {
        return nullptr;
    }
    faults::live.erase(block);
    return taken(__real_realloc(block, size), size);
}

void __wrap_free(void *block)
{
    faults::live.erase(block);
    __real_free(block);
}

FILE *__wrap_fopen(const char *path, const char *mode)
{
    errno = ENOMEM;
    return fails() ? nullptr : taken(__real_fopen(path, mode), 0);
}

int __wrap_fclose(FILE *file)
{
    faults::live.erase(file);
    return __real_fclose(file);
}

lzma_ret __wrap_lzma_properties_decode(lzma_filter *filter, const lzma_allocator *allocator,
                                       const uint8_t *bytes, size_t size)
{
    return fails() ? LZMA_MEM_ERROR : __real_lzma_properties_decode(filter, allocator, bytes, size);
}

lzma_ret __wrap_lzma_raw_decoder(lzma_stream *stream, const lzma_filter *filters)
{
    return fails() ? LZMA_MEM_ERROR : __real_lzma_raw_decoder(stream, filters);
}

} /* extern "C" */

void faults::List::add(const std::string &item)
{
    if (item == last || item.empty()) {
        return;
    }
    const auto differs = std::mismatch(item.rbegin(), item.rend(), last.rbegin(), last.rend());
    const auto same = static_cast<size_t>(differs.first - item.rbegin());
    const size_t end = item.find("; ", item.size() - same);
    text += (text.empty() ? "" : " | ") + item.substr(0, end);
    text += end != std::string::npos ? " ~" : "";
    last = item;
}

std::string faults::keptSince(const std::map<void *, size_t> &then)
{
    std::multiset<size_t> sizes;
    for (const auto &[block, size] : live) {
        if (then.count(block) == 0) {
            sizes.insert(size);
        }
    }
    const auto buffers = sizes.lower_bound(4096);
    const auto small = std::distance(sizes.begin(), buffers);
    std::string kept = small > 0 ? " +" + std::to_string(small) : "";
    std::for_each(buffers, sizes.end(), [&](size_t size) { kept += " " + std::to_string(size); });
    return kept.substr(kept.empty() ? 0 : 1);
}

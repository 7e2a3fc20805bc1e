// Allocations that can be made to fail.
#include "tests/faults.h"

#include <lzma.h>

using namespace faults;

// Never destroyed: blocks are freed up to the end of the process.
std::set<void *> &faults::live = *new std::set<void *>;
uint32_t faults::countdown;

static bool fails()
{
    return countdown > 0 && --countdown == 0;
}

static void *taken(void *block)
{
    return *live.insert(block).first;
}

extern "C" {

void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void __real_free(void *block);
lzma_ret __real_lzma_raw_decoder(lzma_stream *stream, const lzma_filter *filters);

void *__wrap_calloc(size_t count, size_t size)
{
    return fails() ? nullptr : taken(__real_calloc(count, size));
}

void *__wrap_realloc(void *block, size_t size)
{
    if (fails()) {
        return nullptr;
    }
    live.erase(block);
    return taken(__real_realloc(block, size));
}

void *__wrap_malloc(size_t size)
{
    return __wrap_realloc(nullptr, size);
}

void __wrap_free(void *block)
{
    live.erase(block);
    __real_free(block);
}

lzma_ret __wrap_lzma_raw_decoder(lzma_stream *stream, const lzma_filter *filters)
{
    static const lzma_allocator allocator = {
        [](void *, size_t count, size_t size) { // no text needs a dictionary of 1 MiB
            return count * size < 1 << 20 ? __wrap_malloc(count * size) : nullptr;
        },
        [](void *, void *block) { __wrap_free(block); }, nullptr};
    stream->allocator = &allocator;
    return __real_lzma_raw_decoder(stream, filters);
}

} // extern "C"

// Mutates inputs with an XML text in them by whole elements, half of the time, so that what comes
// out is a document as often as not.

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize,
                                          unsigned seed);

// Inserts a copy of one element before another tag, or removes the element.
size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned seed)
{
    std::minstd_rand random(seed);
    std::string text(reinterpret_cast<char *>(data), size);
    std::vector<size_t> tags;
    for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        tags.push_back(at);
    }
    if (tags.empty() || random() % 2 == 0) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    const size_t begin = tags[random() % tags.size()];
    const size_t nameEnd = text.find_first_of(" />", begin + 1);
    const std::string endTag = "</" + text.substr(begin + 1, nameEnd - begin - 1) + ">";
    const size_t end = std::min(text.find(endTag, begin), text.size()) + endTag.size();
    if (begin == 0 || random() % 3 != 0) {
        text.insert(tags[random() % tags.size()], text.substr(begin, end - begin));
    } else {
        text.erase(begin, end - begin);
    }
    return text.copy(reinterpret_cast<char *>(data), maxSize);
}

// A text through both tree builders, which must agree, and back to text.

#include "fuzz/document.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(Input(data, size).rest);
    Document docs[] = {{nullptr, xmlp_releaseDoc}, {nullptr, xmlp_releaseDoc}};
    std::string printed[2];
    XmlpFault faults[2] = {};
    for (const uint32_t isStatic : {0u, 1u}) {
        printed[isStatic] = captured([&] { docs[isStatic] = loaded(text, isStatic); });
        const auto length = static_cast<uint32_t>(text.size());
        xmlp_releaseDoc(xmlp_readDoc(text.data(), length, isStatic, &faults[isStatic], nullptr));
    }
    EXPECT_EQ(faults[0].offset, faults[1].offset);
    // Each builder has lines of its own.
    EXPECT_TRUE(printed[0] == printed[1] || printed[0].find("_makeDtree") != std::string::npos);
    EXPECT_EQ(docs[0] == nullptr, docs[1] == nullptr);
    if (docs[0] != nullptr) {
        EXPECT_EQ(describe(docs[0]), describe(docs[1]));
        for (const int compact : {0, 1}) {
            EXPECT_EQ(dumped(docs[0], compact), dumped(docs[1], compact));
            const Document again = readBack(docs[0], compact);
            EXPECT_TRUE(again == nullptr || describe(again) == describe(docs[0]));
        }
    }
    return 0;
}

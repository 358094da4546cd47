#include "recode/kernels/simd_level.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

using namespace Mardu::Sentel::Tavlo;

/// Runs the tests with the instructions that the variable TAVLO_SIMD names, the best ones without it.
int main(int count, char** arguments)
{
    testing::InitGoogleTest(&count, arguments);
    if (const char* wanted = std::getenv("TAVLO_SIMD"); wanted != nullptr) {
        bool isKnown = false;
        for (const SimdLevel level : simdLevels) {
            if (std::string_view(wanted) == NameOf(level)) {
                ForceSimdLevel(level);
                isKnown = true;
                if (level > BestSimdLevel())
                    std::printf("TAVLO_SIMD: this processor has no %s, the tests use %s\n", wanted,
                                NameOf(BestSimdLevel()));
            }
        }
        if (!isKnown) {
            std::fprintf(stderr, "TAVLO_SIMD: no level is called '%s'\n", wanted);
            return 2;
        }
    }
    return RUN_ALL_TESTS();
}

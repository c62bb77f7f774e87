// The inputs of the fuzz targets as an ordinary test: what was found once stays mended.
#include "targets.hpp"

#include "support/fixture.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

using Corpus = test::NdTest;

// A target ends the process where it finds a fault; the name of its input stands before that.
TEST_F(Corpus, HoldsNoInputThatFails) {
    std::size_t inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(ND_CORPUS "/index_programs")) {
        SCOPED_TRACE(entry.path().filename().string());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
        EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
        ++inputs;
    }
    EXPECT_GE(inputs, 20U);
}

} // namespace

// Programs of references, assignments and deletions out of the fuzzer's bytes, compared with the reference model of tests/model.
#include "targets.hpp"

#include "model/indexing_program.hpp"

#include "indexing/colon_support.hpp"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::size_t longest = 24 * model::bytes_of_step;

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > longest) return -1;
    const test::silent_warnings warnings;
    model::index_counts counts;
    if (model::run_program({data, size}, counts).empty()) return 0;
    std::fputs(model::story_of({data, size}).c_str(), stderr);
    std::abort();
}

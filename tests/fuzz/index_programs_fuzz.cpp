// Programs of references, assignments, growth and deletions by subscripts, out of any bytes, against the reference model of
// tests/model: 40 bytes are a step (model/indexing_program.hpp). A difference prints the program's story.
#include "fuzz_target.hpp"

#include "model/indexing_program.hpp"

#include "indexing/colon_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t longest = 24 * model::bytes_of_step;
    if (size > longest) return 0;
    const test::silent_warnings warnings;
    model::index_counts counts;
    const bool agrees = model::run_program({data, size}, counts).empty();
    if (!agrees) std::fputs(model::story_of({data, size}).c_str(), stderr);
    fuzz::require(agrees, "the library and the model agree");
    return 0;
}

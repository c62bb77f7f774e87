// Random programs over reference, assignment, growth, deletion and fields agree with the reference model, in every representation
// of their operands, and so do the errors they raise.
//
// ND_INDEX_STEPS sets another number of steps, ND_INDEX_SEED another sequence. A failure is shrunk to its essential steps and told
// with them; ND_INDEX_PROGRAM="..." with the digits that it prints runs it alone.
#include "model/indexing_program.hpp"
#include "support/fixture.hpp"

#include "indexing/colon_support.hpp"

#include <nd/cache.hpp>

#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

using model::index_counts;
using model::program_bytes;

// From the array cache too, where every other program lives.
class IndexPrograms : public test::NdTest {
protected:
    ~IndexPrograms() override {
        matrix::cache::setEnabled(false);
        matrix::cache::clear();
    }
    test::silent_warnings warnings_;
};

std::string digits_of(const program_bytes& program) {
    std::string digits;
    for (const std::uint8_t byte : program) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", byte);
        digits += pair;
    }
    return digits;
}

program_bytes program_of(const std::string& digits) {
    program_bytes program;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        program.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return program;
}

unsigned long number_from(const char* variable, unsigned long otherwise) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

program_bytes random_program(std::mt19937_64& random) {
    program_bytes program(model::bytes_of_step * (1 + random() % 30));
    for (std::uint8_t& byte : program) byte = static_cast<std::uint8_t>(random());
    return program;
}

void report(const program_bytes& failing) {
    const program_bytes least = model::shrink(failing);
    ADD_FAILURE() << model::story_of(least) << "ND_INDEX_PROGRAM=" << digits_of(least);
}

// What is found is told by running it once more, so nothing may depend on the run. State of the process that comes with the first
// use comes here.
TEST_F(IndexPrograms, AreTheSameEachTime) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 40; ++i) {
        const program_bytes program = random_program(random);
        EXPECT_EQ(model::story_of(program), model::story_of(program));
    }
}

TEST_F(IndexPrograms, AgreeWithTheModel) {
    if (const char* const digits = std::getenv("ND_INDEX_PROGRAM")) {
        std::puts(model::story_of(program_of(digits)).c_str());
        index_counts counts;
        EXPECT_EQ(model::run_program(program_of(digits), counts), "");
        return;
    }
    const auto wanted = static_cast<long>(number_from("ND_INDEX_STEPS", 200000));
    std::mt19937_64 random(number_from("ND_INDEX_SEED", 1));
    index_counts counts;
    while (counts.steps < wanted) {
        const program_bytes program = random_program(random);
        matrix::cache::setEnabled(random() % 2 == 0);
        if (!model::run_program(program, counts).empty()) return report(program);
    }
    EXPECT_GE(counts.refused, wanted / 10) << "the programs hardly ever do what isn't allowed";
    EXPECT_LE(counts.refused, wanted / 2) << "the programs hardly ever do what is allowed";
    EXPECT_GE(counts.grown, wanted / 20) << "the programs hardly ever grow anything";
    EXPECT_GE(counts.in_place, wanted / 200) << "the programs hardly ever grow into spare room";
    EXPECT_GE(counts.made_real, wanted / 500) << "the programs hardly ever take real parts of complex arrays";
    EXPECT_GE(counts.sparse, wanted / 200) << "the programs hardly ever meet sparse arrays";
    EXPECT_GE(counts.slots, wanted / 500) << "the programs hardly ever make slots";
}

} // namespace

// Random programs over cells and structs agree with the reference model: creation, elements set, replaced, handed over and
// referred to, fields added and removed, shared and deep copies, unsharing by each of its ways, conversions, destruction.
//
// RC_PARAMS as in program_test.cpp.
#include "model/container_program.hpp"
#include "support/fixture.hpp"

#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

using model::step;

class ContainerPrograms : public test::NdTest {
protected:
    // The variable is read once, before the first property.
    static void SetUpTestSuite() {
        setenv("RC_PARAMS", "max_success=20000 max_size=60", 0);
        rc::detail::configuration();
    }
};

rc::Gen<unsigned> below(std::size_t end) {
    return rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0U, static_cast<unsigned>(end)));
}

rc::Gen<step> any_step() {
    const auto number = below(5000);
    return rc::gen::build<step>(
        rc::gen::set(&step::operation, below(model::all_container_operations().size())),
        rc::gen::set(&step::a, number), rc::gen::set(&step::b, number), rc::gen::set(&step::c, number));
}

std::string text_of(const step& s) {
    const auto operations = model::all_container_operations();
    return std::string(operations[s.operation % operations.size()].name) + "(" + std::to_string(s.a) + ", " +
           std::to_string(s.b) + ", " + std::to_string(s.c) + ")";
}

// What the programs came to: a kind of value that none of them reaches proves nothing.
struct reached {
    long nested = 0; ///< containers in containers
    long tables = 0; ///< structs whose names have a table
    long unshared = 0;
};

void note(const model::container_world& world, reached& sums) {
    for (const model::container_handle& h : world.handles()) {
        for (const auto& slot : h.expected.slots)
            sums.nested += slot != nullptr && slot->is_container() ? 1 : 0;
        sums.tables += h.expected.fields.size() >= 64 ? 1 : 0;
    }
    sums.unshared += world.unsharings();
}

TEST_F(ContainerPrograms, AgreeWithTheModel) {
    reached sums;
    rc::detail::checkGTest([&] {
        const auto program = *rc::gen::container<std::vector<step>>(any_step());
        model::container_world world;
        std::string told;
        for (const step& s : program) {
            told += text_of(s) + " ";
            const std::string wrong = world.run(s);
            if (!wrong.empty()) RC_FAIL("after " + told + ": " + wrong);
        }
        note(world, sums);
        const std::string left = world.finish();
        if (!left.empty()) RC_FAIL(left + " by " + told);
    });
    const int programs = rc::detail::configuration().testParams.maxSuccess;
    EXPECT_GE(sums.nested, programs / 10) << "the programs hardly ever nest";
    EXPECT_GE(sums.tables, programs / 50) << "the programs hardly ever have many fields";
    EXPECT_GE(sums.unshared, programs / 4) << "the programs hardly ever unshare anything";
}

} // namespace

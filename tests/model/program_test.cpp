// Random programs over creation, dimensions, sharing, copies, conversion, reuse and destruction agree with the reference model.
//
// RC_PARAMS sets another number of programs or replays a failure: RC_PARAMS="max_success=1000000" or the reproduction that a
// failure prints. A failing program is shrunk to its essential steps.
#include "model/program.hpp"
#include "support/fixture.hpp"

#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

using model::step;

class Programs : public test::NdTest {
protected:
    // The variable is read once, before the first property.
    static void SetUpTestSuite() {
        setenv("RC_PARAMS", "max_success=20000 max_size=60", 0);
        rc::detail::configuration();
    }
};

// The size of a program grows from case to case; what its steps may choose from doesn't.
rc::Gen<unsigned> below(std::size_t end) {
    return rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0U, static_cast<unsigned>(end)));
}

rc::Gen<step> any_step() {
    const auto number = below(1000);
    return rc::gen::build<step>(rc::gen::set(&step::operation, below(model::all_operations().size())),
                                rc::gen::set(&step::a, number), rc::gen::set(&step::b, number),
                                rc::gen::set(&step::c, number));
}

TEST_F(Programs, AgreeWithTheModel) {
    long reuses = 0;
    long conversions = 0;
    rc::detail::checkGTest([&] {
        const auto program = *rc::gen::container<std::vector<step>>(any_step());
        model::world world;
        for (const step& s : program) {
            const std::string wrong = world.run(s);
            if (!wrong.empty()) {
                std::ostringstream at;
                at << "after " << s << ": " << wrong;
                RC_FAIL(at.str());
            }
        }
        const std::string left = world.finish();
        if (!left.empty()) RC_FAIL(left);
        reuses += world.reuses();
        conversions += world.conversions();
    });
    const int programs = rc::detail::configuration().testParams.maxSuccess;
    EXPECT_GE(reuses, programs / 50) << "the programs hardly ever reuse data";
    EXPECT_GE(conversions, programs / 4) << "the programs hardly ever convert anything";
}

} // namespace

// NdTest: the fixture that tests of the library derive from or use as it is.
//
// Nothing has to be asked for. When the fixture goes, after the members of the derived class:
//   - arrays that were given to keep() are validated in full and destroyed
//   - temporaries that are still on the array list are valid, the base contexts of both lists are the only ones, and the
//     cache bins of the thread hold whole pairs
//   - the per-engine records (last error, contexts) end and the module mode is back at "not initialised"
//   - the blocks of all three sources of memory that are alive are as many as before the test
// A count of operator new that grew may be state that the process makes once, at first use. The program therefore runs such
// tests a second time at its end; what grows again is a leak and fails there. Tests without the fixture have the last of these
// rules too: the program's main puts it around every test (balance.hpp).
#pragma once

#include "support/alloc_sources.hpp"

#include <nd/create.hpp>

#include <gtest/gtest.h>

#include <vector>

namespace test {

/// Ends what a test may have left in the process on purpose: the engine's records and the module mode.
void reset_process_state();

class NdTest : public ::testing::Test {
protected:
    NdTest();
    ~NdTest() override;

    /// Hands the array to the fixture, which validates it and destroys it at the end. Returns it for use; null is refused.
    ndArray_tag* keep(matrix::array_ptr array);
    ndArray_tag* keep(ndArray_tag* array) { return keep(matrix::array_ptr(array)); }

private:
    bool end_kept_arrays();    ///< false when one of them wasn't valid
    bool lists_are_in_order(); ///< of the current engine and the calling thread

    std::vector<matrix::array_ptr> kept_;
    live_blocks before_;
};

} // namespace test

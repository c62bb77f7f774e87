// What main does in test programs, for programs whose main is the fuzzer's.
#include "support/alloc_sources.hpp"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

int LLVMFuzzerInitialize(int*, char***) {
    test::install_counting_allocators();
    return 0;
}

// Every row, in the order of the report. Two things decide it: rows that need memory fresh from the system stand before rows
// that free large blocks, and rows inside the engine stand last, since a process can't leave that mode.
#pragma once

#include "harness/row.hpp"

namespace bench {

row_list call_rows();
row_list small_creation_rows(); // arrays that the cache can hold
row_list field_rows();          // values of structs by name and number
row_list container_rows();      // cells with their elements
row_list sharing_rows();        // shared copies
row_list memory_rows();         // resident bytes per array
row_list large_creation_rows(); // arrays that it can't
row_list conversion_rows();     // every pair of classes
row_list sparse_rows();         // sparse to full storage and back
row_list range_rows();          // the colon operator
row_list text_rows();           // char rows from text and back
row_list reference_rows();      // parts of arrays by subscripts
row_list assignment_rows();     // stores by subscripts, deletion, growth
row_list inside_engine_rows();  // what is judged inside the engine too
row_list managed_memory_rows(); // blocks on the alloc list

// Bytes per live 3x4 double array.
row alive_bytes(const char* work, conditions conditions);

row_list all_rows();

} // namespace bench

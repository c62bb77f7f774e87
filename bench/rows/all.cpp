// The whole report.
#include "rows/rows.hpp"

namespace bench {

row_list all_rows() {
    row_list all;
    for (const auto group :
         {call_rows, small_creation_rows, field_rows, container_rows, memory_rows, large_creation_rows,
          sharing_rows, conversion_rows, range_rows, sparse_rows, text_rows, reference_rows, assignment_rows,
          inside_engine_rows, managed_memory_rows}) {
        const row_list rows = group();
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

} // namespace bench

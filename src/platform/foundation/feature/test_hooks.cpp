// Setters of the named features.
#include "feature_table.hpp"

#include "platform/test_hooks.hpp"

#include <stdexcept>

namespace foundation::test_hooks {

void set_feature(const char* name, int value) {
    const int row = feature::detail::find_row(name);
    if (row < 0) throw std::invalid_argument(std::string("no feature of the name ") + name);
    feature::detail::values()[static_cast<std::size_t>(row)] = value;
}

void reset_features() noexcept { feature::detail::load_initial_values(feature::detail::values()); }

} // namespace foundation::test_hooks

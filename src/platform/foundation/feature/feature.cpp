// Named feature switches.
#include "feature_table.hpp"

#include "platform/settings.hpp"

#include <foundation/feature/feature.hpp>

namespace foundation::feature {

int detail::find_row(std::string_view name) noexcept {
    for (std::size_t i = 0; i < feature_rows.size(); ++i) {
        if (feature_rows[i].name == name) return static_cast<int>(i);
    }
    return -1;
}

void detail::load_initial_values(feature_values& values) noexcept {
    for (std::size_t i = 0; i < feature_rows.size(); ++i) values[i] = feature_rows[i].default_value;
    for_each_setting("ND_FEATURES", [&](std::string_view name, std::uint32_t value) {
        const int row = find_row(name);
        if (row >= 0) values[static_cast<std::size_t>(row)] = static_cast<int>(value);
    });
}

detail::feature_values& detail::values() noexcept {
    struct loaded_values {
        feature_values values{};
        loaded_values() noexcept { load_initial_values(values); }
    };
    static loaded_values table;
    return table.values;
}

IFeature::IFeature(const char* name) noexcept : row_(name != nullptr ? detail::find_row(name) : -1) {}

int IFeature::get() const noexcept {
    return row_ < 0 ? 0 : detail::values()[static_cast<std::size_t>(row_)].load(std::memory_order_relaxed);
}

int IFeature::get(const char* name) noexcept { return IFeature(name).get(); }

} // namespace foundation::feature

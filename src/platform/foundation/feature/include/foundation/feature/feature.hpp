// Named feature switches of the process.
//
//   name           default
//   SingleSparse   1         sparse arrays of single precision
//   MarkSweepGC    0         collection of cycles
//
// ND_FEATURES="MarkSweepGC=1" in the environment overrides a default, read once. Other names have the value 0.
#pragma once

namespace foundation::feature {

class IFeature {
public:
    explicit IFeature(const char* name) noexcept;

    // The value now.
    int get() const noexcept;
    static int get(const char* name) noexcept;

private:
    int row_; // in the table of features; negative for a name that isn't there
};

} // namespace foundation::feature

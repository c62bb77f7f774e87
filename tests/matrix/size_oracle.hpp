// What the size checks must say, reckoned with 128 bits and without any of the library's tricks.
#pragma once

#include <nd/create.hpp>

#include <cstdint>
#include <ostream>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace test {

__extension__ using wide = unsigned __int128;

inline constexpr std::uint64_t ceiling = 0xFFFF'FFFF'FFFF;

enum class verdict { fits, above_ceiling, above_limit };

inline std::ostream& operator<<(std::ostream& out, verdict v) {
    return out << (v == verdict::fits            ? "fits"
                   : v == verdict::above_ceiling ? "TARVEL:pmaxsize"
                                                 : "TARVEL:array:SizeLimitExceeded");
}

struct judged_size {
    verdict says = verdict::fits;
    std::uint64_t count = 0; ///< where it fits
    std::uint64_t bytes = 0; ///< where it fits or is above the limit only
};

/// The product, or anything above 2^64 when it is above that. A factor of 0 makes it 0.
inline wide product_of(std::span<const std::size_t> factors) {
    constexpr wide far_above = wide{1} << 64;
    wide product = 1;
    for (const std::size_t factor : factors) {
        product *= factor; // both below 2^64 + 1: fits
        if (product > far_above) product = far_above;
    }
    return product;
}

/// No dimensions mean no elements. limit 0: none.
inline judged_size judge(std::span<const std::size_t> dims, std::size_t element_size,
                         std::uint64_t limit = 0) {
    const wide count = dims.empty() ? 0 : product_of(dims);
    if (count > ceiling) return {verdict::above_ceiling};
    const wide bytes = count * element_size;
    if (bytes > ceiling) return {verdict::above_ceiling};
    const auto n = static_cast<std::uint64_t>(count);
    const auto b = static_cast<std::uint64_t>(bytes);
    return {limit != 0 && b > limit ? verdict::above_limit : verdict::fits, n, b};
}

/// An m by n sparse matrix with room for nzmax elements: element_size and an index each, and n + 1 column starts.
inline judged_size judge_sparse(std::size_t m, std::size_t n, std::size_t nzmax, std::size_t element_size,
                                std::uint64_t limit = 0) {
    const wide count = wide{m} * n;
    const wide bytes = wide{nzmax} * element_size + wide{nzmax} * 8 + (wide{n} + 1) * 8;
    if (count > ceiling || bytes > ceiling) return {verdict::above_ceiling};
    const auto b = static_cast<std::uint64_t>(bytes);
    return {limit != 0 && b > limit ? verdict::above_limit : verdict::fits, static_cast<std::uint64_t>(count),
            b};
}

inline std::string dims_words(std::span<const std::size_t> dims) {
    std::string text = "(";
    for (const std::size_t dim : dims) text += (text.size() == 1 ? "" : ", ") + std::to_string(dim);
    return text + ")";
}

/// Dimensions that meet the limits: small ones, zeros, ones, powers of two and their neighbours, the cache's edges, all ones.
class dims_maker {
public:
    explicit dims_maker(std::uint64_t seed) : random_(seed) {}

    std::size_t one() {
        constexpr std::size_t edges[] = {0,
                                         1,
                                         2,
                                         3,
                                         2029,
                                         2030,
                                         2031,
                                         16239,
                                         16240,
                                         16241,
                                         0xFFFFFF,
                                         ceiling,
                                         ceiling + 1,
                                         ~std::size_t{0},
                                         ~std::size_t{0} - 1};
        switch (random_() % 8) {
        case 0:
        case 1:
            return edges[random_() % std::size(edges)];
        case 2:
        case 3:
            return random_() % 8;
        case 4:
            return random_() % 100'000;
        case 5:
            return random_() >> (random_() % 64);
        default:
            return (std::size_t{1} << (random_() % 64)) + random_() % 3 - 1;
        }
    }

    std::vector<std::size_t> some(std::size_t rank) {
        std::vector<std::size_t> dims(rank);
        for (std::size_t& dim : dims) dim = one();
        return dims;
    }

    /// 0 to 6 dimensions, now and then with a tail of ones.
    std::vector<std::size_t> any() {
        std::vector<std::size_t> dims = some(random_() % 7);
        if (random_() % 8 == 0) dims.insert(dims.end(), random_() % 4, 1);
        return dims;
    }

    std::uint64_t number() { return random_(); }

private:
    std::mt19937_64 random_;
};

} // namespace test

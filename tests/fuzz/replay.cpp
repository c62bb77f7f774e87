// main of a fuzz target in builds without libFuzzer: calls it with each file of the folders that are named, then with pieces and
// mixtures of them, the same ones at each run. Fails when there is no file.
#include "fuzz_target.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int mixtures_each = 200;

std::vector<std::string> read_corpus(int argc, char** argv) {
    std::vector<std::string> inputs;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    std::sort(inputs.begin(), inputs.end()); // a folder has no order of its own
    return inputs;
}

void call(const std::string& input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

// Cut, doubled, joined with another, or with bytes that changed: a few of these at once.
std::string mixture(std::string text, const std::vector<std::string>& inputs, std::mt19937_64& random) {
    const auto below = [&](std::size_t n) { return n == 0 ? 0 : static_cast<std::size_t>(random() % n); };
    constexpr std::size_t longest = 5000;
    for (std::size_t steps = 1 + below(4); steps > 0; --steps) {
        switch (below(5)) {
        case 0:
            text.resize(below(text.size() + 1));
            break;
        case 1: {
            const std::size_t at = below(text.size());
            text.erase(at, below(4));
            break;
        }
        case 2: { // one draw a line: compilers evaluate arguments in different orders
            const std::string& other = inputs[below(inputs.size())];
            const std::size_t at = below(text.size());
            const std::size_t from = below(other.size());
            text.insert(at, other, from, below(40));
            break;
        }
        case 3:
            if (2 * text.size() < longest) text += text;
            break;
        default:
            if (!text.empty()) text[below(text.size())] = static_cast<char>(random());
        }
    }
    return text;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> inputs = read_corpus(argc, argv);
    if (inputs.empty()) {
        std::fputs("no file to replay; name a folder of them\n", stderr);
        return 1;
    }
    std::mt19937_64 random(1);
    for (const std::string& input : inputs) {
        call(input);
        for (int i = 0; i < mixtures_each; ++i) call(mixture(input, inputs, random));
    }
    std::printf("%zu files and %zu mixtures\n", inputs.size(), inputs.size() * mixtures_each);
}

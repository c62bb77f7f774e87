// Runs the case files beside it. A line that gives something else than it must is told with its file and number.
#include "cases/case_runner.hpp"
#include "host/started_library.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

class Cases : public testing::TestWithParam<std::filesystem::path> {};

TEST_P(Cases, GiveWhatTheyMust) {
    test::start_library();
    nd_host::engine_session session;
    std::ifstream file(GetParam());
    ASSERT_TRUE(file);
    std::string text;
    int cases = 0;
    for (int number = 1; std::getline(file, text); ++number) {
        try {
            const auto line = test::parse_case(text);
            if (!line) continue;
            ++cases;
            for (const bool share : {false, true}) {
                const std::string wrong = test::check(session, *line, share);
                if (!wrong.empty()) {
                    ADD_FAILURE_AT(GetParam().c_str(), number)
                        << text << "\n"
                        << (share ? "with shared data: " : "") << wrong;
                    break;
                }
            }
        } catch (const std::exception& error) {
            ADD_FAILURE_AT(GetParam().c_str(), number) << text << "\n" << error.what();
        }
    }
    EXPECT_GT(cases, 0);
}

std::vector<std::filesystem::path> case_files() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(ND_TEST_CASES)) {
        if (entry.path().extension() == ".nd") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

INSTANTIATE_TEST_SUITE_P(Files, Cases, testing::ValuesIn(case_files()),
                         [](const auto& file) { return file.param.stem().string(); });

} // namespace

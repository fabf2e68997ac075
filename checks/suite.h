#pragma once

/// @file
/// A program of tests and how it went.

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace nyx::checks {

/// A line of suites.jsonl, which CMake writes.
struct Suite {
    std::string name;
    bool alone = false;          ///< shares the registry or the display with others of the kind
    bool administrator = false;  ///< registers or installs
    int cost = 0;                ///< a high one starts first
    std::string arguments;       ///< separated by semicolons
    std::string environment;     ///< "name=value", or empty
    std::string size;            ///< "win32" or "win64", its folder
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Suite, name, alone, administrator, cost, arguments, environment)

/// What a test said when it failed, or why it was skipped.
struct Remark {
    std::string test;
    std::string text;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Remark, test, text)

struct Outcome {
    std::string size;
    std::string suite;
    int passed = 0;
    std::vector<Remark> failed;
    std::vector<Remark> skipped;
    double seconds = 0;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Outcome, size, suite, passed, failed, skipped, seconds)

/// The suites of one word size in ROOT/SIZE, in the order of their cost.
std::vector<Suite> ReadSuites(const std::filesystem::path& root, const std::string& size);

/// Runs a suite to its end, in the folder "work" of `root`, where its output stays. Any thread.
Outcome Run(const Suite& suite, const std::filesystem::path& root);

/// Adds to `outcome` what GoogleTest has printed.
void ReadOutput(const std::string& output, Outcome* outcome);

}  // namespace nyx::checks

#include "command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <numeric>
#include <sstream>

#include "console.h"

namespace nyx::host {
namespace {

/// The Levenshtein distance: letters inserted, deleted or replaced.
std::size_t Distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] != to[j] ? 1 : 0);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

std::string Nearest(const std::string& word, const std::vector<std::string>& words) {
    return *std::min_element(words.begin(), words.end(),
                             [&word](const std::string& a, const std::string& b) {
                                 return Distance(word, a) < Distance(word, b);
                             });
}

std::vector<std::string> CommandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

/// The long options of a command and of its groups.
std::vector<std::string> OptionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    const auto add = [&names](const CLI::App& owner) {
        for (const CLI::Option* option : owner.get_options()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    };
    add(command);
    for (const CLI::App* group :
         command.get_subcommands([](const CLI::App* inner) { return inner->get_name().empty(); })) {
        add(*group);
    }
    return names;
}

ExitCode Refuse(const std::string& message, const std::string& command) {
    PrintError(message);
    PrintAside("Run nyxhost " + command + (command.empty() ? "" : " ") + "--help for help.\n");
    return ExitCode::kUsage;
}

ExitCode ParseFailed(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream err;
    if (app.exit(error, out, err) == 0) {  // --help or --version
        Print(out.str());
        return ExitCode::kOk;
    }
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const CLI::App& command = chosen.empty() ? app : *chosen.front();
    // A misspelt option explains a value too many or a missing one.
    for (const std::string& word : app.remaining(true)) {
        if (word.size() > 1 && word[0] == '-') {
            return Refuse("unknown option " + word + "; did you mean " +
                              Nearest(word, OptionsOf(command)) + "?",
                          chosen.empty() ? "" : command.get_name());
        }
    }
    return Refuse(error.what(), chosen.empty() ? "" : command.get_name());
}

}  // namespace

std::optional<ExitCode> ReadCommandLine(CLI::App& app, std::vector<std::string> words) {
    if (words.empty()) {
        Print(app.help());
        return ExitCode::kUsage;
    }
    if (words[0] == "help") {  // [COMMAND]
        words.erase(words.begin());
        words.resize(std::min<std::size_t>(words.size(), 1));
        words.emplace_back("--help");
    }
    const std::vector<std::string> commands = CommandsOf(app);
    if (words[0].rfind('-', 0) != 0 &&
        std::find(commands.begin(), commands.end(), words[0]) == commands.end()) {
        return Refuse("unknown command \"" + words[0] + "\"; did you mean " +
                          Nearest(words[0], commands) + "?",
                      "");
    }
    std::reverse(words.begin(), words.end());  // the library expects the last word first
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        return ParseFailed(app, error);
    }
    return std::nullopt;
}

}  // namespace nyx::host

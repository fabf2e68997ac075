#include "command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "console.h"

namespace nyx::host {
namespace {

/// Letters that one of two words has and the other has not: few after a slip of the fingers.
std::size_t Distance(std::string a, std::string b) {
    std::ranges::sort(a);
    std::ranges::sort(b);
    std::string differing;
    std::ranges::set_symmetric_difference(a, b, std::back_inserter(differing));
    return differing.size();
}

std::string Nearest(const std::string& word, const std::vector<std::string>& words) {
    return *std::ranges::min_element(
        words, {}, [&word](const std::string& known) { return Distance(word, known); });
}

std::vector<std::string> CommandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

/// The long options of a command and of its groups, which are sub-commands to the library.
std::vector<std::string> OptionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    for (const CLI::App* group : command.get_subcommands([](const CLI::App*) { return true; })) {
        std::ranges::copy(OptionsOf(*group), std::back_inserter(names));
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

#pragma once

#include <optional>
#include <span>
#include <string>

namespace quillo {

/// What a launch prints instead of running the program.
struct CommandLineAnswer {
    std::string output = {}; ///< for the standard output, whole lines
    std::string error = {};  ///< for the standard error, whole lines
    int status = 0;          ///< of the process

    friend bool operator==(const CommandLineAnswer&, const CommandLineAnswer&) = default;
};

/// Absent when the program is to run, which it does without arguments only; `--version` and `--help` are
/// answered, anything else is a usage error with status 2. `arguments` begins with the program's name. Needs
/// no application, so that it holds without a display or a bus.
[[nodiscard]] std::optional<CommandLineAnswer> answerCommandLine(std::span<const char* const> arguments);

} // namespace quillo

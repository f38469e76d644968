#include "ui/CommandLine.h"

#include "BuildConfiguration.h"

#include <string_view>

using namespace std::literals;

namespace quillo {

namespace {

constexpr auto usage = "usage: quillo [--version | --help]\n"sv;

constexpr auto explanation = R"(
Keeps your credit card balance in the panel. Only one instance runs in a session:
starting it again opens the ledger of the one that runs.

  --version  prints the version
  --help     prints this

What it does and where it keeps what is in the manual page, quillo(1).
)"sv;

CommandLineAnswer usageError(std::string_view argument) {
    return {.error = "quillo: cannot use '"s.append(argument).append("'\n").append(usage), .status = 2};
}

} // namespace

std::optional<CommandLineAnswer> answerCommandLine(std::span<const char* const> arguments) {
    if (arguments.size() < 2) {
        return std::nullopt;
    }
    if (arguments.size() > 2) {
        return usageError(arguments[2]);
    }
    const std::string_view argument = arguments[1];
    if (argument == "--version") {
        return CommandLineAnswer{.output = "quillo "s + build::version.data() + '\n'};
    }
    if (argument == "--help") {
        return CommandLineAnswer{.output = std::string(usage).append(explanation)};
    }
    return usageError(argument);
}

} // namespace quillo

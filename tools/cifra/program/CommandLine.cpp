#include "program/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <sstream>
#include <utility>

#include "system/Console.h"

namespace client {
namespace {

constexpr std::size_t kScreenWidth = 80;
constexpr std::size_t kHelpColumn = 26;

constexpr char kExitCodes[] = R"(Each command explains itself: cifra COMMAND --help

Exit codes: 0 success, 1 another digest than expected, 2 wrong usage, 3 cannot
read, 4 cannot write, 5 bad data, 6 bad key, 7 Cifra.dll cannot be used,
8 internal error, 10 to 16 what verify found: see its help)";

// Fills lines up to the screen's width; all but the first begin at the help's column.
std::string Wrapped(const std::string& text) {
  std::istringstream words(text);
  std::string lines;
  std::size_t column = kHelpColumn;
  for (std::string word; words >> word; column += word.size() + 1) {
    if (column > kHelpColumn && column + 1 + word.size() >= kScreenWidth) {
      lines += "\n" + std::string(kHelpColumn, ' ');
      column = kHelpColumn;
    } else if (column > kHelpColumn) {
      lines += ' ';
    }
    lines += word;
  }
  return lines;
}

// The library's help, with wrapped texts and without its notes on which option excludes which.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    column_width(kHelpColumn);
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "COMMAND");
  }

  std::string make_option(const CLI::Option* option, bool isPositional) const override {
    std::string line = "  " + make_option_name(option, isPositional) + make_option_opts(option);
    if (line.size() >= kHelpColumn) {
      line += "\n";
      line.append(kHelpColumn, ' ');
    } else {
      line.resize(kHelpColumn, ' ');
    }
    return line + Wrapped(option->get_description()) + "\n";
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_name().empty() ? "" : " " + option->get_type_name();
  }
};

std::string WithoutLineEnds(const std::string& text) {
  return text.substr(0, text.find_last_not_of('\n') + 1);
}

// An empty word would not be seen.
std::string Visible(const std::string& word) { return word.empty() ? "\"\"" : word; }

// The library counts values: "--length: 1 required BYTES missing", "--length: At Most 1 required".
std::string InPlainWords(const CLI::Error& error) {
  std::string words = error.what();
  if (error.get_name() == "ArgumentMismatch") {
    const std::string option = words.substr(0, words.find(':'));
    if (words.ends_with(" missing")) {
      return option + ": its value is missing";
    }
    if (words.starts_with(option + ": At Most 1 required")) {
      return option + ": given more than once";
    }
  }
  return words;
}

std::string ExplainUsageError(const CLI::App* app, const CLI::Error& error) {
  const std::vector<CLI::App*> commands = app->get_subcommands();
  if (!commands.empty()) {
    return InPlainWords(error) + "\nSee: cifra " + commands.front()->get_name() + " --help";
  }
  const std::vector<std::string> unknown = app->remaining();
  const bool isOption = !unknown.empty() && unknown.front().starts_with('-');
  return (unknown.empty() ? "no command given"
                          : (isOption ? "there is no option " : "there is no command ") +
                                Visible(unknown.front())) +
         "\nSee: cifra --help";
}

// An empty value is a script's unset variable more often than not.
std::string RefuseEmpty(const std::string& given) { return given.empty() ? "is empty" : ""; }

std::string RefuseAllButNumbers(const std::string& given) {
  std::uint64_t number = 0;
  const char* const end = given.data() + given.size();
  const auto [stop, result] = std::from_chars(given.data(), end, number);
  return result == std::errc() && stop == end ? "" : Visible(given) + " is not a number of bytes";
}

}  // namespace

Command::Option Command::Argument(const char* name, std::optional<std::string>& value,
                                  const std::string& help) {
  return app.add_option(name, value, help)->type_name("");
}

Command::Option Command::Arguments(const char* name, std::vector<std::string>& values,
                                   const std::string& help) {
  return app.add_option(name, values, help)->check(RefuseEmpty)->type_name("");
}

Command::Option Command::Text(const char* names, std::string& value, const char* valueName,
                              const std::string& help) {
  return app.add_option(names, value, help)->check(RefuseEmpty)->type_name(valueName);
}

Command::Option Command::Number(const char* names, std::optional<std::uint64_t>& value,
                                const char* valueName, const std::string& help) {
  return app.add_option(names, value, help)->check(RefuseAllButNumbers)->type_name(valueName);
}

Command::Option Command::Choice(const char* names, std::string& value,
                                std::vector<std::string> choices, const std::string& help) {
  std::string valueName;
  for (const std::string& choice : choices) {
    valueName += (valueName.empty() ? "" : "|") + choice;
  }
  CLI::Option* const option = app.add_option(names, value, help);
  option->check([known = std::move(choices), valueName](const std::string& given) {
    const bool isKnown = std::ranges::find(known, given) != known.end();
    return isKnown ? std::string() : given + " is none of " + valueName;
  });
  return option->type_name(valueName);
}

Command::Option Command::Flag(const char* names, bool& value, const std::string& help) {
  return app.add_flag(names, value, help);
}

void Command::AtMostOne(std::initializer_list<Option> options) {
  for (const Option option : options) {
    for (const Option other : options) {
      if (option != other) {
        option->excludes(other);
      }
    }
  }
}

void Command::Explain(const char* text) { app.footer(text); }

void Command::OnRun(std::function<ExitCode()> run) {
  app.callback([action = std::move(run), &code = result] { code = action(); });
}

Program::Program()
    : app(std::make_unique<CLI::App>("Encrypts, encodes, hashes and verifies with Cifra.dll.",
                                     "cifra")) {
  app->allow_windows_style_options(false);  // "/x" is a path or a text here
  app->require_subcommand(1, 1);            // so that "encrypt version" encrypts a word
  app->set_version_flag("--version", std::string("cifra ") + CIFRA_VERSION,
                        "Show the version of cifra and exit");
  app->set_help_flag("-h,--help", "Show this help and exit");
  app->failure_message(ExplainUsageError);
  app->formatter(std::make_shared<HelpFormatter>());
}

Program::~Program() = default;

Command Program::Add(const char* name, const char* description) {
  return {*app->add_subcommand(name, description)->group("Commands"), result};
}

ExitCode Program::Run(std::vector<std::string> arguments) {
  app->footer(kExitCodes);  // now, because commands take over what stands when they are added
  try {
    std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
    app->parse(arguments);
    return result;
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream err;
    const bool isRequest = app->exit(error, out, err) == 0;  // for the help or the version
    if (isRequest) {
      WriteOut(WithoutLineEnds(out.str()) + "\n");
      return ExitCode::kSuccess;
    }
    WriteMessage(WithoutLineEnds(err.str()));
    return ExitCode::kUsage;
  }
}

}  // namespace client

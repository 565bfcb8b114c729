#include "program/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iterator>
#include <sstream>
#include <utility>

#include "system/Console.h"
#include "system/Failure.h"

namespace client {
namespace {

constexpr std::size_t kScreenWidth = 80;
constexpr std::size_t kHelpColumn = 26;

constexpr char kExitCodes[] = R"(Each command explains itself: cifra COMMAND --help

Exit codes: 0 success, 1 another digest than expected, 2 wrong usage, 3 cannot
read, 4 cannot write, 5 bad data, 6 bad key, 7 Cifra.dll cannot be used,
8 internal error, 10 to 22 what verify found: see its help, 130 interrupted)";

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

  std::string make_help(const CLI::App* command, std::string name,
                        CLI::AppFormatMode mode) const override {
    std::string help = Formatter::make_help(command, std::move(name), mode);
    // An option that is not for users leaves an empty line.
    const std::size_t gap = help.find("\n\n\n");
    return gap == help.npos ? help : help.erase(gap, 1);
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_name().empty() ? "" : " " + option->get_type_name();
  }
};

std::string WithoutLineEnds(const std::string& text) {
  return text.substr(0, text.find_last_not_of('\n') + 1);
}

std::string QuoteIfEmpty(const std::string& word) { return word.empty() ? "\"\"" : word; }

// CLI11 interprets values: it splits "[a,b]" into two, drops "{}" and reads on after "--name=".
// What is not an option reaches it with this character in front, which it passes through untouched.
constexpr char kLiteralMark = '\x01';

std::string Marked(const std::string& argument) { return kLiteralMark + argument; }
std::string Unmarked(const std::string& argument) { return argument.substr(1); }

std::string WithoutMarks(std::string text) {
  std::erase(text, kLiteralMark);
  return text;
}

std::string HelpOf(const CLI::App& app) {
  const bool isCommand = app.get_parent() != nullptr;
  return "See: cifra " + (isCommand ? app.get_name() + " " : "") + "--help";
}

// Splits a command line into options without values and marked literals.
class LiteralArguments {
 public:
  LiteralArguments(const CLI::App& root, const std::vector<std::string>& given)
      : app(&root), arguments(given) {}

  std::vector<std::string> Split() {
    bool hasOptions = true;
    for (next = 0; next < arguments.size();) {
      const std::string& argument = arguments[next++];
      if (!hasOptions || argument == "-" || !argument.starts_with('-')) {
        AddWord(argument);
      } else if (argument == "--" && app->get_parent()) {
        hasOptions = false;
      } else if (argument.starts_with("--")) {
        AddLong(argument);
      } else {
        AddShort(argument);
      }
    }
    return std::move(result);
  }

 private:
  void AddWord(const std::string& word) {
    if (app->get_parent()) {
      result.push_back(Marked(word));
      return;
    }
    const std::vector<const CLI::App*> named = app->get_subcommands(
        [&word](const CLI::App* command) { return command->get_name() == word; });
    if (named.empty()) {
      Refuse("there is no command " + QuoteIfEmpty(word));
    }
    app = named.front();
    result.push_back(word);
  }

  void AddLong(const std::string& argument) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const bool takesValue = TakesValue(name, name);
    if (equals == argument.npos) {
      AddOption(name, takesValue);
      return;
    }
    if (!takesValue) {
      Refuse(name + " takes no value");
    }
    result.insert(result.end(), {name, Marked(argument.substr(equals + 1))});
  }

  // "-ab" is "-a -b" unless -a takes a value, which is then "b".
  void AddShort(const std::string& argument) {
    for (std::size_t at = 1; at < argument.size(); ++at) {
      const std::string name{'-', argument[at]};
      const std::string rest = argument.substr(at + 1);
      const bool takesValue = TakesValue(name, argument);
      if (!takesValue || rest.empty()) {
        AddOption(name, takesValue);
        continue;
      }
      if (rest.starts_with('=')) {
        Refuse(argument + ": leave out the \"=\": only long names of options have one");
      }
      result.insert(result.end(), {name, Marked(rest)});
      return;
    }
  }

  // A missing value is reported by the parser.
  void AddOption(const std::string& name, bool takesValue) {
    result.push_back(name);
    if (takesValue && next < arguments.size()) {
      result.push_back(Marked(arguments[next++]));
    }
  }

  bool TakesValue(const std::string& name, const std::string& argument) const {
    const CLI::Option* const option = app->get_option_no_throw(name);
    if (!option) {
      Refuse("there is no option " + argument);
    }
    return option->get_items_expected_max() > 0;
  }

  [[noreturn]] void Refuse(const std::string& why) const {
    throw Failure(ExitCode::kUsage, why, HelpOf(*app));
  }

  const CLI::App* app;
  const std::vector<std::string>& arguments;
  std::size_t next = 0;
  std::vector<std::string> result;
};

// The library counts values: "--length: 1 required BYTES missing", "--length: At Most 1 required".
std::string InPlainWords(const CLI::Error& error) {
  std::string words = WithoutMarks(error.what());
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

Failure UsageFailure(const CLI::App& root, const CLI::Error& error) {
  const std::vector<CLI::App*> commands = root.get_subcommands();
  return commands.empty()
             ? Failure(ExitCode::kUsage, "no command given", HelpOf(root))
             : Failure(ExitCode::kUsage, InPlainWords(error), HelpOf(*commands.front()));
}

// An empty value is a script's unset variable more often than not.
std::string RefuseEmpty(const std::string& given) { return given.empty() ? "is empty" : ""; }

std::optional<std::uint64_t> ParseNumber(const std::string& digits) {
  std::uint64_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, result] = std::from_chars(digits.data(), end, number);
  return result == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::string RefuseAllButNumbers(const std::string& given) {
  return ParseNumber(given) ? "" : QuoteIfEmpty(given) + " is not a number";
}

// check says what is wrong with a value, or nothing.
CLI::Option* AddText(CLI::App& app, const char* names,
                     const std::function<void(const std::string&)>& take,
                     const std::function<std::string(const std::string&)>& check,
                     const std::string& help) {
  return app
      .add_option_function<std::string>(
          names, [take](const std::string& value) { take(Unmarked(value)); }, help)
      ->check([check](const std::string& value) { return check(Unmarked(value)); });
}

CLI::Option* AddTexts(CLI::App& app, const char* names, std::vector<std::string>& values,
                      const std::string& help) {
  const auto take = [&values](const std::vector<std::string>& given) {
    std::ranges::transform(given, std::back_inserter(values), Unmarked);
  };
  return app.add_option_function<std::vector<std::string>>(names, take, help)
      ->check([](const std::string& value) { return RefuseEmpty(Unmarked(value)); });
}

}  // namespace

Command::Option Command::Argument(const char* name, std::optional<std::string>& value,
                                  const std::string& help) {
  return AddText(
             app, name, [&value](const std::string& given) { value = given; },
             [](const std::string&) { return std::string(); }, help)
      ->type_name("");
}

Command::Option Command::Arguments(const char* name, std::vector<std::string>& values,
                                   const std::string& help) {
  return AddTexts(app, name, values, help)->type_name("");
}

Command::Option Command::Text(const char* names, std::string& value, const char* valueName,
                              const std::string& help) {
  return AddText(
             app, names, [&value](const std::string& given) { value = given; }, RefuseEmpty, help)
      ->type_name(valueName);
}

Command::Option Command::Texts(const char* names, std::vector<std::string>& values,
                               const char* valueName, const std::string& help) {
  return AddTexts(app, names, values, help)->allow_extra_args(false)->type_name(valueName);
}

Command::Option Command::Number(const char* names, std::optional<std::uint64_t>& value,
                                const char* valueName, const std::string& help) {
  return AddText(
             app, names, [&value](const std::string& given) { value = ParseNumber(given); },
             RefuseAllButNumbers, help)
      ->type_name(valueName);
}

Command::Option Command::Choice(const char* names, std::string& value,
                                std::vector<std::string> choices, const std::string& help) {
  std::string valueName;
  for (const std::string& choice : choices) {
    valueName += (valueName.empty() ? "" : "|") + choice;
  }
  const auto check = [known = std::move(choices), valueName](const std::string& given) {
    const bool isKnown = std::ranges::find(known, given) != known.end();
    return isKnown ? std::string() : QuoteIfEmpty(given) + " is none of " + valueName;
  };
  return AddText(
             app, names, [&value](const std::string& given) { value = given; }, check, help)
      ->type_name(valueName);
}

Command::Option Command::Flag(const char* names, bool& value, const std::string& help) {
  return app.add_flag(names, value, help);
}

void Command::Hide(Option option) { option->group(""); }

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
  app->formatter(std::make_shared<HelpFormatter>());
}

Program::~Program() = default;

Command Program::Add(const char* name, const char* description) {
  return {*app->add_subcommand(name, description)->group("Commands"), result};
}

ExitCode Program::Run(const std::vector<std::string>& arguments) {
  app->footer(kExitCodes);  // only now: commands copy the footer when they are added
  std::vector<std::string> split = LiteralArguments(*app, arguments).Split();
  try {
    std::ranges::reverse(split);  // as the parser wants them
    app->parse(split);
    return result;
  } catch (const CLI::Success& request) {  // for the help or the version
    std::ostringstream text;
    app->exit(request, text, text);
    WriteOut(WithoutLineEnds(text.str()) + "\n");
    return ExitCode::kSuccess;
  } catch (const CLI::ParseError& error) {
    throw UsageFailure(*app, error);
  } catch (const Failure& failure) {  // the command's
    if (failure.Code() == ExitCode::kUsage) {
      throw Failure(failure.Code(), failure.Message(), HelpOf(*app->get_subcommands().front()));
    }
    throw;
  }
}

}  // namespace client

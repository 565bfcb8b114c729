#include "program/Report.h"

#include <nlohmann/json.hpp>
#include <string_view>

#include "system/Console.h"
#include "system/Unicode.h"

namespace client {

Command::Option AddFormatOption(Command& command, std::string& format,
                                std::vector<std::string> formats) {
  return command.Choice("--format", format, std::move(formats), "How to write the results");
}

namespace {

// What a spreadsheet would take for a formula gets an apostrophe, which makes it text there.
std::string Harmless(const std::string& field) {
  const bool isFormula =
      !field.empty() && std::string_view("=+-@\t\r").find(field.front()) != std::string_view::npos;
  return (isFormula ? "'" : "") + field;
}

std::string CsvField(const std::string& given) {
  const std::string text = Harmless(ToValidUtf8(given));
  std::string field = OutputIsScreen() ? EscapeForConsole(text, Backslashes::kKept) : text;
  if (field.find_first_of(",\"\r\n") == std::string::npos) {
    return field;
  }
  std::string quoted = "\"";
  for (const char c : field) {
    quoted.append(c == '"' ? 2 : 1, c);
  }
  return quoted + '"';
}

}  // namespace

std::string CsvLine(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& field : fields) {
    line += (&field == &fields.front() ? "" : ",") + CsvField(field);
  }
  return line + "\r\n";
}

nlohmann::ordered_json OrNull(const std::string& text) {
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

std::string JsonText(const nlohmann::ordered_json& value) {
  constexpr auto kReplacing = nlohmann::ordered_json::error_handler_t::replace;
  return value.dump(-1, ' ', OutputIsScreen(), kReplacing);
}

void JsonArray::Add(const nlohmann::ordered_json& element) {
  WriteOut((isEmpty ? "[\n" : ",\n") + JsonText(element));
  isEmpty = false;
}

void JsonArray::End() { WriteOut(isEmpty ? "[]\n" : "\n]\n"); }

}  // namespace client

#include "program/Report.h"

#include <nlohmann/json.hpp>

#include "system/Console.h"

namespace client {

Command::Option AddFormatOption(Command& command, std::string& format) {
  return command.Choice("--format", format, {kTextFormat, kJsonFormat, kCsvFormat},
                        "How to write the results");
}

std::string CsvLine(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& field : fields) {
    line += &field == &fields.front() ? "" : ",";
    if (field.find_first_of(",\"\r\n") == std::string::npos) {
      line += field;
      continue;
    }
    line += '"';
    for (const char c : field) {
      line += c == '"' ? "\"\"" : std::string(1, c);
    }
    line += '"';
  }
  return line + "\r\n";
}

nlohmann::ordered_json OrNull(const std::string& text) {
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

void JsonArray::Add(const nlohmann::ordered_json& element) {
  WriteOut((isEmpty ? "[\n" : ",\n") +
           element.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
  isEmpty = false;
}

void JsonArray::End() { WriteOut(isEmpty ? "[]\n" : "\n]\n"); }

}  // namespace client

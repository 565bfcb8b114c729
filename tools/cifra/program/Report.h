#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "program/CommandLine.h"

namespace client {

// How a command writes its results: for people, or for programs.
inline constexpr char kTextFormat[] = "text";
inline constexpr char kJsonFormat[] = "json";
inline constexpr char kCsvFormat[] = "csv";

// Adds the option --format.
Command::Option AddFormatOption(Command& command, std::string& format,
                                std::vector<std::string> formats = {kTextFormat, kJsonFormat,
                                                                    kCsvFormat});

// A line of comma-separated values after RFC 4180, its end included: UTF-8, and harmless to
// spreadsheets, where an apostrophe before =, +, - and @ makes a field text.
std::string CsvLine(const std::vector<std::string>& fields);

// Null for an empty text.
nlohmann::ordered_json OrNull(const std::string& text);

// JSON on one line: UTF-8, on a screen ASCII, so that no text in it can control the screen.
std::string JsonText(const nlohmann::ordered_json& value);

// JsonArray writes an array to standard output, element by element.
class JsonArray {
 public:
  void Add(const nlohmann::ordered_json& element);
  void End();

 private:
  bool isEmpty = true;
};

}  // namespace client

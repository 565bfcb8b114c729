#include "SignatureLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string_view>

#include "LogRecord.h"
#include "support/ProgramArguments.h"

namespace Cifra::Test {
namespace {

constexpr std::string_view kClass = "Cifra::DigitalSignatureObjectImplementation::";
constexpr std::string_view kNameBuilder = "kx::DistinguishedNameBuilder";
constexpr unsigned kInformation = 32;

std::string ShortName(const std::string& function) {
  if (function == kNameBuilder) {
    return function;
  }
  EXPECT_TRUE(function.starts_with(kClass)) << function;
  return function.substr(std::min(kClass.size(), function.size()));
}

std::string ShortForm(const LogEntry& entry) {
  const std::string name = ShortName(entry.function);
  if (entry.depthChange == 0) {
    return std::to_string(entry.level) + " " + name + ": " + entry.text;
  }
  EXPECT_EQ(kInformation, entry.level);
  if (entry.depthChange == 1) {
    EXPECT_EQ("-> %s", entry.format);
    EXPECT_EQ("-> " + entry.function + "()", entry.text);
    return "> " + name;
  }
  EXPECT_EQ(-1, entry.depthChange);
  EXPECT_EQ("<- %s [%d]", entry.format);
  EXPECT_EQ("<- " + entry.function + "() [", entry.text.substr(0, entry.function.size() + 7));
  EXPECT_TRUE(std::regex_match(entry.text, std::regex(".*\\[[0-9]+\\]"))) << entry.text;
  return "< " + name;
}

}  // namespace

std::vector<std::string> TakeSignatureLog() {
  std::vector<std::string> lines;
  for (const LogEntry& entry : TakeLogEntries()) {
    if (entry.exportName == "LogWrite") {
      lines.push_back(ShortForm(entry));
    }
  }
  return lines;
}

std::vector<std::string> WithoutTraces(const std::vector<std::string>& lines) {
  std::vector<std::string> others;
  for (const std::string& line : lines) {
    if (line[0] != '>' && line[0] != '<') {
      others.push_back(line);
    }
  }
  return others;
}

void UseRecordingLog() {
  const std::wstring file = ProgramFile().replace_filename(L"log.dll");
  ASSERT_NE(nullptr, LoadLibraryW(file.c_str()));
}

}  // namespace Cifra::Test

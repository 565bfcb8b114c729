#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "foundation/logging/CLogDLL.h"
#include "foundation/logging/CTraceScope.h"
#include "log/LogHost.h"

// The log.dll that users get, written to by the logging client that is linked to this program.
namespace {

using logging::CLogDLLRef;
using logging::CTraceScope;
using logging::Log;
using logging::LogLevel;

const Cifra::Test::ChildAction kTracedWork(L"TracedWork", [](const auto&) {
  CLogDLLRef holder;
  holder.Acquire();
  SetLastError(1234);
  {
    const CTraceScope outer(L"Outer");
    const CTraceScope inner(L"Inner");
    Log(LogLevel::kFailure, L"Inner", L"%s %d\n", L"\u20AC", 7);
  }
  Log(LogLevel::kInformation, L"Outer", L"done");
  return GetLastError() == 1234 ? 0 : 1;
});

// A line from the level on, the thread's number left out: "32  Outer  -> Outer()".
std::string WithoutTimeAndThread(const std::string& line) {
  // 14:03:07.512  32  4711  Outer  -> Outer()
  constexpr char kPattern[] = "dd:dd:dd.ddd  ";
  for (std::size_t i = 0; kPattern[i] != '\0'; ++i) {
    const bool isDigit = i < line.size() && line[i] >= '0' && line[i] <= '9';
    if (i >= line.size() || (kPattern[i] == 'd' ? !isDigit : line[i] != kPattern[i])) {
      return "no time: " + line;
    }
  }
  const std::size_t level = std::size(kPattern) - 1;
  const std::size_t thread = line.find("  ", level) + 2;
  return line.substr(level, thread - level) + line.substr(line.find("  ", thread) + 2);
}

class LogExample : public testing::Test {
 protected:
  LogExample() { host.PutExampleLog(); }

  static void ExpectTracedWork(const std::vector<std::string>& lines) {
    std::vector<std::string> shown;
    for (const std::string& line : lines) {
      shown.push_back(WithoutTimeAndThread(line));
    }
    EXPECT_EQ((std::vector<std::string>{"32  Outer  -> Outer()", "32  Inner    -> Inner()",
                                        "4  Inner      \xE2\x82\xAC 7"}),
              std::vector<std::string>(shown.begin(), shown.begin() + 3));
    ASSERT_EQ(6u, shown.size());
    EXPECT_TRUE(shown[3].starts_with("32  Inner    <- Inner() [")) << shown[3];
    EXPECT_TRUE(shown[4].starts_with("32  Outer  <- Outer() [")) << shown[4];
    EXPECT_EQ("32  Outer  done", shown[5]);
  }

  Cifra::Test::LogHost host;
};

TEST_F(LogExample, Messages_GoToStandardErrorIndentedByDepth) {
  ExpectTracedWork(host.Run(L"TracedWork"));
}

TEST_F(LogExample, Messages_GoToTheEndOfTheFileThatIsNamed) {
  const std::filesystem::path path = host.Directory() / L"\u20AC.log";
  std::ofstream(path) << "earlier\n";
  SetEnvironmentVariableW(L"CIFRA_LOG_FILE", path.c_str());
  EXPECT_EQ(std::vector<std::string>(), host.Run(L"TracedWork"));
  SetEnvironmentVariableW(L"CIFRA_LOG_FILE", nullptr);

  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line.substr(0, line.find('\r')));
  }
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ("earlier", lines.front());
  lines.erase(lines.begin());
  ExpectTracedWork(lines);
}

}  // namespace

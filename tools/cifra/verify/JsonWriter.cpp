#include "program/Report.h"
#include "system/Console.h"
#include "verify/VerifyReport.h"

namespace client {
namespace {

constexpr int kSchemaVersion = 2;

Record PolicyJson(const Policy& policy) {
  return {{"signers", policy.signers},
          {"minDigest", OrNull(policy.minDigest)},
          {"requiresTimestamp", policy.needsTimestamp}};
}

class JsonWriter final : public ReportWriter {
 public:
  void Begin(const RunFacts& facts) override {
    Record library;
    if (!facts.dllPath.empty()) {
      library = {{"version", OrNull(facts.dllVersion)}, {"path", facts.dllPath}};
    }
    const Record head{{"schema", kSchemaVersion},
                      {"cifra", CIFRA_VERSION},
                      {"library", library},
                      {"time", facts.time},
                      {"online", facts.isOnline},
                      {"catalogs", facts.usesCatalogs},
                      {"policy", PolicyJson(facts.policy)}};
    const std::string text = JsonText(head);
    WriteOut(text.substr(0, text.size() - 1) + ",\n\"files\": ");
  }

  void Add(const Record& record) override { files.Add(record); }

  void End(const Summary& summary, const RunFailure* failure) override {
    files.End();
    Record counts{{"files", summary.files}};
    for (const Verdict verdict : kVerdicts) {
      counts[NameOf(verdict)] = summary.Count(verdict);
    }
    counts["passed over"] = summary.passedOver;
    Record failed;
    if (failure) {
      failed = {{"code", static_cast<int>(failure->code)}, {"message", failure->message}};
    }
    WriteOut(",\"summary\": " + JsonText(counts) + ",\n\"failure\": " + JsonText(failed) + "}\n");
  }

 private:
  JsonArray files;
};

}  // namespace

std::unique_ptr<ReportWriter> MakeJsonWriter() { return std::make_unique<JsonWriter>(); }

}  // namespace client

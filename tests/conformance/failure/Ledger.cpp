#include "Ledger.h"

#include <cstdio>
#include <cstdlib>

namespace Cifra::Test {
namespace {

// Plain tables, since the ledger is kept while memory is allocated and freed.
constexpr int kKinds = static_cast<int>(Holding::kCount);
constexpr int kRoom = 16384;
constexpr const char* kNames[kKinds] = {"blocks of memory", "files",      "module references",
                                        "CNG providers",    "CNG hashes", "locks"};

const void* held[kKinds][kRoom];
int counts[kKinds];
int foreignReleases;

}  // namespace

void Ledger::Clear() {
  for (int& count : counts) {
    count = 0;
  }
  foreignReleases = 0;
}

void Ledger::Enter(Holding kind, const void* what) {
  int& count = counts[static_cast<int>(kind)];
  if (count == kRoom) {
    std::fprintf(stderr, "the ledger is full\n");
    std::abort();
  }
  held[static_cast<int>(kind)][count++] = what;
}

bool Ledger::CrossOff(Holding kind, const void* what) {
  const void** entries = held[static_cast<int>(kind)];
  int& count = counts[static_cast<int>(kind)];
  for (int i = count; i-- > 0;) {
    if (entries[i] == what) {
      entries[i] = entries[--count];
      return true;
    }
  }
  // Memory that the program allocated may be freed by the library.
  foreignReleases += kind == Holding::kMemory ? 0 : 1;
  return false;
}

Ledger::Mark Ledger::Now() {
  Mark mark;
  for (int kind = 0; kind < kKinds; ++kind) {
    mark.counts[kind] = counts[kind];
  }
  return mark;
}

std::string Ledger::Difference(const Mark& before) {
  std::string text;
  for (int kind = 0; kind < kKinds; ++kind) {
    if (const int difference = counts[kind] - before.counts[kind]) {
      text += (text.empty() ? "" : ", ") + std::to_string(difference) + " " + kNames[kind];
    }
  }
  return text;
}

int Ledger::ForeignReleases() { return foreignReleases; }

}  // namespace Cifra::Test

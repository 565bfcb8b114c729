#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "verify/SignatureReader.h"
#include "verify/Verdict.h"

namespace client {

// A record is what is reported of one file, in the form of docs/schema/verify.json. The processes
// that verify hand records to the one that reports; all formats are views of them.
using Record = nlohmann::ordered_json;

// The catalog by which a file is signed, with the catalog's own signatures.
struct CatalogSignature {
  std::string path;  // empty: no catalog lists the file
  FileSignatures signatures;
};

// What is known of a file that was verified.
struct Findings {
  std::string kind;  // empty for a file that cannot hold a signature
  FileSignatures embedded;
  bool isLookedUp = false;                  // in the catalogs of this computer
  std::optional<CatalogSignature> catalog;  // none: could not be looked up
};

// Records have no name yet: it is the reporting process that knows how a file is called.
Record RecordOf(const Findings& findings);
// Of a file that came to no verification. Code is the platform's, 0 for none.
Record RecordOf(Verdict verdict, std::uint32_t code, const std::string& meaning);

Verdict VerdictOf(const Record& record);

// The signature whose result is the gravest of a file's.
const Signature& GravestOf(const FileSignatures& signatures);

}  // namespace client

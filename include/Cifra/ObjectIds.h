#pragma once

// The identifiers of the objects that the factory makes. They are case-sensitive.
namespace Cifra {

inline constexpr wchar_t kBlowfishObjectId[] = L"Cifra.Blowfish";
inline constexpr wchar_t kBase64ObjectId[] = L"Cifra.Base64";
// Spelled "Bowfish": callers depend on it.
inline constexpr wchar_t kBlowfishAndBase64ObjectId[] = L"Cifra.BowfishAndBase64";
inline constexpr wchar_t kMd5ObjectId[] = L"Cifra.Md5";
inline constexpr wchar_t kSha256ObjectId[] = L"Cifra.Sha256";
inline constexpr wchar_t kDigitalSignatureObjectId[] = L"Cifra.DigitalSignature";

}  // namespace Cifra

// The parts of DigitalSignatureObjectImplementation that turn a certificate into texts and maps.
#include "foundation/logging/CTraceScope.h"
#include "foundation/string/HexText.h"
#include "foundation/string/Utf8.h"
#include "signature/DigitalSignatureObjectImplementation.h"
#include "signature/DistinguishedNameBuilder.h"

namespace Cifra {
namespace {

using enum logging::LogLevel;

constexpr std::size_t kNameRoom = 64;  // characters

constexpr wchar_t kBlobToStr[] = L"Cifra::DigitalSignatureObjectImplementation::BlobToStr";
constexpr wchar_t kGetIssuer[] = L"Cifra::DigitalSignatureObjectImplementation::GetIssuer";
constexpr wchar_t kGetSubject[] = L"Cifra::DigitalSignatureObjectImplementation::GetSubject";
constexpr wchar_t kGetSerial[] = L"Cifra::DigitalSignatureObjectImplementation::GetSerial";

kx::StringT<wchar_t> ToWide(const std::string& text) {
  return kx::FromUtf8(kx::StringT<char>(text.data(), text.size()));
}

}  // namespace

void DigitalSignatureObjectImplementation::BlobToStr(const CERT_NAME_BLOB& blob, String& text) {
  const logging::CTraceScope trace(kBlobToStr);
  CERT_NAME_BLOB name = blob;  // the platform asks for write access
  // One character more than the platform counts, on purpose; a caller sees it only as capacity.
  const DWORD size = CertNameToStrW(X509_ASN_ENCODING, &name, CERT_X500_NAME_STR, nullptr, 0) + 1;
  wchar_t* buffer = text.GetBuffer(size);
  if (CertNameToStrW(X509_ASN_ENCODING, &name, CERT_X500_NAME_STR, buffer, size) == 0) {
    logging::Log(kFailure, kBlobToStr, L"Failed to convert blob to string.");
    text.ReleaseBuffer(0);
    return;
  }
  text.ReleaseBuffer();
}

kx::StringT<wchar_t> DigitalSignatureObjectImplementation::GetName(const wchar_t* function,
                                                                   const wchar_t* format,
                                                                   const CERT_NAME_BLOB& blob) {
  const logging::CTraceScope trace(function);
  String name;
  kx::FatalUnless(name.Reserve(kNameRoom));
  BlobToStr(blob, name);
  logging::Log(kInformation, function, format, name.CStr());
  return name;
}

kx::StringT<wchar_t> DigitalSignatureObjectImplementation::GetIssuer(const CERT_INFO& certificate) {
  return GetName(kGetIssuer, L"Issuer: %s", certificate.Issuer);
}

kx::StringT<wchar_t> DigitalSignatureObjectImplementation::GetSubject(
    const CERT_INFO& certificate) {
  return GetName(kGetSubject, L"Subject: %s", certificate.Subject);
}

kx::StringT<wchar_t> DigitalSignatureObjectImplementation::GetSerial(const CERT_INFO& certificate) {
  const logging::CTraceScope trace(kGetSerial);
  const CRYPT_INTEGER_BLOB& number = certificate.SerialNumber;
  String serial;
  kx::FatalUnless(serial.Reserve(std::size_t{number.cbData} + 1));
  for (DWORD i = number.cbData; i > 0; --i) {  // stored least significant byte first
    kx::AppendHex(serial, number.pbData[i - 1], kx::kLowerHexDigits);
  }
  logging::Log(kInformation, kGetSerial, L"Serial: %s", serial.CStr());
  return serial;
}

SignatureInfo::Name DigitalSignatureObjectImplementation::SplitName(const String& name) {
  const kx::DistinguishedNameBuilder builder(kx::ToUtf8(name));
  SignatureInfo::Name map;
  for (const auto& [type, values] : builder.Result()) {
    kx::List<String> list;
    for (const std::string& value : values) {
      list.AddTail(ToWide(value));
    }
    map.Add(ToWide(type), list);
  }
  return map;
}

}  // namespace Cifra

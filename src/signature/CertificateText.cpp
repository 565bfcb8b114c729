#include "signature/CertificateText.h"

#include "foundation/logging/CLogDLL.h"
#include "foundation/logging/CTraceScope.h"
#include "foundation/string/HexText.h"
#include "foundation/string/Utf8.h"
#include "signature/DistinguishedNameBuilder.h"

namespace Cifra {
namespace {

using String = kx::StringT<wchar_t>;
using enum logging::LogLevel;

constexpr std::size_t kNameCapacity = 64;  // characters

// The names in the log are fixed: readers of the log know these steps as members of the class.
constexpr wchar_t kBlobToStr[] = L"Cifra::DigitalSignatureObjectImplementation::BlobToStr";
constexpr wchar_t kGetIssuer[] = L"Cifra::DigitalSignatureObjectImplementation::GetIssuer";
constexpr wchar_t kGetSubject[] = L"Cifra::DigitalSignatureObjectImplementation::GetSubject";
constexpr wchar_t kGetSerial[] = L"Cifra::DigitalSignatureObjectImplementation::GetSerial";

void BlobToStr(const CERT_NAME_BLOB& blob, String& text) {
  const logging::CTraceScope trace(kBlobToStr);
  CERT_NAME_BLOB name = blob;  // the platform's parameter is not const
  // One character more than the platform asks for; it shows only in the string's capacity.
  const DWORD size = CertNameToStrW(X509_ASN_ENCODING, &name, CERT_X500_NAME_STR, nullptr, 0) + 1;
  wchar_t* buffer = text.GetBuffer(size);
  if (CertNameToStrW(X509_ASN_ENCODING, &name, CERT_X500_NAME_STR, buffer, size) == 0) {
    logging::Log(kFailure, kBlobToStr, L"Failed to convert blob to string.");
    text.ReleaseBuffer(0);
    return;
  }
  text.ReleaseBuffer();
}

String GetName(const wchar_t* function, const wchar_t* format, const CERT_NAME_BLOB& blob) {
  const logging::CTraceScope trace(function);
  String name;
  kx::FatalUnless(name.Reserve(kNameCapacity));
  BlobToStr(blob, name);
  logging::Log(kInformation, function, format, name.CStr());
  return name;
}

String GetSerial(const CRYPT_INTEGER_BLOB& number) {
  const logging::CTraceScope trace(kGetSerial);
  String serial;
  kx::FatalUnless(serial.Reserve(std::size_t{number.cbData} + 1));
  for (DWORD i = number.cbData; i > 0; --i) {  // stored least significant byte first
    kx::AppendHex(serial, number.pbData[i - 1], kx::kLowerHexDigits);
  }
  logging::Log(kInformation, kGetSerial, L"Serial: %s", serial.CStr());
  return serial;
}

String ToWide(const std::string& text) {
  return kx::FromUtf8(kx::StringT<char>(text.data(), text.size()));
}

SignatureInfo::Name SplitName(const String& name) {
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

}  // namespace

bool ReadCertificate(const CERT_INFO& info, Certificate& certificate) {
  const String issuer = GetName(kGetIssuer, L"Issuer: %s", info.Issuer);
  const String subject = GetName(kGetSubject, L"Subject: %s", info.Subject);
  const String serial = GetSerial(info.SerialNumber);

  certificate.issuer = SplitName(issuer);
  certificate.subject = SplitName(subject);
  return certificate.serial.Assign(serial.CStr(), serial.Length());
}

}  // namespace Cifra

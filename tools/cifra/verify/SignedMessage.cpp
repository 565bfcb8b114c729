#include "verify/SignedMessage.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "system/FileList.h"
#include "system/Handles.h"
#include "system/Input.h"
#include "system/Unicode.h"
#include "verify/AlgorithmNames.h"
#include "verify/FileKind.h"
#include "verify/ScriptSignature.h"

namespace client {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
constexpr char kProgramInfo[] = "1.3.6.1.4.1.311.2.1.12";
constexpr char kNestedSignature[] = "1.3.6.1.4.1.311.2.4.1";
constexpr char kTimestampToken[] = "1.3.6.1.4.1.311.3.3.1";
constexpr char kCounterSignature[] = "1.2.840.113549.1.9.6";
constexpr char kSigningTime[] = "1.2.840.113549.1.9.5";

const CRYPT_ATTRIBUTE* Find(const CRYPT_ATTRIBUTES& attributes, const char* objectId) {
  for (const CRYPT_ATTRIBUTE& attribute : std::span(attributes.rgAttr, attributes.cAttr)) {
    if (std::strcmp(attribute.pszObjId, objectId) == 0 && attribute.cValue > 0) {
      return &attribute;
    }
  }
  return nullptr;
}

// A text that is either UTF-16, its higher bytes first, or ASCII.
std::string ReadSpcString(const std::optional<DerReader::Value>& value) {
  if (!value || value->tag != DerReader::kInner0) {
    return value && value->tag == DerReader::kInner1
               ? std::string(value->content.begin(), value->content.end())
               : std::string();
  }
  std::wstring text;
  for (std::size_t i = 0; i + 1 < value->content.size(); i += 2) {
    text += static_cast<wchar_t>(value->content[i] << 8 | value->content[i + 1]);
  }
  return ToUtf8(text);
}

void ReadProgramInfo(const CMSG_SIGNER_INFO& signer, MessageFacts& facts) {
  const CRYPT_ATTRIBUTE* const attribute = Find(signer.AuthAttrs, kProgramInfo);
  const std::optional<Bytes> info =
      attribute ? DerReader(BytesOf(attribute->rgValue[0])).Next(DerReader::kSequence)
                : std::nullopt;
  if (!info) {
    return;
  }
  DerReader parts(*info);
  if (const std::optional<Bytes> name = parts.Next(DerReader::kOuter0)) {
    facts.programName = ReadSpcString(DerReader(*name).Next());
  }
  if (const std::optional<Bytes> link = parts.Next(DerReader::kOuter1)) {
    const std::optional<Bytes> url = DerReader(*link).Next(DerReader::kInner0);
    facts.url = url ? std::string(url->begin(), url->end()) : std::string();
  }
}

// The content of a message comes with or without the header of its outermost value.
DerReader WithoutHeader(Bytes content, std::uint8_t tag) {
  DerReader whole(content);
  const std::optional<Bytes> inner = whole.Next(tag);
  return DerReader(inner && !whole.Next() ? *inner : content);
}

// A signer's information as the platform's functions take it apart, from its encoding.
LocalMemory<CMSG_SIGNER_INFO> DecodeSigner(const CRYPT_ATTR_BLOB& encoded) {
  void* decoded = nullptr;
  DWORD size = 0;
  const bool isDecoded =
      CryptDecodeObjectEx(kEncoding, PKCS7_SIGNER_INFO, encoded.pbData, encoded.cbData,
                          CRYPT_DECODE_ALLOC_FLAG, nullptr, &decoded, &size) != 0;
  return LocalMemory<CMSG_SIGNER_INFO>(isDecoded ? static_cast<CMSG_SIGNER_INFO*>(decoded)
                                                 : nullptr);
}

std::optional<SignedMessage> ReadEmbedded(const std::wstring& path) {
  HCRYPTMSG opened = nullptr;
  if (!CryptQueryObject(
          CERT_QUERY_OBJECT_FILE, path.c_str(),
          CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED_EMBED | CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED,
          CERT_QUERY_FORMAT_FLAG_BINARY, 0, nullptr, nullptr, nullptr, nullptr, &opened, nullptr)) {
    return std::nullopt;
  }
  return SignedMessage(MessageHandle(opened));
}

std::optional<SignedMessage> ReadScript(const ListedFile& file) {
  constexpr std::uint64_t kMostBytes = 1U << 24;
  const std::uint64_t size = SizeOf(file);
  if (size > kMostBytes) {
    return std::nullopt;
  }
  std::vector<std::uint8_t> script(size);
  script.resize(Input(file).Read(script));
  const std::string base64 =
      ScriptSignature({reinterpret_cast<const char*>(script.data()), script.size()});
  std::vector<std::uint8_t> encoded(base64.size());
  auto count = static_cast<DWORD>(encoded.size());
  if (base64.empty() || !CryptStringToBinaryA(base64.data(), count, CRYPT_STRING_BASE64,
                                              encoded.data(), &count, nullptr, nullptr)) {
    return std::nullopt;
  }
  return SignedMessage::Decode(Bytes(encoded).first(count));
}

}  // namespace

SignedMessage::SignedMessage(MessageHandle opened)
    : message(std::move(opened)),
      certificates(CertOpenStore(CERT_STORE_PROV_MSG, kEncoding, 0, 0, message.get())) {}

std::optional<SignedMessage> SignedMessage::Decode(Bytes encoded) {
  MessageHandle opened(CryptMsgOpenToDecode(kEncoding, 0, 0, 0, nullptr, nullptr));
  if (!opened ||
      !CryptMsgUpdate(opened.get(), encoded.data(), static_cast<DWORD>(encoded.size()), TRUE)) {
    return std::nullopt;
  }
  return SignedMessage(std::move(opened));
}

std::vector<std::uint8_t> SignedMessage::Parameter(DWORD type) const {
  DWORD size = 0;
  if (!CryptMsgGetParam(message.get(), type, 0, nullptr, &size)) {
    return {};
  }
  std::vector<std::uint8_t> value(size);
  if (!CryptMsgGetParam(message.get(), type, 0, value.data(), &size)) {
    return {};
  }
  value.resize(size);
  return value;
}

bool SignedMessage::HasSigner() const {
  const std::vector<std::uint8_t> count = Parameter(CMSG_SIGNER_COUNT_PARAM);
  return std::ranges::any_of(count, [](std::uint8_t byte) { return byte != 0; });
}

std::optional<MessageFacts> SignedMessage::Facts() const {
  const std::vector<std::uint8_t> information = Parameter(CMSG_SIGNER_INFO_PARAM);
  if (information.size() < sizeof(CMSG_SIGNER_INFO)) {
    return std::nullopt;
  }
  const auto& signer = *reinterpret_cast<const CMSG_SIGNER_INFO*>(information.data());
  MessageFacts facts;
  facts.digest = AlgorithmName(signer.HashAlgorithm.pszObjId);
  facts.fileDigest = FileDigest();
  ReadProgramInfo(signer, facts);
  facts.stamp = StampOf(signer);
  facts.signer = CertificateOf(signer);
  return facts;
}

std::vector<SignedMessage> SignedMessage::Nested() const {
  const std::vector<std::uint8_t> information = Parameter(CMSG_SIGNER_INFO_PARAM);
  if (information.size() < sizeof(CMSG_SIGNER_INFO)) {
    return {};
  }
  const auto& signer = *reinterpret_cast<const CMSG_SIGNER_INFO*>(information.data());
  const CRYPT_ATTRIBUTE* const attribute = Find(signer.UnauthAttrs, kNestedSignature);
  std::vector<SignedMessage> nested;
  for (DWORD i = 0; attribute && i < attribute->cValue; ++i) {
    if (std::optional<SignedMessage> decoded = Decode(BytesOf(attribute->rgValue[i]))) {
      nested.push_back(std::move(*decoded));
    }
  }
  return nested;
}

// What is signed says what it is, and then with which algorithm the file was digested.
std::string SignedMessage::FileDigest() const {
  const std::vector<std::uint8_t> content = Parameter(CMSG_CONTENT_PARAM);
  DerReader parts = WithoutHeader(content, DerReader::kSequence);
  parts.Next(DerReader::kSequence);
  const std::optional<Bytes> digest = parts.Next(DerReader::kSequence);
  const std::optional<Bytes> algorithm =
      digest ? DerReader(*digest).Next(DerReader::kSequence) : std::nullopt;
  const std::optional<Bytes> id =
      algorithm ? DerReader(*algorithm).Next(DerReader::kObjectId) : std::nullopt;
  return id ? AlgorithmName(ObjectIdText(*id)) : std::string();
}

std::optional<CertificateFacts> SignedMessage::CertificateOf(const CMSG_SIGNER_INFO& signer) const {
  CERT_INFO wanted{};
  wanted.Issuer = signer.Issuer;
  wanted.SerialNumber = signer.SerialNumber;
  if (!certificates) {
    return std::nullopt;
  }
  const CertificateHandle found(
      CertGetSubjectCertificateFromStore(certificates.get(), kEncoding, &wanted));
  return found ? std::optional(FactsOf(*found)) : std::nullopt;
}

std::optional<StampFacts> SignedMessage::StampOf(const CMSG_SIGNER_INFO& signer) const {
  if (const CRYPT_ATTRIBUTE* const token = Find(signer.UnauthAttrs, kTimestampToken)) {
    const std::optional<SignedMessage> decoded = Decode(BytesOf(token->rgValue[0]));
    return decoded ? decoded->Token() : StampFacts{"RFC 3161", "", std::nullopt};
  }
  const CRYPT_ATTRIBUTE* const counterSignature = Find(signer.UnauthAttrs, kCounterSignature);
  if (!counterSignature) {
    return std::nullopt;
  }
  StampFacts stamp{"Authenticode", "", std::nullopt};
  if (const LocalMemory<CMSG_SIGNER_INFO> stamper = DecodeSigner(counterSignature->rgValue[0])) {
    stamp.authority = CertificateOf(*stamper);
    const CRYPT_ATTRIBUTE* const time = Find(stamper->AuthAttrs, kSigningTime);
    const std::optional<DerReader::Value> value =
        time ? DerReader(BytesOf(time->rgValue[0])).Next() : std::nullopt;
    stamp.time = value ? DerTimeText(*value) : "";
  }
  return stamp;
}

// This message as an RFC 3161 token: version, policy, digest, serial number and time are signed.
StampFacts SignedMessage::Token() const {
  StampFacts stamp{"RFC 3161", "", std::nullopt};
  const std::vector<std::uint8_t> information = Parameter(CMSG_SIGNER_INFO_PARAM);
  if (information.size() >= sizeof(CMSG_SIGNER_INFO)) {
    stamp.authority = CertificateOf(*reinterpret_cast<const CMSG_SIGNER_INFO*>(information.data()));
  }
  const std::vector<std::uint8_t> content = Parameter(CMSG_CONTENT_PARAM);
  DerReader text = WithoutHeader(content, DerReader::kOctetString);
  DerReader parts(text.Next(DerReader::kSequence).value_or(Bytes()));
  for (const std::uint8_t tag :
       {DerReader::kInteger, DerReader::kObjectId, DerReader::kSequence, DerReader::kInteger}) {
    parts.Next(tag);
  }
  const std::optional<DerReader::Value> time = parts.Next();
  stamp.time = time ? DerTimeText(*time) : "";
  return stamp;
}

std::vector<SignedMessage> ReadMessages(const ListedFile& file) {
  std::optional<SignedMessage> message = ReadEmbedded(file.Path());
  if (!message && IsScript(file.Path())) {
    message = ReadScript(file);
  }
  std::vector<SignedMessage> messages;
  if (message && message->HasSigner()) {
    std::vector<SignedMessage> nested = message->Nested();
    messages.push_back(std::move(*message));
    std::ranges::move(nested, std::back_inserter(messages));
  }
  return messages;
}

}  // namespace client

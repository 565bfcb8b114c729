// The library's object classes, and the only file of the framework that includes them. The order
// matters: static objects of one file are constructed in order of definition and destroyed in
// reverse. The first one creates the registry and destroys it again.
#include "Cifra/ObjectIds.h"
#include "cipher/Base64ObjectImplementation.h"
#include "cipher/BlowfishAndBase64ObjectImplementation.h"
#include "cipher/BlowfishObjectImplementation.h"
#include "framework/ExportedObjectDeclaration.h"
#include "hash/Md5ObjectImplementation.h"
#include "hash/Sha256ObjectImplementation.h"
#include "signature/DigitalSignaturePlugin.h"

namespace {

using Id = kx::StringT<wchar_t>;

ExportedObjectDeclaration<BlowfishAndBase64ObjectImplementation> blowfishAndBase64(Id{
    Cifra::kBlowfishAndBase64ObjectId});
ExportedObjectDeclaration<Base64ObjectImplementation> base64(Cifra::kBase64ObjectId);
ExportedObjectDeclaration<BlowfishObjectImplementation> blowfish(Id{Cifra::kBlowfishObjectId});
ExportedObjectDeclaration<Cifra::DigitalSignaturePlugin> digitalSignature(Id{
    Cifra::kDigitalSignatureObjectId});
ExportedObjectDeclaration<Md5ObjectImplementation> md5(Id{Cifra::kMd5ObjectId});
ExportedObjectDeclaration<Sha256ObjectImplementation> sha256(Id{Cifra::kSha256ObjectId});

}  // namespace

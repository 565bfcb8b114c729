// The library's object classes. Static objects of one file are built in the order in which they
// stand here, and destroyed in reverse: the first builds the registry, and the last to go destroys
// it.
#include "Cifra/ObjectIds.h"
#include "cipher/Base64ObjectImplementation.h"
#include "cipher/BlowfishAndBase64ObjectImplementation.h"
#include "cipher/BlowfishObjectImplementation.h"
#include "framework/ExportedObjectDeclaration.h"
#include "hash/Md5ObjectImplementation.h"
#include "hash/Sha256ObjectImplementation.h"
#include "signature/DigitalSignaturePlugin.h"

namespace {

ExportedObjectDeclaration<BlowfishAndBase64ObjectImplementation> blowfishAndBase64(
    Cifra::kBlowfishAndBase64ObjectId);
ExportedObjectDeclaration<Base64ObjectImplementation> base64(Cifra::kBase64ObjectId);
ExportedObjectDeclaration<BlowfishObjectImplementation> blowfish(Cifra::kBlowfishObjectId);
ExportedObjectDeclaration<Cifra::DigitalSignaturePlugin> digitalSignature(
    Cifra::kDigitalSignatureObjectId);
ExportedObjectDeclaration<Md5ObjectImplementation> md5(Cifra::kMd5ObjectId);
ExportedObjectDeclaration<Sha256ObjectImplementation> sha256(Cifra::kSha256ObjectId);

}  // namespace

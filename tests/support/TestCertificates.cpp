#include "tests/support/TestCertificates.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace tarnwell::test {
namespace {

template <auto Free>
struct FreeWith {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};
using Key = std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, FreeWith<X509_free>>;
using File = std::unique_ptr<std::FILE, FreeWith<std::fclose>>;

void require(bool ok, const char* what) {
  if (!ok) throw std::runtime_error(std::string("cannot make test certificates: ") + what);
}

struct Recipe {
  const char* name;
  const char* alternativeNames;
  const char* notBefore;
  const char* notAfter;
};

constexpr const char* kLocalNames = "DNS:localhost,IP:127.0.0.1";
constexpr const char* kPast = "20200101000000Z";
constexpr const char* kRecentPast = "20210101000000Z";
constexpr const char* kFuture = "20900101000000Z";
constexpr const char* kFarFuture = "20910101000000Z";

void addExtension(X509* certificate, X509* issuer, int nid, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
  require(extension != nullptr, "extension");
  require(X509_add_ext(certificate, extension, -1) == 1, "extension");
  X509_EXTENSION_free(extension);
}

/// Without an issuer the certificate signs itself.
Certificate make(const Recipe& recipe, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey,
                 bool isAuthority) {
  static long serial = 1000;
  Certificate certificate(X509_new());
  X509* x = certificate.get();
  require(X509_set_version(x, X509_VERSION_3) == 1, "version");
  ASN1_INTEGER_set(X509_get_serialNumber(x), ++serial);
  ASN1_TIME_set_string(X509_getm_notBefore(x), recipe.notBefore);
  ASN1_TIME_set_string(X509_getm_notAfter(x), recipe.notAfter);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(x), "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(recipe.name), -1, -1, 0);
  require(X509_set_issuer_name(x, X509_get_subject_name(issuer != nullptr ? issuer : x)) == 1,
          "issuer");
  require(X509_set_pubkey(x, key) == 1, "key");
  X509* signer = issuer != nullptr ? issuer : x;
  addExtension(x, signer, NID_basic_constraints,
               isAuthority ? "critical,CA:TRUE" : "critical,CA:FALSE");
  if (isAuthority) {
    addExtension(x, signer, NID_key_usage, "critical,keyCertSign,cRLSign");
  } else {
    addExtension(x, signer, NID_ext_key_usage, "serverAuth");
    addExtension(x, signer, NID_subject_alt_name, recipe.alternativeNames);
  }
  require(X509_sign(x, issuerKey != nullptr ? issuerKey : key, EVP_sha256()) > 0, "signature");
  return certificate;
}

void writeFile(const std::filesystem::path& path, X509* certificate) {
  const File file(std::fopen(path.c_str(), "w"));
  require(file && PEM_write_X509(file.get(), certificate) == 1, path.c_str());
}

void writeFile(const std::filesystem::path& path, EVP_PKEY* key) {
  const File file(std::fopen(path.c_str(), "w"));
  require(file && PEM_write_PrivateKey(file.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
          path.c_str());
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "tarnwell-test-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp");
  }
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;  // a file left in the temporary directory fails no test
  std::filesystem::remove_all(path_, ignored);
}

const TestCertificates& TestCertificates::shared() {
  static const TestCertificates certificates;
  return certificates;
}

TestCertificates::TestCertificates() {
  const auto newKey = [] {
    Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    require(key != nullptr, "key");
    return key;
  };
  const Key authorityKey = newKey();
  const Recipe authorityRecipe{"Tarnwell test authority", nullptr, kPast, kFarFuture};
  const Certificate authority = make(authorityRecipe, authorityKey.get(), nullptr, nullptr, true);
  authority_ = directory_.path() / "authority.pem";
  writeFile(authority_, authority.get());

  const auto issue = [&](const char* file, const Recipe& recipe, bool selfSigned) {
    const Key key = newKey();
    const Certificate certificate = make(recipe, key.get(), selfSigned ? nullptr : authority.get(),
                                         selfSigned ? nullptr : authorityKey.get(), false);
    TestCertificate result{directory_.path() / (std::string(file) + ".pem"),
                           directory_.path() / (std::string(file) + ".key")};
    writeFile(result.certificateFile, certificate.get());
    writeFile(result.keyFile, key.get());
    return result;
  };
  good_ = issue("good", {"localhost", kLocalNames, kPast, kFarFuture}, false);
  discovery_ = issue("discovery",
                     {"disc.example",
                      "DNS:disc.example,DNS:autodiscover.disc.example,DNS:target.disc.example,"
                      "DNS:mail.disc.example",
                      kPast, kFarFuture},
                     false);
  selfSigned_ = issue("self", {"localhost", kLocalNames, kPast, kFarFuture}, true);
  wrongHost_ = issue("wronghost",
                     {"mail.wrong.example", "DNS:mail.wrong.example", kPast, kFarFuture}, false);
  expired_ = issue("expired", {"localhost", kLocalNames, kPast, kRecentPast}, false);
  notYetValid_ = issue("notyet", {"localhost", kLocalNames, kFuture, kFarFuture}, false);
}

}  // namespace tarnwell::test

#include "sandbox/detail/Certificate.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace tarnwell::sandbox {
namespace {

template <auto Free>
struct FreeWith {
  template <class T>
  void operator()(T* object) const noexcept {
    Free(object);
  }
};
using Key = std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>>;
using X509Ptr = std::unique_ptr<X509, FreeWith<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, FreeWith<X509_EXTENSION_free>>;
using Bio = std::unique_ptr<BIO, FreeWith<BIO_free_all>>;
using Octets = std::unique_ptr<ASN1_OCTET_STRING, FreeWith<ASN1_OCTET_STRING_free>>;

constexpr long kSecondsPerDay = 86400;

bool isAddress(const std::string& name) { return Octets(a2i_IPADDRESS(name.c_str())) != nullptr; }

/// OpenSSL reads a list of names from text: nothing that would end a name may stand in one.
bool isHostName(const std::string& name) {
  return !name.empty() && std::ranges::all_of(name, [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_' || c == '*';
  });
}

bool addExtension(X509* certificate, int nid, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
  return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

bool setSerialNumber(X509* certificate) {
  long serial = 0;
  return RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1 &&
         ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial & 0x7fffffff) == 1;
}

std::string text(BIO* bio) {
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio, &data);
  return size > 0 ? std::string(data, static_cast<std::size_t>(size)) : std::string();
}

}  // namespace

std::optional<Certificate> makeCertificate(const std::vector<std::string>& names) {
  if (names.empty()) return std::nullopt;
  std::string alternativeNames;
  for (const std::string& name : names) {
    const bool address = isAddress(name);
    if (!address && !isHostName(name)) return std::nullopt;
    if (!alternativeNames.empty()) alternativeNames += ',';
    alternativeNames += (address ? "IP:" : "DNS:") + name;
  }

  const Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
  const X509Ptr certificate(X509_new());
  if (!key || !certificate) return std::nullopt;
  X509* x = certificate.get();
  X509_NAME* subject = X509_get_subject_name(x);
  // The common name holds 64 characters at most; what counts is the list of alternative names.
  const std::string commonName = names.front().substr(0, 64);
  const bool made =
      X509_set_version(x, X509_VERSION_3) == 1 && setSerialNumber(x) &&
      X509_gmtime_adj(X509_getm_notBefore(x), -kSecondsPerDay) != nullptr &&
      X509_gmtime_adj(X509_getm_notAfter(x), 365 * kSecondsPerDay) != nullptr &&
      X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                 reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1,
                                 0) == 1 &&
      X509_set_issuer_name(x, subject) == 1 && X509_set_pubkey(x, key.get()) == 1 &&
      addExtension(x, NID_basic_constraints, "critical,CA:FALSE") &&
      addExtension(x, NID_ext_key_usage, "serverAuth") &&
      addExtension(x, NID_subject_alt_name, alternativeNames) &&
      X509_sign(x, key.get(), EVP_sha256()) > 0;
  if (!made) return std::nullopt;

  const Bio certificateText(BIO_new(BIO_s_mem()));
  const Bio keyText(BIO_new(BIO_s_mem()));
  if (!certificateText || !keyText || PEM_write_bio_X509(certificateText.get(), x) != 1 ||
      PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) !=
          1) {
    return std::nullopt;
  }
  return Certificate{text(certificateText.get()), text(keyText.get())};
}

}  // namespace tarnwell::sandbox

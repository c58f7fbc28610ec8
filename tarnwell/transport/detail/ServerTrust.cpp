#include "tarnwell/transport/detail/ServerTrust.h"

#include <atomic>
#include <mutex>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include "tarnwell/transport/detail/HTTPTransfer.h"

namespace tarnwell::detail {
namespace {

std::atomic<void (*)()> evaluationProbe{nullptr};

std::mutex& evaluationMutex() {
  // Never destroyed: a connection may still be at work while the program ends.
  static auto* const mutex = new std::mutex;
  return *mutex;
}

int evaluate(X509_STORE_CTX* chain, void* argument) noexcept {
  const auto& trust = *static_cast<const ServerTrust*>(argument);
  bool trusted = false;
  {
    const std::lock_guard lock(evaluationMutex());
    if (void (*const probe)() = evaluationProbe) probe();
    trusted = X509_verify_cert(chain) == 1;
  }
  if (trust.accepts ? trust.accepts(trusted) : trusted) {
    // The verdict is looked at again after the handshake, so an accepted failure must not stay in
    // it.
    X509_STORE_CTX_set_error(chain, X509_V_OK);
    return 1;
  }
  if (X509_STORE_CTX_get_error(chain) == X509_V_OK) {
    X509_STORE_CTX_set_error(chain, X509_V_ERR_CERT_REJECTED);
  }
  return 0;
}

}  // namespace

void setTrustEvaluationProbe(void (*probe)()) { evaluationProbe = probe; }

bool installServerTrust(void* tlsContext, const std::string& host, ServerTrust& trust) {
  auto* const context = static_cast<SSL_CTX*>(tlsContext);
  X509_VERIFY_PARAM* const expected = SSL_CTX_get0_param(context);
  if (X509_VERIFY_PARAM_set1_ip_asc(expected, host.c_str()) != 1) {
    // No address, then; the failed attempt must not be taken for an error of the handshake.
    ERR_clear_error();
    X509_VERIFY_PARAM_set_hostflags(expected, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    if (X509_VERIFY_PARAM_set1_host(expected, host.data(), host.size()) != 1) return false;
  }
  if (!trust.caFile.empty() && SSL_CTX_load_verify_file(context, trust.caFile.c_str()) != 1) {
    ERR_clear_error();
    return false;
  }
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  SSL_CTX_set_cert_verify_callback(context, evaluate, &trust);
  return true;
}

}  // namespace tarnwell::detail

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarnwell::sandbox {

/// A certificate and its key, PEM.
struct Certificate {
  std::string certificatePem;
  std::string keyPem;
};

/// A self-signed server certificate, good for a year and for those DNS names and IP addresses. A
/// client that is given it as an authority trusts it. Absent when a name cannot stand in one.
[[nodiscard]] std::optional<Certificate> makeCertificate(const std::vector<std::string>& names);

}  // namespace tarnwell::sandbox

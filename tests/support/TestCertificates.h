#pragma once

#include <filesystem>
#include <string>

namespace tarnwell::test {

/// A certificate and its key as PEM files.
struct TestCertificate {
  std::filesystem::path certificateFile;
  std::filesystem::path keyFile;
};

/// A directory under the system's temporary directory, removed with what is in it at the end.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

/// A certificate authority of our own and server certificates good and bad, made when first asked
/// for and kept until the program ends.
class TestCertificates {
 public:
  [[nodiscard]] static const TestCertificates& shared();

  /// The authority's own certificate: give it to a client that shall trust `good`.
  [[nodiscard]] const std::filesystem::path& authority() const noexcept { return authority_; }
  /// For localhost and 127.0.0.1, from the authority.
  [[nodiscard]] const TestCertificate& good() const noexcept { return good_; }
  /// From the authority, for disc.example and autodiscover., target. and mail. before it.
  [[nodiscard]] const TestCertificate& discovery() const noexcept { return discovery_; }
  /// For localhost and 127.0.0.1, but its own issuer.
  [[nodiscard]] const TestCertificate& selfSigned() const noexcept { return selfSigned_; }
  /// From the authority, for mail.wrong.example.
  [[nodiscard]] const TestCertificate& wrongHost() const noexcept { return wrongHost_; }
  /// From the authority, valid until 2021.
  [[nodiscard]] const TestCertificate& expired() const noexcept { return expired_; }
  /// From the authority, valid from 2090.
  [[nodiscard]] const TestCertificate& notYetValid() const noexcept { return notYetValid_; }

 private:
  TestCertificates();

  TemporaryDirectory directory_;
  std::filesystem::path authority_;
  TestCertificate good_;
  TestCertificate discovery_;
  TestCertificate selfSigned_;
  TestCertificate wrongHost_;
  TestCertificate expired_;
  TestCertificate notYetValid_;
};

}  // namespace tarnwell::test

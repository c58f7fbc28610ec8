#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

namespace tarnwell {

class TWDictionary;
/// Codes of the domain `TWErrorDomain`, one for each row of the catalogue (services/TWErrors.h).
enum class TWErrorCode : std::int64_t;

/// Domain of every error that is a row of the catalogue (`TWErrorCode`), found here or sent by the
/// server.
inline constexpr std::string_view TWErrorDomain = "org.tarnwell.ews";
/// Domain of failures of the HTTP layer: time-outs, cancellations, unreachable hosts, refused
/// certificates. The code is the transfer library's and has nothing to do with the catalogue's
/// numbers.
inline constexpr std::string_view TWHTTPErrorDomain = "org.tarnwell.http";

/// Why a call failed: a domain, a code within it, and a dictionary of details.
///
/// A default-made error is "no error". Functions that can fail take `TWError* error = nullptr`,
/// answer an absent result and fill `*error`; on success they leave it untouched.
///
///     TWError error;
///     if (!folder->refresh(&error)) std::cerr << error << '\n';
///
/// Copying costs one reference count. The details never hold a password or a token.
class TWError {
 public:
  /// No error.
  TWError() noexcept = default;
  TWError(std::string_view domain, std::int64_t code);
  TWError(std::string_view domain, std::int64_t code, TWDictionary userInfo);

  /// An error of the catalogue with its message (under the user-info key "d").
  TWError(TWErrorCode code, std::string_view message);
  /// An error of the catalogue with details of its own.
  TWError(TWErrorCode code, TWDictionary userInfo);
  /// An error with a message under "d".
  TWError(std::string_view domain, std::int64_t code, std::string_view message);
  /// `{}` for the details means none.
  TWError(std::string_view domain, std::int64_t code, std::nullptr_t) : TWError(domain, code) {}
  TWError(TWErrorCode code, std::nullptr_t)
      : TWError(TWErrorDomain, static_cast<std::int64_t>(code)) {}

  /// True when there is an error.
  [[nodiscard]] explicit operator bool() const noexcept { return rep_ != nullptr; }

  /// One of the two domains above, or `NKXMLErrorDomain`; empty when there is no error.
  [[nodiscard]] std::string_view domain() const& noexcept;
  std::string_view domain() const&& = delete;
  /// The code within the domain; 0 when there is no error.
  [[nodiscard]] std::int64_t code() const noexcept;
  /// The text for people, user info "d"; empty when the error has none (a refused redirect, for
  /// instance, has its target under "url" instead).
  [[nodiscard]] std::string message() const;
  [[nodiscard]] const TWDictionary& userInfo() const&;
  /// A copy, since an error that is not kept takes its details along.
  [[nodiscard]] TWDictionary userInfo() const&&;

  /// Codes mean something only within their domain: `error.is(TWErrorCode::ErrorItemNotFound)` is
  /// false for a transfer failure that happens to have the same number.
  [[nodiscard]] bool is(TWErrorCode code) const noexcept {
    return is(TWErrorDomain, static_cast<std::int64_t>(code));
  }
  [[nodiscard]] bool is(std::string_view domain, std::int64_t code) const noexcept {
    return *this && this->domain() == domain && this->code() == code;
  }

  /// "domain code: message"; "(null)" without an error.
  [[nodiscard]] std::string description() const;

  /// Equal when domain, code and user info are.
  [[nodiscard]] bool isEqual(const TWError& other) const;
  friend bool operator==(const TWError& a, const TWError& b) { return a.isEqual(b); }
  [[nodiscard]] std::size_t hash() const;
  friend std::ostream& operator<<(std::ostream& stream, const TWError& error);

 private:
  struct Rep;
  std::shared_ptr<const Rep> rep_;
};

/// Fills the caller's out-parameter when there is one.
void setError(TWError* out, TWError error);

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::TWError> {
  std::size_t operator()(const tarnwell::TWError& error) const { return error.hash(); }
};

#include "tarnwell/util/TWError.h"

#include <ostream>
#include <utility>

#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {

struct TWError::Rep {
  std::string domain;
  std::int64_t code;
  TWDictionary userInfo;
};

TWError::TWError(std::string_view domain, std::int64_t code)
    : TWError(domain, code, TWDictionary()) {}

TWError::TWError(std::string_view domain, std::int64_t code, TWDictionary userInfo)
    : rep_(std::make_shared<const Rep>(Rep{std::string(domain), code, std::move(userInfo)})) {}

TWError::TWError(std::string_view domain, std::int64_t code, std::string_view message)
    : TWError(domain, code, TWDictionary{{"d", message}}) {}

TWError::TWError(TWErrorCode code, std::string_view message)
    : TWError(TWErrorDomain, static_cast<std::int64_t>(code), message) {}

TWError::TWError(TWErrorCode code, TWDictionary userInfo)
    : TWError(TWErrorDomain, static_cast<std::int64_t>(code), std::move(userInfo)) {}

std::string_view TWError::domain() const& noexcept {
  return rep_ ? std::string_view(rep_->domain) : std::string_view();
}

std::int64_t TWError::code() const noexcept { return rep_ ? rep_->code : 0; }

std::string TWError::message() const {
  return userInfo().get("d").asText().value_or(std::string());
}

const TWDictionary& TWError::userInfo() const& {
  static const TWDictionary* const kNone = new TWDictionary();
  return rep_ ? rep_->userInfo : *kNone;
}

TWDictionary TWError::userInfo() const&& { return static_cast<const TWError&>(*this).userInfo(); }

std::string TWError::description() const {
  if (!rep_) return TWValue().description();
  return formatMessage("%@ %lu: %@", {rep_->domain, rep_->code, userInfo().get("d")});
}

bool TWError::isEqual(const TWError& other) const {
  if (rep_ == other.rep_) return true;
  return rep_ && other.rep_ && rep_->domain == other.rep_->domain &&
         rep_->code == other.rep_->code && rep_->userInfo == other.rep_->userInfo;
}

std::size_t TWError::hash() const {
  return 31 * (31 * std::hash<std::string_view>{}(domain()) + std::hash<std::int64_t>{}(code())) +
         userInfo().hash();
}

std::ostream& operator<<(std::ostream& stream, const TWError& error) {
  return stream << error.description();
}

void setError(TWError* out, TWError error) {
  if (out != nullptr) *out = std::move(error);
}

}  // namespace tarnwell

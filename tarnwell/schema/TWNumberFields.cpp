#include "tarnwell/schema/TWNumberFields.h"

#include <algorithm>
#include <charconv>
#include <compare>
#include <cstddef>
#include <limits>
#include <system_error>

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

bool isTruth(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  return !text.empty() && std::string_view("YyTt123456789").find(text[0]) != std::string_view::npos;
}

/// The number that the text begins with, after blanks; 0 when there is none.
float leadingDecimal(std::string_view text) {
  text = trimmed(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  // Keeps out what from_chars would take besides: "inf", "nan" and a second sign.
  if (text.empty() || std::string_view("0123456789.").find(text[0]) == std::string_view::npos)
    return 0;
  float number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec == std::errc::result_out_of_range) {
    // from_chars does not tell too large from too small.
    const std::string_view digits(text.data(), static_cast<std::size_t>(read.ptr - text.data()));
    number = parseDecimal(digits).value_or(0) > 1 ? std::numeric_limits<float>::infinity() : 0;
  }
  return negative ? -number : number;
}

/// How a number of that size stands to a bound. Integers are compared as such, since a double does
/// not hold all of them.
std::partial_ordering compare(const TWValue& number, double size, double bound) {
  const auto whole = number.asInteger(), wholeBound = TWValue(bound).asInteger();
  if (whole && wholeBound) return *whole <=> *wholeBound;
  return size <=> bound;
}

}  // namespace

TWValue TWBooleanField::fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(isTruth(*text)) : options().default_;
}

TWValue TWIntegerField::clean(const TWValue& value, const TWVersion* version,
                              TWError* error) const {
  TWError failure;
  auto result = FieldKind::clean(value, version, &failure);
  if (const auto list = isList() ? result.asList() : nullptr) {
    for (const auto& entry : *list)
      if (!checkBounds(entry, &failure)) break;
  } else if (!result.isAbsent()) {
    (void)checkBounds(result, &failure);
  }
  if (!failure) return result;
  setError(error, failure);
  return {};
}

bool TWIntegerField::checkBounds(const TWValue& number, TWError* error) const {
  const auto fail = [&](std::string_view format, const std::optional<double>& bound) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     formatMessage(format, {number, options().name, bound})});
    return false;
  };
  const auto size = number.asDouble();
  // A default of another kind has no size.
  if (!size) return true;
  const auto& min = options().min;
  const auto& max = options().max;
  if (min && std::is_lt(compare(number, *size, *min)))
    return fail("value %@ on field %@ must be greater than %@", min);
  if (max && std::is_gt(compare(number, *size, *max)))
    return fail("value %@ on field %@ must be less than %@", max);
  return true;
}

TWValue TWIntegerField::fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(leadingInteger(*text)) : options().default_;
}

TWValue TWDecimalField::fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(leadingDecimal(*text)) : options().default_;
}

}  // namespace tarnwell

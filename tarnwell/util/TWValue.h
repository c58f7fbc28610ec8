#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/time/TWInstant.h"
#include "tarnwell/time/TWTimeZone.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {

class TWDictionary;
class TWObject;
class TWValue;
class TWXMLObject;

/// Bytes.
using TWData = std::vector<std::uint8_t>;
/// Values in order.
using TWList = std::vector<TWValue>;

/// What a text is the body of. Saving a body that was read as HTML writes HTML again.
enum class TWBodyType : std::uint8_t { none, plain, html };

/// The dynamic value of a property, a filter operand or a dictionary entry.
///
/// Made implicitly from what it can hold, read by asking for the kind that is wanted; asking for
/// another kind answers absent, it never converts texts to numbers or the like.
///
///     TWValue subject = "Report", size = 12, due = TWInstant(1ms);
///     if (auto text = subject.asText()) std::cout << *text;
///
/// A value is 40 bytes or less; short texts lie in it, and longer ones, bytes, lists and
/// dictionaries are shared and immutable, so copying costs a reference count at most. Numbers of
/// different make compare by value: 1, 1.0 and `true` are equal, as in EWS, where a boolean is a
/// number whose decimal text is 1 or 0.
class TWValue {
 public:
  enum class Kind : std::uint8_t {
    absent,
    boolean,
    integer,
    real,
    text,
    data,
    date,
    timeZone,
    list,
    dictionary,
    element,  ///< a schema element
    fieldPath,
    fieldOrder,
    xml,  ///< an XML element
    error,
    reference,  ///< a weak reference to a model object
  };

  /// Absent.
  TWValue() noexcept = default;
  TWValue(std::nullptr_t) noexcept {}
  /// Exactly `bool`, so that no pointer becomes a flag.
  template <std::same_as<bool> B>
  TWValue(B flag) noexcept : payload_(flag) {}
  /// Any integer. One above the range of 64 signed bits is kept as the nearest `double`.
  template <std::integral I>
  requires(!std::same_as<I, bool> && !std::same_as<I, char>) TWValue(I number)
  noexcept {
    if (std::in_range<std::int64_t>(number))
      payload_ = static_cast<std::int64_t>(number);
    else
      payload_ = static_cast<double>(number);
  }
  TWValue(double number) noexcept : payload_(number) {}
  /// The double of the shortest text, so that 0.1f prints "0.1".
  TWValue(float number);
  /// UTF-8 text. A null pointer gives the absent value.
  TWValue(const char* text);
  TWValue(std::string_view text);
  TWValue(const std::string& text);
  TWValue(TWData bytes);
  TWValue(TWInstant date) noexcept : payload_(date) {}
  TWValue(TWTimeZone zone) : payload_(std::move(zone)) {}
  TWValue(TWList list);
  TWValue(TWDictionary dictionary);
  /// A schema element, a field path or a field order; a null pointer gives the absent value.
  TWValue(std::shared_ptr<TWXMLObject> object);
  template <std::derived_from<TWXMLObject> T>
  TWValue(std::shared_ptr<T> object)
      : TWValue(std::static_pointer_cast<TWXMLObject>(std::move(object))) {}
  /// An XML element; the invalid element gives the absent value.
  TWValue(NKXMLElement element);
  /// An error, for instance one that caused another; "no error" gives the absent value.
  TWValue(TWError error);
  /// What the optional holds, or the absent value.
  template <class T>
  requires std::constructible_from<TWValue, const T&> TWValue(const std::optional<T>& value)
      : TWValue(value ? TWValue(*value) : TWValue()) {}
  /// A pointer that is none of the above is a mistake, not a flag.
  template <class T>
  requires(!std::same_as<std::remove_cv_t<T>, char>) TWValue(T*)
  = delete;

  /// A list: `TWValue::list({1, "two"})`. (Not a brace list by itself, which would be ambiguous.)
  [[nodiscard]] static TWValue list(std::initializer_list<TWValue> values);
  /// A text that is a message or appointment body of that type.
  [[nodiscard]] static TWValue body(std::string_view text, TWBodyType type);
  /// A reference that does not keep its object alive; it reads as null once the object is gone.
  [[nodiscard]] static TWValue weak(const std::shared_ptr<TWObject>& object);

  [[nodiscard]] Kind kind() const noexcept;
  [[nodiscard]] bool isAbsent() const noexcept { return payload_.index() == 0; }
  [[nodiscard]] bool isNumber() const noexcept;
  [[nodiscard]] bool isText() const noexcept { return kind() == Kind::text; }
  /// True for lists and dictionaries; a text is not iterable.
  [[nodiscard]] bool isIterable() const noexcept;

  /// A boolean, or a number (false when zero).
  [[nodiscard]] std::optional<bool> asBool() const noexcept;
  /// An integer, a boolean, or a double that is a whole number within 64 signed bits.
  [[nodiscard]] std::optional<std::int64_t> asInteger() const noexcept;
  /// Any number.
  [[nodiscard]] std::optional<double> asDouble() const noexcept;
  [[nodiscard]] std::optional<std::string> asText() const;
  /// The text without a copy; it lives as long as this value. Empty when the value is no text.
  [[nodiscard]] std::string_view textView() const& noexcept;
  std::string_view textView() && = delete;
  /// What the text is the body of; `none` for other values.
  [[nodiscard]] TWBodyType bodyType() const noexcept;
  /// Null when the value is of another kind. Lives as long as any copy of this value.
  [[nodiscard]] std::shared_ptr<const TWData> asData() const noexcept;
  [[nodiscard]] std::optional<TWInstant> asDate() const noexcept;
  [[nodiscard]] std::optional<TWTimeZone> asTimeZone() const;
  [[nodiscard]] std::shared_ptr<const TWList> asList() const noexcept;
  [[nodiscard]] std::shared_ptr<const TWDictionary> asDictionary() const noexcept;
  /// The schema element, field path or field order.
  [[nodiscard]] std::shared_ptr<TWXMLObject> asObject() const noexcept;
  /// The same when it is a `T`: `value.asObject<TWMailbox>()`.
  template <std::derived_from<TWXMLObject> T>
  [[nodiscard]] std::shared_ptr<T> asObject() const noexcept {
    return std::dynamic_pointer_cast<T>(asObject());
  }
  /// The invalid element when the value is of another kind.
  [[nodiscard]] NKXMLElement asXML() const;
  /// "No error" when the value is of another kind.
  [[nodiscard]] TWError asError() const;
  /// Null when the value is of another kind, or when the object is gone.
  [[nodiscard]] std::shared_ptr<TWObject> asReference() const noexcept;

  /// The one text form used wherever a value is printed into a message: absent "(null)"; text as it
  /// is; boolean 1 or 0; number as its shortest decimal text; list "(a, b)"; dictionary
  /// "{k = v; ...}" in the order of the keys; date in UTC; data "<N bytes>"; an object as its
  /// description, a weak reference as its class and id.
  [[nodiscard]] std::string description() const;

  /// Same kind and same content; numbers by value; objects by their `isEqual`; weak references are
  /// always equal to each other, so that back references do not take part.
  [[nodiscard]] bool isEqual(const TWValue& other) const;
  friend bool operator==(const TWValue& a, const TWValue& b) { return a.isEqual(b); }
  friend std::ostream& operator<<(std::ostream& stream, const TWValue& value);
  [[nodiscard]] std::size_t hash() const;

 private:
  /// A text that needs no allocation: most texts of an answer are short.
  struct ShortText {
    std::array<char, 30> bytes;  ///< filled up to the size only
    std::uint8_t size = 0;
    TWBodyType body = TWBodyType::none;
    [[nodiscard]] std::string_view view() const noexcept { return {bytes.data(), size}; }
  };
  /// Any other text, immutable and in one allocation.
  struct Text {
    std::shared_ptr<const char[]> bytes;
    std::size_t size = 0;
    TWBodyType body = TWBodyType::none;
    [[nodiscard]] std::string_view view() const noexcept { return {bytes.get(), size}; }
  };

  std::variant<std::monostate, bool, std::int64_t, double, Text, std::shared_ptr<const TWData>,
               TWInstant, TWTimeZone, std::shared_ptr<const TWList>,
               std::shared_ptr<const TWDictionary>, std::shared_ptr<TWXMLObject>, NKXMLElement,
               TWError, std::weak_ptr<TWObject>, ShortText>
      payload_;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::TWValue> {
  std::size_t operator()(const tarnwell::TWValue& value) const { return value.hash(); }
};

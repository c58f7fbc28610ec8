#include "tarnwell/util/TWValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <ostream>

#include "tarnwell/time/detail/DateTimeText.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

template <class... Fs>
struct Overload : Fs... {
  using Fs::operator()...;
};
// Clang 14 does not derive this one by itself.
template <class... Fs>
Overload(Fs...) -> Overload<Fs...>;

double shortestDouble(float number) {
  if (!std::isfinite(number)) return number;
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  double wide = 0;
  std::from_chars(buffer.data(), end.ptr, wide);
  return wide;
}

/// "2020-07-15T10:20:30Z", with milliseconds when there are any; for people, not for the wire.
std::string utcText(TWInstant date) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(date);
  std::string text = detail::printDateTime(detail::civilTime(whole.time_since_epoch().count()), 0);
  // Not the difference of the two: the second that the first instant lies in begins before it.
  if (const auto rest = date.time_since_epoch().count() % 1000; rest != 0) {
    const auto milliseconds = rest < 0 ? rest + 1000 : rest;
    text.insert(text.size() - 1, "." + std::to_string(1000 + milliseconds).substr(1));
  }
  return text;
}

std::size_t hashOfInteger(std::int64_t number) { return std::hash<std::int64_t>{}(number); }

/// The class and the id of what a back reference leads to. No more of it, or printing would go on
/// in circles.
std::string referenceText(const TWObject& object) {
  constexpr std::array<std::string_view, 3> kIds = {"item_id", "folder_id", "primarySmtpAddress"};
  for (const auto& [name, value] : object.declaredProperties())
    if (std::ranges::find(kIds, name) != kIds.end() && !value.textView().empty())
      return formatMessage("[%@ %@]", {object.className(), value});
  return formatMessage("[%@]", {object.className()});
}

}  // namespace

TWValue::TWValue(float number) : payload_(shortestDouble(number)) {}

TWValue::TWValue(std::string_view text) {
  if (ShortText copy; text.size() <= copy.bytes.size()) {
    std::ranges::copy(text, copy.bytes.begin());
    copy.size = static_cast<std::uint8_t>(text.size());
    payload_ = copy;
    return;
  }
  auto bytes = std::make_shared_for_overwrite<char[]>(text.size());
  std::ranges::copy(text, bytes.get());
  payload_ = Text{std::move(bytes), text.size(), TWBodyType::none};
}

TWValue::TWValue(const std::string& text) : TWValue(std::string_view(text)) {}

TWValue::TWValue(const char* text) {
  if (text != nullptr) *this = TWValue(std::string_view(text));
}

TWValue::TWValue(TWData bytes) : payload_(std::make_shared<const TWData>(std::move(bytes))) {}

TWValue::TWValue(TWList list) : payload_(std::make_shared<const TWList>(std::move(list))) {}

TWValue::TWValue(TWDictionary dictionary)
    : payload_(std::make_shared<const TWDictionary>(std::move(dictionary))) {}

TWValue::TWValue(std::shared_ptr<TWXMLObject> object) {
  if (object) payload_ = std::move(object);
}

TWValue::TWValue(NKXMLElement element) {
  if (element) payload_ = std::move(element);
}

TWValue::TWValue(TWError error) {
  if (error) payload_ = std::move(error);
}

TWValue TWValue::list(std::initializer_list<TWValue> values) { return TWList(values); }

TWValue TWValue::body(std::string_view text, TWBodyType type) {
  TWValue value(text);
  if (auto* brief = std::get_if<ShortText>(&value.payload_)) brief->body = type;
  if (auto* lengthy = std::get_if<Text>(&value.payload_)) lengthy->body = type;
  return value;
}

TWValue TWValue::weak(const std::shared_ptr<TWObject>& object) {
  TWValue value;
  if (object) value.payload_ = std::weak_ptr<TWObject>(object);
  return value;
}

TWValue::Kind TWValue::kind() const noexcept {
  if (const auto* object = std::get_if<std::shared_ptr<TWXMLObject>>(&payload_)) {
    switch ((*object)->role()) {
      case TWXMLObject::Role::fieldPath:
        return Kind::fieldPath;
      case TWXMLObject::Role::fieldOrder:
        return Kind::fieldOrder;
      case TWXMLObject::Role::element:
        return Kind::element;
    }
  }
  // In the order of the alternatives; the place of the shared object was dealt with above.
  static constexpr std::array kKinds = {
      Kind::absent,  Kind::boolean, Kind::integer,  Kind::real,      Kind::text,
      Kind::data,    Kind::date,    Kind::timeZone, Kind::list,      Kind::dictionary,
      Kind::element, Kind::xml,     Kind::error,    Kind::reference, Kind::text};
  static_assert(kKinds.size() == std::variant_size_v<decltype(payload_)>);
  return kKinds[payload_.index()];
}

bool TWValue::isNumber() const noexcept {
  const Kind k = kind();
  return k == Kind::boolean || k == Kind::integer || k == Kind::real;
}

bool TWValue::isIterable() const noexcept {
  const Kind k = kind();
  return k == Kind::list || k == Kind::dictionary;
}

std::optional<bool> TWValue::asBool() const noexcept {
  if (const auto* flag = std::get_if<bool>(&payload_)) return *flag;
  if (const auto* integer = std::get_if<std::int64_t>(&payload_)) return *integer != 0;
  if (const auto* real = std::get_if<double>(&payload_)) return *real != 0;
  return std::nullopt;
}

std::optional<std::int64_t> TWValue::asInteger() const noexcept {
  if (const auto* flag = std::get_if<bool>(&payload_)) return *flag ? 1 : 0;
  if (const auto* integer = std::get_if<std::int64_t>(&payload_)) return *integer;
  if (const auto* real = std::get_if<double>(&payload_)) {
    if (std::trunc(*real) == *real && *real >= -0x1p63 && *real < 0x1p63)
      return static_cast<std::int64_t>(*real);
  }
  return std::nullopt;
}

std::optional<double> TWValue::asDouble() const noexcept {
  if (const auto* real = std::get_if<double>(&payload_)) return *real;
  if (const auto integer = asInteger()) return static_cast<double>(*integer);
  return std::nullopt;
}

std::optional<std::string> TWValue::asText() const {
  if (!isText()) return std::nullopt;
  return std::string(textView());
}

std::string_view TWValue::textView() const& noexcept {
  if (const auto* brief = std::get_if<ShortText>(&payload_)) return brief->view();
  const auto* text = std::get_if<Text>(&payload_);
  return text ? text->view() : std::string_view();
}

TWBodyType TWValue::bodyType() const noexcept {
  if (const auto* brief = std::get_if<ShortText>(&payload_)) return brief->body;
  const auto* text = std::get_if<Text>(&payload_);
  return text ? text->body : TWBodyType::none;
}

std::shared_ptr<const TWData> TWValue::asData() const noexcept {
  const auto* data = std::get_if<std::shared_ptr<const TWData>>(&payload_);
  return data ? *data : nullptr;
}

std::optional<TWInstant> TWValue::asDate() const noexcept {
  if (const auto* date = std::get_if<TWInstant>(&payload_)) return *date;
  return std::nullopt;
}

std::optional<TWTimeZone> TWValue::asTimeZone() const {
  if (const auto* zone = std::get_if<TWTimeZone>(&payload_)) return *zone;
  return std::nullopt;
}

std::shared_ptr<const TWList> TWValue::asList() const noexcept {
  const auto* list = std::get_if<std::shared_ptr<const TWList>>(&payload_);
  return list ? *list : nullptr;
}

std::shared_ptr<const TWDictionary> TWValue::asDictionary() const noexcept {
  const auto* dictionary = std::get_if<std::shared_ptr<const TWDictionary>>(&payload_);
  return dictionary ? *dictionary : nullptr;
}

std::shared_ptr<TWXMLObject> TWValue::asObject() const noexcept {
  const auto* object = std::get_if<std::shared_ptr<TWXMLObject>>(&payload_);
  return object ? *object : nullptr;
}

NKXMLElement TWValue::asXML() const {
  const auto* element = std::get_if<NKXMLElement>(&payload_);
  return element ? *element : NKXMLElement();
}

TWError TWValue::asError() const {
  const auto* error = std::get_if<TWError>(&payload_);
  return error ? *error : TWError();
}

std::shared_ptr<TWObject> TWValue::asReference() const noexcept {
  const auto* reference = std::get_if<std::weak_ptr<TWObject>>(&payload_);
  return reference ? reference->lock() : nullptr;
}

std::string TWValue::description() const {
  return std::visit(
      Overload{
          [](std::monostate) { return std::string("(null)"); },
          [](bool flag) { return std::string(flag ? "1" : "0"); },
          [](std::int64_t number) { return std::to_string(number); },
          [](double number) { return decimalText(number); },
          [](const ShortText& text) { return std::string(text.view()); },
          [](const Text& text) { return std::string(text.view()); },
          [](const std::shared_ptr<const TWData>& data) {
            return formatMessage("<%lu bytes>", {data->size()});
          },
          [](TWInstant date) { return utcText(date); },
          [](const TWTimeZone& zone) { return zone.name(); },
          [](const std::shared_ptr<const TWList>& list) {
            std::string out = "(";
            for (const TWValue& value : *list) {
              if (out.size() > 1) out += ", ";
              out += value.description();
            }
            return out + ")";
          },
          [](const std::shared_ptr<const TWDictionary>& dictionary) {
            return dictionary->description();
          },
          [](const std::shared_ptr<TWXMLObject>& object) { return object->description(); },
          [](const NKXMLElement& element) { return element.XMLString(); },
          [](const TWError& error) { return error.description(); },
          [](const std::weak_ptr<TWObject>& reference) {
            const auto object = reference.lock();
            return object ? referenceText(*object) : std::string("(null)");
          },
      },
      payload_);
}

bool TWValue::isEqual(const TWValue& other) const {
  if (isNumber() && other.isNumber()) {
    // Integers are compared as such, since a double does not hold all of them.
    const auto x = asInteger();
    const auto y = other.asInteger();
    return x && y ? *x == *y : !x && !y && asDouble() == other.asDouble();
  }
  if (payload_.index() != other.payload_.index()) return false;
  return std::visit(
      Overload{
          [](std::monostate) { return true; },
          [&other](const ShortText& text) {
            return text.view() == other.textView() && text.body == other.bodyType();
          },
          [&other](const Text& text) {
            return text.view() == other.textView() && text.body == other.bodyType();
          },
          [&other](const std::shared_ptr<TWXMLObject>& object) {
            const auto theirs = other.asObject();
            return object == theirs || object->isEqual(*theirs);
          },
          [&other](const NKXMLElement& element) { return element.isEqual(other.asXML()); },
          [](const std::weak_ptr<TWObject>&) { return true; },
          [&other]<class T>(const std::shared_ptr<const T>& shared) {
            return *shared == *std::get<std::shared_ptr<const T>>(other.payload_);
          },
          [&other]<class T>(const T& plain) { return plain == std::get<T>(other.payload_); },
      },
      payload_);
}

std::ostream& operator<<(std::ostream& stream, const TWValue& value) {
  return stream << value.description();
}

std::size_t TWValue::hash() const {
  if (const auto integer = asInteger()) return hashOfInteger(*integer);
  return std::visit(
      Overload{
          [](double number) { return std::hash<double>{}(number); },
          [](const ShortText& text) { return std::hash<std::string_view>{}(text.view()); },
          [](const Text& text) { return std::hash<std::string_view>{}(text.view()); },
          [](const std::shared_ptr<const TWData>& data) {
            return std::hash<std::string_view>{}(
                {reinterpret_cast<const char*>(data->data()), data->size()});
          },
          [](TWInstant date) { return hashOfInteger(date.time_since_epoch().count()); },
          [](const TWTimeZone& zone) { return std::hash<TWTimeZone>{}(zone); },
          [](const std::shared_ptr<const TWList>& list) {
            std::size_t sum = list->size();
            for (const TWValue& value : *list) sum = sum * 31 + value.hash();
            return sum;
          },
          [](const std::shared_ptr<const TWDictionary>& dictionary) { return dictionary->hash(); },
          [](const std::shared_ptr<TWXMLObject>& object) { return object->hash(); },
          [](const TWError& error) { return error.hash(); },
          // Equal values must hash alike, and these are compared by identity or not at all.
          [](const auto&) { return std::size_t{0}; },
      },
      payload_);
}

}  // namespace tarnwell

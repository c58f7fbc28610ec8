#include "tarnwell/schema/TWEWSElement.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <ostream>
#include <vector>

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/schema/detail/FieldList.h"
#include "tarnwell/schema/detail/NamelessField.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

constexpr std::size_t kDeepestNesting = 64;
constexpr std::size_t kDeepestHashed = 4;

/// One step down into nested elements, in a walk of one kind on one thread.
class Nesting {
 public:
  /// The elements (of a comparison the pairs) that a walk is at, from the outermost down.
  using Steps = std::vector<std::pair<const TWEWSElement*, const TWEWSElement*>>;

  explicit Nesting(Steps& steps, const TWEWSElement& element, const TWEWSElement* other = nullptr)
      : steps_(steps) {
    steps_.emplace_back(&element, other);
  }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
  ~Nesting() { steps_.pop_back(); }

  [[nodiscard]] std::size_t depth() const noexcept { return steps_.size(); }
  [[nodiscard]] bool tooDeep() const noexcept { return depth() > kDeepestNesting; }
  /// True when the walk is at this very element (or pair of elements) already, further up.
  [[nodiscard]] bool isRepeated() const noexcept {
    return std::find(steps_.begin(), steps_.end() - 1, steps_.back()) != steps_.end() - 1;
  }

 private:
  Steps& steps_;
};

/// True when the field has nothing to write.
bool isSkipped(const TWField& field, const TWValue& value) {
  if (field.isReadOnly() || value.isAbsent()) return true;
  const auto list = field.isList() ? value.asList() : nullptr;
  return list && list->empty();
}

}  // namespace

const TWElementClass& TWEWSElement::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWEWSElement"});
  return kClass;
}

void TWEWSElement::initWithDict(const TWDictionary& dict) {
  for (const auto& field : cls().list().fields())
    props_.setField(field->name(), dict.get(field->name()));
}

void TWEWSElement::initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) {
  readFields(xml, account, nullptr);
}

void TWEWSElement::readFields(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account,
                              const TWVersion* version, std::size_t besides) {
  const auto& list = cls().list();
  const auto& fields = list.fields();
  if (list.repeatsName()) {
    // The order counts here: under one name the later field's value stands.
    for (const auto& field : fields)
      if (field->supportsVersion(version))
        props_.setField(field->name(), field->fromXML(xml, account));
    return;
  }
  // Bytes, which are quicker to look at than bits. On the stack, but for classes of very many
  // fields: answers hold thousands of small elements.
  std::array<std::byte, 128> room;
  std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
  std::pmr::vector<std::uint8_t> isRead(fields.size(), 0, &memory);
  const auto take = [&](std::size_t at, TWValue&& value) {
    isRead[at] = 1;
    props_.addField(fields[at]->name(), std::move(value));
  };
  props_.reserve(std::min(xml.childCount(), fields.size()) + besides);
  // One pass over the children: each goes to the fields that look at it, the first of a name wins.
  std::size_t next = 0;
  detail::XMLNamespaceTest isIn;
  for (const auto& child : xml.childElements()) {
    const auto readers = list.readersOf(detail::localNameOf(child), next);
    for (const auto& reader : readers)
      if (isRead[reader.field] == 0 && isIn(child, reader.xmlns) &&
          fields[reader.field]->supportsVersion(version))
        take(reader.field, fields[reader.field]->fromChild(child, account));
    if (!readers.empty()) next = readers.back().field + 1U;
  }
  for (std::size_t at = 0; at < fields.size(); ++at) {
    const TWField& field = *fields[at];
    if (isRead[at] != 0 || !field.supportsVersion(version)) continue;
    take(at, list.readsOneChild(at) ? field.fromChild({}, account) : field.fromXML(xml, account));
  }
}

bool TWEWSElement::clean(const TWVersion* version, TWError* error) {
  static thread_local Nesting::Steps steps;
  const Nesting nesting(steps, *this);
  if (nesting.tooDeep()) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     formatMessage("%@ is nested more than %d levels deep",
                                   {className(), kDeepestNesting})});
    return false;
  }
  for (const auto& field : cls().list().fields()) {
    if (!field->supportsVersion(version)) continue;
    TWError failure;
    auto value = field->clean(get(field->name()), version, &failure);
    if (failure) {
      setError(error, failure);
      return false;
    }
    props_.setField(field->name(), std::move(value));
  }
  return true;
}

NKXMLElement TWEWSElement::toXML(const TWVersion* version, TWError* error) {
  if (!clean(version, error)) return {};
  const auto tag = cls().requestTag();
  if (!tag) {
    setError(error,
             {TWErrorCode::ErrorValueOutOfRange,
              formatMessage("%@ has no element that it could be written as", {className()})});
    return {};
  }
  auto element = TWUtils::createElement(*tag);
  const auto& list = cls().list();
  for (const auto* const field : list.attributeFields()) {
    const TWValue& value = get(field->name());
    if (isSkipped(*field, value)) continue;
    if (field->fieldURI().empty()) {
      setError(error, detail::namelessField(*field));
      return {};
    }
    const auto text = TWUtils::xmlFromValue(value);
    if (!text) {
      setError(error,
               {TWErrorCode::ErrorType,
                formatMessage("%@ value of %@ cannot be an attribute", {value, field->name()})});
      return {};
    }
    element.addAttributeWithName(field->fieldURI(), *text);
  }
  for (const auto& field : list.fields()) {
    if (field->isAttribute() || !field->supportsVersion(version)) continue;
    const TWValue& value = get(field->name());
    if (isSkipped(*field, value)) continue;
    TWError failure;
    const auto xml = field->toXML(value, version, &failure);
    if (!failure) TWUtils::updateElement(element, xml, version, &failure);
    if (failure) {
      setError(error, failure);
      return {};
    }
  }
  return element;
}

std::string TWEWSElement::description() const {
  static thread_local Nesting::Steps steps;
  const Nesting nesting(steps, *this);
  if (nesting.tooDeep() || nesting.isRepeated()) return formatMessage("[%@] ...", {className()});
  return formatMessage("[%@] %@", {className(), props_.asDictionary()});
}

TWList TWEWSElement::identity() const {
  TWList identity;
  for (const auto& field : cls().list().fields()) {
    if (field->isList()) {
      identity.emplace_back(field->name());
    } else if (const TWValue& value = get(field->name()); !value.isAbsent()) {
      identity.push_back(value);
    }
  }
  return identity;
}

bool TWEWSElement::isComparable(const TWEWSElement& other) const {
  return other.cls().isKindOf(cls());
}

bool TWEWSElement::isEqual(const TWObject& other) const {
  if (this == &other) return true;
  const auto* const element = dynamic_cast<const TWEWSElement*>(&other);
  return element != nullptr && isComparable(*element) && hasIdentityOf(*element);
}

bool TWEWSElement::hasIdentityOf(const TWEWSElement& other) const {
  if (this == &other) return true;
  static thread_local Nesting::Steps steps;
  const Nesting nesting(steps, *this, &other);
  // A pair that is being compared already makes no difference to the outcome.
  if (nesting.isRepeated()) return true;
  return !nesting.tooDeep() && haveSameIdentity(identity(), other.identity());
}

bool TWEWSElement::haveSameIdentity(const TWValue& a, const TWValue& b) {
  const auto elementA = a.asObject<TWEWSElement>(), elementB = b.asObject<TWEWSElement>();
  if (elementA && elementB) return elementA->hasIdentityOf(*elementB);
  const auto listA = a.asList(), listB = b.asList();
  if (listA && listB) return std::ranges::equal(*listA, *listB, &TWEWSElement::haveSameIdentity);
  return a == b;
}

std::size_t TWEWSElement::hash() const {
  static thread_local Nesting::Steps steps;
  const Nesting nesting(steps, *this);
  // What is nested in itself has no end, and elements that are equal need not come to the same one
  // again at the same depth.
  if (nesting.depth() > kDeepestHashed) return 0;
  return TWValue(identity()).hash();
}

std::ostream& operator<<(std::ostream& stream, const TWEWSElement& element) {
  return stream << element.description();
}

TWProperties TWEWSElement::declaredProperties() const {
  TWProperties properties;
  for (const auto& field : cls().list().fields())
    properties.emplace_back(field->name(), get(field->name()));
  return properties;
}

}  // namespace tarnwell

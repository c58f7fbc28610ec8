#include "tarnwell/schema/TWEWSElement.h"

#include <algorithm>
#include <array>
#include <ostream>

#include "tarnwell/schema/detail/FieldList.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

constexpr int kDeepestNesting = 64;

/// Counts how deep this thread is in elements within elements.
class Nesting {
 public:
  Nesting() noexcept { ++depth_; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
  ~Nesting() { --depth_; }
  [[nodiscard]] static bool tooDeep() noexcept { return depth_ > kDeepestNesting; }

 private:
  static thread_local int depth_;
};
thread_local int Nesting::depth_ = 0;

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
  for (const auto& field : cls().list().fields()) set(field->name(), dict.get(field->name()));
}

void TWEWSElement::initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) {
  readFields(xml, account, nullptr);
}

void TWEWSElement::readFields(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account,
                              const TWVersion* version) {
  const auto& list = cls().list();
  const auto& fields = list.fields();
  // One pass over the children: each goes to the fields that look at it, the first of a name wins.
  std::vector<NKXMLElement> children(fields.size());
  for (const auto& child : xml.childElements()) {
    const auto name = child.localName();
    if (!name) continue;
    for (const auto at : list.readersOf(*name))
      if (!children[at] && child.isElement(*name, fields[at]->childTag()->xmlns))
        children[at] = child;
  }
  for (std::size_t at = 0; at < fields.size(); ++at) {
    const TWField& field = *fields[at];
    if (!field.supportsVersion(version)) continue;
    set(field.name(),
        field.childTag() ? field.fromChild(children[at], account) : field.fromXML(xml, account));
  }
}

bool TWEWSElement::clean(const TWVersion* version, TWError* error) {
  const Nesting nesting;
  if (Nesting::tooDeep()) {
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
    set(field->name(), std::move(value));
  }
  return true;
}

NKXMLElement TWEWSElement::toXML(const TWVersion* version, TWError* error) {
  if (!clean(version, error)) return {};
  const auto tag = cls().requestTag();
  if (!tag) return {};
  auto element = TWUtils::createElement(*tag);
  const auto& list = cls().list();
  for (const auto* const field : list.attributeFields()) {
    const TWValue& value = get(field->name());
    if (isSkipped(*field, value)) continue;
    if (const auto text = TWUtils::xmlFromValue(value))
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

bool TWEWSElement::isEqual(const TWObject& other) const {
  if (this == &other) return true;
  const auto* const element = dynamic_cast<const TWEWSElement*>(&other);
  return element != nullptr && element->cls().isKindOf(cls()) && element->identity() == identity();
}

std::size_t TWEWSElement::hash() const { return TWValue(identity()).hash(); }

std::ostream& operator<<(std::ostream& stream, const TWEWSElement& element) {
  return stream << element.description();
}

TWProperties TWEWSElement::declaredProperties() const {
  TWProperties properties;
  for (const auto& field : cls().list().fields())
    properties.emplace_back(field->name(), get(field->name()));
  return properties;
}

const TWElementClass& TWRegisterMixIn::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWRegisterMixIn", .base = &TWEWSElement::elementClass()});
  return kClass;
}

}  // namespace tarnwell

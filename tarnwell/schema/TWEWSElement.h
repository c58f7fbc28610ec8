#pragma once

#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWField.h"
#include "tarnwell/schema/TWPropertyList.h"
#include "tarnwell/schema/TWTypedValue.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWAccount;
class TWVersion;

/// Base of every object that travels as an EWS XML element: items, folders, ids, mailboxes and the
/// like. Its class says which fields it has; reading, writing, validation, equality and printing
/// walk that list.
///
///     auto mailbox = TWMailbox::withDict({{"name", "Ann"}, {"email_address", "ann@example.com"}});
///     auto address = mailbox->get<std::string>("email_address");
///
/// An element is used by one thread at a time; different elements are independent.
class TWEWSElement : public TWXMLObject {
 public:
  /// The class at the top: no element name, no fields.
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The class of this very element.
  [[nodiscard]] virtual const TWElementClass& cls() const = 0;

  /// A property; the absent value when it is not set.
  [[nodiscard]] const TWValue& get(std::string_view name) const noexcept {
    return props_.get(name);
  }
  [[nodiscard]] const TWValue& operator[](std::string_view name) const noexcept {
    return get(name);
  }
  /// A property as a C++ value: `bool`, an integer, `double`, `std::string`, `TWInstant`,
  /// `TWTimeZone`, `TWData`, an element (`std::shared_ptr<TWMailbox>`), or a `std::vector` of one
  /// of them. Absent (null for an element) when the property is not set or of another kind; a list
  /// with an entry of another kind is absent too.
  ///
  ///     if (auto size = item->get<int>("size")) total += *size;
  template <class T>
  [[nodiscard]] TWTypedValue<T> get(std::string_view name) const {
    return typedValue<T>(get(name));
  }
  /// Sets a property. An absent value changes nothing, nor does an empty name: clearing is an
  /// explicit `remove`. The name is not checked; what is no field of the class is kept, but neither
  /// validated nor written.
  void set(std::string_view name, TWValue value) { props_.set(name, std::move(value)); }
  void remove(std::string_view name) { props_.remove(name); }
  /// Names of the properties that are set, in the order in which they were, or were answered.
  [[nodiscard]] std::vector<std::string> allKeys() const { return props_.allKeys(); }

  /// Validates all properties in the order of the fields and stores their normal forms, defaults of
  /// missing ones included. False with the first failure; properties before it keep their clean
  /// values. Fields that the version does not know are passed over. Null: version unknown.
  ///
  /// Errors: those of `TWField::clean`; ErrorValueOutOfRange for an element nested in itself (more
  /// than 64 levels).
  virtual bool clean(const TWVersion* version, TWError* error = nullptr);

  /// Validates, then writes attributes and children in the order of the fields. Read-only fields,
  /// missing values and empty lists are left out.
  ///
  /// Errors: those of `clean`; ErrorType for an attribute whose value has no text;
  /// ErrorValueOutOfRange for a class without a request tag, and a field that has no name there.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;

  [[nodiscard]] Role role() const override { return Role::element; }
  [[nodiscard]] std::string_view className() const override { return cls().name(); }
  /// "[TWMailbox] {name = Ann; ...}". An element within itself is printed as "[TWMailbox] ...".
  [[nodiscard]] std::string description() const override;
  /// True when the other one is of this element's class, or derived from it, and both have the same
  /// identity: the values of the fields, of which lists count by their presence in the class only.
  /// Elements among these values are compared by their identities, whatever their classes.
  [[nodiscard]] bool isEqual(const TWObject& other) const override;
  [[nodiscard]] std::size_t hash() const override;
  friend bool operator==(const TWEWSElement& a, const TWEWSElement& b) { return a.isEqual(b); }
  friend std::ostream& operator<<(std::ostream& stream, const TWEWSElement& element);
  /// Every field with its value.
  [[nodiscard]] TWProperties declaredProperties() const override;

 protected:
  friend class TWElementClass;
  /// Takes over the values that stand under names of fields.
  virtual void initWithDict(const TWDictionary& dict);
  /// Reads every field from the XML.
  virtual void initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account);
  /// Reads the fields that the version knows into an element without properties; null reads all.
  /// Room is made for so many properties besides.
  void readFields(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account,
                  const TWVersion* version, std::size_t besides = 0);
  /// What equality and hash go by.
  [[nodiscard]] virtual TWList identity() const;
  /// True for what can be equal to this element at all: elements of its class, or derived from it.
  [[nodiscard]] virtual bool isComparable(const TWEWSElement& other) const;

 private:
  [[nodiscard]] bool hasIdentityOf(const TWEWSElement& other) const;
  /// For values of identities: elements, and those in lists, go by theirs.
  [[nodiscard]] static bool haveSameIdentity(const TWValue& a, const TWValue& b);

  TWPropertyList props_;
};

/// Base of items and folders: classes to which a program can add fields of extended properties.
class TWRegisterMixIn : public TWEWSElement {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

 protected:
  /// See `ElementKind::registerAttr`.
  static bool registerAttr(const TWElementClass& cls, std::string_view name,
                           const TWElementClass& property, TWError* error);
  static bool unregisterAttr(const TWElementClass& cls, std::string_view name, TWError* error);
};

namespace detail {

/// What each element class has: its factories, and the class-level answers as statics. The class
/// itself says `static const TWElementClass& elementClass()`.
template <class Self, class Base>
class ElementKind : public Base {
 public:
  using Base::Base;
  [[nodiscard]] const TWElementClass& cls() const override { return Self::elementClass(); }

  /// See `TWElementClass` for all of these.
  [[nodiscard]] static std::shared_ptr<Self> withDict(const TWDictionary& dict = {}) {
    return std::static_pointer_cast<Self>(Self::elementClass().withDict(dict));
  }
  [[nodiscard]] static std::shared_ptr<Self> fromXML(
      const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account = nullptr) {
    return std::static_pointer_cast<Self>(Self::elementClass().fromXML(xml, account));
  }
  [[nodiscard]] static std::optional<std::string_view> elementName() {
    return Self::elementClass().elementName();
  }
  [[nodiscard]] static std::string_view nameSpace() { return Self::elementClass().nameSpace(); }
  [[nodiscard]] static std::optional<std::string> requestTag() {
    return Self::elementClass().requestTag();
  }
  [[nodiscard]] static std::string_view responseTag() { return Self::elementClass().responseTag(); }
  [[nodiscard]] static std::string_view responseXMLns() {
    return Self::elementClass().responseXMLns();
  }
  [[nodiscard]] static TWFields fields() { return Self::elementClass().fields(); }
  [[nodiscard]] static std::vector<std::string> fieldNames() {
    return Self::elementClass().fieldNames();
  }
  [[nodiscard]] static TWFields attributeFields() { return Self::elementClass().attributeFields(); }
  [[nodiscard]] static TWFields supportedFields(const TWVersion* version) {
    return Self::elementClass().supportedFields(version);
  }
  [[nodiscard]] static std::shared_ptr<const TWField> getFieldByFieldName(std::string_view name) {
    return Self::elementClass().getFieldByFieldName(name);
  }
  static void addField(std::shared_ptr<const TWField> field, std::size_t idx) {
    Self::elementClass().addField(std::move(field), idx);
  }
  static void removeField(const TWField& field) { Self::elementClass().removeField(field); }
  [[nodiscard]] static std::optional<std::string_view> insertAfterField() {
    return Self::elementClass().insertAfterField();
  }

  /// Adds a field of that name for an extended property, right after `insertAfterField`. From then
  /// on every element of the class has it, those of the classes that share its list included.
  /// False with an error (ErrorValueOutOfRange) and nothing changed when the name is taken, when
  /// the class given is no extended property or not a valid one, and when the class takes no
  /// fields.
  static bool registerAttr(
      std::string_view name, const TWElementClass& property,
      TWError* error = nullptr) requires std::derived_from<Base, TWRegisterMixIn> {
    return TWRegisterMixIn::registerAttr(Self::elementClass(), name, property, error);
  }
  /// Removes a registered field; a built-in one cannot be removed (ErrorValueOutOfRange).
  static bool unregisterAttr(std::string_view name, TWError* error = nullptr) requires
      std::derived_from<Base, TWRegisterMixIn> {
    return TWRegisterMixIn::unregisterAttr(Self::elementClass(), name, error);
  }
};

/// The factory that a class's declaration names.
template <class Element>
std::shared_ptr<TWEWSElement> makeElement(const TWElementClass& /*cls*/) {
  return std::make_shared<Element>();
}

}  // namespace detail
}  // namespace tarnwell

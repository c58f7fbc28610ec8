#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWValueClass.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWExtendedProperty;

/// One MAPI property outside the schema of items and folders: how it is addressed and of which type
/// it is.
///
/// A program declares its own once, and registers it on the item or folder classes that shall have
/// it (`registerAttr`):
///
///     const auto& projectId = TWExtendedPropertyClass::declare({
///         .name = "ProjectId",
///         .distinguishedPropertySetId = "PublicStrings",
///         .propertyName = "ProjectId",
///         .propertyType = "String",
///     });
class TWExtendedPropertyClass final : public TWElementClass {
 public:
  /// Either a property set (a distinguished one or a GUID) with a name or an id, or a tag alone.
  /// What is set to an empty text, or to 0, is set.
  struct Addressing {
    std::string name;                                            ///< of the class, as printed
    std::optional<std::string> distinguishedPropertySetId = {};  ///< one of `distinguishedSets`
    std::optional<std::string> propertySetId = {};               ///< a GUID as text
    TWValue propertyTag = {};                                    ///< hexadecimal text or a number
    std::optional<std::string> propertyName = {};
    std::optional<std::int64_t> propertyId = {};
    std::optional<std::string> propertyType = {};  ///< one of `propertyTypes`
    /// Makes an empty property of a C++ class of its own; null makes a `TWExtendedProperty`.
    std::shared_ptr<TWEWSElement> (*make)(const TWElementClass&) = nullptr;
  };

  /// A new class, which lives as long as the process: declare each property once. Whether the
  /// addressing is valid is tested when it is registered and when it is used; see `validate`.
  [[nodiscard]] static const TWExtendedPropertyClass& declare(Addressing addressing);

  [[nodiscard]] const std::optional<std::string>& distinguishedPropertySetId() const noexcept {
    return addressing_->distinguishedPropertySetId;
  }
  [[nodiscard]] const std::optional<std::string>& propertySetId() const noexcept {
    return addressing_->propertySetId;
  }
  [[nodiscard]] const TWValue& propertyTag() const noexcept { return addressing_->propertyTag; }
  [[nodiscard]] const std::optional<std::string>& propertyName() const noexcept {
    return addressing_->propertyName;
  }
  [[nodiscard]] const std::optional<std::int64_t>& propertyId() const noexcept {
    return addressing_->propertyId;
  }
  [[nodiscard]] const std::optional<std::string>& propertyType() const noexcept {
    return addressing_->propertyType;
  }

  /// The names of Exchange's own property sets.
  [[nodiscard]] static const std::vector<std::string>& distinguishedSets();
  /// The types that a property may be of.
  [[nodiscard]] static const std::vector<std::string>& propertyTypes();

  /// What a value of the type, or an entry of an array type, is: a number (booleans too), bytes, a
  /// text or a date. The class without instances for an unknown type.
  [[nodiscard]] TWValueClass objectivecType() const;
  [[nodiscard]] bool isArrayType() const noexcept;
  [[nodiscard]] bool isBinaryType() const noexcept;
  /// The tag as a number; absent without a tag, and for a text that does not begin with a
  /// hexadecimal number ("0x1090", "1090").
  [[nodiscard]] std::optional<std::int64_t> propertyTagAsInt() const;
  /// "0x1090".
  [[nodiscard]] std::optional<std::string> propertyTagAsHex() const;
  /// The attributes of `t:ExtendedFieldURI`, in the order of writing, of what is set.
  [[nodiscard]] TWDictionary propertiesMap() const;

  /// False for an addressing that contradicts itself or is incomplete, for a tag in the range that
  /// is reserved for custom properties, and for an unknown type (ErrorValueOutOfRange).
  bool validate(TWError* error = nullptr) const;

 private:
  friend class TWExtendedProperty;
  TWExtendedPropertyClass(std::unique_ptr<const Addressing> addressing, const TWElementClass& base);

  std::unique_ptr<const Addressing> addressing_;  ///< holds the name that the base refers to
};

/// An extended property of an item or folder: its class, and one property, "value".
///
/// Where a field of an extended property has been registered, a plain value does as well:
///
///     item->set("project_id", "P-4711");
///     item->set("project_id", projectId.withDict({{"value", "P-4711"}}));
///
/// What is read from a server is an instance.
class TWExtendedProperty : public TWEWSElement {
 public:
  /// The class above all extended properties: it addresses none, and is not valid.
  [[nodiscard]] static const TWExtendedPropertyClass& elementClass();
  [[nodiscard]] static const std::vector<std::string>& distinguishedSets() {
    return TWExtendedPropertyClass::distinguishedSets();
  }
  [[nodiscard]] static const std::vector<std::string>& propertyTypes() {
    return TWExtendedPropertyClass::propertyTypes();
  }

  explicit TWExtendedProperty(const TWExtendedPropertyClass& cls) : cls_(&cls) {}
  [[nodiscard]] const TWElementClass& cls() const override { return *cls_; }
  [[nodiscard]] const TWExtendedPropertyClass& propertyClass() const noexcept { return *cls_; }

  /// Validates the class, then that the value of an array type is a list. The kinds of single
  /// values, and of the entries of a list, are not tested.
  ///
  /// Errors: ErrorValueOutOfRange.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
  /// `t:Value`, or `t:Values` for an array type; `TWExtendedPropertyField` adds what is around it.
  ///
  /// Errors: those of `clean`; ErrorType for a value that has no text, such as another element.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;
  /// The text of a single value, base64 of bytes.
  [[nodiscard]] std::optional<std::string> constantText() const override;
  [[nodiscard]] TWProperties declaredProperties() const override;

 protected:
  void initWithDict(const TWDictionary& dict) override;
  /// A value that cannot be read is left out, of an array type the entry.
  void initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) override;
  [[nodiscard]] TWList identity() const override;

 private:
  const TWExtendedPropertyClass* cls_;
};

namespace detail {

/// What a C++ class of its own for an extended property adds: the answers of its property class.
template <class Self>
class ExtendedPropertyKind : public ElementKind<Self, TWExtendedProperty> {
 public:
  /// See `TWExtendedPropertyClass` for all of these.
  [[nodiscard]] static const std::optional<std::string>& distinguishedPropertySetId() {
    return Self::elementClass().distinguishedPropertySetId();
  }
  [[nodiscard]] static const std::optional<std::string>& propertySetId() {
    return Self::elementClass().propertySetId();
  }
  [[nodiscard]] static const TWValue& propertyTag() { return Self::elementClass().propertyTag(); }
  [[nodiscard]] static const std::optional<std::string>& propertyName() {
    return Self::elementClass().propertyName();
  }
  [[nodiscard]] static const std::optional<std::int64_t>& propertyId() {
    return Self::elementClass().propertyId();
  }
  [[nodiscard]] static const std::optional<std::string>& propertyType() {
    return Self::elementClass().propertyType();
  }
  [[nodiscard]] static TWValueClass objectivecType() {
    return Self::elementClass().objectivecType();
  }
  [[nodiscard]] static bool isArrayType() { return Self::elementClass().isArrayType(); }
  [[nodiscard]] static bool isBinaryType() { return Self::elementClass().isBinaryType(); }
  [[nodiscard]] static std::optional<std::int64_t> propertyTagAsInt() {
    return Self::elementClass().propertyTagAsInt();
  }
  [[nodiscard]] static std::optional<std::string> propertyTagAsHex() {
    return Self::elementClass().propertyTagAsHex();
  }
  [[nodiscard]] static TWDictionary propertiesMap() { return Self::elementClass().propertiesMap(); }
  static bool validate(TWError* error = nullptr) { return Self::elementClass().validate(error); }

 protected:
  ExtendedPropertyKind() : ElementKind<Self, TWExtendedProperty>(Self::elementClass()) {}
};

}  // namespace detail

/// The identifier of an item in another system ("External ID").
class TWExternId : public detail::ExtendedPropertyKind<TWExternId> {
 public:
  [[nodiscard]] static const TWExtendedPropertyClass& elementClass();
};

/// Whether an item is flagged for follow-up (2) or done (1).
class TWFlag : public detail::ExtendedPropertyKind<TWFlag> {
 public:
  [[nodiscard]] static const TWExtendedPropertyClass& elementClass();
};

}  // namespace tarnwell

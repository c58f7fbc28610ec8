#pragma once

#include <atomic>
#include <concepts>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/schema/TWFieldOptions.h"
#include "tarnwell/schema/TWValueClass.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWAccount;
class TWVersion;

/// An element's name without prefix, and its namespace.
struct TWTag {
  std::string_view name;
  std::string_view xmlns;
};

/// How one property of a schema element is named, validated, read from EWS XML and written to it.
///
/// A field is its class (what it does) and its options (data). Fields are declared in the ordered
/// lists of the element classes, which hold them const and for the life of the process; a field in
/// a list may be used from any thread.
class TWField {
 public:
  explicit TWField(TWFieldOptions options) : options_(std::move(options)) {}
  TWField(const TWField&) = delete;
  TWField& operator=(const TWField&) = delete;
  virtual ~TWField() = default;

  static constexpr std::string_view kClassName = "TWField";
  [[nodiscard]] static std::shared_ptr<TWField> withProps(TWFieldOptions options) {
    return std::make_shared<TWField>(std::move(options));
  }
  /// The options that every field starts from.
  [[nodiscard]] static const TWFieldOptions& defaults();
  [[nodiscard]] virtual std::string_view className() const { return kClassName; }

  [[nodiscard]] const TWFieldOptions& options() const noexcept { return options_; }
  /// One option by its name; see `TWFieldOptions::get`, `set` and `remove`.
  [[nodiscard]] TWValue get(std::string_view option) const { return options_.get(option); }
  [[nodiscard]] TWValue operator[](std::string_view option) const { return get(option); }
  /// Both change nothing once the field is in the list of an element class.
  bool set(std::string_view option, const TWValue& value) {
    return !isFrozen() && options_.set(option, value);
  }
  void remove(std::string_view option) {
    if (!isFrozen()) options_.remove(option);
  }
  /// Ends all changes of the options: lists refer to them, and elements to the name.
  void freeze() const noexcept { frozen_.store(true, std::memory_order_relaxed); }
  [[nodiscard]] bool isFrozen() const noexcept { return frozen_.load(std::memory_order_relaxed); }

  /// The option "name"; empty when there is none. Lives as long as the field.
  [[nodiscard]] std::string_view name() const noexcept {
    return options_.name ? std::string_view(*options_.name) : std::string_view();
  }
  /// The option "fieldURI"; empty when there is none.
  [[nodiscard]] std::string_view fieldURI() const noexcept {
    return options_.fieldURI ? std::string_view(*options_.fieldURI) : std::string_view();
  }
  [[nodiscard]] bool isRequired() const noexcept { return options_.isRequired.value_or(false); }
  [[nodiscard]] bool isRequiredAfterSave() const noexcept {
    return options_.isRequiredAfterSave.value_or(false);
  }
  [[nodiscard]] bool isReadOnly() const noexcept { return options_.isReadOnly.value_or(false); }
  [[nodiscard]] bool isReadOnlyAfterSend() const noexcept {
    return options_.isReadOnlyAfterSend.value_or(false);
  }
  [[nodiscard]] bool isSearchable() const noexcept { return options_.isSearchable.value_or(false); }
  [[nodiscard]] bool isAttribute() const noexcept { return options_.isAttribute.value_or(false); }

  /// What a value, or each entry of a list, must be an instance of.
  [[nodiscard]] virtual TWValueClass valueClass() const { return options_.valueCls; }
  [[nodiscard]] virtual bool isList() const { return false; }
  /// True for fields that a search of items (FindItem) cannot return.
  [[nodiscard]] virtual bool isComplex() const { return false; }
  /// Without a version every field is supported. "supportedFrom" is inclusive, "deprecatedFrom"
  /// exclusive; a version without a build passes the first and fails the second.
  [[nodiscard]] bool supportsVersion(const TWVersion* version) const;

  /// Validates a value and answers what is to be stored: the value itself, its normal form, or the
  /// default for a missing one (absent when there is none).
  ///
  /// Errors: ErrorInvalidServerVersion when the version lacks the field, even for a missing value;
  /// ErrorValueOutOfRange for a missing value that is required and has no default, and for a value
  /// out of range; ErrorType for one of the wrong kind. The error of a nested element is passed up.
  [[nodiscard]] virtual TWValue clean(const TWValue& value, const TWVersion* version,
                                      TWError* error = nullptr) const;
  /// Like `clean`, for callers that write a value by themselves, in a list of changes or in a
  /// filter: a value that `clean` leaves for `toXML` to wrap comes wrapped.
  [[nodiscard]] virtual TWValue valueToWrite(const TWValue& value, const TWVersion* version,
                                             TWError* error = nullptr) const {
    return clean(value, version, error);
  }

  /// The value in the element that the field belongs to. Never fails: what is missing or cannot be
  /// read gives the default, or absent.
  [[nodiscard]] virtual TWValue fromXML(const NKXMLElement& element,
                                        const std::shared_ptr<TWAccount>& account) const;
  /// The child that `fromXML` looks at, if that is exactly one: elements are then read in one pass,
  /// with `fromChild` alone. So a kind with a `fromXML` of its own answers nothing here.
  [[nodiscard]] virtual std::optional<TWTag> childTag() const { return std::nullopt; }
  /// The value in that child; the default for the invalid element.
  [[nodiscard]] virtual TWValue fromChild(const NKXMLElement& child,
                                          const std::shared_ptr<TWAccount>& account) const;

  /// What is placed into the element for the value: usually a new element, of some kinds the value
  /// itself. Absent when there is nothing to write, or with an error when the value cannot be
  /// written.
  [[nodiscard]] virtual TWValue toXML(const TWValue& value, const TWVersion* version,
                                      TWError* error = nullptr) const;

  /// The element that names the field in shapes, restrictions and orders; invalid for fields that
  /// have no name of their own there.
  [[nodiscard]] virtual NKXMLElement fieldURIXML() const { return {}; }

  /// True when the other one is of this field's class, or derived from it, and both hashes are
  /// equal.
  [[nodiscard]] bool isEqual(const TWField& other) const {
    return isInstance(other) && hash() == other.hash();
  }
  friend bool operator==(const TWField& a, const TWField& b) { return a.isEqual(b); }
  /// 0 here, so that two plain fields are equal.
  [[nodiscard]] virtual std::size_t hash() const { return 0; }
  [[nodiscard]] std::string propsDescription() const;
  [[nodiscard]] std::string description() const;
  friend std::ostream& operator<<(std::ostream& stream, const TWField& field);

 protected:
  [[nodiscard]] virtual bool isInstance(const TWField& other) const;
  /// Tests that a value, or an entry of a list, is of the value class and, when it is an element,
  /// valid.
  [[nodiscard]] bool checkInstance(const TWValue& value, const TWVersion* version,
                                   TWError* error) const;

 private:
  TWFieldOptions options_;
  mutable std::atomic<bool> frozen_ = false;
};

namespace detail {

/// What each kind of field has: its factory, its name, its place in the tree of classes. The kind
/// itself says `static constexpr std::string_view kClassName`.
template <class Self, class Base>
class FieldKind : public Base {
 public:
  using Base::Base;
  [[nodiscard]] static std::shared_ptr<Self> withProps(TWFieldOptions options) {
    return std::make_shared<Self>(std::move(options));
  }
  [[nodiscard]] std::string_view className() const override { return Self::kClassName; }

 protected:
  [[nodiscard]] bool isInstance(const TWField& other) const override {
    return dynamic_cast<const Self*>(&other) != nullptr;
  }
};

}  // namespace detail

/// A field with a field URI ("item:Subject"), the part of which after ":" names its element.
class TWFieldURIField : public detail::FieldKind<TWFieldURIField, TWField> {
 public:
  static constexpr std::string_view kClassName = "TWFieldURIField";
  explicit TWFieldURIField(TWFieldOptions options);

  /// `t:FieldURI`.
  [[nodiscard]] NKXMLElement fieldURIXML() const override;
  /// "t:Subject".
  [[nodiscard]] std::string requestTag() const;
  /// "Subject"; empty without a field URI.
  [[nodiscard]] std::string_view responseTag() const noexcept;
  /// Always the types namespace.
  [[nodiscard]] std::string_view responseXMLns() const noexcept;

  [[nodiscard]] std::optional<TWTag> childTag() const override;
  /// An element named by `requestTag` with the value as its content.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  [[nodiscard]] std::size_t hash() const override;

 protected:
  /// An element named by `requestTag` with that content, for kinds whose value is not what is
  /// written. Absent with the error of a content that cannot be written.
  [[nodiscard]] TWValue elementWith(const TWValue& content, const TWVersion* version,
                                    TWError* error) const;
};

}  // namespace tarnwell

template <std::derived_from<tarnwell::TWField> Field>
struct std::hash<Field> {
  std::size_t operator()(const Field& field) const { return field.hash(); }
};

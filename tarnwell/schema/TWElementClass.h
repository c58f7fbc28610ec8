#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/schema/TWField.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {

class TWAccount;
class TWEWSElement;
class TWVersion;

namespace detail {
class FieldList;
class SharedFieldList;
}  // namespace detail

/// Fields in the order of writing.
using TWFields = std::vector<std::shared_ptr<const TWField>>;

/// A class of schema elements as data: its name, the class above it, the XML element it stands for
/// and the ordered list of its fields.
///
/// There is one object for each class; classes are compared by identity (`&a == &b`) and live as
/// long as the process. A class that declares fields has a list of its own: a copy of the declared
/// list of the class above it, followed by its own fields. A class that declares none uses the very
/// list of the class above it, so that a field registered on either is seen by both.
///
/// Threads: everything that reads a list, elements included, may run while a field is registered or
/// removed; a walk that has begun sees the list as it was.
class TWElementClass {
 public:
  struct Declaration {
    std::string_view name;                 ///< "TWMailbox"; must live as long as the class
    const TWElementClass* base = nullptr;  ///< null for `TWEWSElement` only
    std::optional<std::string_view> elementName = {};  ///< "Mailbox"; absent: that of the base
    std::optional<std::string_view> nameSpace = {};    ///< absent: that of the base
    /// What the element is found by in answers, when that differs from its name and namespace.
    std::optional<std::string_view> responseTag = {};
    std::optional<std::string_view> responseXMLns = {};
    /// The class's own fields; null: it shares the list of its base.
    TWFields (*fields)() = nullptr;
    /// True when its own fields stand in place of those of the base, not after them.
    bool replacesFields = false;
    /// Makes an empty element of the class; null for classes that have no elements of their own.
    std::shared_ptr<TWEWSElement> (*make)(const TWElementClass&) = nullptr;
    /// The field after which registered fields are put. Absent: that of the base.
    std::optional<std::string_view> insertAfterField = {};
  };

  explicit TWElementClass(const Declaration& declaration);
  TWElementClass(const TWElementClass&) = delete;
  TWElementClass& operator=(const TWElementClass&) = delete;
  virtual ~TWElementClass();

  /// The class of that name among those of the library and the program's own that are in use so
  /// far; null when there is none. Of several classes with one name it is the first. For names that
  /// come from outside, such as an archive's.
  [[nodiscard]] static const TWElementClass* named(std::string_view name);

  [[nodiscard]] std::string_view name() const noexcept { return name_; }
  /// Null for the class at the top.
  [[nodiscard]] const TWElementClass* base() const noexcept { return base_; }
  /// True for the class itself and for those above it.
  [[nodiscard]] bool isKindOf(const TWElementClass& other) const noexcept;

  /// Absent for the base class.
  [[nodiscard]] std::optional<std::string_view> elementName() const noexcept {
    return elementName_;
  }
  [[nodiscard]] std::string_view nameSpace() const noexcept { return nameSpace_; }
  /// "t:Mailbox" or "m:CalendarView"; absent outside the types and messages namespaces, and for a
  /// class without an element name.
  [[nodiscard]] std::optional<std::string> requestTag() const;
  /// What the element is found by in answers; empty for a class without an element name.
  [[nodiscard]] std::string_view responseTag() const noexcept { return responseTag_; }
  [[nodiscard]] std::string_view responseXMLns() const noexcept { return responseXMLns_; }

  [[nodiscard]] TWFields fields() const;
  [[nodiscard]] std::vector<std::string> fieldNames() const;
  [[nodiscard]] TWFields attributeFields() const;
  /// Without the attributes.
  [[nodiscard]] TWFields supportedFields(const TWVersion* version) const;
  /// The first field of that name; null when there is none.
  [[nodiscard]] std::shared_ptr<const TWField> getFieldByFieldName(std::string_view name) const;
  /// An index past the end appends. The field is kept for the life of the process.
  void addField(std::shared_ptr<const TWField> field, std::size_t idx) const;
  /// Removes the fields that are equal to it.
  void removeField(const TWField& field) const;
  /// The name of the field after which registered fields are put; absent for classes that take
  /// none.
  [[nodiscard]] std::optional<std::string_view> insertAfterField() const noexcept {
    return insertAfterField_;
  }

  /// An element with those values; keys that name no field are dropped, values are not validated.
  /// Null for a class that has no elements of its own.
  [[nodiscard]] std::shared_ptr<TWEWSElement> withDict(const TWDictionary& dict) const;
  /// An element read from XML, whose own name is not compared; null for the invalid element.
  [[nodiscard]] std::shared_ptr<TWEWSElement> fromXML(
      const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) const;

 protected:
  struct Unlisted {};
  /// For classes with members of their own, which call `enlist` once they are whole: from then on
  /// other threads can find them.
  TWElementClass(const Declaration& declaration, Unlisted);
  void enlist() const;

 private:
  friend class TWEWSElement;
  friend class TWRegisterMixIn;
  /// The list as it is now; never destroyed.
  [[nodiscard]] const detail::FieldList& list() const;
  /// The declared fields of the class and of those above it, without what was registered.
  [[nodiscard]] TWFields declaredFields() const;

  std::string_view name_;
  const TWElementClass* base_;
  std::optional<std::string_view> elementName_;
  std::string_view nameSpace_, responseTag_, responseXMLns_;
  TWFields (*ownFields_)();
  bool replacesFields_;
  std::shared_ptr<TWEWSElement> (*make_)(const TWElementClass&);
  std::optional<std::string_view> insertAfterField_;
  std::shared_ptr<detail::SharedFieldList> fieldList_;
};

}  // namespace tarnwell

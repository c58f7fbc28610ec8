#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {

class TWVersion;
class TWValue;

/// Names of properties with their values, absent ones included.
using TWProperties = std::vector<std::pair<std::string, TWValue>>;

/// Base of the model objects that a `TWValue` can hold or refer to. They are shared by reference.
class TWObject : public std::enable_shared_from_this<TWObject> {
 public:
  TWObject() = default;
  TWObject(const TWObject&) = delete;
  TWObject& operator=(const TWObject&) = delete;
  virtual ~TWObject() = default;

  /// The class's name, as printed and as stored in archives.
  [[nodiscard]] virtual std::string_view className() const = 0;
  /// One line for logs and debuggers. Never shows a secret.
  [[nodiscard]] virtual std::string description() const = 0;
  /// Equality of identity unless a class says otherwise.
  [[nodiscard]] virtual bool isEqual(const TWObject& other) const { return this == &other; }
  [[nodiscard]] virtual std::size_t hash() const { return std::hash<const TWObject*>{}(this); }
  /// What `propertiesDescription` lists: every declared property with its value. Secrets are left
  /// out.
  [[nodiscard]] virtual TWProperties declaredProperties() const;

  /// A debugging aid: a head line, one line for each declared property, a closing line.
  [[nodiscard]] std::string propertiesDescription() const;
};

/// A model object that writes itself as XML: schema elements, field paths and field orders.
///
/// Request builders see only this interface, so they need to know no item class.
class TWXMLObject : public TWObject {
 public:
  enum class Role { element, fieldPath, fieldOrder };

  [[nodiscard]] virtual Role role() const = 0;
  /// The XML for a server of that version (null: version unknown); the invalid element and `*error`
  /// when the object cannot be written. May store defaults of missing properties in the object.
  [[nodiscard]] virtual NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) = 0;
  /// The text that stands for the object where EWS wants a constant, such as an address for a
  /// mailbox. Absent for most classes.
  [[nodiscard]] virtual std::optional<std::string> constantText() const { return std::nullopt; }
};

}  // namespace tarnwell

template <std::derived_from<tarnwell::TWObject> Object>
struct std::hash<Object> {
  std::size_t operator()(const Object& object) const { return object.hash(); }
};

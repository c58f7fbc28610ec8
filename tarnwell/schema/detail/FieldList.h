#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tarnwell/schema/TWElementClass.h"

namespace tarnwell::detail {

/// An ordered list of fields with what is looked up in it. Immutable.
class FieldList {
 public:
  explicit FieldList(TWFields fields);

  [[nodiscard]] const TWFields& fields() const noexcept { return fields_; }
  [[nodiscard]] std::span<const TWField* const> attributeFields() const noexcept {
    return attributes_;
  }
  /// The first field of that name; null when there is none.
  [[nodiscard]] const std::shared_ptr<const TWField>* find(std::string_view name) const;
  /// Positions of the fields that look at a child of that local name, in order.
  [[nodiscard]] std::span<const std::uint16_t> readersOf(std::string_view localName) const;

 private:
  TWFields fields_;
  std::vector<const TWField*> attributes_;
  std::unordered_map<std::string_view, std::vector<std::uint16_t>> readers_;
};

/// The current list of a class, shared with the classes below it that declare no fields.
///
/// Reading takes no lock. A list that was replaced is kept, since a walk over it may go on.
class SharedFieldList {
 public:
  explicit SharedFieldList(std::function<TWFields()> declared) : declared_(std::move(declared)) {}

  [[nodiscard]] const FieldList& current();
  /// Replaces the list by what `change` makes of it. Nothing changes when it returns false.
  bool update(const std::function<bool(TWFields&)>& change);

 private:
  const FieldList& publish(TWFields fields);

  std::function<TWFields()> declared_;
  std::atomic<const FieldList*> current_{nullptr};
  std::mutex writer_;
  std::vector<std::unique_ptr<const FieldList>> all_;  ///< guarded by writer_
};

}  // namespace tarnwell::detail

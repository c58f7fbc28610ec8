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
  /// A field that reads a child: its position, and the tag that the child must have.
  struct Reader {
    std::size_t field = 0;
    std::string_view name = {};
    std::string_view xmlns = {};
  };
  /// The fields that look at a child of that local name, in order. Found at once when it is one of
  /// the next few fields, since servers answer in the order of the fields.
  [[nodiscard]] std::span<const Reader> readersOf(std::string_view localName,
                                                  std::size_t next) const;
  /// True for a field that looks at nothing but one child.
  [[nodiscard]] bool readsOneChild(std::size_t field) const { return readOneChild_[field]; }
  /// True when two fields have one name.
  [[nodiscard]] bool repeatsName() const noexcept { return repeatsName_; }

 private:
  TWFields fields_;
  std::vector<const TWField*> attributes_;
  std::vector<bool> readOneChild_;
  bool repeatsName_ = false;
  std::unordered_map<std::string_view, std::vector<Reader>> readers_;
  /// By the position of the field; without a name for a field that reads no child, or not alone.
  std::vector<Reader> readerAt_;
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

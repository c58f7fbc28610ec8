#include "tarnwell/schema/detail/FieldList.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace tarnwell::detail {

FieldList::FieldList(TWFields fields) : fields_(std::move(fields)) {
  std::unordered_set<std::string_view> names;
  for (std::size_t at = 0; at < fields_.size(); ++at) {
    const TWField& field = *fields_[at];
    field.freeze();
    repeatsName_ = !names.insert(field.name()).second || repeatsName_;
    if (field.isAttribute()) attributes_.push_back(&field);
    const auto tag = field.childTag();
    readOneChild_.push_back(tag.has_value());
    if (tag && !tag->name.empty()) readers_[tag->name].push_back({at, tag->name, tag->xmlns});
  }
  readerAt_.resize(fields_.size());
  for (const auto& [name, readers] : readers_)
    if (readers.size() == 1) readerAt_[readers[0].field] = readers[0];
}

const std::shared_ptr<const TWField>* FieldList::find(std::string_view name) const {
  for (const auto& field : fields_)
    if (field->name() == name) return &field;
  return nullptr;
}

std::span<const FieldList::Reader> FieldList::readersOf(std::string_view localName,
                                                        std::size_t next) const {
  constexpr std::size_t kLookAhead = 3;
  for (auto at = next; at < std::min(next + kLookAhead, readerAt_.size()); ++at)
    if (!localName.empty() && readerAt_[at].name == localName) return {&readerAt_[at], 1};
  const auto at = readers_.find(localName);
  return at == readers_.end() ? std::span<const Reader>() : std::span<const Reader>(at->second);
}

const FieldList& SharedFieldList::current() {
  if (const auto* const list = current_.load(std::memory_order_acquire)) return *list;
  const std::scoped_lock lock(writer_);
  const auto* const list = current_.load(std::memory_order_relaxed);
  return list != nullptr ? *list : publish(declared_());
}

bool SharedFieldList::update(const std::function<bool(TWFields&)>& change) {
  (void)current();
  const std::scoped_lock lock(writer_);
  auto fields = current_.load(std::memory_order_relaxed)->fields();
  if (!change(fields)) return false;
  publish(std::move(fields));
  return true;
}

const FieldList& SharedFieldList::publish(TWFields fields) {
  all_.push_back(std::make_unique<const FieldList>(std::move(fields)));
  current_.store(all_.back().get(), std::memory_order_release);
  return *all_.back();
}

}  // namespace tarnwell::detail

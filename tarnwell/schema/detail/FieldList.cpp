#include "tarnwell/schema/detail/FieldList.h"

#include <utility>

namespace tarnwell::detail {

FieldList::FieldList(TWFields fields) : fields_(std::move(fields)) {
  for (std::size_t at = 0; at < fields_.size(); ++at) {
    const TWField& field = *fields_[at];
    field.freeze();
    if (field.isAttribute()) attributes_.push_back(&field);
    if (const auto tag = field.childTag(); tag && !tag->name.empty())
      readers_[tag->name].push_back(static_cast<std::uint16_t>(at));
  }
}

const std::shared_ptr<const TWField>* FieldList::find(std::string_view name) const {
  for (const auto& field : fields_)
    if (field->name() == name) return &field;
  return nullptr;
}

std::span<const std::uint16_t> FieldList::readersOf(std::string_view localName) const {
  const auto at = readers_.find(localName);
  return at == readers_.end() ? std::span<const std::uint16_t>() : at->second;
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

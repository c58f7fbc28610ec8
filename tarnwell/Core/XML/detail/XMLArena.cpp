#include "tarnwell/Core/XML/detail/XMLArena.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <libxml/tree.h>

#include "tarnwell/Core/XML/NKXMLNode.h"

namespace tarnwell::detail {

namespace {

/// The word that libxml2 leaves to its user. A listed root keeps its place in the list there, as an
/// odd number; a declared namespace keeps its element, a pointer and so even.
///
/// A root's owner reads it without the lock, while another thread may be giving the root another
/// place under the lock. It is odd before and after, which is all that the reader looks at.
std::atomic_ref<void*> userWord(void* node) noexcept {
  auto* any = static_cast<xmlNode*>(node);
  if (any->type == XML_NAMESPACE_DECL) return std::atomic_ref(static_cast<xmlNs*>(node)->_private);
  return std::atomic_ref(any->_private);
}

std::uintptr_t wordOf(void* node) noexcept {
  return reinterpret_cast<std::uintptr_t>(userWord(node).load(std::memory_order_relaxed));
}

void setPlace(void* node, std::size_t place) noexcept {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the word is a pointer, the place a number
  auto* word = reinterpret_cast<void*>(static_cast<std::uintptr_t>(place * 2 + 1));
  userWord(node).store(word, std::memory_order_relaxed);
}

void freeRoot(void* node) noexcept {
  switch (static_cast<xmlNode*>(node)->type) {
    case XML_NAMESPACE_DECL:
      xmlFreeNs(static_cast<xmlNs*>(node));
      break;
    case XML_ATTRIBUTE_NODE:
      xmlFreeProp(static_cast<xmlAttr*>(node));
      break;
    case XML_DOCUMENT_NODE:
      xmlFreeDoc(static_cast<xmlDoc*>(node));
      break;
    case XML_DTD_NODE:
      xmlFreeDtd(static_cast<xmlDtd*>(node));
      break;
    default:
      xmlFreeNode(static_cast<xmlNode*>(node));
      break;
  }
}

bool isDocument(const void* node) noexcept {
  return static_cast<const xmlNode*>(node)->type == XML_DOCUMENT_NODE;
}

}  // namespace

void retainArena(XMLArena* arena) noexcept {
  if (arena != nullptr) arena->retain();
}

void releaseArena(XMLArena* arena) noexcept { XMLArena::release(arena); }

XMLArena::XMLArena(void* root) noexcept : first_(root) { setPlace(root, 0); }

XMLArena::~XMLArena() {
  // Nodes first: their names may be owned by the dictionary of a document of the group.
  for (const bool documents : {false, true}) {
    if (first_ != nullptr && isDocument(first_) == documents)
      freeRoot(std::exchange(first_, nullptr));
    for (void*& root : more_) {
      if (root != nullptr && isDocument(root) == documents) freeRoot(std::exchange(root, nullptr));
    }
  }
}

XMLArena* XMLArena::make(void* root) { return new XMLArena(root); }

bool XMLArena::isRoot(void* node) noexcept { return (wordOf(node) & 1U) != 0; }

void XMLArena::release(XMLArena* arena) noexcept {
  while (arena != nullptr && arena->references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    auto* next = arena->forward_.load(std::memory_order_relaxed);
    delete arena;
    arena = next;
  }
}

void XMLArena::add(void* root) {
  if (first_ == nullptr) {
    first_ = root;
    setPlace(root, 0);
    return;
  }
  more_.push_back(root);
  setPlace(root, more_.size());
}

void XMLArena::remove(void* root) noexcept {
  const std::size_t place = wordOf(root) / 2;
  userWord(root).store(nullptr, std::memory_order_relaxed);
  if (place == 0) {
    first_ = nullptr;
    return;
  }
  auto* last = more_.back();
  more_.pop_back();
  if (last != root) {
    more_[place - 1] = last;
    setPlace(last, place);
  }
}

void XMLArena::reserve(std::size_t count) {
  const auto needed = more_.size() + count;
  // Doubling, since a vector that is asked for a size takes it literally: many small groups joining
  // one by one would copy the list each time.
  if (needed > more_.capacity()) more_.reserve(std::max(needed, 2 * more_.capacity()));
}

void XMLArena::takeRootsOf(XMLArena& other) {
  if (other.first_ != nullptr) add(std::exchange(other.first_, nullptr));
  for (auto* root : other.more_) add(root);
  other.more_ = {};
}

void XMLArena::addRoot(XMLArena* arena, void* root) {
  for (;;) {
    arena = arena->current();
    const std::scoped_lock lock(arena->mutex_);
    if (arena->forward_.load(std::memory_order_relaxed) != nullptr) continue;
    arena->add(root);
    return;
  }
}

void XMLArena::join(XMLArena* parent, XMLArena* child, void* root) {
  for (;;) {
    parent = parent->current();
    child = child->current();
    if (parent == child) {
      const std::scoped_lock lock(parent->mutex_);
      if (parent->forward_.load(std::memory_order_relaxed) != nullptr) continue;
      parent->remove(root);
      return;
    }
    const std::scoped_lock lock(parent->mutex_, child->mutex_);
    if (parent->forward_.load(std::memory_order_relaxed) != nullptr ||
        child->forward_.load(std::memory_order_relaxed) != nullptr)
      continue;
    auto* heavy = parent->weight_ < child->weight_ ? child : parent;
    auto* light = heavy == parent ? child : parent;
    // Room first: from here on nothing can fail half-way.
    if (light->first_ != nullptr || !light->more_.empty()) heavy->reserve(light->more_.size() + 1);
    child->remove(root);
    heavy->takeRootsOf(*light);
    heavy->weight_ += light->weight_;
    heavy->retain();
    light->forward_.store(heavy, std::memory_order_release);
    return;
  }
}

}  // namespace tarnwell::detail

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace tarnwell::detail {

/// Keeps a group of trees: everything that was ever one tree.
///
/// Attaching a tree to another one makes their arenas one; detaching only lists the part as a root
/// of its own. Nodes go all at once with the last handle into the group, so no handle ever dangles
/// and no node is freed while a namespace, a name dictionary or a document is still needed by
/// another.
///
/// Of two arenas that become one, the lighter forwards to the heavier; handles made before keep
/// counting on the one that they know. Two trees of one group may be used by two threads, so the
/// list of roots is guarded.
class XMLArena {
 public:
  /// An arena for one new parentless node or document, with one reference.
  [[nodiscard]] static XMLArena* make(void* root);

  XMLArena(const XMLArena&) = delete;
  XMLArena& operator=(const XMLArena&) = delete;

  /// Makes the group also own a parentless node.
  static void addRoot(XMLArena* arena, void* root);
  /// Makes one group of two, in which `root`, a listed root of `child`, is about to get a parent.
  static void join(XMLArena* parent, XMLArena* child, void* root);
  /// True for a node that is listed: one that has no parent, or a document.
  [[nodiscard]] static bool isRoot(void* node) noexcept;

  void retain() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
  static void release(XMLArena* arena) noexcept;
  /// The arena that this one has become a part of.
  [[nodiscard]] XMLArena* current() noexcept {
    auto* arena = this;
    while (auto* next = arena->forward_.load(std::memory_order_acquire)) arena = next;
    return arena;
  }

 private:
  explicit XMLArena(void* root) noexcept;
  ~XMLArena();
  void add(void* root);
  void remove(void* root) noexcept;
  /// Makes room for so many more roots.
  void reserve(std::size_t count);
  void takeRootsOf(XMLArena& other);

  std::atomic<std::uint32_t> references_ = 1;
  std::uint32_t weight_ = 1;
  std::atomic<XMLArena*> forward_ = nullptr;
  std::mutex mutex_;
  void* first_;  ///< most groups have one root: no list then; may be null
  std::vector<void*> more_;
};

}  // namespace tarnwell::detail

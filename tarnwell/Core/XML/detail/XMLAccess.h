#pragma once

#include "tarnwell/Core/XML/NKXMLNode.h"
#include "tarnwell/Core/XML/detail/XMLArena.h"
#include "tarnwell/Core/XML/detail/XMLTree.h"

namespace tarnwell::detail {

/// The way from handles to libxml2's nodes and back.
struct XMLAccess {
  [[nodiscard]] static xmlNode* node(const NKXMLNode& handle) noexcept {
    return static_cast<xmlNode*>(handle.node_);
  }
  [[nodiscard]] static XMLArena* arena(const NKXMLNode& handle) noexcept { return handle.arena_; }

  /// A handle on a node of the group of `from`; null gives the invalid node.
  template <class Handle>
  [[nodiscard]] static Handle handle(void* node, const NKXMLNode& from) noexcept {
    if (node == nullptr) return {};
    auto* arena = from.arena_->current();
    arena->retain();
    return Handle(node, arena);
  }
  [[nodiscard]] static NKXMLNode handle(void* node, const NKXMLNode& from) noexcept {
    return handle<NKXMLNode>(node, from);
  }
  /// A handle on a node that was just made.
  template <class Handle>
  [[nodiscard]] static Handle adopt(void* node) {
    return Handle(node, XMLArena::make(node));
  }
  /// Makes a handle mean another node of the same group, without counting.
  static void move(NKXMLNode& handle, void* node) noexcept { handle.node_ = node; }
};

}  // namespace tarnwell::detail

#pragma once

#include <string_view>

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
  /// A namespace for a node that no element declares it for. The group of `user` keeps it.
  [[nodiscard]] static xmlNs* undeclaredNamespace(const NKXMLNode& user, std::string_view prefix,
                                                  std::string_view URI) {
    auto* ns = newNamespace(prefix, URI);
    XMLArena::addRoot(user.arena_, ns);
    return ns;
  }
  /// Makes an attribute that leaves its element, of the group of `user`, independent of the
  /// element's declarations.
  static void giveOwnNamespace(const NKXMLNode& user, xmlNode* attribute) {
    if (const auto* ns = attribute->ns)
      attribute->ns = undeclaredNamespace(user, view(ns->prefix), view(ns->href));
  }
  /// Makes a handle mean another node of the same group, without counting.
  static void move(NKXMLNode& handle, void* node) noexcept { handle.node_ = node; }
};

}  // namespace tarnwell::detail

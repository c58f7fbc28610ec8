#include "sandbox/operations/items/ItemUpdate.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/store/EwsError.h"

namespace tarnwell::sandbox {
namespace {

using Kind = ItemUpdate::Kind;

/// What every item has to have.
constexpr std::array<std::string_view, 7> kUndeletable{
    "item:ItemClass", "item:Sensitivity", "item:Importance", "item:Culture",
    "message:IsRead", "calendar:Start",   "calendar:End"};

ItemUpdate readUpdate(ElementReader& updates, pugi::xml_node element, Schema schema) {
  ItemUpdate update;
  if (isElement(element, kTypesNs, "AppendToItemField")) {
    update.kind = Kind::append;
  } else if (isElement(element, kTypesNs, "DeleteItemField")) {
    update.kind = Kind::remove;
  } else if (!isElement(element, kTypesNs, "SetItemField")) {
    updates.refuse(element);
  }
  ElementReader reader(element);
  reader.allowAttributes({});
  reader.requireMore();
  const pugi::xml_node path = reader.next();
  if (!isPropertyPath(path)) reader.refuse(path);
  update.path = readPropertyPath(path, schema);
  if (update.kind != Kind::remove) {
    reader.requireMore();
    const pugi::xml_node item = reader.next();
    if (namespaceOf(item) != kTypesNs || findItemKind(localName(item)) == nullptr) {
      reader.refuse(item);
    }
    update.value = readItem(item, schema);
  }
  reader.end();
  return update;
}

const Node& onlyChild(const ItemUpdate& update) {
  const std::vector<Node>& children = update.value->content.children;
  if (children.size() != 1 || !update.value->attachments.empty()) {
    throw EwsError("ErrorIncorrectUpdatePropertyCount",
                   "An update carries exactly the one property that it is about.");
  }
  return children.front();
}

void updateExtended(Item& item, const ItemUpdate& update) {
  if (update.kind == Kind::append) throw EwsError("ErrorInvalidPropertyAppend");
  const std::string key = update.path.key();
  std::vector<Node>& children = item.content.children;
  std::optional<Node> value;
  if (update.kind == Kind::set) {
    value = onlyChild(update);
    if (value->name != "ExtendedProperty" || extendedKey(value->children.front()) != key) {
      throw EwsError("ErrorUpdatePropertyMismatch");
    }
  }
  std::erase_if(children, [&](const Node& node) {
    return node.name == "ExtendedProperty" && extendedKey(node.children.front()) == key;
  });
  if (value) children.push_back(std::move(*value));
}

Node& childMade(Node& parent, std::string_view name) {
  Node* found = parent.child(name);
  return found != nullptr ? *found : parent.children.emplace_back(Node{std::string(name)});
}

Node* entryOf(Node& list, const std::string& key) {
  const auto found = std::ranges::find_if(
      list.children, [&](const Node& entry) { return entry.attribute("Key") == key; });
  return found == list.children.end() ? nullptr : &*found;
}

void removeEntry(Item& item, const PropertyPath& path) {
  Node* list = item.content.child(path.property->element);
  Node* entry = list == nullptr ? nullptr : entryOf(*list, path.index);
  if (entry == nullptr) return;
  if (!path.part.empty()) entry->removeChildren(path.part);
  if (path.part.empty() || entry->children.empty()) {
    std::erase_if(list->children,
                  [&](const Node& node) { return node.attribute("Key") == path.index; });
  }
  if (list->children.empty()) item.content.removeChildren(path.property->element);
}

void setEntry(Item& item, const ItemUpdate& update) {
  const PropertyPath& path = update.path;
  const Node& value = onlyChild(update);
  const Node* brought = value.children.size() == 1 ? &value.children.front() : nullptr;
  if (value.name != path.property->element || brought == nullptr ||
      brought->attribute("Key") != path.index) {
    throw EwsError("ErrorUpdatePropertyMismatch");
  }
  Node& list = childMade(item.content, path.property->element);
  Node* entry = entryOf(list, path.index);
  if (entry == nullptr) {
    entry = &list.children.emplace_back(Node{"Entry", {{"Key", path.index}}});
  }
  if (path.part.empty()) {
    *entry = *brought;
    return;
  }
  const Node* part = brought->child(path.part);
  if (part == nullptr) throw EwsError("ErrorUpdatePropertyMismatch");
  Node old = *entry;
  old.setChild(path.part, part->text);
  // The parts of an address stand in the schema's order.
  entry->children.clear();
  for (const char* name : {"Street", "City", "State", "CountryOrRegion", "PostalCode"}) {
    if (const Node* child = old.child(name)) entry->children.push_back(*child);
  }
}

void appendValue(Item& item, const ItemUpdate& update) {
  const Property& property = *update.path.property;
  const Node& value = onlyChild(update);
  if (value.name != property.element) throw EwsError("ErrorUpdatePropertyMismatch");
  if (property.type == PropertyType::body) {
    Node& body = childMade(item.content, property.element);
    if (body.attributes.empty()) body.attributes = value.attributes;
    body.text += value.text;
  } else if (property.type == PropertyType::mailboxes || property.type == PropertyType::attendees ||
             property.type == PropertyType::strings) {
    Node& list = childMade(item.content, property.element);
    list.children.insert(list.children.end(), value.children.begin(), value.children.end());
  } else {
    throw EwsError("ErrorInvalidPropertyAppend");
  }
}

void setValue(Item& item, const ItemUpdate& update) {
  const Property& property = *update.path.property;
  const Node& value = onlyChild(update);
  if (value.name != property.element) throw EwsError("ErrorUpdatePropertyMismatch");
  item.content.removeChildren(property.element);
  const bool isList = property.type == PropertyType::mailboxes ||
                      property.type == PropertyType::attendees ||
                      property.type == PropertyType::strings;
  if (!isList || !value.children.empty()) item.content.children.push_back(value);
}

}  // namespace

std::vector<ItemUpdate> readItemUpdates(pugi::xml_node element, Schema schema) {
  std::vector<ItemUpdate> updates;
  ElementReader reader(element);
  reader.allowAttributes({});
  reader.requireMore();
  while (const pugi::xml_node update = reader.next()) {
    updates.push_back(readUpdate(reader, update, schema));
  }
  return updates;
}

void applyItemUpdate(Item& item, const ItemUpdate& update) {
  if (update.path.isExtended()) {
    updateExtended(item, update);
    return;
  }
  const char* const refusal = update.kind == Kind::set      ? "ErrorInvalidPropertySet"
                              : update.kind == Kind::append ? "ErrorInvalidPropertyAppend"
                                                            : "ErrorInvalidPropertyDelete";
  const ItemKind kind = findItemKind(item.content.name)->kind;
  const Property* property = findProperty(update.path.uri, kind);
  if (property == nullptr || property->is(kReadOnly)) throw EwsError(refusal);
  if (property->is(kFixedWhenSent) && item.content.childText("IsDraft") == "false") {
    throw EwsError("ErrorInvalidPropertyUpdateSentMessage");
  }
  const bool isEntry = !update.path.index.empty();
  if (update.kind == Kind::remove) {
    if (std::ranges::find(kUndeletable, property->uri) != kUndeletable.end()) {
      throw EwsError(refusal);
    }
    if (isEntry) {
      removeEntry(item, update.path);
    } else {
      item.content.removeChildren(property->element);
    }
  } else if (update.kind == Kind::append) {
    if (isEntry) throw EwsError(refusal);
    appendValue(item, update);
  } else if (isEntry) {
    setEntry(item, update);
  } else {
    setValue(item, update);
  }
}

}  // namespace tarnwell::sandbox

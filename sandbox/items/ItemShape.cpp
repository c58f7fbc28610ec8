#include "sandbox/items/ItemShape.h"

#include <algorithm>
#include <optional>
#include <set>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemValues.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/store/EwsError.h"

namespace tarnwell::sandbox {
namespace {

[[noreturn]] void refuseChoice(const char* name, const std::string& value, const char* type) {
  throw SoapFault::schemaViolation(
      "The '" + std::string(name) + "' element is invalid - The value '" + value +
      "' is invalid according to its datatype '" + std::string(kTypesNs) + ":" + type +
      "' - The Enumeration constraint failed.");
}

bool readFlag(pugi::xml_node element) {
  static constexpr Property kFlag{"", "Flag", kItem, PropertyType::boolean};
  return readProperty(kFlag, element).text == "true";
}

ItemShape::Base readBase(pugi::xml_node element) {
  const std::string text = simpleText(element);
  if (text == "IdOnly") return ItemShape::Base::idOnly;
  if (text == "Default") return ItemShape::Base::standard;
  if (text == "AllProperties") return ItemShape::Base::all;
  refuseChoice("BaseShape", text, "DefaultShapeNamesType");
}

void readAdditional(pugi::xml_node list, Schema schema, ItemShape& shape) {
  ElementReader reader(list);
  reader.allowAttributes({});
  reader.requireMore();
  while (const pugi::xml_node path = reader.next()) {
    if (!isPropertyPath(path)) reader.refuse(path);
    shape.additional.push_back(readPropertyPath(path, schema));
  }
}

/// The entries of a property that the paths name, each once.
Node chosenEntries(const Node& whole, const Property& property,
                   const std::vector<PropertyPath>& paths) {
  Node chosen{whole.name};
  for (const Node& entry : whole.children) {
    std::optional<Node> kept;
    for (const PropertyPath& path : paths) {
      if (path.property == nullptr || path.property->uri != property.uri ||
          (entry.attribute("Key") != path.index && entry.attribute("HeaderName") != path.index)) {
        continue;
      }
      if (path.part.empty()) {
        kept = entry;
        continue;
      }
      if (!kept) kept = Node{entry.name, entry.attributes};
      const Node* part = entry.child(path.part);
      if (part != nullptr && kept->child(path.part) == nullptr) kept->children.push_back(*part);
    }
    if (kept && !(kept->text.empty() && kept->children.empty())) {
      chosen.children.push_back(std::move(*kept));
    }
  }
  return chosen;
}

Node inBodyType(Node body, const std::string& wanted) {
  const bool isHtml = body.attribute("BodyType") == "HTML";
  if (wanted == "Text" && isHtml) {
    body.text = textOfHtml(body.text);
    body.attributes = {{"BodyType", "Text"}};
  } else if (wanted == "HTML" && !isHtml) {
    std::string html = "<html><body><pre>";
    for (const char c : body.text) {
      if (c == '<') {
        html += "&lt;";
      } else if (c == '&') {
        html += "&amp;";
      } else {
        html += c;
      }
    }
    body.text = html + "</pre></body></html>";
    body.attributes = {{"BodyType", "HTML"}};
  }
  return body;
}

class Writer {
 public:
  Writer(const Item& item, const ItemShape& shape, Schema schema, bool listed)
      : item_(item), shape_(shape), schema_(schema), listed_(listed) {}

  void write(pugi::xml_node parent) const {
    const ItemKindRow* kind = findItemKind(item_.content.name);
    pugi::xml_node element = parent.append_child(("t:" + item_.content.name).c_str());
    for (const Property& property : properties()) {
      if ((property.kinds & kind->kind) == 0) continue;
      if (property.since <= schema_) writeProperty(element, property);
      if (property.uri == "item:HasAttachments") writeExtended(element);
    }
  }

 private:
  [[nodiscard]] bool isInBase(const Property& property) const {
    if (property.uri == "item:ItemId") return true;
    if (property.uri == "item:MimeContent") return shape_.includeMimeContent;
    if ((listed_ && property.is(kGetOnly)) || property.is(kOnDemand)) return false;
    return shape_.base == ItemShape::Base::all ||
           (shape_.base == ItemShape::Base::standard && property.is(kInDefault));
  }

  void writeProperty(pugi::xml_node element, const Property& property) const {
    bool whole = isInBase(property);
    bool parts = false;
    for (const PropertyPath& path : shape_.additional) {
      if (path.property == nullptr || path.uri != property.uri) continue;
      whole = whole || path.index.empty();
      parts = true;
    }
    if (!whole && !parts) return;
    std::optional<Node> node = propertyOf(item_, property);
    if (!node) return;
    if (!whole) {
      node = chosenEntries(*node, property, shape_.additional);
      if (node->children.empty()) return;
    }
    if (property.type == PropertyType::body && property.uri != "item:TextBody") {
      node = inBodyType(std::move(*node), shape_.bodyType);
    }
    appendNode(element, *node);
  }

  void writeExtended(pugi::xml_node element) const {
    std::set<std::string> written;
    for (const PropertyPath& path : shape_.additional) {
      if (!path.isExtended() || !written.insert(path.key()).second) continue;
      const Node* found = extendedPropertyOf(item_.content.children, path.key());
      if (found != nullptr) appendNode(element, *found);
    }
  }

  const Item& item_;
  const ItemShape& shape_;
  const Schema schema_;
  const bool listed_;
};

}  // namespace

ItemShape readItemShape(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({});
  ItemShape shape;
  if (localName(element) == "ItemShape") {
    shape.base = readBase(reader.required(kTypesNs, "BaseShape"));
  }
  if (const pugi::xml_node mime = reader.optional(kTypesNs, "IncludeMimeContent")) {
    shape.includeMimeContent = readFlag(mime);
  }
  if (const pugi::xml_node type = reader.optional(kTypesNs, "BodyType")) {
    shape.bodyType = simpleText(type);
    if (shape.bodyType != "Best" && shape.bodyType != "HTML" && shape.bodyType != "Text") {
      refuseChoice("BodyType", shape.bodyType, "BodyTypeResponseType");
    }
  }
  if (schema >= Schema::exchange2010) {
    for (const char* name : {"FilterHtmlContent", "ConvertHtmlCodePageToUTF8"}) {
      if (const pugi::xml_node flag = reader.optional(kTypesNs, name)) {
        static_cast<void>(readFlag(flag));
      }
    }
  }
  if (const pugi::xml_node list = reader.optional(kTypesNs, "AdditionalProperties")) {
    readAdditional(list, schema, shape);
  }
  reader.end();
  return shape;
}

void checkListed(const ItemShape& shape) {
  const bool all = std::ranges::all_of(shape.additional, [](const PropertyPath& path) {
    return path.property == nullptr || !path.property->is(kGetOnly);
  });
  if (!all || shape.includeMimeContent) throw EwsError("ErrorInvalidPropertyRequest");
}

void appendItem(pugi::xml_node parent, const Item& item, const ItemShape& shape, Schema schema,
                bool listed) {
  Writer(item, shape, schema, listed).write(parent);
}

}  // namespace tarnwell::sandbox

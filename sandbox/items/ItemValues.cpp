#include "sandbox/items/ItemValues.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Base64.h"
#include "sandbox/detail/Directory.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {
namespace {

Node idNode(const char* name, IdKind kind, std::uint64_t number, std::uint64_t version) {
  Node node{name, {{"Id", idText(kind, number)}}};
  if (version != 0) node.attributes.emplace_back("ChangeKey", idText(IdKind::changeKey, version));
  return node;
}

Node attachmentsNode(const Item& item) {
  Node list{"Attachments"};
  for (const auto& attachment : item.attachments) {
    Node& node = list.children.emplace_back(attachment->description);
    node.children.insert(node.children.begin(),
                         idNode("AttachmentId", IdKind::attachment, attachment->number, 0));
  }
  return list;
}

Node effectiveRights() {
  Node rights{"EffectiveRights"};
  for (const char* name : {"CreateAssociated", "CreateContents", "CreateHierarchy"}) {
    rights.setChild(name, "false");
  }
  for (const char* name : {"Delete", "Modify", "Read", "ViewPrivateItems"}) {
    rights.setChild(name, "true");
  }
  return rights;
}

/// Messages of one topic are a conversation.
std::uint64_t topicHash(const std::string& topic) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char c : lowerCase(topic)) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  }
  return hash % 10'000'000'000'000'000U;
}

std::string addresses(const Node* list) {
  std::string text;
  if (list == nullptr) return text;
  for (const Node& mailbox : list->children) {
    if (!text.empty()) text += ", ";
    const std::string name = mailbox.childText("Name");
    const std::string address = mailbox.childText("EmailAddress");
    text += name;
    text += name.empty() ? address : " <" + address + ">";
  }
  return text;
}

std::vector<std::pair<std::string, std::string>> headersOf(const Item& item) {
  const Node& content = item.content;
  std::vector<std::pair<std::string, std::string>> headers;
  const auto add = [&](const char* name, std::string value) {
    if (!value.empty()) headers.emplace_back(name, std::move(value));
  };
  add("From", addresses(content.child("From")));
  add("To", addresses(content.child("ToRecipients")));
  add("Cc", addresses(content.child("CcRecipients")));
  add("Subject", content.childText("Subject"));
  add("Date", content.childText("DateTimeSent"));
  add("Message-ID", content.childText("InternetMessageId"));
  add("In-Reply-To", content.childText("InReplyTo"));
  add("References", content.childText("References"));
  return headers;
}

/// A plain rendering; what a client uploaded as MIME is kept and never gets here.
Node mimeContent(const Item& item) {
  std::string mime;
  for (const auto& [name, value] : headersOf(item)) {
    mime += name;
    mime += ": ";
    mime += value;
    mime += "\r\n";
  }
  const Node* body = item.content.child("Body");
  const bool isHtml = body != nullptr && body->attribute("BodyType") == "HTML";
  mime += "MIME-Version: 1.0\r\nContent-Type: ";
  mime += isHtml ? "text/html" : "text/plain";
  mime += "; charset=utf-8\r\n\r\n";
  if (body != nullptr) mime += body->text;
  return {"MimeContent", {{"CharacterSet", "UTF-8"}}, encodeBase64(mime)};
}

std::optional<Node> textBody(const Item& item) {
  const Node* body = item.content.child("Body");
  if (body == nullptr) return std::nullopt;
  return Node{"TextBody",
              {{"BodyType", "Text"}},
              body->attribute("BodyType") == "HTML" ? textOfHtml(body->text) : body->text};
}

std::optional<Node> uniqueBody(const Item& item) {
  const Node* body = item.content.child("Body");
  if (body == nullptr) return std::nullopt;
  Node copy = *body;
  copy.name = "UniqueBody";
  return copy;
}

std::optional<Node> headersNode(const Item& item) {
  Node list{"InternetMessageHeaders"};
  for (const auto& [name, value] : headersOf(item)) {
    list.children.push_back({"InternetMessageHeader", {{"HeaderName", name}}, value});
  }
  return list.children.empty() ? std::nullopt : std::optional(std::move(list));
}

std::optional<Node> conversationId(const Item& item) {
  const Node* topic = item.content.child("ConversationTopic");
  if (topic == nullptr) return std::nullopt;
  return idNode("ConversationId", IdKind::conversation, topicHash(topic->text), 0);
}

/// A property that is not kept but made.
struct Made {
  std::string_view uri;
  std::optional<Node> (*make)(const Item& item);
};

constexpr std::array kMade{
    Made{"item:ItemId",
         [](const Item& item) -> std::optional<Node> {
           // What lies in an attachment has no id of its own.
           if (item.number == 0) return std::nullopt;
           return idNode("ItemId", IdKind::item, item.number, item.version);
         }},
    Made{"item:ParentFolderId",
         [](const Item& item) -> std::optional<Node> {
           if (item.folder == 0) return std::nullopt;
           return idNode("ParentFolderId", IdKind::folder, item.folder, 0);
         }},
    Made{"item:Attachments",
         [](const Item& item) -> std::optional<Node> {
           if (item.attachments.empty()) return std::nullopt;
           return attachmentsNode(item);
         }},
    Made{"item:HasAttachments",
         [](const Item& item) -> std::optional<Node> {
           const bool has = std::ranges::any_of(item.attachments, [](const auto& attachment) {
             return attachment->description.childText("IsInline") != "true";
           });
           return Node{"HasAttachments", {}, has ? "true" : "false"};
         }},
    Made{"item:EffectiveRights",
         [](const Item&) -> std::optional<Node> { return effectiveRights(); }},
    Made{"item:IsAssociated",
         [](const Item&) -> std::optional<Node> {
           return Node{"IsAssociated", {}, "false"};
         }},
    Made{"item:TextBody", textBody},
    Made{"item:UniqueBody", uniqueBody},
    Made{"item:ConversationId", conversationId},
    Made{"item:InternetMessageHeaders", headersNode},
};

void collect(const Node& node, std::vector<std::string>& values) {
  if (node.children.empty()) {
    values.push_back(node.text);
    return;
  }
  for (const Node& child : node.children) collect(child, values);
}

}  // namespace

std::optional<Node> propertyOf(const Item& item, const Property& property) {
  const auto* const made = std::ranges::find(kMade, property.uri, &Made::uri);
  if (made != kMade.end()) return made->make(item);
  const Node* kept = item.content.child(property.element);
  if (kept != nullptr) return *kept;
  const ItemKindRow* kind = findItemKind(item.content.name);
  if (property.uri == "item:MimeContent" && (kind->kind & (kMessages | kPostItem)) != 0) {
    return mimeContent(item);
  }
  return std::nullopt;
}

const Node* extendedPropertyOf(const std::vector<Node>& properties, const std::string& key) {
  const auto found = std::ranges::find_if(properties, [&](const Node& node) {
    return node.name == "ExtendedProperty" && extendedKey(node.children.front()) == key;
  });
  return found == properties.end() ? nullptr : &*found;
}

std::vector<std::string> valuesOf(const Item& item, const PropertyPath& path) {
  std::vector<std::string> values;
  if (path.isExtended()) {
    const Node* found = extendedPropertyOf(item.content.children, path.key());
    if (found != nullptr) collect(found->children.back(), values);
    return values;
  }
  if (path.property == nullptr) return values;
  const std::optional<Node> node = propertyOf(item, *path.property);
  if (!node) return values;
  if (path.uri == "item:ItemId" || path.uri == "item:ParentFolderId" ||
      path.uri == "item:ConversationId") {
    values.push_back(node->attribute("Id"));
  } else if (path.index.empty()) {
    collect(*node, values);
  } else {
    for (const Node& entry : node->children) {
      if (entry.attribute("Key") != path.index && entry.attribute("HeaderName") != path.index) {
        continue;
      }
      if (path.part.empty()) {
        collect(entry, values);
      } else if (const Node* part = entry.child(path.part)) {
        values.push_back(part->text);
      }
    }
  }
  return values;
}

std::string textOfHtml(const std::string& html) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kEntities{
      {{"&lt;", "<"},
       {"&gt;", ">"},
       {"&quot;", "\""},
       {"&#39;", "'"},
       {"&nbsp;", " "},
       {"&amp;", "&"}}};
  std::string text;
  for (std::size_t at = 0; at < html.size();) {
    if (html[at] == '<') {
      const std::size_t end = html.find('>', at);
      if (end == std::string::npos) break;
      at = end + 1;
      continue;
    }
    const std::string_view rest = std::string_view(html).substr(at);
    const auto* const entity = std::ranges::find_if(
        kEntities, [&](const auto& row) { return rest.starts_with(row.first); });
    if (entity == kEntities.end()) {
      text += html[at++];
    } else {
      text += entity->second;
      at += entity->first.size();
    }
  }
  return text;
}

}  // namespace tarnwell::sandbox

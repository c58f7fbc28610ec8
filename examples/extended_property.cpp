// A property of one's own: declared, added to a kind of item, written, read back, and named in the
// order of a search.
#include <iostream>
#include <memory>
#include <string>

#include "tarnwell/tarnwell.h"

using namespace tarnwell;

namespace {

/// A kind of item with a subject and little else.
class Note : public detail::ElementKind<Note, TWRegisterMixIn> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "Note",
        .base = &TWRegisterMixIn::elementClass(),
        .elementName = "Message",
        .fields =
            [] {
              return TWFields{
                  TWCharField::withProps({.name = "subject", .fieldURI = "item:Subject"}),
                  TWBooleanField::withProps({.name = "has_attachments",
                                             .fieldURI = "item:HasAttachments",
                                             .isReadOnly = true}),
              };
            },
        .make = &detail::makeElement<Note>,
        .insertAfterField = "has_attachments",
    });
    return kClass;
  }
};

/// Where the names of a search are looked up: a folder that holds notes.
class NotesFolder : public TWFieldSource {
 public:
  std::shared_ptr<const TWField> getItemFieldByFieldName(std::string_view name,
                                                         TWError* error) const override {
    auto field = Note::getFieldByFieldName(name);
    if (!field)
      setError(error, {TWErrorCode::ErrorValueOutOfRange,
                       formatMessage("Unknown fieldname %@ on class %@", {name, "NotesFolder"})});
    return field;
  }
  std::optional<TWVersion> serverVersion() const override { return std::nullopt; }
};

/// What a server answers when it is asked for such an item.
constexpr std::string_view kAnswer = R"(
<e:Message xmlns:e="http://schemas.microsoft.com/exchange/services/2006/types">
  <e:Subject>Offer</e:Subject>
  <e:ExtendedProperty>
    <e:ExtendedFieldURI DistinguishedPropertySetId="PublicStrings" PropertyName="ProjectId"
        PropertyType="String"/>
    <e:Value>P-4711</e:Value>
  </e:ExtendedProperty>
</e:Message>)";

}  // namespace

int main() {
  const auto& projectId = TWExtendedPropertyClass::declare({
      .name = "ProjectId",
      .distinguishedPropertySetId = "PublicStrings",
      .propertyName = "ProjectId",
      .propertyType = "String",
  });
  TWError error;
  if (!Note::registerAttr("project_id", projectId, &error)) {
    std::cerr << "The property was not registered: " << error << '\n';
    return 1;
  }

  // Written: a plain value will do.
  const auto note = Note::withDict({{"subject", "Offer"}, {"project_id", "P-4711"}});
  const auto xml = note->toXML(nullptr, &error);
  if (!xml) {
    std::cerr << "The item was not written: " << error << '\n';
    return 1;
  }
  std::cout << xml.prettyXMLString() << "\n\n";

  // Read: what arrives is an instance, which holds the value.
  const auto read = Note::fromXML(NKXMLElement::withXMLString(kAnswer));
  const auto property = read->get<std::shared_ptr<TWExtendedProperty>>("project_id");
  if (!property) {
    std::cerr << "The answer has no project\n";
    return 1;
  }
  std::cout << property->get<std::string>("value").value_or("(none)") << "\n\n";

  // Searched by: the name it was registered under stands for it in paths and orders.
  const auto order = TWFieldOrder::fromString("-project_id", NotesFolder(), false, &error);
  const auto orderXML = order ? order->toXML(nullptr, &error) : NKXMLElement();
  if (!orderXML) {
    std::cerr << "The order was not written: " << error << '\n';
    return 1;
  }
  std::cout << orderXML.prettyXMLString() << '\n';
  return 0;
}

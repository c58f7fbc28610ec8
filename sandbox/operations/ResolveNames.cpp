#include <algorithm>
#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::size_t kMostResolutions = 100;
constexpr std::array<std::string_view, 4> kSearchScopes{
    "ActiveDirectory", "ActiveDirectoryContacts", "Contacts", "ContactsActiveDirectory"};
constexpr std::array<std::string_view, 3> kShapes{"IdOnly", "Default", "AllProperties"};

void appendContact(pugi::xml_node resolution, const Person& person, bool idOnly) {
  pugi::xml_node contact = resolution.append_child("t:Contact");
  if (idOnly) return;
  append(contact, "t:DisplayName", person.name);
  const std::size_t blank = person.name.find(' ');
  append(contact, "t:GivenName", person.name.substr(0, blank));
  append(contact.append_child("t:EmailAddresses"), "t:Entry", "SMTP:" + person.address)
      .append_attribute("Key") = "EmailAddress1";
  append(contact, "t:ContactSource", "ActiveDirectory");
  if (blank != std::string::npos) append(contact, "t:Surname", person.name.substr(blank + 1));
}

}  // namespace

void resolveNames(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  if (call.schema >= Schema::exchange2010Sp2) {
    reader.allowAttributes({"ReturnFullContactData", "SearchScope", "ContactDataShape"});
  } else {
    reader.allowAttributes({"ReturnFullContactData", "SearchScope"});
  }
  static_cast<void>(reader.requiredAttribute("ReturnFullContactData"));
  const bool full = reader.boolean("ReturnFullContactData").value_or(false);
  const auto scope =
      reader.enumeration("SearchScope", "ResolveNamesSearchScopeType", kSearchScopes);
  const auto shape = reader.enumeration("ContactDataShape", "DefaultShapeNamesType", kShapes);
  if (const pugi::xml_node folders = reader.optional(kMessagesNs, "ParentFolderIds")) {
    static_cast<void>(readFolderReferences(folders, call.schema));
  }
  const std::string entry = reader.requiredText(kMessagesNs, "UnresolvedEntry");
  reader.end();

  // Nobody has contacts of his own yet.
  std::vector<const Person*> people;
  if (scope != "Contacts") people = call.directory.resolve(entry);

  if (people.empty()) {
    addResponseMessage(response, "ResolveNames",
                       {"Error", "ErrorNameResolutionNoResults", "No results were found."});
    return;
  }
  pugi::xml_node message =
      people.size() == 1 ? addResponseMessage(response, "ResolveNames", {})
                         : addResponseMessage(response, "ResolveNames",
                                              {"Warning", "ErrorNameResolutionMultipleResults",
                                               "Multiple results were found."});
  const std::size_t shown = std::min(people.size(), kMostResolutions);
  pugi::xml_node set = message.append_child("m:ResolutionSet");
  set.append_attribute("TotalItemsInView") = static_cast<unsigned>(shown);
  set.append_attribute("IncludesLastItemInRange") = shown == people.size();
  for (std::size_t i = 0; i < shown; ++i) {
    const Person& person = *people[i];
    pugi::xml_node resolution = set.append_child("t:Resolution");
    pugi::xml_node mailbox = resolution.append_child("t:Mailbox");
    append(mailbox, "t:Name", person.name);
    append(mailbox, "t:EmailAddress", person.address);
    append(mailbox, "t:RoutingType", "SMTP");
    append(mailbox, "t:MailboxType", "Mailbox");
    if (full) appendContact(resolution, person, shape == "IdOnly");
  }
}

}  // namespace tarnwell::sandbox

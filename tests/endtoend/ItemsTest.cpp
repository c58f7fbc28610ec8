#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWExtendedProperty.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using test::Host;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const TWData kABC{'A', 'B', 'C'};

/// Items of alice's on a sandbox.
class ItemsEndToEnd : public testing::Test {
 protected:
  std::shared_ptr<TWMessage> messageIn(const std::shared_ptr<TWFolder>& folder,
                                       const std::string& subject) {
    return TWMessage::withDict({{"folder", folder},
                                {"subject", subject},
                                {"body", "Dear Bob"},
                                {"to_recipients", TWValue::list({host.address("bob")})}});
  }
  /// Bob's mailbox, as bob.
  std::shared_ptr<TWAccount> accountOfBob() {
    return TWAccount::withPrimarySMTPAddress(
        host.address("bob"), {}, TWAccessTypeDefault, false, host.credentials("bob"),
        TWConfiguration{TWProtocol::withServiceEndpoint(
            host.url(), host.credentials("bob"), TWVersion(TWBuild(15, 1)), host.connection())});
  }
  /// The subjects in a folder as the server has them now.
  static std::vector<std::string> subjectsIn(const std::shared_ptr<TWFolder>& folder) {
    std::vector<std::string> subjects;
    TWError error;
    const auto entries = folder->all().getItems(&error);
    EXPECT_FALSE(error) << error;
    for (const auto& entry : entries.value_or(TWItemEntries()))
      if (const auto item = entry.item()) subjects.push_back(item->get("subject").description());
    return subjects;
  }

  Host host{"items.example"};
  std::shared_ptr<TWAccount> account = TWAccount::withPrimarySMTPAddress(
      host.address("alice"), "Alice", TWAccessTypeDefault, false, host.credentials(),
      TWConfiguration{host.protocol(TWVersion(TWBuild(15, 1)))});
  std::shared_ptr<TWFolder> drafts = account->drafts();
  std::shared_ptr<TWFolder> inbox = account->inbox();
  TWError error;
};

TEST_F(ItemsEndToEnd, AMessageIsSavedChangedMovedAndDeleted) {
  ASSERT_TRUE(drafts && inbox);
  const auto message = messageIn(drafts, "Report");
  ASSERT_TRUE(message->save(&error)) << error;
  EXPECT_THAT(subjectsIn(drafts), ElementsAre("Report"));
  const auto first = message->idPair();
  ASSERT_TRUE(first);

  message->set("subject", "Report of May");
  ASSERT_TRUE(message->save({"subject"}, "AutoResolve", "SendToNone", &error)) << error;
  EXPECT_EQ(message->idPair()->id, first->id);
  EXPECT_NE(message->idPair()->changekey, first->changekey);
  EXPECT_THAT(subjectsIn(drafts), ElementsAre("Report of May"));

  ASSERT_TRUE(message->refresh(&error)) << error;
  EXPECT_EQ(message->get("text_body"), TWValue("Dear Bob"));
  // Everything that was read can be written back.
  message->set("subject", "Final report");
  ASSERT_TRUE(message->save(&error)) << error;

  ASSERT_TRUE(message->move(inbox, &error)) << error;
  EXPECT_THAT(subjectsIn(drafts), IsEmpty());
  EXPECT_THAT(subjectsIn(inbox), ElementsAre("Final report"));

  ASSERT_TRUE(message->moveToTrash({}, &error)) << error;
  EXPECT_THAT(subjectsIn(inbox), IsEmpty());
  EXPECT_THAT(subjectsIn(account->trash()), ElementsAre("Final report"));
  EXPECT_EQ(message->folder(), account->trash());
}

TEST_F(ItemsEndToEnd, RegisteredPropertiesAreSavedChangedAndCleared) {
  struct Registered {
    ~Registered() {
      TWMessage::unregisterAttr("extern_id");
      TWMessage::unregisterAttr("flag");
    }
  } registered;
  ASSERT_TRUE(TWMessage::registerAttr("extern_id", TWExternId::elementClass()));
  ASSERT_TRUE(TWMessage::registerAttr("flag", TWFlag::elementClass()));
  ASSERT_TRUE(drafts);
  const auto message = messageIn(drafts, "Marked");
  message->set("extern_id", "x-1");
  ASSERT_TRUE(message->save(&error)) << error;
  const auto onServer = [&](const char* name) {
    const auto read = account->fetch({*message->idPair()}, drafts, TWList{name}, &error);
    EXPECT_TRUE(read && read->front().item()) << error;
    const auto property = read->front().item()->get<std::shared_ptr<TWExtendedProperty>>(name);
    return property ? property->get("value") : TWValue();
  };
  EXPECT_EQ(onServer("extern_id"), TWValue("x-1"));
  EXPECT_EQ(onServer("flag"), TWValue());

  message->set("extern_id", TWExternId::withDict({{"value", "x-2"}}));
  message->set("flag", 2);
  const std::vector<std::string> both{"extern_id", "flag"};
  ASSERT_TRUE(message->save(both, "AutoResolve", "SendToNone", &error)) << error;
  EXPECT_EQ(onServer("extern_id"), TWValue("x-2"));
  EXPECT_EQ(onServer("flag"), TWValue(2));

  message->remove("flag");
  ASSERT_TRUE(message->save(both, "AutoResolve", "SendToNone", &error)) << error;
  EXPECT_EQ(onServer("extern_id"), TWValue("x-2"));
  EXPECT_EQ(onServer("flag"), TWValue());
}

TEST_F(ItemsEndToEnd, AMessageThatIsSentReachesTheOtherMailbox) {
  ASSERT_TRUE(drafts);
  const auto message = messageIn(drafts, "Hello");
  ASSERT_TRUE(message->save(&error)) << error;
  const auto sent = account->bulkSend({message}, true, nullptr, &error);
  ASSERT_TRUE(sent) << error;
  EXPECT_THAT(*sent, ElementsAre(TWResult<bool>(true)));
  EXPECT_THAT(subjectsIn(account->sent()), ElementsAre("Hello"));
  const auto bob = accountOfBob();
  ASSERT_TRUE(bob->inbox());
  EXPECT_THAT(subjectsIn(bob->inbox()), ElementsAre("Hello"));
}

TEST_F(ItemsEndToEnd, AFileIsAttachedReadAndDetached) {
  ASSERT_TRUE(drafts);
  const auto message = messageIn(drafts, "With files");
  const auto before = TWFileAttachment::withDict({{"name", "before.txt"}});
  ASSERT_TRUE(before->setContent(kABC) && message->attach(before, &error)) << error;
  ASSERT_TRUE(message->save(&error)) << error;
  EXPECT_FALSE(before->get("attachment_id").isAbsent());

  const auto after = TWFileAttachment::withDict({{"name", "after.txt"}});
  ASSERT_TRUE(after->setContent({'D'}) && message->attach(after, &error)) << error;
  const auto id = before->get<std::shared_ptr<TWAttachmentId>>("attachment_id")->get("id");
  EXPECT_EQ(account->getAttachment(id.asText(), &error), kABC) << error;

  const auto read = account->fetch({*message->idPair()}, drafts, std::nullopt, &error);
  ASSERT_TRUE(read && read->front().item()) << error;
  const auto files =
      read->front().item()->get<std::vector<std::shared_ptr<TWFileAttachment>>>("attachments");
  ASSERT_TRUE(files);
  ASSERT_EQ(files->size(), 2U);
  EXPECT_EQ((*files)[0]->getContent(&error), kABC) << error;

  ASSERT_TRUE(message->detach(before, &error)) << error;
  const auto rest = account->fetch({*message->idPair()}, drafts, TWList{"attachments"}, &error);
  ASSERT_TRUE(rest && rest->front().item()) << error;
  const auto left =
      rest->front().item()->get<std::vector<std::shared_ptr<TWAttachment>>>("attachments");
  ASSERT_TRUE(left);
  ASSERT_EQ(left->size(), 1U);
  EXPECT_EQ((*left)[0]->get("name"), TWValue("after.txt"));
}

TEST_F(ItemsEndToEnd, AnItemIsAttachedReadAndDetached) {
  ASSERT_TRUE(drafts);
  const auto attachmentWith = [](const char* subject) {
    auto attachment = TWItemAttachment::withDict({{"name", subject}});
    EXPECT_TRUE(
        attachment->setItem(TWMessage::withDict({{"subject", subject}, {"culture", "en-US"}})));
    return attachment;
  };
  const auto message = messageIn(drafts, "With items");
  const auto before = attachmentWith("inner"), after = attachmentWith("another");
  ASSERT_TRUE(message->attach(before, &error)) << error;
  ASSERT_TRUE(message->save(&error)) << error;
  ASSERT_TRUE(message->attach(after, &error)) << error;

  // What the server has, for one who knows the id only.
  const auto subjectOf = [&](const TWValue& id) {
    const auto known = TWItemAttachment::withDict(
        {{"attachment_id", TWAttachmentId::withDict({{"id", id}})}, {"parent_item", message}});
    const auto inner = known->getItem(&error);
    return inner ? inner->get("subject") : TWValue();
  };
  const auto idOf = [](const TWAttachment& attachment) {
    return attachment.get<std::shared_ptr<TWAttachmentId>>("attachment_id")->get("id");
  };
  const TWValue id = idOf(*before);
  EXPECT_EQ(subjectOf(id), TWValue("inner")) << error;
  EXPECT_EQ(subjectOf(idOf(*after)), TWValue("another")) << error;

  ASSERT_TRUE(message->detach(before, &error)) << error;
  EXPECT_TRUE(subjectOf(id).isAbsent());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound)) << error;
  error = {};
  EXPECT_EQ(subjectOf(idOf(*after)), TWValue("another")) << error;
}

TEST_F(ItemsEndToEnd, ManyItemsGoThroughTheBulkOperationsInOrder) {
  ASSERT_TRUE(drafts && inbox);
  TWItems items;
  for (int i = 0; i < 250; ++i) items.push_back(messageIn(drafts, std::to_string(i)));
  const auto created = account->bulkCreate(drafts, items, "SaveOnly", "SendToNone", &error);
  ASSERT_TRUE(created) << error;
  TWItemEntries ids;
  for (const auto& each : *created) ids.emplace_back(*each.value()->idPair());
  ASSERT_EQ(ids.size(), 250U);
  ids[100] = TWIdPair{"no such id", "x"};
  const auto fetched = account->fetch(ids, drafts, TWList{"subject"}, &error);
  ASSERT_TRUE(fetched) << error;
  ASSERT_EQ(fetched->size(), 250U);
  for (std::size_t i = 0; i < 250; ++i) {
    if (i == 100)
      EXPECT_TRUE((*fetched)[i].error());
    else
      EXPECT_EQ((*fetched)[i].item()->get("subject"), TWValue(std::to_string(i)));
  }
  const auto moved = account->bulkMove(drafts->all(), inbox, &error);
  ASSERT_TRUE(moved) << error;
  EXPECT_EQ(moved->size(), 250U);
  const auto deleted =
      account->bulkDelete(inbox->all(), "HardDelete", "SendToNone", "AllOccurrences", true, &error);
  ASSERT_TRUE(deleted) << error;
  EXPECT_EQ(deleted->size(), 250U);
  EXPECT_THAT(subjectsIn(inbox), IsEmpty());
  EXPECT_THAT(subjectsIn(drafts), IsEmpty());
}

TEST_F(ItemsEndToEnd, ExportedItemsComeBackByUploading) {
  ASSERT_TRUE(drafts && inbox);
  const auto message = messageIn(drafts, "Archived");
  ASSERT_TRUE(message->save(&error)) << error;
  const auto exported = account->exportItems({message}, &error);
  ASSERT_TRUE(exported && exported->front()) << error;
  const auto uploaded = account->uploadItems({{inbox, exported->front().value()}}, &error);
  ASSERT_TRUE(uploaded && uploaded->front()) << error;
  EXPECT_THAT(subjectsIn(inbox), ElementsAre("Archived"));
}

TEST_F(ItemsEndToEnd, EntriesOfAContactAreWrittenOneByOne) {
  const auto contacts = account->contacts();
  ASSERT_TRUE(contacts);
  const auto contact = TWContact::withDict({{"folder", contacts}, {"display_name", "Bob"}});
  ASSERT_TRUE(contact->save(&error)) << error;
  contact->set("phone_numbers",
               TWList{TWPhoneNumber::withDict({{"label", "HomePhone"}, {"phone_number", "1"}}),
                      TWPhoneNumber::withDict({{"label", "MobilePhone"}, {"phone_number", "2"}})});
  ASSERT_TRUE(contact->save({"phone_numbers"}, "AutoResolve", "SendToNone", &error)) << error;
  ASSERT_TRUE(contact->refresh(&error)) << error;
  const auto numbers = contact->get<std::vector<std::shared_ptr<TWPhoneNumber>>>("phone_numbers");
  ASSERT_TRUE(numbers);
  ASSERT_EQ(numbers->size(), 2U);
  EXPECT_EQ((*numbers)[1]->get("phone_number"), TWValue("2"));
}

TEST_F(ItemsEndToEnd, APostalAddressIsRefusedByAServerThatChecksTheSchema) {
  const auto contacts = account->contacts();
  ASSERT_TRUE(contacts);
  const auto address = TWPhysicalAddress::withDict({{"label", "Home"}, {"city", "Oslo"}});
  const auto contact = TWContact::withDict(
      {{"folder", contacts}, {"display_name", "Bob"}, {"physical_addresses", TWList{address}}});
  EXPECT_FALSE(contact->save(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSchemaValidation)) << error;
  EXPECT_EQ(contacts->all().count(100, &error), 0);
  EXPECT_FALSE(contact->idPair());
  EXPECT_EQ(contact->get("physical_addresses"), TWValue(TWList{address}));

  // Without it the contact is saved, and what is there stays when the address is refused later.
  contact->remove("physical_addresses");
  error = {};
  ASSERT_TRUE(contact->save(&error)) << error;
  const auto saved = contact->idPair();
  contact->set("physical_addresses", TWList{address});
  contact->set("display_name", "Robert");
  EXPECT_FALSE(
      contact->save({"physical_addresses", "display_name"}, "AutoResolve", "SendToNone", &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSchemaValidation)) << error;
  EXPECT_EQ(contact->idPair(), saved);
  EXPECT_EQ(contact->get("physical_addresses"), TWValue(TWList{address}));
  error = {};
  ASSERT_TRUE(contact->refresh(&error)) << error;
  EXPECT_EQ(contact->get("display_name"), TWValue("Bob"));
}

TEST_F(ItemsEndToEnd, AnAccountThatImpersonatesActsInTheOtherMailbox) {
  const auto asBob = TWAccount::withPrimarySMTPAddress(
      host.address("bob"), "Bob", TWAccessTypeImpersonation, false, host.credentials("alice"),
      TWConfiguration{host.protocol(TWVersion(TWBuild(15, 1)))});
  const auto draftsOfBob = asBob->drafts();
  ASSERT_TRUE(draftsOfBob);
  const auto message = messageIn(draftsOfBob, "For Bob");
  host.server.clearRequests();
  ASSERT_TRUE(message->save(&error)) << error;
  ASSERT_TRUE(message->refresh(&error)) << error;
  message->set("subject", "From Alice for Bob");
  ASSERT_TRUE(message->save({"subject"}, "AutoResolve", "SendToNone", &error)) << error;

  std::vector<std::string> operations;
  for (const auto& request : host.server.requests()) {
    EXPECT_THAT(request.body,
                HasSubstr("<t:ExchangeImpersonation><t:ConnectingSID><t:PrimarySMTPAddress>" +
                          host.address("bob") + "</t:PrimarySMTPAddress></t:ConnectingSID>"));
    // Others are the first ones of a connection, which are asked for the login.
    if (request.user == host.address("alice")) operations.push_back(request.operation);
  }
  EXPECT_THAT(operations, ElementsAre("CreateItem", "GetItem", "UpdateItem"));
  const auto bob = accountOfBob();
  ASSERT_TRUE(bob->drafts());
  EXPECT_THAT(subjectsIn(bob->drafts()), ElementsAre("From Alice for Bob"));
  EXPECT_THAT(subjectsIn(drafts), IsEmpty());
}

TEST_F(ItemsEndToEnd, ATreeFromAnArchiveNeedsNoServer) {
  ASSERT_TRUE(inbox);
  const auto data = account->exportRootData();
  ASSERT_TRUE(data);
  const auto offline =
      TWAccount::withPrimarySMTPAddress(host.address("alice"), {}, TWAccessTypeDefault, false, {});
  ASSERT_TRUE(offline->importRootData(*data));
  ASSERT_TRUE(offline->inbox());
  EXPECT_EQ(offline->inbox()->path(), inbox->path());
}

}  // namespace
}  // namespace tarnwell
